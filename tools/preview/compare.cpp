#include "compare.hpp"

#include <algorithm>
#include <array>
#include <cmath>

namespace pagefold::preview {

namespace {

struct Lab {
  float l, a, b;
};

// sRGB to CIE L*a*b* (D65 white).
std::vector<Lab> to_lab(const Raster& r) {
  static const std::array<double, 256> linear = [] {
    std::array<double, 256> t{};
    for (int i = 0; i < 256; ++i) {
      double c = i / 255.0;
      t[size_t(i)] = c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    }
    return t;
  }();
  auto f = [](double t) {
    const double d = 6.0 / 29.0;
    return t > d * d * d ? std::cbrt(t) : t / (3 * d * d) + 4.0 / 29.0;
  };
  std::vector<Lab> out(size_t(r.w) * size_t(r.h));
  for (size_t i = 0; i < out.size(); ++i) {
    const uint8_t* p = &r.px[i * 4];
    double R = linear[p[0]], G = linear[p[1]], B = linear[p[2]];
    double X = (0.4124 * R + 0.3576 * G + 0.1805 * B) / 0.95047;
    double Y = 0.2126 * R + 0.7152 * G + 0.0722 * B;
    double Z = (0.0193 * R + 0.1192 * G + 0.9505 * B) / 1.08883;
    double fx = f(X), fy = f(Y), fz = f(Z);
    out[i] = {float(116 * fy - 16), float(500 * (fx - fy)), float(200 * (fy - fz))};
  }
  return out;
}

float dist2(const Lab& p, const Lab& q) {
  float dl = p.l - q.l, da = p.a - q.a, db = p.b - q.b;
  return dl * dl + da * da + db * db;
}

// For each pixel of `a`, the smallest squared difference to a pixel of `b`
// at most one pixel away.
std::vector<float> nearest(const std::vector<Lab>& a, const std::vector<Lab>& b, int w, int h) {
  std::vector<float> out(a.size());
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const Lab& p = a[size_t(y) * size_t(w) + size_t(x)];
      float best = dist2(p, b[size_t(y) * size_t(w) + size_t(x)]);
      for (int dy = -1; dy <= 1 && best > 0; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
          int qx = x + dx, qy = y + dy;
          if (qx < 0 || qy < 0 || qx >= w || qy >= h) continue;
          best = std::min(best, dist2(p, b[size_t(qy) * size_t(w) + size_t(qx)]));
        }
      out[size_t(y) * size_t(w) + size_t(x)] = best;
    }
  return out;
}

}  // namespace

Similarity compare_pictures(const Raster& a, const Raster& b) {
  Similarity s;
  s.w = std::min(a.w, b.w);
  s.h = std::min(a.h, b.h);
  if (a.w != b.w || a.h != b.h) {
    // Both sides are drawn at the page's size; this only guards the indexing.
    Raster ca(s.w, s.h), cb(s.w, s.h);
    for (int y = 0; y < s.h; ++y) {
      std::copy_n(a.at(0, y), size_t(s.w) * 4, ca.at(0, y));
      std::copy_n(b.at(0, y), size_t(s.w) * 4, cb.at(0, y));
    }
    return compare_pictures(ca, cb);
  }
  std::vector<Lab> la = to_lab(a), lb = to_lab(b);
  std::vector<float> ab = nearest(la, lb, s.w, s.h), ba = nearest(lb, la, s.w, s.h);
  const float limit = float(MATCH_DELTA_E * MATCH_DELTA_E);
  size_t n = la.size(), same = 0;
  s.match.resize(n);
  s.delta.resize(n);
  for (size_t i = 0; i < n; ++i) {
    float d = std::max(ab[i], ba[i]);
    s.delta[i] = std::sqrt(d);
    s.match[i] = d <= limit;
    same += s.match[i];
  }
  s.score = n ? double(same) / double(n) : 1.0;
  return s;
}

double box_score(const Similarity& s, const Box& box) {
  Box b = intersect(box, Box{0, 0, s.w, s.h});
  if (b.empty()) return 1.0;
  size_t same = 0;
  for (int64_t y = b.y; y < b.y + b.h; ++y)
    for (int64_t x = b.x; x < b.x + b.w; ++x) same += s.match[size_t(y) * size_t(s.w) + size_t(x)];
  return double(same) / double(b.w * b.h);
}

Raster heat_map(const Similarity& s, const Raster& base) {
  Raster out(s.w, s.h);
  for (int y = 0; y < s.h; ++y)
    for (int x = 0; x < s.w; ++x) {
      size_t i = size_t(y) * size_t(s.w) + size_t(x);
      const uint8_t* p = base.at(x, y);
      uint8_t* o = out.at(x, y);
      if (s.match[i]) {
        uint8_t g = uint8_t((p[0] * 299 + p[1] * 587 + p[2] * 114) / 1000 * 35 / 100);
        o[0] = o[1] = o[2] = g;
      } else {
        double t = std::clamp((s.delta[i] - MATCH_DELTA_E) / (3 * MATCH_DELTA_E), 0.0, 1.0);
        o[0] = 255;
        o[1] = uint8_t(std::lround(t * 255));
        o[2] = 0;
      }
      o[3] = 255;
    }
  return out;
}

double rounded_score(double score) { return std::round(score * 10000.0) / 10000.0; }

}  // namespace pagefold::preview
