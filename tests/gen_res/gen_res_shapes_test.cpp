// The geometry of the plug-in's pictures: masks at edges and corners, the
// nine-patch marks, the shadow card's canvas and blur, gradient colours, and
// the bounds of every size argument.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "files.hpp"
#include "module.hpp"
#include "pagefold/error.hpp"
#include "pictures.hpp"
#include "support.hpp"
#include "testkit.hpp"

using namespace pagefold;
using gen_res_test::rows;

namespace {

class Shapes : public ::testing::Test {
 protected:
  genres::GenResModule gr;
  testkit::TempDir tmp;

  Image gradient(int w, int h, const std::vector<Stop>& stops, bool horizontal,
                 int64_t radius = 0) {
    return genres::read_png(
        gr.gen_gradient_stops(tmp.str(), "g.png", w, h, stops, horizontal, radius, 4));
  }
  Image shadow(int w, int h, const std::optional<Color>& fill, ShadowSpec s, bool crop = false) {
    return genres::read_png(gr.gen_shadow_card(tmp.str(), "s.png", w, h, 0, fill, s, crop, 4));
  }
};

std::string pixel(const Image& img, int x, int y) {
  const uint8_t* p = img.at(x, y);
  return std::to_string(p[0]) + "," + std::to_string(p[1]) + "," + std::to_string(p[2]) + "," +
         std::to_string(p[3]);
}

std::string row_pixels(const Image& img, int y) {
  std::string out;
  for (int x = 0; x < img.w; ++x) out += (x ? " " : "") + pixel(img, x, y);
  return out;
}

const Color kRed = Color::rgba(255, 0, 0, 255);
const Color kBlue = Color::rgba(0, 0, 255, 255);
const Color kBlack = Color::rgba(0, 0, 0, 255);

TEST_F(Shapes, MasksCoverTheirShapeAtEdgesAndCorners) {
  // One sample per pixel: a pixel is in when its centre is. With the radius
  // at half the side the shape is a circle.
  EXPECT_EQ("..####..\n.######.\n########\n########\n########\n########\n.######.\n..####..\n",
            rows(gr.ss_shape_mask(8, 8, 4, 1), 0));
  // A radius beyond half the shorter side is that half.
  EXPECT_EQ(gr.ss_shape_mask(8, 8, 4, 4).px, gr.ss_shape_mask(8, 8, 100, 4).px);
  // Square corners leave nothing partial, however fine the sampling.
  EXPECT_EQ("######\n######\n######\n", rows(gr.ss_shape_mask(6, 3, 0, 4), 0));
  EXPECT_EQ("######\n######\n######\n", rows(gr.coverage_mask(6, 3, 0.0, std::nullopt), 0));

  // Anti-aliased: the four corners alike, the edges between them solid, and
  // the corner pixel close to its true share of the quarter disc.
  const Image m = gr.coverage_mask(12, 10, 4.0, std::nullopt);
  EXPECT_EQ(".+++####+++.\n", rows(m, 0).substr(0, 13));
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 12; ++x) {
      ASSERT_EQ(*m.at(x, y), *m.at(11 - x, y)) << x << "," << y;
      ASSERT_EQ(*m.at(x, y), *m.at(x, 9 - y)) << x << "," << y;
    }
  for (int x = 4; x < 8; ++x) EXPECT_EQ(255, *m.at(x, 0));
  for (int y = 4; y < 6; ++y) EXPECT_EQ(255, *m.at(0, y));
  // Pixels near the curve against their true share of the disc of radius 4
  // about (4, 4).
  for (auto [px, py] : {std::pair{1, 1}, {1, 0}, {0, 2}, {2, 1}}) {
    double inside = 0;
    for (int j = 0; j < 400; ++j)
      for (int i = 0; i < 400; ++i)
        inside += std::hypot(px + (i + 0.5) / 400 - 4, py + (j + 0.5) / 400 - 4) <= 4 ? 1 : 0;
    EXPECT_NEAR(255.0 * inside / 160000.0, *m.at(px, py), 2.0) << px << "," << py;
  }
  // Real radii lie between their neighbours.
  const int r2 = *gr.coverage_mask(12, 10, 2.0, std::nullopt).at(0, 0);
  const int r25 = *gr.coverage_mask(12, 10, 2.5, std::nullopt).at(0, 0);
  const int r3 = *gr.coverage_mask(12, 10, 3.0, std::nullopt).at(0, 0);
  EXPECT_GT(r2, r25);
  EXPECT_GT(r25, r3);
}

