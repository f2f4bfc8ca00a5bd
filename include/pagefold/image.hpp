// The picture that crosses the plug-in boundary: masks and RGBA pictures made
// by the picture module and finished by the converter.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pagefold {

// A picture in straight (not premultiplied) alpha. `channels` is 4 for RGBA
// and 1 for an 8-bit mask ("L").
struct Image {
  int w = 0, h = 0, channels = 4;
  std::vector<uint8_t> px;

  Image() = default;
  Image(int w_, int h_, int ch) : w(w_), h(h_), channels(ch), px(size_t(w_) * h_ * ch, 0) {}
  uint8_t* at(int x, int y) { return &px[(size_t(y) * w + x) * channels]; }
  const uint8_t* at(int x, int y) const { return &px[(size_t(y) * w + x) * channels]; }
};

}  // namespace pagefold
