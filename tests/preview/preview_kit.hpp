// Helpers of the previewer's tests: scratch directories, small pictures
// written by the tests themselves, and pixel probes.
#pragma once

#include <cstdint>
#include <string>

#include "picture.hpp"

namespace pagefold::preview::testing {

// A fresh empty directory under the system's temporary directory, removed
// when the object goes.
class ScratchDir {
 public:
  ScratchDir();
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  const std::string& path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

void write_text(const std::string& path, const std::string& text);
std::string read_text(const std::string& path);

// A picture of one colour (0xRRGGBB, opaque).
Raster solid(int w, int h, uint32_t rgb);
void save_png(const std::string& path, const Raster& r);

// The colour of a pixel as 0xRRGGBB.
uint32_t rgb_at(const Raster& r, int x, int y);

}  // namespace pagefold::preview::testing