// Counting a pixel's samples row by row from both ends gives the count of
// every sample tested one by one: whole and fractional bounds, no radius, a
// circle, a radius past half the side, shapes thinner than a pixel or a
// sample, and shapes partly or wholly off the canvas.
TEST(SampleCounts, AreTheCountsOfEverySampleTested) {
  const auto each = [](int w, int h, const genres::RoundRect& s, int ss) {
    const double r = std::clamp(s.r, 0.0, std::max(std::min(s.x1 - s.x0, s.y1 - s.y0) / 2, 0.0));
    const auto in = [&](double px, double py) {
      if (px < s.x0 || px >= s.x1 || py < s.y0 || py >= s.y1) return false;
      if (r <= 0) return true;
      const double dx = px - std::clamp(px, s.x0 + r, s.x1 - r);
      const double dy = py - std::clamp(py, s.y0 + r, s.y1 - r);
      return dx * dx + dy * dy <= r * r;
    };
    std::vector<int> out(size_t(w) * size_t(h), 0);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        for (int j = 0; j < ss; ++j)
          for (int i = 0; i < ss; ++i)
            out[size_t(y) * size_t(w) + size_t(x)] += in(x + (i + 0.5) / ss, y + (j + 0.5) / ss);
    return out;
  };
  const genres::RoundRect shapes[] = {{0, 0, 12, 9, 0},           {0, 0, 12, 9, 3},
                                      {0, 0, 10, 10, 5},          {0, 0, 12, 9, 40},
                                      {1.3, 0.7, 10.9, 8.2, 2.6}, {4.2, 1.1, 4.9, 8.6, 0.3},
                                      {2.01, 3.5, 9.5, 3.52, 1},  {-3.5, -2.25, 6.75, 5.5, 4},
                                      {5, 4, 15.5, 12.5, 6.2},    {3, 3, 3, 7, 1},
                                      {13, 2, 20, 5, 1},          {-8, -8, -1, -1, 2},
                                      {11.5, 8.5, 12, 9, 0}};
  for (const genres::RoundRect& s : shapes)
    for (int ss : {1, 2, 3, 4, 16})
      EXPECT_EQ(each(12, 9, s, ss), genres::sample_counts(12, 9, s, ss))
          << s.x0 << " " << s.y0 << " " << s.x1 << " " << s.y1 << " " << s.r << " ss " << ss;
}

