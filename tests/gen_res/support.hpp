// Helpers for the picture plug-in's tests: pictures as text, and where a
// picture's ink lies.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "pagefold/image.hpp"

namespace gen_res_test {

// One line per row: '#' for 255, '.' for 0, '+' for anything between. `ch`
// picks the channel (0 for a mask, 3 for the alpha of an RGBA picture).
inline std::string rows(const pagefold::Image& img, int ch) {
  std::string out;
  for (int y = 0; y < img.h; ++y) {
    for (int x = 0; x < img.w; ++x) {
      const uint8_t v = img.at(x, y)[ch];
      out.push_back(v == 255 ? '#' : v == 0 ? '.' : '+');
    }
    out.push_back('\n');
  }
  return out;
}

// The alpha-weighted centre of an RGBA picture, in pixel coordinates (the
// centre of pixel (0, 0) is (0.5, 0.5)).
struct Point {
  double x = 0, y = 0;
};
inline Point alpha_centroid(const pagefold::Image& img) {
  double sx = 0, sy = 0, s = 0;
  for (int y = 0; y < img.h; ++y)
    for (int x = 0; x < img.w; ++x) {
      const double a = img.at(x, y)[3];
      sx += a * (x + 0.5);
      sy += a * (y + 0.5);
      s += a;
    }
  return s > 0 ? Point{sx / s, sy / s} : Point{};
}

// The smallest box holding every pixel with alpha above `min`: x0, y0, x1, y1
// inclusive.
inline std::vector<int> alpha_box(const pagefold::Image& img, int min = 0) {
  std::vector<int> b = {img.w, img.h, -1, -1};
  for (int y = 0; y < img.h; ++y)
    for (int x = 0; x < img.w; ++x)
      if (img.at(x, y)[3] > min) {
        b[0] = std::min(b[0], x);
        b[1] = std::min(b[1], y);
        b[2] = std::max(b[2], x);
        b[3] = std::max(b[3], y);
      }
  return b;
}

// The names of the files in `dir`, sorted.
inline std::vector<std::string> files_in(const std::string& dir) {
  std::vector<std::string> out;
  if (std::filesystem::exists(dir))
    for (const auto& e : std::filesystem::directory_iterator(dir))
      out.push_back(e.path().filename().string());
  std::sort(out.begin(), out.end());
  return out;
}

}  // namespace gen_res_test
