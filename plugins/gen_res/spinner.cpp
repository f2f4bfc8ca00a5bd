// The loading spinner.
#include "spinner.hpp"

#include <gif_lib.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <vector>

#include "limits.hpp"
#include "pagefold/error.hpp"

namespace pagefold::genres {
namespace {

constexpr int kDots = 12;

// Sets `p` to the larger of itself and the coverage of `shape`, visiting only
// the pixels near the shape.
void stamp(Plane& p, const RoundRect& shape, int ss) {
  const int x0 = std::max(0, int(std::floor(shape.x0))),
            x1 = std::min(p.w, int(std::ceil(shape.x1)));
  const int y0 = std::max(0, int(std::floor(shape.y0))),
            y1 = std::min(p.h, int(std::ceil(shape.y1)));
  if (x1 <= x0 || y1 <= y0) return;
  RoundRect local = shape;
  local.x0 -= x0, local.x1 -= x0, local.y0 -= y0, local.y1 -= y0;
  const Plane c = coverage(x1 - x0, y1 - y0, local, ss);
  for (int y = y0; y < y1; ++y)
    for (int x = x0; x < x1; ++x) p.at(x, y) = std::max(p.at(x, y), c.at(x - x0, y - y0));
}

int gif_write(GifFileType* gif, const GifByteType* data, int len) {
  static_cast<std::string*>(gif->UserData)
      ->append(reinterpret_cast<const char*>(data), size_t(len));
  return len;
}

[[noreturn]] void gif_failure(int err) {
  const char* s = GifErrorString(err);
  throw Failure("OSError", std::string("cannot write GIF: ") + (s ? s : "unknown error"));
}

}  // namespace

Plane spinner_frame(int size, int i, int n) {
  Plane p(size, size);
  const double s = size;
  const double head = s * 0.09;               // radius of the leading dot
  const double orbit = s / 2.0 - head - 0.5;  // keeps every dot inside the square
  const double turn = 2.0 * std::numbers::pi * double(i) / double(n);
  for (int k = 0; k < kDots; ++k) {
    // Dot k trails the head by k twelfths of a turn, 5.5% smaller each.
    const double angle = -std::numbers::pi / 2.0 + turn - 2.0 * std::numbers::pi * k / kDots;
    const double r = head * (1.0 - 0.055 * k);
    const double cx = s / 2.0 + orbit * std::cos(angle), cy = s / 2.0 + orbit * std::sin(angle);
    stamp(p, RoundRect{cx - r, cy - r, cx + r, cy + r, r}, int(COV_SS));
  }
  return p;
}

int frame_delay(int n) { return std::max(2, int(std::lround(100.0 / n))); }

std::string spinner_gif(int size, int n, const Rgba& color) {
  std::string bytes;
  int err = 0;
  GifFileType* gif = EGifOpen(&bytes, gif_write, &err);
  if (!gif) gif_failure(err);
  // Closes the file on every path; the bytes are only used when it succeeds.
  auto close = [&gif] {
    int e = 0;
    int rc = EGifCloseFile(gif, &e);
    gif = nullptr;
    return rc == GIF_OK ? 0 : e;
  };
  GifColorType colors[2];
  for (GifColorType& c : colors) {
    c.Red = to8(color.r);
    c.Green = to8(color.g);
    c.Blue = to8(color.b);
  }
  ColorMapObject* map = GifMakeMapObject(2, colors);
  if (!map) {
    close();
    throw Failure("MemoryError", "cannot make a GIF palette");
  }
  auto fail = [&](int e) {
    GifFreeMapObject(map);
    if (gif) close();
    gif_failure(e);
  };
  EGifSetGifVersion(gif, true);
  if (EGifPutScreenDesc(gif, size, size, 1, 0, map) != GIF_OK) fail(gif->Error);
  // Loop forever: the application block of the common players.
  unsigned char loop[3] = {1, 0, 0};
  if (EGifPutExtensionLeader(gif, APPLICATION_EXT_FUNC_CODE) != GIF_OK ||
      EGifPutExtensionBlock(gif, 11, "NETSCAPE2.0") != GIF_OK ||
      EGifPutExtensionBlock(gif, 3, loop) != GIF_OK || EGifPutExtensionTrailer(gif) != GIF_OK)
    fail(gif->Error);
  GraphicsControlBlock gcb{};
  gcb.DisposalMode = DISPOSE_BACKGROUND;
  gcb.UserInputFlag = false;
  gcb.DelayTime = frame_delay(n);
  gcb.TransparentColor = 0;
  GifByteType ext[4];
  EGifGCBToExtension(&gcb, ext);
  std::vector<GifPixelType> row(size_t(size), 0);
  for (int i = 0; i < n; ++i) {
    const Plane cov = spinner_frame(size, i, n);
    if (EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, 4, ext) != GIF_OK ||
        EGifPutImageDesc(gif, 0, 0, size, size, false, nullptr) != GIF_OK)
      fail(gif->Error);
    for (int y = 0; y < size; ++y) {
      for (int x = 0; x < size; ++x) row[size_t(x)] = cov.at(x, y) * color.a >= 0.5 ? 1 : 0;
      if (EGifPutLine(gif, row.data(), size) != GIF_OK) fail(gif->Error);
    }
  }
  GifFreeMapObject(map);
  if (int e = close()) gif_failure(e);
  return bytes;
}

}  // namespace pagefold::genres