// The blur adds whole rows tap by tap: every value is bit for bit the plain
// convolution's, taps beyond the plane left out, for planes narrower and
// shorter than the kernel, a single pixel, zeros, fractions and a sharp edge.
TEST(GaussianBlur, IsThePlainConvolutionBitForBit) {
  const auto plain = [](const genres::Plane& p, double sigma) {
    const int radius = static_cast<int>(std::ceil(sigma * 3.0));
    std::vector<double> k(size_t(radius) * 2 + 1);
    double sum = 0;
    for (int i = -radius; i <= radius; ++i)
      sum += k[size_t(i + radius)] = std::exp(-(double(i) * i) / (2.0 * sigma * sigma));
    for (double& x : k) x /= sum;
    genres::Plane tmp(p.w, p.h), out(p.w, p.h);
    for (int y = 0; y < p.h; ++y)
      for (int x = 0; x < p.w; ++x)
        for (int i = std::max(-radius, -x); i <= std::min(radius, p.w - 1 - x); ++i)
          tmp.at(x, y) += p.at(x + i, y) * k[size_t(i + radius)];
    for (int y = 0; y < p.h; ++y)
      for (int x = 0; x < p.w; ++x)
        for (int i = std::max(-radius, -y); i <= std::min(radius, p.h - 1 - y); ++i)
          out.at(x, y) += tmp.at(x, y + i) * k[size_t(i + radius)];
    return out;
  };
  const auto bits = [](const genres::Plane& p) {
    std::vector<uint64_t> out(p.v.size());
    std::memcpy(out.data(), p.v.data(), out.size() * sizeof(double));
    return out;
  };
  uint32_t seed = 12345;
  const auto next = [&seed] {
    seed = seed * 1664525u + 1013904223u;
    return seed >> 8;
  };
  for (const auto& [w, h] : {std::pair{1, 1}, {3, 2}, {2, 17}, {40, 23}, {9, 61}})
    for (double sigma : {0.4, 1.0, 2.5, 7.0}) {
      genres::Plane p(w, h);
      for (double& v : p.v) {
        const uint32_t r = next();
        v = r % 3 == 0 ? 0.0 : r % 3 == 1 ? 1.0 : double(r % 1000) / 999.0;
      }
      EXPECT_EQ(bits(plain(p, sigma)), bits(genres::gaussian_blur(p, sigma)))
          << w << "x" << h << " " << sigma;
    }
}

TEST_F(Shapes, CoverageMaskFillsOnlyItsInclusiveRect) {
  EXPECT_EQ("......\n..###.\n..###.\n..###.\n......\n",
            rows(gr.coverage_mask(6, 5, 0.0, std::vector<int64_t>{2, 1, 4, 3}), 0));
  // A single pixel, and a rect reaching past the picture, which is cut.
  EXPECT_EQ("...\n.#.\n...\n",
            rows(gr.coverage_mask(3, 3, 0.0, std::vector<int64_t>{1, 1, 1, 1}), 0));
  EXPECT_EQ("...\n.##\n.##\n",
            rows(gr.coverage_mask(3, 3, 0.0, std::vector<int64_t>{1, 1, 9, 9}), 0));
  // With a radius the rect holds the same shape as a picture of its size.
  const Image whole = gr.coverage_mask(8, 6, 2.0, std::nullopt);
  const Image inset = gr.coverage_mask(12, 10, 2.0, std::vector<int64_t>{2, 3, 9, 8});
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 12; ++x) {
      const bool in = x >= 2 && x <= 9 && y >= 3 && y <= 8;
      ASSERT_EQ(in ? *whole.at(x - 2, y - 3) : 0, *inset.at(x, y)) << x << "," << y;
    }
  EXPECT_THROW(gr.coverage_mask(6, 5, 0.0, std::vector<int64_t>{4, 1, 2, 3}), Failure);
  EXPECT_THROW(gr.coverage_mask(6, 5, 0.0, std::vector<int64_t>{1, 2, 3}), Failure);
}

TEST_F(Shapes, RoundedRectIsTheFillWithTheMaskAsAlpha) {
  const Image img = gr.rounded_rect_cov(12, 10, 4.0, Color::rgb(10, 20, 30));
  const Image mask = gr.coverage_mask(12, 10, 4.0, std::nullopt);
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 12; ++x)
      ASSERT_EQ("10,20,30," + std::to_string(*mask.at(x, y)), pixel(img, x, y));
  // A colour's own alpha scales the coverage.
  EXPECT_EQ("10,20,30,128",
            pixel(gr.rounded_rect_cov(4, 4, 0, Color::rgba(10, 20, 30, 128)), 1, 1));
}

