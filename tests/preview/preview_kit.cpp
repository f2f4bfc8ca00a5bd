#include "preview_kit.hpp"

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace pagefold::preview::testing {

ScratchDir::ScratchDir() {
  std::string tmpl = (std::filesystem::temp_directory_path() / "preview-test-XXXXXX").string();
  if (!mkdtemp(tmpl.data())) throw std::runtime_error("mkdtemp failed");
  path_ = tmpl;
}

ScratchDir::~ScratchDir() {
  std::error_code ec;
  std::filesystem::remove_all(path_, ec);
}

void write_text(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::string read_text(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

Raster solid(int w, int h, uint32_t rgb) {
  Raster r(w, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      uint8_t* p = r.at(x, y);
      p[0] = uint8_t(rgb >> 16);
      p[1] = uint8_t(rgb >> 8);
      p[2] = uint8_t(rgb);
      p[3] = 255;
    }
  return r;
}

void save_png(const std::string& path, const Raster& r) {
  std::string error;
  if (!write_png(path, r, false, error)) throw std::runtime_error(error);
}

uint32_t rgb_at(const Raster& r, int x, int y) {
  const uint8_t* p = r.at(x, y);
  return (uint32_t(p[0]) << 16) | (uint32_t(p[1]) << 8) | p[2];
}

}  // namespace pagefold::preview::testing
