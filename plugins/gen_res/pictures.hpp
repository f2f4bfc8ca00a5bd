// The pictures of CSS box effects: linear gradients, box-shadow cards, rounded
// rectangles and their nine-patch form. Pure functions from arguments to
// straight-alpha pictures; the module writes them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "pagefold/image.hpp"
#include "pagefold/style_types.hpp"
#include "raster.hpp"

namespace pagefold::genres {

// A colour tuple as a straight colour: members clamped to 0..255, and a
// three-member colour opaque.
Rgba rgba_of(const Color& c);

// The stops with every position settled as browsers settle them: a first
// stop without a position at 0, a last one at 1, a position below an earlier
// one raised to it, and runs without positions spread evenly between their
// neighbours.
std::vector<double> settled_positions(const std::vector<Stop>& stops);

// The colour of the gradient at `t` (0 at the start of the gradient line, 1 at
// its end), interpolated in premultiplied space as browsers do: a stop of
// zero alpha lends no colour to its neighbours.
Rgba gradient_at(const std::vector<Stop>& stops, const std::vector<double>& pos, double t);

// A `w` by `h` picture of the gradient, left to right when `horizontal` else
// top to bottom, sampled at pixel centres, with corners of `radius` pixels
// anti-aliased at `ss` samples per axis.
Image gradient_picture(int w, int h, const std::vector<Stop>& stops, bool horizontal, double radius,
                       int ss);

// How far a shadow reaches outside its box: blur plus the larger offset, at
// least 2, each argument truncated to an integer first.
int64_t shadow_pad(int64_t ox, int64_t oy, int64_t blur);

// A card of `w` by `h` (fill or none) over its box shadow, on a canvas grown by
// shadow_pad on every side; with `crop` the canvas is the card alone. The
// shadow is the card's shape moved by (ox, oy), blurred by a Gaussian of
// standard deviation blur/2 and, as in a browser, not drawn under the card.
Image shadow_card(int w, int h, double radius, const std::optional<Color>& fill,
                  const ShadowSpec& shadow, bool crop, int ss);

// A `w` by `h` rounded rectangle of one colour with anti-aliased corners.
Image rounded_rect(int w, int h, double radius, const Color& fill, int ss);

// The nine-patch form of `img`: a one-pixel border around it, transparent
// except for black marks: stretch on the top and left edges (the middle,
// clear of the corners of `radius`), content on the bottom and right edges
// (the largest rectangle clear of the corners).
Image nine_patch(const Image& img, int64_t radius);

}  // namespace pagefold::genres