TEST_F(Shapes, NinePatchMarksStretchAndContentOutsideTheCorners) {
  const Image src = gr.rounded_rect_cov(10, 6, 2.0, kRed);
  const Image np = genres::read_png(gr.to_9patch(src, 2, tmp.str(), "p.9.png"));
  ASSERT_EQ(12, np.w);
  ASSERT_EQ(8, np.h);
  auto edge = [&](int x0, int y0, int dx, int dy, int n) {
    std::string s;
    for (int i = 0; i < n; ++i) {
      const std::string p = pixel(np, x0 + dx * i, y0 + dy * i);
      s.push_back(p == "0,0,0,255" ? '#' : p == "0,0,0,0" ? '.' : '?');
    }
    return s;
  };
  EXPECT_EQ("...######...", edge(0, 0, 1, 0, 12));  // stretch: clear of the corners
  EXPECT_EQ("...##...", edge(0, 0, 0, 1, 8));
  EXPECT_EQ("..########..", edge(0, 7, 1, 0, 12));  // content: clear of the curves
  EXPECT_EQ("..####..", edge(11, 0, 0, 1, 8));
  for (int y = 0; y < 6; ++y)
    for (int x = 0; x < 10; ++x) ASSERT_EQ(pixel(src, x, y), pixel(np, x + 1, y + 1));

  // Square corners stretch everything; a pill keeps its middle row.
  const Image sq =
      genres::read_png(gr.to_9patch(gr.rounded_rect_cov(4, 3, 0, kRed), 0, tmp.str(), "q.9.png"));
  EXPECT_EQ("0,0,0,0 0,0,0,255 0,0,0,255 0,0,0,255 0,0,0,255 0,0,0,0", row_pixels(sq, 0));
  const Image pill =
      genres::read_png(gr.to_9patch(gr.rounded_rect_cov(10, 4, 2, kRed), 2, tmp.str(), "r.9.png"));
  EXPECT_EQ("0,0,0,0", pixel(pill, 0, 1));
  EXPECT_EQ("0,0,0,255", pixel(pill, 0, 2));
  EXPECT_EQ("0,0,0,0", pixel(pill, 0, 3));
}

TEST_F(Shapes, ShadowCardCanvasGrowsByThePadOnEverySide) {
  struct Case {
    int64_t ox, oy, blur, pad;
  };
  // pad = max(2, blur + max(|ox|, |oy|))
  const Case cases[] = {{0, 0, 0, 2}, {0, 1, 0, 2},  {0, 2, 0, 2},  {0, 3, 0, 3},  {0, 0, 1, 2},
                        {0, 0, 3, 3}, {-3, 1, 4, 7}, {5, -8, 0, 8}, {2, 2, 20, 22}};
  for (const Case& c : cases) {
    const Image img = shadow(30, 20, kRed, ShadowSpec{c.ox, c.oy, c.blur, kBlack});
    EXPECT_EQ(30 + 2 * c.pad, img.w) << c.ox << " " << c.oy << " " << c.blur;
    EXPECT_EQ(20 + 2 * c.pad, img.h) << c.ox << " " << c.oy << " " << c.blur;
    EXPECT_EQ(c.pad, genres::shadow_pad(c.ox, c.oy, c.blur));
  }
  // Cropped, the canvas is the card.
  const Image crop = shadow(30, 20, kRed, ShadowSpec{0, 4, 6, kBlack}, true);
  EXPECT_EQ(30, crop.w);
  EXPECT_EQ(20, crop.h);
}

TEST_F(Shapes, ShadowIsTheMovedShapeShownOnlyOutsideTheCard) {
  // No blur: the shadow is the card moved down by 4, and nothing of it lies
  // under the card, which here has no fill.
  const std::string below = "....##########....\n";
  const std::string none = "..................\n";
  std::string want;
  for (int y = 0; y < 14; ++y) want += none;
  for (int y = 0; y < 4; ++y) want += below;
  EXPECT_EQ(want, rows(shadow(10, 10, std::nullopt, ShadowSpec{0, 4, 0, kBlack}), 3));
  // With a fill, the card stands over its shadow.
  const Image card = shadow(10, 10, Color::rgb(255, 255, 255), ShadowSpec{0, 4, 0, kBlack});
  EXPECT_EQ("255,255,255,255", pixel(card, 8, 8));
  EXPECT_EQ("0,0,0,255", pixel(card, 8, 15));
  EXPECT_EQ("0,0,0,0", pixel(card, 8, 1));
}

