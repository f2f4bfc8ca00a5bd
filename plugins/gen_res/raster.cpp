// Drawing primitives of the picture plug-in.
#include "raster.hpp"

#include <algorithm>
#include <cmath>

namespace pagefold::genres {
namespace {

// Whether the point (px, py) lies inside the rectangle with round corners;
// `r` is already limited.
bool inside(const RoundRect& s, double r, double px, double py) {
  if (px < s.x0 || px >= s.x1 || py < s.y0 || py >= s.y1) return false;
  if (r <= 0) return true;
  double cx = std::clamp(px, s.x0 + r, s.x1 - r), cy = std::clamp(py, s.y0 + r, s.y1 - r);
  double dx = px - cx, dy = py - cy;
  return dx * dx + dy * dy <= r * r;
}

double limited_radius(const RoundRect& s) {
  double half = std::min(s.x1 - s.x0, s.y1 - s.y0) / 2.0;
  return std::clamp(s.r, 0.0, std::max(half, 0.0));
}

// One-dimensional kernel of a Gaussian, sampled at whole pixels out to three
// standard deviations and normalised to a sum of 1.
std::vector<double> gaussian_kernel(double sigma) {
  int radius = static_cast<int>(std::ceil(sigma * 3.0));
  std::vector<double> k(size_t(radius) * 2 + 1);
  double sum = 0;
  for (int i = -radius; i <= radius; ++i) {
    double w = std::exp(-(double(i) * i) / (2.0 * sigma * sigma));
    k[size_t(i + radius)] = w;
    sum += w;
  }
  for (double& w : k) w /= sum;
  return k;
}

// How many of the `ss` samples of pixel column `x` at height `py` are inside
// the shape. Along a row the samples inside are one run: the shape is convex,
// and every step of `inside` (the offset from the clamped centre, its square,
// the sum, the comparison) is monotone in `px`, in floating point too. So the
// samples are tested from each end only up to the first one inside, which is
// the same count as testing all of them, mostly with two tests instead of ss.
int row_count(const RoundRect& s, double r, int x, double py, int ss) {
  const auto in = [&](int i) { return inside(s, r, x + (i + 0.5) / ss, py); };
  int lo = 0;
  while (lo < ss && !in(lo)) ++lo;
  if (lo == ss) return 0;
  int hi = ss - 1;
  while (hi > lo && !in(hi)) --hi;
  return hi - lo + 1;
}

}  // namespace

std::vector<int> sample_counts(int w, int h, const RoundRect& shape, int ss) {
  std::vector<int> out(size_t(w) * size_t(h), 0);
  const double r = limited_radius(shape);
  const int full = ss * ss;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      // Pixels wholly outside, or wholly inside and clear of the corners,
      // need no sampling.
      if (x + 1 <= shape.x0 || x >= shape.x1 || y + 1 <= shape.y0 || y >= shape.y1) continue;
      bool in_rect = x >= shape.x0 && x + 1 <= shape.x1 && y >= shape.y0 && y + 1 <= shape.y1;
      bool clear_x = x >= shape.x0 + r && x + 1 <= shape.x1 - r;
      bool clear_y = y >= shape.y0 + r && y + 1 <= shape.y1 - r;
      int& n = out[size_t(y) * size_t(w) + size_t(x)];
      if (in_rect && (clear_x || clear_y)) {
        n = full;
        continue;
      }
      for (int j = 0; j < ss; ++j) n += row_count(shape, r, x, y + (j + 0.5) / ss, ss);
    }
  return out;
}

Plane coverage(int w, int h, const RoundRect& shape, int ss) {
  std::vector<int> n = sample_counts(w, h, shape, ss);
  Plane out(w, h);
  const double full = double(ss) * ss;
  for (size_t i = 0; i < n.size(); ++i) out.v[i] = n[i] / full;
  return out;
}

Image coverage_mask8(int w, int h, const RoundRect& shape, int ss) {
  std::vector<int> n = sample_counts(w, h, shape, ss);
  Image out(w, h, 1);
  const int full = ss * ss;
  for (size_t i = 0; i < n.size(); ++i) out.px[i] = uint8_t((n[i] * 255 + full / 2) / full);
  return out;
}

// Each output value is the sum of its taps in the order of the kernel, from
// the first tap to the last, as a plain convolution would add them; taps
// beyond the plane add nothing. Adding a zero (a tap beyond the plane) to a
// sum that started at zero changes no bit, so each row is padded with zeros
// and whole rows are added tap by tap: the same sums, in an order that keeps
// to consecutive memory (and lets the compiler use vector instructions).
Plane gaussian_blur(const Plane& p, double sigma) {
  if (sigma <= 0 || p.w == 0 || p.h == 0) return p;
  const std::vector<double> k = gaussian_kernel(sigma);
  const int radius = static_cast<int>(k.size() / 2);
  const size_t w = size_t(p.w);
  Plane tmp(p.w, p.h), out(p.w, p.h);
  std::vector<double> padded(w + 2 * size_t(radius), 0.0);
  for (int y = 0; y < p.h; ++y) {
    std::copy_n(&p.v[size_t(y) * w], w, padded.begin() + radius);
    double* s = &tmp.v[size_t(y) * w];
    for (size_t i = 0; i < k.size(); ++i) {
      const double ki = k[i];
      const double* src = padded.data() + i;
      for (size_t x = 0; x < w; ++x) s[x] += src[x] * ki;
    }
  }
  for (int y = 0; y < p.h; ++y) {
    double* s = &out.v[size_t(y) * w];
    for (int i = std::max(-radius, -y); i <= std::min(radius, p.h - 1 - y); ++i) {
      const double ki = k[size_t(i + radius)];
      const double* src = &tmp.v[size_t(y + i) * w];
      for (size_t x = 0; x < w; ++x) s[x] += src[x] * ki;
    }
  }
  return out;
}

Rgba over(const Rgba& top, const Rgba& bottom) {
  // Where nothing is drawn on top the bottom stands, colour and all, so that
  // transparent pixels keep a meaningful colour.
  if (top.a <= 0) return bottom;
  double a = top.a + bottom.a * (1.0 - top.a);
  double kb = bottom.a * (1.0 - top.a);
  return Rgba{(top.r * top.a + bottom.r * kb) / a, (top.g * top.a + bottom.g * kb) / a,
              (top.b * top.a + bottom.b * kb) / a, a};
}

uint8_t to8(double v) {
  if (!(v > 0)) return 0;
  if (v >= 255) return 255;
  return static_cast<uint8_t>(std::floor(v + 0.5));
}

void put(Image& img, int x, int y, const Rgba& c) {
  uint8_t* p = img.at(x, y);
  p[0] = to8(c.r);
  p[1] = to8(c.g);
  p[2] = to8(c.b);
  p[3] = to8(c.a * 255.0);
}

Image tint(const Plane& cov, const std::array<uint8_t, 3>& rgb, double alpha) {
  Image out(cov.w, cov.h, 4);
  for (int y = 0; y < cov.h; ++y)
    for (int x = 0; x < cov.w; ++x)
      put(out, x, y, Rgba{double(rgb[0]), double(rgb[1]), double(rgb[2]), alpha * cov.at(x, y)});
  return out;
}

}  // namespace pagefold::genres
