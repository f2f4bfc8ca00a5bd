// The picture operations this converter does itself, on straight-alpha RGBA
// pictures and 8-bit masks ("L"): PNG reading and writing with the fixed
// encoder settings, alpha replacement, mask multiplication, pasting,
// compositing, Gaussian blur, area-average downscaling, and the two drawing
// primitives of the corner masks.
//
// Arithmetic follows the usual 8-bit imaging conventions (rounded division by
// 255, fixed-point box filters), so that file sizes and pixels are stable.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "pagefold/image.hpp"
#include "pagefold/style_types.hpp"

namespace pagefold {

// A new RGBA picture of (max(int(w), 1), max(int(h), 1)) filled with `rgba`;
// a three-member colour is opaque.
Image I_new_rgba(double w, double h, const Color& rgba);
// Reads a PNG file as an RGBA picture (palette transparency applied).
Image I_open(const std::string& path);

namespace img {

// Whole-file reading and writing. A file-system failure raises the
// conventional OSError family ("[Errno 2] No such file or directory: 'x'").
std::string read_bytes(const std::string& path);
void write_bytes(const std::string& path, const std::string& data);
[[noreturn]] void raise_os_error(int err, const std::string& path);

// An RGBA picture of one colour (members clamped to 0..255; three members
// mean opaque), and an L picture of one value.
Image new_rgba(int w, int h, const Color& fill);
Image new_l(int w, int h, uint8_t fill = 0);

// Encodes and writes PNG files. RGBA rows use per-row adaptive filtering;
// palette pictures no filtering. `palette` holds r, g, b triples, `trns` one
// alpha per leading palette entry.
void save_png(const Image& rgba, const std::string& path);
void save_png_palette(int w, int h, const std::vector<uint8_t>& indices,
                      const std::vector<uint8_t>& palette, const std::vector<uint8_t>& trns,
                      const std::string& path);

// The raw index bytes of an 8-bit palette PNG held in `data`; absent when it
// is no such picture or cannot be decoded.
std::optional<std::vector<uint8_t>> palette_indices(const std::string& data);

// The alpha channel as an L picture, and its replacement by an L mask of the
// same size ("images do not match" otherwise).
Image getchannel_alpha(const Image& rgba);
void putalpha(Image& rgba, const Image& mask);
// Per-pixel a*b/255 of two masks, over the size they share.
Image multiply(const Image& a, const Image& b);
// Pastes `src` with its top-left corner at (x, y), clipped to `dst`; with a
// mask (an L picture of `src`'s size) every channel is blended by it.
void paste(Image& dst, const Image& src, int x, int y, const Image* mask = nullptr);
// Composites `src` over `dst` in place (same size).
void alpha_composite(Image& dst, const Image& src);
// Gaussian blur of standard deviation `radius`: three extended box passes
// per axis, horizontal first, edges clamped, channels independent.
Image gaussian_blur(const Image& src, double radius);
// Area-averaging resample (box filter), horizontal pass then vertical, each
// rounded to 8 bits.
Image resize_box(const Image& src, int w, int h);

// Drawing on an L picture; boxes are inclusive pixel bounds. Angles are in
// degrees, 0 at three o'clock, growing clockwise.
void rectangle(Image& l, int x0, int y0, int x1, int y1, uint8_t fill);
void pieslice(Image& l, int x0, int y0, int x1, int y1, double start, double end, uint8_t fill);

// The distinct RGBA values with their counts, or absent when there are more
// than `limit`.
using ColorCount = std::pair<int64_t, std::array<uint8_t, 4>>;
std::optional<std::vector<ColorCount>> getcolors(const Image& rgba, size_t limit);

}  // namespace img
}  // namespace pagefold
