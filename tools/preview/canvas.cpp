#include "canvas.hpp"

#include <algorithm>

namespace pagefold::preview {

cairo_surface_t* to_surface(const Raster& r) {
  cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, r.w, r.h);
  // A surface cairo could not make (out of memory) stays an error surface,
  // on which every drawing is a no-op.
  if (cairo_surface_status(s) != CAIRO_STATUS_SUCCESS) return s;
  cairo_surface_flush(s);
  unsigned char* data = cairo_image_surface_get_data(s);
  int stride = cairo_image_surface_get_stride(s);
  for (int y = 0; y < r.h; ++y) {
    uint32_t* row = reinterpret_cast<uint32_t*>(data + size_t(y) * size_t(stride));
    for (int x = 0; x < r.w; ++x) {
      const uint8_t* p = r.at(x, y);
      uint32_t a = p[3];
      auto pm = [a](uint32_t v) { return (v * a + 127) / 255; };
      row[x] = (a << 24) | (pm(p[0]) << 16) | (pm(p[1]) << 8) | pm(p[2]);
    }
  }
  cairo_surface_mark_dirty(s);
  return s;
}

Raster from_surface(cairo_surface_t* s) {
  if (cairo_surface_status(s) != CAIRO_STATUS_SUCCESS) return Raster();
  cairo_surface_flush(s);
  int w = cairo_image_surface_get_width(s), h = cairo_image_surface_get_height(s);
  int stride = cairo_image_surface_get_stride(s);
  const unsigned char* data = cairo_image_surface_get_data(s);
  Raster r(w, h);
  for (int y = 0; y < h; ++y) {
    const uint32_t* row = reinterpret_cast<const uint32_t*>(data + size_t(y) * size_t(stride));
    for (int x = 0; x < w; ++x) {
      uint32_t p = row[x];
      uint32_t a = p >> 24;
      uint8_t* o = r.at(x, y);
      for (int c = 0; c < 3; ++c) {
        uint32_t v = (p >> (16 - 8 * c)) & 255;
        o[c] = a == 0 ? 0 : uint8_t(std::min<uint32_t>(255, (v * 255 + a / 2) / a));
      }
      o[3] = uint8_t(a);
    }
  }
  return r;
}

}  // namespace pagefold::preview
