// How alike two pictures of one page are, as one number and a heat map.
//
// The score is the share of pixels that look the same: a pixel matches when
// its colour is within MATCH_DELTA_E (CIE76 colour difference in L*a*b*) of
// some pixel of the other picture at most one pixel away, both ways round.
// A share of area is what a designer can read ("88% of the screen looks the
// same"), it falls in proportion to the area a dropped effect covers (a lost
// gradient or shadow, a missing picture), and it sees changes of hue that
// keep the lightness, which a structural index on grey levels does not. The
// one-pixel neighbourhood forgives the sub-pixel placement and anti-aliasing
// in which two text renderers always differ.
#pragma once

#include <cstdint>
#include <vector>

#include "layout.hpp"
#include "picture.hpp"

namespace pagefold::preview {

inline constexpr double MATCH_DELTA_E = 10.0;

struct Similarity {
  double score = 0;            // share of matching pixels, 0 to 1
  std::vector<uint8_t> match;  // one byte a pixel: 1 where the pixels match
  std::vector<float> delta;    // one a pixel: the colour difference found
  int w = 0, h = 0;
};

// Compares two pictures of the same size (alpha ignored).
Similarity compare_pictures(const Raster& a, const Raster& b);

// The share of matching pixels inside `box` (cut to the picture), or 1 when
// nothing of the box lies on the picture.
double box_score(const Similarity& s, const Box& box);

// The differences painted over a dimmed grey copy of `base`: pixels that
// match stay grey, the others go from red (just beyond the tolerance) to
// yellow (four times the tolerance and more).
Raster heat_map(const Similarity& s, const Raster& base);

// `score` rounded to four decimals, the precision the report gives.
double rounded_score(double score);

}  // namespace pagefold::preview
