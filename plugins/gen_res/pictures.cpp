// The pictures of CSS box effects.
#include "pictures.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace pagefold::genres {
namespace {

double channel(int64_t v) { return double(std::clamp<int64_t>(v, 0, 255)); }

}  // namespace

Rgba rgba_of(const Color& c) {
  return Rgba{channel(c.r()), channel(c.g()), channel(c.b()), channel(c.alpha_or_opaque()) / 255.0};
}

std::vector<double> settled_positions(const std::vector<Stop>& stops) {
  const size_t n = stops.size();
  std::vector<double> pos(n, 0.0);
  std::vector<bool> known(n, false);
  for (size_t i = 0; i < n; ++i)
    if (stops[i].pos) {
      pos[i] = *stops[i].pos;
      known[i] = true;
    }
  if (n == 0) return pos;
  if (!known[0]) {
    pos[0] = 0.0;
    known[0] = true;
  }
  if (!known[n - 1]) {
    pos[n - 1] = 1.0;
    known[n - 1] = true;
  }
  double highest = pos[0];
  for (size_t i = 0; i < n; ++i)
    if (known[i]) highest = pos[i] = std::max(pos[i], highest);
  for (size_t a = 0; a < n;) {
    size_t b = a + 1;
    while (b < n && !known[b]) ++b;
    if (b >= n) break;
    for (size_t k = a + 1; k < b; ++k)
      pos[k] = pos[a] + (pos[b] - pos[a]) * double(k - a) / double(b - a);
    a = b;
  }
  return pos;
}

Rgba gradient_at(const std::vector<Stop>& stops, const std::vector<double>& pos, double t) {
  const size_t n = stops.size();
  if (t <= pos.front()) return rgba_of(stops.front().color);
  if (t >= pos.back()) return rgba_of(stops.back().color);
  size_t i = 0;
  while (i + 1 < n && pos[i + 1] <= t) ++i;
  const Rgba a = rgba_of(stops[i].color), b = rgba_of(stops[i + 1].color);
  const double f = (t - pos[i]) / (pos[i + 1] - pos[i]);
  const double alpha = a.a + (b.a - a.a) * f;
  auto mix = [&](double ca, double cb) {
    // Premultiplied: each colour weighs with its own alpha. Where both stops
    // are transparent the plain mixture is kept as the pixel's colour.
    if (alpha <= 0) return ca + (cb - ca) * f;
    return (ca * a.a + (cb * b.a - ca * a.a) * f) / alpha;
  };
  return Rgba{mix(a.r, b.r), mix(a.g, b.g), mix(a.b, b.b), alpha};
}

Image gradient_picture(int w, int h, const std::vector<Stop>& stops, bool horizontal, double radius,
                       int ss) {
  const std::vector<double> pos = settled_positions(stops);
  // One colour per column (or row), taken at the pixel's centre.
  const int len = horizontal ? w : h;
  std::vector<Rgba> line(static_cast<size_t>(len));
  for (int i = 0; i < len; ++i) line[size_t(i)] = gradient_at(stops, pos, (i + 0.5) / len);
  const Plane cov = coverage(w, h, RoundRect{0, 0, double(w), double(h), radius}, ss);
  Image out(w, h, 4);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      Rgba c = line[size_t(horizontal ? x : y)];
      c.a *= cov.at(x, y);
      put(out, x, y, c);
    }
  return out;
}

int64_t shadow_pad(int64_t ox, int64_t oy, int64_t blur) {
  return std::max<int64_t>(2, blur + std::max(std::llabs(ox), std::llabs(oy)));
}

Image shadow_card(int w, int h, double radius, const std::optional<Color>& fill,
                  const ShadowSpec& shadow, bool crop, int ss) {
  const int pad = static_cast<int>(shadow_pad(shadow.ox, shadow.oy, shadow.blur));
  const int cw = w + 2 * pad, chh = h + 2 * pad;
  const RoundRect card{double(pad), double(pad), double(pad + w), double(pad + h), radius};
  RoundRect cast = card;
  cast.x0 += double(shadow.ox), cast.x1 += double(shadow.ox);
  cast.y0 += double(shadow.oy), cast.y1 += double(shadow.oy);
  const Plane card_cov = coverage(cw, chh, card, ss);
  // A browser blurs a box shadow with a Gaussian whose standard deviation is
  // half the blur length.
  const Plane cast_cov = gaussian_blur(coverage(cw, chh, cast, ss), shadow.blur / 2.0);
  const Rgba sc = rgba_of(shadow.color);
  const Rgba fc = fill ? rgba_of(*fill) : Rgba{sc.r, sc.g, sc.b, 0.0};
  const int x0 = crop ? pad : 0, y0 = crop ? pad : 0;
  Image out(crop ? w : cw, crop ? h : chh, 4);
  for (int y = 0; y < out.h; ++y)
    for (int x = 0; x < out.w; ++x) {
      const double inside = card_cov.at(x + x0, y + y0);
      // The shadow is not drawn under the card: it shows only outside it.
      Rgba s{sc.r, sc.g, sc.b, sc.a * cast_cov.at(x + x0, y + y0) * (1.0 - inside)};
      Rgba c{fc.r, fc.g, fc.b, fc.a * inside};
      put(out, x, y, over(c, s));
    }
  return out;
}

Image rounded_rect(int w, int h, double radius, const Color& fill, int ss) {
  const Rgba c = rgba_of(fill);
  const Plane cov = coverage(w, h, RoundRect{0, 0, double(w), double(h), radius}, ss);
  return tint(cov, {to8(c.r), to8(c.g), to8(c.b)}, c.a);
}

namespace {

// The span of marks along one side of `len` pixels that keeps `inset` pixels
// clear at both ends; a side too short for that keeps its middle pixel.
std::pair<int, int> span(int len, int64_t inset) {
  if (len - 2 * inset >= 1) return {int(inset), int(len - 1 - inset)};
  return {(len - 1) / 2, (len - 1) / 2};
}

}  // namespace

Image nine_patch(const Image& img, int64_t radius) {
  const int w = img.w, h = img.h;
  Image out(w + 2, h + 2, 4);
  for (int y = 0; y < h; ++y) std::copy_n(img.at(0, y), size_t(w) * 4, out.at(1, y + 1));
  const int64_t r = std::clamp<int64_t>(radius, 0, std::min(w, h) / 2);
  // The largest rectangle clear of round corners of radius r keeps
  // r * (1 - 1/sqrt 2) pixels from each edge.
  const int64_t content = static_cast<int64_t>(std::ceil(double(r) * (1.0 - std::sqrt(0.5))));
  const uint8_t black[4] = {0, 0, 0, 255};
  auto mark = [&](int x, int y) { std::copy_n(black, 4, out.at(x, y)); };
  auto [sx0, sx1] = span(w, r);
  auto [sy0, sy1] = span(h, r);
  auto [cx0, cx1] = span(w, content);
  auto [cy0, cy1] = span(h, content);
  for (int x = sx0; x <= sx1; ++x) mark(x + 1, 0);
  for (int y = sy0; y <= sy1; ++y) mark(0, y + 1);
  for (int x = cx0; x <= cx1; ++x) mark(x + 1, h + 1);
  for (int y = cy0; y <= cy1; ++y) mark(w + 1, y + 1);
  return out;
}

}  // namespace pagefold::genres
