// Exact palette PNG output for the pictures this converter composes itself
// (slider bitmaps, hit areas, nine-patches), and the log of what each save
// chose, which belongs to one conversion and is summarised at its end.
#pragma once

#include <cstdint>
#include <optional>
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

struct PngLog {
  std::vector<PngLogEntry> entries;
  // The designer's summary: how many pictures went to 8-bit palette files and
  // what that saved, and the first four that stayed RGBA; nothing when no
  // picture was encoded.
  std::optional<std::string> summary() const;
};

// Writes the RGBA picture `img` to `out_dir/name`, as an 8-bit palette file
// when that is exact and no larger than plain RGBA, and logs the choice in
// `log`; answers the path.
std::string _save_css_png(const Image& img, const std::string& out_dir, const std::string& name,
                          PngLog& log);
// Cuts the padded palette and transparency chunks of a palette PNG down to
// the entries in use; answers the bytes saved, 0 when nothing was done.
int64_t _trim_png_palette(const std::string& path);

}  // namespace pagefold