TEST_F(Shapes, ShadowBlurIsAGaussianOfHalfTheBlurLength) {
  // Blur 8: standard deviation 4. Across a straight edge the shadow fades as
  // the normal distribution does: 45% half a pixel out, 3% 7.5 pixels out.
  const Image img = shadow(60, 60, std::nullopt, ShadowSpec{0, 0, 8, kBlack});
  ASSERT_EQ(76, img.w);
  const int y = 38;
  EXPECT_NEAR(255 * 0.4503, img.at(7, y)[3], 2);
  EXPECT_NEAR(255 * 0.0304, img.at(0, y)[3], 2);
  EXPECT_EQ(0, img.at(8, y)[3]);  // under the card
  EXPECT_EQ(img.at(7, y)[3], img.at(68, y)[3]);
  EXPECT_EQ(img.at(y, 7)[3], img.at(y, 68)[3]);
  // Moved down, the shadow shows more below than above.
  const Image low = shadow(60, 60, std::nullopt, ShadowSpec{0, 3, 8, kBlack});
  EXPECT_GT(low.at(40, 73)[3], low.at(40, 2)[3]);
}

TEST_F(Shapes, GradientInterpolatesBetweenItsStopsAtPixelCentres) {
  const std::vector<Stop> rb = {{std::nullopt, kRed}, {std::nullopt, kBlue}};
  EXPECT_EQ("223,0,32,255 159,0,96,255 96,0,159,255 32,0,223,255",
            row_pixels(gradient(4, 1, rb, true), 0));
  const Image v = gradient(3, 4, rb, false);
  EXPECT_EQ("96,0,159,255 96,0,159,255 96,0,159,255", row_pixels(v, 2));
  EXPECT_EQ("223,0,32,255", pixel(v, 0, 0));

  // A middle stop is met exactly at the middle pixel.
  const std::vector<Stop> wgb = {
      {0.0, Color::rgb(255, 255, 255)}, {0.5, Color::rgb(0, 128, 0)}, {1.0, Color::rgb(0, 0, 0)}};
  EXPECT_EQ("204,230,204,255 102,179,102,255 0,128,0,255 0,77,0,255 0,26,0,255",
            row_pixels(gradient(5, 1, wgb, true), 0));

  // A transparent stop lends no colour: premultiplied, the blue stays blue
  // and only its alpha fades.
  const std::vector<Stop> fade = {{std::nullopt, Color::rgba(255, 255, 255, 0)},
                                  {std::nullopt, kBlue}};
  EXPECT_EQ("0,0,255,32 0,0,255,96 0,0,255,159 0,0,255,223",
            row_pixels(gradient(4, 1, fade, true), 0));

  // A hard stop, and a single stop, which is its colour throughout.
  const std::vector<Stop> hard = {{0.5, kRed}, {0.5, kBlue}};
  EXPECT_EQ("255,0,0,255 255,0,0,255 0,0,255,255 0,0,255,255",
            row_pixels(gradient(4, 1, hard, true), 0));
  EXPECT_EQ("255,0,0,255 255,0,0,255", row_pixels(gradient(2, 1, {{std::nullopt, kRed}}, true), 0));
  EXPECT_THROW(gradient(2, 1, {}, true), Failure);

  // Rounded corners: the gradient's alpha is the shape's mask.
  const Image round = gradient(12, 10, rb, true, 4);
  const Image mask = gr.ss_shape_mask(12, 10, 4, 4);
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 12; ++x) ASSERT_EQ(*mask.at(x, y), round.at(x, y)[3]);
}

