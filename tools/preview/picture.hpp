// Pictures as the previewer reads and writes them: straight RGBA rasters,
// decoded from the PNG and GIF files of the asset directory, and written as
// PNG files.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace pagefold::preview {

// Largest picture the previewer decodes, on each side and in total. A page
// asset larger than this is reported as unreadable instead of being decoded.
inline constexpr int MAX_PICTURE_SIDE = 8192;
inline constexpr int64_t MAX_PICTURE_PIXELS = int64_t(16) << 20;

// A picture in straight (not premultiplied) alpha, four bytes a pixel.
struct Raster {
  int w = 0, h = 0;
  std::vector<uint8_t> px;

  Raster() = default;
  Raster(int w_, int h_) : w(w_), h(h_), px(size_t(w_) * size_t(h_) * 4, 0) {}
  uint8_t* at(int x, int y) { return &px[(size_t(y) * size_t(w) + size_t(x)) * 4]; }
  const uint8_t* at(int x, int y) const { return &px[(size_t(y) * size_t(w) + size_t(x)) * 4]; }
};

// Decodes a PNG (any colour type, with its transparency chunk) or the first
// frame of a GIF, told apart by their signatures. On failure answers nothing
// and sets `error` to a short reason.
std::optional<Raster> load_picture(const std::string& path, std::string& error);

// Writes `r` as a PNG file; `opaque` drops the alpha channel. Answers false
// with `error` set when the file cannot be written.
bool write_png(const std::string& path, const Raster& r, bool opaque, std::string& error);

// The stretch marks of a nine-patch picture: the one-pixel frame around the
// picture holds opaque black runs on its top edge (columns that stretch) and
// left edge (rows that stretch). `image` is the picture without its frame.
struct NinePatch {
  Raster image;
  // Alternating runs along each axis of `image`, each with whether it stretches.
  struct Run {
    int start, length;
    bool stretch;
  };
  std::vector<Run> xs, ys;
};

// Reads the marks of a nine-patch picture. Answers nothing (with `error`)
// when the frame is not a valid nine-patch frame.
std::optional<NinePatch> read_nine_patch(const Raster& framed, std::string& error);

// Splits `total` target pixels among the runs of one axis the way a
// nine-patch stretches: fixed runs keep their size and stretchable runs share
// the rest in proportion to their sizes; when the target is smaller than the
// fixed runs, those shrink in proportion and the stretchable ones vanish.
// Answers the target length of each run; the lengths add up to `total`.
std::vector<int> stretch_runs(const std::vector<NinePatch::Run>& runs, int total);

// Decoded pictures of one asset directory, each file read once.
class PictureStore {
 public:
  explicit PictureStore(std::string asset_dir) : dir_(std::move(asset_dir)) {}
  const std::string& dir() const { return dir_; }

  // The file an asset reference names: `images/<name>` (and `image/<name>`,
  // the form of an animation's play file) is `<asset dir>/<name>`; when that
  // file does not exist, the reference's last path component is tried in the
  // asset directory. References that climb out with ".." use their last
  // component only.
  std::string resolve(const std::string& ref) const;

  // The decoded picture of a reference, or nothing with `error` set.
  const Raster* get(const std::string& ref, std::string& error);

 private:
  struct Entry {
    std::optional<Raster> raster;
    std::string error;
  };
  std::string dir_;
  std::map<std::string, Entry> cache_;
};

}  // namespace pagefold::preview
