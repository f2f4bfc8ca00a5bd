// Colour emoji from the colour bitmap font.
#include "emoji.hpp"

#include <hb.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "pagefold/error.hpp"
#include "raster.hpp"

namespace pagefold::genres {
namespace {

// A picture in premultiplied real channels (r, g, b, a), 0 to 1, which is the
// space in which colour bitmaps are scaled without dark fringes.
struct Premul {
  int w = 0, h = 0;
  std::vector<double> px;
  Premul(int w_, int h_) : w(w_), h(h_), px(size_t(w_) * size_t(h_) * 4, 0.0) {}
  double* at(int x, int y) { return &px[(size_t(y) * size_t(w) + size_t(x)) * 4]; }
  const double* at(int x, int y) const { return &px[(size_t(y) * size_t(w) + size_t(x)) * 4]; }
};

struct Tap {
  int i;
  double w;
};

// For each of `m` output pixels, the source pixels and weights that make it,
// when `n` source pixels are scaled by `scale` and placed at `offset`. The
// filter is a tent, widened when shrinking so that every source pixel counts;
// outside the source is transparent, so the weights are normalised over the
// whole tent and not only the part that falls on the source.
std::vector<std::vector<Tap>> taps(int n, int m, double scale, double offset) {
  const double fs = std::max(1.0, 1.0 / scale);
  std::vector<std::vector<Tap>> out(static_cast<size_t>(m));
  for (int x = 0; x < m; ++x) {
    const double u = (x + 0.5 - offset) / scale;
    const int lo = static_cast<int>(std::floor(u - fs - 0.5)),
              hi = static_cast<int>(std::ceil(u + fs));
    double total = 0;
    std::vector<Tap> in;
    for (int i = lo; i <= hi; ++i) {
      double wgt = std::max(0.0, 1.0 - std::abs((i + 0.5 - u) / fs));
      total += wgt;
      if (wgt > 0 && i >= 0 && i < n) in.push_back({i, wgt});
    }
    for (Tap& t : in) t.w /= total;
    out[size_t(x)] = std::move(in);
  }
  return out;
}

Premul resample(const Premul& src, int w, int h, double scale, double ox, double oy) {
  const auto tx = taps(src.w, w, scale, ox), ty = taps(src.h, h, scale, oy);
  Premul mid(w, src.h), out(w, h);
  for (int y = 0; y < src.h; ++y)
    for (int x = 0; x < w; ++x)
      for (const Tap& t : tx[size_t(x)])
        for (int c = 0; c < 4; ++c) mid.at(x, y)[c] += src.at(t.i, y)[c] * t.w;
  for (int y = 0; y < h; ++y)
    for (const Tap& t : ty[size_t(y)])
      for (int x = 0; x < w; ++x)
        for (int c = 0; c < 4; ++c) out.at(x, y)[c] += mid.at(x, t.i)[c] * t.w;
  return out;
}

std::string code_points(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size();) {
    unsigned char b = static_cast<unsigned char>(text[i]);
    int len = b < 0x80 ? 1 : (b >> 5) == 6 ? 2 : (b >> 4) == 14 ? 3 : (b >> 3) == 30 ? 4 : 1;
    uint32_t cp = len == 1 ? b : b & (0x7F >> len);
    for (int k = 1; k < len && i + size_t(k) < text.size(); ++k)
      cp = (cp << 6) | (static_cast<unsigned char>(text[i + size_t(k)]) & 0x3F);
    char buf[16];
    std::snprintf(buf, sizeof buf, "%sU+%04X", out.empty() ? "" : " ", cp);
    out += buf;
    i += size_t(len);
  }
  return out;
}

}  // namespace

EmojiFont::EmojiFont(FreeType& ft, std::string path) : ft_(ft), path_(std::move(path)) {}

EmojiFont::~EmojiFont() {
  if (hb_font_) hb_font_destroy(hb_font_);
  if (hb_face_) hb_face_destroy(hb_face_);
  if (blob_) hb_blob_destroy(blob_);
  if (face_) FT_Done_Face(face_);
}

void EmojiFont::open() {
  if (face_) return;
  FT_Face f = ft_.open_face(path_, "emoji font");
  if (!FT_HAS_COLOR(f) || f->num_fixed_sizes < 1) {
    FT_Done_Face(f);
    throw Failure("OSError", "emoji font has no colour bitmaps: '" + path_ + "'");
  }
  // The largest bitmap strike gives the most detail to scale from.
  int best = 0;
  for (int i = 1; i < f->num_fixed_sizes; ++i)
    if (f->available_sizes[i].y_ppem > f->available_sizes[best].y_ppem) best = i;
  if (FT_Error err = FT_Select_Size(f, best)) {
    FT_Done_Face(f);
    throw Failure("OSError", "emoji font unusable: '" + path_ + "': " + ft_error(err));
  }
  blob_ = hb_blob_create_from_file_or_fail(path_.c_str());
  if (!blob_) {
    FT_Done_Face(f);
    throw Failure("OSError", "emoji font unreadable: '" + path_ + "'");
  }
  hb_face_ = hb_face_create(blob_, 0);
  hb_font_ = hb_font_create(hb_face_);
  face_ = f;
}