TEST(GradientStops, PositionsAreSettledAsBrowsersSettleThem) {
  auto settle = [](std::vector<std::optional<double>> pos) {
    std::vector<Stop> stops;
    for (auto p : pos) stops.push_back({p, kRed});
    return genres::settled_positions(stops);
  };
  using ::testing::DoubleNear;
  using ::testing::ElementsAre;
  const double e = 1e-12;
  EXPECT_THAT(settle({std::nullopt, std::nullopt}), ElementsAre(0.0, 1.0));
  EXPECT_THAT(settle({std::nullopt, std::nullopt, std::nullopt}), ElementsAre(0.0, 0.5, 1.0));
  EXPECT_THAT(
      settle({0.2, std::nullopt, std::nullopt, 0.8}),
      ElementsAre(DoubleNear(0.2, e), DoubleNear(0.4, e), DoubleNear(0.6, e), DoubleNear(0.8, e)));
  EXPECT_THAT(settle({std::nullopt, 0.7, std::nullopt}), ElementsAre(0.0, 0.7, 1.0));
  // A position below an earlier one is raised to it, the last one too.
  EXPECT_THAT(settle({0.5, 0.3, 0.9}), ElementsAre(0.5, 0.5, 0.9));
  EXPECT_THAT(settle({0.6, std::nullopt, 0.2}), ElementsAre(0.6, 0.6, 0.6));
}

TEST_F(Shapes, SizesAndFactorsAreBoundedAtBothEnds) {
  // Sides: 1 to 4096.
  EXPECT_THROW(gr.coverage_mask(0, 1, 0, std::nullopt), Failure);
  EXPECT_THROW(gr.coverage_mask(-1, 1, 0, std::nullopt), Failure);
  EXPECT_EQ(1, gr.coverage_mask(1, 1, 0, std::nullopt).w);
  EXPECT_EQ(4096, gr.coverage_mask(4096, 1, 0, std::nullopt).w);
  EXPECT_THROW(gr.coverage_mask(4097, 1, 0, std::nullopt), Failure);
  EXPECT_THROW(gr.coverage_mask(1, 4097, 0, std::nullopt), Failure);
  EXPECT_EQ(4096, gradient(4096, 1, {{std::nullopt, kRed}}, true).w);
  EXPECT_THROW(gradient(4097, 1, {{std::nullopt, kRed}}, true), Failure);
  // The shadow card's grown canvas counts: 4092 + 2 * 2 fits, 4093 does not.
  EXPECT_EQ(4096, shadow(4092, 1, kRed, ShadowSpec{0, 0, 0, kBlack}).w);
  EXPECT_THROW(shadow(4093, 1, kRed, ShadowSpec{0, 0, 0, kBlack}), Failure);
  EXPECT_THROW(shadow(4, 4, kRed, ShadowSpec{0, 0, -1, kBlack}), Failure);
  // Samples per axis: 1 to 16.
  EXPECT_THROW(gr.ss_shape_mask(4, 4, 1, 0), Failure);
  EXPECT_EQ(4, gr.ss_shape_mask(4, 4, 1, 1).w);
  EXPECT_EQ(4, gr.ss_shape_mask(4, 4, 1, 16).w);
  EXPECT_THROW(gr.ss_shape_mask(4, 4, 1, 17), Failure);
  // Radii: 0 or more, and a number.
  EXPECT_EQ(4, gr.coverage_mask(4, 4, 0.0, std::nullopt).w);
  EXPECT_THROW(gr.coverage_mask(4, 4, -0.5, std::nullopt), Failure);
  EXPECT_THROW(gr.coverage_mask(4, 4, std::nan(""), std::nullopt), Failure);
  EXPECT_THROW(gr.to_9patch(Image(4, 4, 1), 1, tmp.str(), "l.9.png"), Failure);
  // The module's sampling factors.
  EXPECT_EQ(4, gr.SS_DEFAULT());
  EXPECT_EQ(16, gr.COV_SS());
}

}  // namespace
