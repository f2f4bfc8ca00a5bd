// Exact palette PNG output for the pictures this converter composes itself
// (slider bitmaps, hit areas, nine-patches), and the log of what each save
// chose, which the end of a conversion reports and empties.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "pagefold/image.hpp"

namespace pagefold {

// One row per `_save_css_png` call: file name, "p8" or "rgba", size of the
// RGBA candidate, size of the file kept, and the number of distinct RGBA
// values (0 above 256 or when counting failed).
struct PngLogEntry {
  std::string name, kind;
  int64_t rgba_size, final_size, colors;
};
extern std::vector<PngLogEntry> PNG_LOG;

// Writes the RGBA picture `img` to `out_dir/name`, as an 8-bit palette file
// when that is exact and no larger than plain RGBA; answers the path.
std::string _save_css_png(const Image& img, const std::string& out_dir, const std::string& name);
// Cuts the padded palette and transparency chunks of a palette PNG down to
// the entries in use; answers the bytes saved, 0 when nothing was done.
int64_t _trim_png_palette(const std::string& path);

}  // namespace pagefold
