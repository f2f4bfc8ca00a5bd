// Drawing primitives of the picture plug-in, on planes of real values and on
// straight-alpha pictures.
//
// Shapes are measured by sampling: a pixel's coverage is the share of its
// ss x ss sample points (at the centres of an even grid) that fall inside the
// shape. Counting keeps the result exact and the same on every machine, and
// lets the caller choose the quality, which a rasteriser with its own fixed
// anti-aliasing would not.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "pagefold/image.hpp"

namespace pagefold::genres {

// A plane of real values in row-major order: coverage or alpha, 0 to 1.
struct Plane {
  int w = 0, h = 0;
  std::vector<double> v;

  Plane() = default;
  Plane(int w_, int h_) : w(w_), h(h_), v(size_t(w_) * size_t(h_), 0.0) {}
  double& at(int x, int y) { return v[size_t(y) * size_t(w) + size_t(x)]; }
  double at(int x, int y) const { return v[size_t(y) * size_t(w) + size_t(x)]; }
};

// A rectangle with round corners in continuous pixel coordinates: it covers
// [x0, x1) by [y0, y1), and its corner radius is limited to half the shorter
// side.
struct RoundRect {
  double x0 = 0, y0 = 0, x1 = 0, y1 = 0, r = 0;
};

// The share of each pixel's ss x ss samples inside `shape`, as a count from 0
// to ss*ss.
std::vector<int> sample_counts(int w, int h, const RoundRect& shape, int ss);

// Coverage of each pixel by `shape`, 0 to 1.
Plane coverage(int w, int h, const RoundRect& shape, int ss);

// Coverage as an 8-bit mask ("L"), count*255/(ss*ss) rounded.
Image coverage_mask8(int w, int h, const RoundRect& shape, int ss);

// Gaussian blur of standard deviation `sigma` in both directions, with zero
// outside the plane (a shadow fades into nothing, it does not smear its edge).
Plane gaussian_blur(const Plane& p, double sigma);

// A straight-alpha colour: r, g, b from 0 to 255, alpha from 0 to 1.
struct Rgba {
  double r = 0, g = 0, b = 0, a = 0;
};

// `top` composited over `bottom`, both straight alpha.
Rgba over(const Rgba& top, const Rgba& bottom);

// A real channel value rounded to 8 bits (halves up, clamped to 0..255).
uint8_t to8(double v);

// Writes one pixel of an RGBA picture; alpha 0 to 1 becomes 0 to 255.
void put(Image& img, int x, int y, const Rgba& c);

// A picture of one colour whose alpha is `alpha` times the coverage. Pixels
// left transparent keep the colour, so that a device that stretches the
// picture without premultiplying blends with the right colour at the edges.
Image tint(const Plane& cov, const std::array<uint8_t, 3>& rgb, double alpha);

}  // namespace pagefold::genres