std::vector<unsigned> EmojiFont::shape(const std::string& text) {
  open();
  hb_buffer_t* buf = hb_buffer_create();
  hb_buffer_add_utf8(buf, text.data(), static_cast<int>(text.size()), 0,
                     static_cast<int>(text.size()));
  hb_buffer_guess_segment_properties(buf);
  hb_shape(hb_font_, buf, nullptr, 0);
  unsigned n = 0;
  hb_glyph_info_t* info = hb_buffer_get_glyph_infos(buf, &n);
  std::vector<unsigned> out;
  for (unsigned i = 0; i < n; ++i) out.push_back(info[i].codepoint);
  hb_buffer_destroy(buf);
  return out;
}

size_t EmojiFont::glyph_count(const std::string& text) { return shape(text).size(); }

Image EmojiFont::render(const std::string& text, int w, int h) {
  const std::vector<unsigned> glyphs = shape(text);
  if (glyphs.empty()) throw ValueError("no emoji to draw");

  // Lay the glyphs out along the baseline at the strike's own size.
  struct Placed {
    int left, top, width, rows, pitch;
    std::vector<unsigned char> bgra;
  };
  std::vector<Placed> placed;
  long pen = 0;
  for (unsigned gid : glyphs) {
    if (gid == 0) throw Failure("ValueError", "emoji font cannot draw " + code_points(text));
    if (FT_Error err = FT_Load_Glyph(face_, gid, FT_LOAD_COLOR))
      throw Failure("RuntimeError",
                    "cannot load emoji " + code_points(text) + ": " + ft_error(err));
    const FT_GlyphSlot g = face_->glyph;
    const FT_Bitmap& bm = g->bitmap;
    if (bm.width > 0 && bm.rows > 0) {
      if (bm.pixel_mode != FT_PIXEL_MODE_BGRA)
        throw Failure("RuntimeError", "emoji font gave no colour bitmap for " + code_points(text));
      Placed p{int(pen) + g->bitmap_left, g->bitmap_top, int(bm.width), int(bm.rows), bm.pitch, {}};
      const size_t row = size_t(bm.width) * 4;
      for (unsigned y = 0; y < bm.rows; ++y) {
        const unsigned char* src = bm.buffer + std::ptrdiff_t(y) * bm.pitch;
        p.bgra.insert(p.bgra.end(), src, src + row);
      }
      placed.push_back(std::move(p));
    }
    pen += g->advance.x / 64;
  }
  if (placed.empty()) throw ValueError("emoji font draws nothing for " + code_points(text));

  int x0 = placed[0].left, x1 = x0, top = placed[0].top, bottom = top;
  for (const Placed& p : placed) {
    x0 = std::min(x0, p.left);
    x1 = std::max(x1, p.left + p.width);
    top = std::max(top, p.top);
    bottom = std::min(bottom, p.top - p.rows);
  }
  Premul run(x1 - x0, top - bottom);
  for (const Placed& p : placed)
    for (int y = 0; y < p.rows; ++y)
      for (int x = 0; x < p.width; ++x) {
        // FreeType's colour bitmaps are premultiplied BGRA.
        const unsigned char* s = &p.bgra[(size_t(y) * size_t(p.width) + size_t(x)) * 4];
        double* d = run.at(p.left - x0 + x, top - p.top + y);
        const double src[4] = {s[2] / 255.0, s[1] / 255.0, s[0] / 255.0, s[3] / 255.0};
        for (int c = 0; c < 4; ++c) d[c] = src[c] + d[c] * (1.0 - src[3]);
      }

  // Fit the whole run into the box, proportions kept, centred.
  const double scale = std::min(double(w) / run.w, double(h) / run.h);
  const Premul fit =
      resample(run, w, h, scale, (w - run.w * scale) / 2.0, (h - run.h * scale) / 2.0);
  Image out(w, h, 4);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const double* p = fit.at(x, y);
      if (p[3] <= 0) continue;
      put(out, x, y, Rgba{p[0] / p[3] * 255.0, p[1] / p[3] * 255.0, p[2] / p[3] * 255.0, p[3]});
    }
  return out;
}

}  // namespace pagefold::genres
