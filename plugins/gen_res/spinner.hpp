// The loading spinner: twelve dots on a circle, shrinking from the head to the
// tail, turning clockwise by one dot per frame, so that frames loop without a
// seam. The dots differ in size rather than in opacity because a GIF has only
// on-or-off transparency: the animated file and the frame pictures show the
// same spinner.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "pagefold/image.hpp"
#include "raster.hpp"

namespace pagefold::genres {

// Coverage of frame `i` of `n` of a spinner `size` pixels square.
Plane spinner_frame(int size, int i, int n);

// The spinner as an animated GIF that loops forever: a two-entry palette
// (transparent and the colour), each frame replacing the one before. A pixel
// is opaque where coverage times the colour's alpha reaches one half.
std::string spinner_gif(int size, int n, const Rgba& color);

// The frame delay of an `n`-frame spinner, in hundredths of a second: one
// turn a second, never under 2 (players slow anything faster down).
int frame_delay(int n);

}  // namespace pagefold::genres
