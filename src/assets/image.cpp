// Picture operations on straight-alpha RGBA pictures and 8-bit masks.
#include "assets/image.hpp"

#include <spng.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <numbers>
#include <unordered_map>

#include "pagefold/error.hpp"
#include "util/num.hpp"

namespace pagefold {
namespace {

using CtxPtr = std::unique_ptr<spng_ctx, decltype(&spng_ctx_free)>;

uint8_t clamp8(int64_t v) { return static_cast<uint8_t>(std::clamp<int64_t>(v, 0, 255)); }

std::array<uint8_t, 4> rgba_of(const Color& c) {
  return {clamp8(c.c[0]), clamp8(c.c[1]), clamp8(c.c[2]), clamp8(c.alpha_or_opaque())};
}

void check_spng(int err, const char* what) {
  if (err) throw Failure("OSError", std::string(what) + ": " + spng_strerror(err));
}

uint32_t be32(const std::string& s, size_t i) {
  auto b = [&](size_t k) { return static_cast<uint32_t>(static_cast<uint8_t>(s[i + k])); };
  return (b(0) << 24) | (b(1) << 16) | (b(2) << 8) | b(3);
}

void put_be32(std::string& out, uint32_t v) {
  out.push_back(static_cast<char>((v >> 24) & 255));
  out.push_back(static_cast<char>((v >> 16) & 255));
  out.push_back(static_cast<char>((v >> 8) & 255));
  out.push_back(static_cast<char>(v & 255));
}

void put_chunk(std::string& out, const char* type, const std::string& data) {
  put_be32(out, static_cast<uint32_t>(data.size()));
  std::string body = std::string(type, 4) + data;
  out += body;
  put_be32(out, static_cast<uint32_t>(
                    crc32(0, reinterpret_cast<const Bytef*>(body.data()), body.size())));
}

// The encoder writes its image data in many small IDAT chunks; the file is
// laid out again with chunks of max(65536, 4 * width) bytes, which is both
// smaller and the customary layout of the writers whose sizes users compare.
std::string rechunk_idat(const std::string& png, int width) {
  std::string idat, out = png.substr(0, 8), tail;
  bool before = true;
  size_t i = 8;
  while (i + 8 <= png.size()) {
    uint32_t ln = be32(png, i);
    std::string type = png.substr(i + 4, 4);
    if (type == "IDAT") {
      idat += png.substr(i + 8, ln);
      before = false;
    } else {
      (before ? out : tail) += png.substr(i, 12 + size_t(ln));
    }
    i += 12 + size_t(ln);
  }
  size_t block = std::max<size_t>(65536, size_t(width) * 4);
  for (size_t k = 0; k < idat.size(); k += block) put_chunk(out, "IDAT", idat.substr(k, block));
  return out + tail;
}

std::string encode(const struct spng_ihdr& ihdr, const uint8_t* px, size_t len, int filters,
                   const struct spng_plte* plte, const struct spng_trns* trns) {
  CtxPtr ctx(spng_ctx_new(SPNG_CTX_ENCODER), spng_ctx_free);
  if (!ctx) throw Failure("MemoryError", "cannot create a PNG encoder");
  spng_ctx* c = ctx.get();
  check_spng(spng_set_option(c, SPNG_ENCODE_TO_BUFFER, 1), "PNG encoder");
  // The fixed settings: these decide file sizes, which users see.
  spng_set_option(c, SPNG_IMG_COMPRESSION_LEVEL, 9);
  spng_set_option(c, SPNG_IMG_MEM_LEVEL, 9);
  spng_set_option(c, SPNG_IMG_WINDOW_BITS, 15);
  spng_set_option(c, SPNG_IMG_COMPRESSION_STRATEGY, Z_DEFAULT_STRATEGY);
  spng_set_option(c, SPNG_FILTER_CHOICE, filters);
  struct spng_ihdr h = ihdr;
  check_spng(spng_set_ihdr(c, &h), "PNG header");
  if (plte) {
    struct spng_plte p = *plte;
    check_spng(spng_set_plte(c, &p), "PNG palette");
  }
  if (trns) {
    struct spng_trns t = *trns;
    check_spng(spng_set_trns(c, &t), "PNG transparency");
  }
  check_spng(spng_encode_image(c, px, len, SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE), "PNG encode");
  size_t size = 0;
  int err = 0;
  void* buf = spng_get_png_buffer(c, &size, &err);
  check_spng(err, "PNG encode");
  std::string out(static_cast<const char*>(buf), size);
  free(buf);
  return rechunk_idat(out, static_cast<int>(ihdr.width));
}

// Box-filter coefficients of one axis, in fixed point with 22 fraction bits.
constexpr int PRECISION_BITS = 32 - 8 - 2;

struct Coeffs {
  int ksize = 0;
  std::vector<int> bounds;  // xmin, count per output pixel
  std::vector<int32_t> k;
};

Coeffs box_coeffs(int in_size, int out_size) {
  double scale = static_cast<double>(in_size) / out_size;
  double filterscale = std::max(scale, 1.0);
  double support = 0.5 * filterscale;
  Coeffs co;
  co.ksize = static_cast<int>(std::ceil(support)) * 2 + 1;
  co.bounds.resize(size_t(out_size) * 2);
  co.k.assign(size_t(out_size) * co.ksize, 0);
  std::vector<double> kk(co.ksize);
  for (int xx = 0; xx < out_size; ++xx) {
    double center = (xx + 0.5) * scale, ww = 0.0, ss = 1.0 / filterscale;
    int xmin = std::max(static_cast<int>(center - support + 0.5), 0);
    int xmax = std::min(static_cast<int>(center + support + 0.5), in_size) - xmin;
    for (int x = 0; x < xmax; ++x) {
      double t = (x + xmin - center + 0.5) * ss;
      kk[x] = (t > -0.5 && t <= 0.5) ? 1.0 : 0.0;
      ww += kk[x];
    }
    for (int x = 0; x < xmax; ++x) {
      double v = ww != 0.0 ? kk[x] / ww : kk[x];
      co.k[size_t(xx) * co.ksize + x] = v < 0
                                            ? static_cast<int32_t>(-0.5 + v * (1 << PRECISION_BITS))
                                            : static_cast<int32_t>(0.5 + v * (1 << PRECISION_BITS));
    }
    co.bounds[size_t(xx) * 2] = xmin;
    co.bounds[size_t(xx) * 2 + 1] = std::max(xmax, 0);
  }
  return co;
}

uint8_t clip_fixed(int64_t v) {
  if (v >= (int64_t{1} << PRECISION_BITS << 8)) return 255;
  if (v <= 0) return 0;
  return static_cast<uint8_t>(v >> PRECISION_BITS);
}

Image resample_h(const Image& in, int w) {
  Coeffs co = box_coeffs(in.w, w);
  Image out(w, in.h, in.channels);
  for (int y = 0; y < in.h; ++y)
    for (int xx = 0; xx < w; ++xx) {
      int xmin = co.bounds[size_t(xx) * 2], n = co.bounds[size_t(xx) * 2 + 1];
      const int32_t* k = &co.k[size_t(xx) * co.ksize];
      for (int ch = 0; ch < in.channels; ++ch) {
        int64_t ss = int64_t{1} << (PRECISION_BITS - 1);
        for (int x = 0; x < n; ++x) ss += int64_t{in.at(xmin + x, y)[ch]} * k[x];
        out.at(xx, y)[ch] = clip_fixed(ss);
      }
    }
  return out;
}

Image resample_v(const Image& in, int h) {
  Coeffs co = box_coeffs(in.h, h);
  Image out(in.w, h, in.channels);
  for (int yy = 0; yy < h; ++yy) {
    int ymin = co.bounds[size_t(yy) * 2], n = co.bounds[size_t(yy) * 2 + 1];
    const int32_t* k = &co.k[size_t(yy) * co.ksize];
    for (int x = 0; x < in.w; ++x)
      for (int ch = 0; ch < in.channels; ++ch) {
        int64_t ss = int64_t{1} << (PRECISION_BITS - 1);
        for (int y = 0; y < n; ++y) ss += int64_t{in.at(x, ymin + y)[ch]} * k[y];
        out.at(x, yy)[ch] = clip_fixed(ss);
      }
  }
  return out;
}

// Box radius (integer part plus fraction) of one of `passes` box blurs that
// together approximate a Gaussian of standard deviation `radius`, after
// Gwosdek et al., "Theoretical foundations of Gaussian convolution by
// extended box filtering". Single precision, as the 8-bit pipeline expects.
float extended_box_radius(float radius, int passes) {
  float sigma2 = radius * radius / passes;
  float L = static_cast<float>(std::sqrt(12.0 * sigma2 + 1.0));
  float l = static_cast<float>(std::floor((L - 1.0) / 2.0));
  float a = (2 * l + 1) * (l * (l + 1) - 3 * sigma2);
  a /= 6 * (sigma2 - (l + 1) * (l + 1));
  return l + a;
}

// One extended box blur of a line of `n` samples spaced `stride` apart: a
// window of 2r+1 samples at full weight and one more on each side at the
// fractional weight, in 24-bit fixed point; indices clamp to the edges.
void box_line(uint8_t* line, int n, size_t stride, float fradius, std::vector<uint8_t>& tmp) {
  int r = static_cast<int>(fradius);
  uint32_t ww = static_cast<uint32_t>(static_cast<float>(1 << 24) / (fradius * 2 + 1));
  uint32_t fw = ((1u << 24) - uint32_t(r * 2 + 1) * ww) / 2;
  int last = n - 1;
  auto px = [&](int i) -> uint32_t { return line[size_t(std::clamp(i, 0, last)) * stride]; };
  tmp.resize(size_t(n));
  uint32_t acc = 0;
  for (int i = -r; i <= r; ++i) acc += px(i);
  for (int x = 0; x < n; ++x) {
    if (x > 0) acc += px(x + r) - px(x - r - 1);
    uint32_t bulk = acc * ww + (px(x - r - 1) + px(x + r + 1)) * fw;
    tmp[size_t(x)] = static_cast<uint8_t>((bulk + (1u << 23)) >> 24);
  }
  for (int x = 0; x < n; ++x) line[size_t(x) * stride] = tmp[size_t(x)];
}

}  // namespace

Image I_new_rgba(double w, double h, const Color& rgba) {
  int64_t iw = std::max<int64_t>(num::trunc(w), 1), ih = std::max<int64_t>(num::trunc(h), 1);
  return img::new_rgba(static_cast<int>(iw), static_cast<int>(ih), rgba);
}

Image I_open(const std::string& path) {
  std::string data = img::read_bytes(path);
  CtxPtr ctx(spng_ctx_new(0), spng_ctx_free);
  spng_ctx* c = ctx.get();
  size_t len = 0;
  struct spng_ihdr ihdr {};
  if (!c || spng_set_png_buffer(c, data.data(), data.size()) || spng_get_ihdr(c, &ihdr) ||
      spng_decoded_image_size(c, SPNG_FMT_RGBA8, &len))
    throw Failure("UnidentifiedImageError", "cannot identify image file '" + path + "'");
  Image out(static_cast<int>(ihdr.width), static_cast<int>(ihdr.height), 4);
  int err = spng_decode_image(c, out.px.data(), len, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS);
  if (err) throw Failure("OSError", "image file is truncated: " + std::string(spng_strerror(err)));
  return out;
}

namespace img {

[[noreturn]] void raise_os_error(int err, const std::string& path) { throw OSError(err, path); }

std::string read_bytes(const std::string& path) {
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) raise_os_error(errno, path);
  std::string out;
  char buf[65536];
  size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) out.append(buf, n);
  bool bad = std::ferror(f);
  int err = errno;
  std::fclose(f);
  if (bad) raise_os_error(err, path);
  return out;
}

void write_bytes(const std::string& path, const std::string& data) {
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) raise_os_error(errno, path);
  bool ok = std::fwrite(data.data(), 1, data.size(), f) == data.size();
  int err = errno;
  ok = (std::fclose(f) == 0) && ok;
  if (!ok) raise_os_error(err ? err : EIO, path);
}

Image new_rgba(int w, int h, const Color& fill) {
  Image out(w, h, 4);
  auto c = rgba_of(fill);
  for (size_t i = 0; i < out.px.size(); i += 4) std::copy(c.begin(), c.end(), &out.px[i]);
  return out;
}

Image new_l(int w, int h, uint8_t fill) {
  Image out(w, h, 1);
  std::fill(out.px.begin(), out.px.end(), fill);
  return out;
}

void save_png(const Image& rgba, const std::string& path) {
  if (rgba.channels != 4) throw Failure("OSError", "cannot write mode L as RGBA PNG");
  struct spng_ihdr ihdr {};
  ihdr.width = static_cast<uint32_t>(rgba.w);
  ihdr.height = static_cast<uint32_t>(rgba.h);
  ihdr.bit_depth = 8;
  ihdr.color_type = SPNG_COLOR_TYPE_TRUECOLOR_ALPHA;
  write_bytes(
      path, encode(ihdr, rgba.px.data(), rgba.px.size(), SPNG_FILTER_CHOICE_ALL, nullptr, nullptr));
}

void save_png_palette(int w, int h, const std::vector<uint8_t>& indices,
                      const std::vector<uint8_t>& palette, const std::vector<uint8_t>& trns,
                      const std::string& path) {
  struct spng_ihdr ihdr {};
  ihdr.width = static_cast<uint32_t>(w);
  ihdr.height = static_cast<uint32_t>(h);
  ihdr.bit_depth = 8;
  ihdr.color_type = SPNG_COLOR_TYPE_INDEXED;
  struct spng_plte plte {};
  plte.n_entries = static_cast<uint32_t>(std::min<size_t>(palette.size() / 3, 256));
  for (uint32_t i = 0; i < plte.n_entries; ++i) {
    plte.entries[i].red = palette[i * 3];
    plte.entries[i].green = palette[i * 3 + 1];
    plte.entries[i].blue = palette[i * 3 + 2];
    plte.entries[i].alpha = 255;
  }
  struct spng_trns t {};
  t.n_type3_entries = static_cast<uint32_t>(std::min<size_t>(trns.size(), 256));
  std::copy_n(trns.begin(), t.n_type3_entries, t.type3_alpha);
  write_bytes(path, encode(ihdr, indices.data(), indices.size(), SPNG_FILTER_CHOICE_NONE, &plte,
                           trns.empty() ? nullptr : &t));
}

std::optional<std::vector<uint8_t>> palette_indices(const std::string& data) {
  CtxPtr ctx(spng_ctx_new(0), spng_ctx_free);
  spng_ctx* c = ctx.get();
  struct spng_ihdr ihdr {};
  size_t len = 0;
  if (!c || spng_set_png_buffer(c, data.data(), data.size()) || spng_get_ihdr(c, &ihdr))
    return std::nullopt;
  if (ihdr.color_type != SPNG_COLOR_TYPE_INDEXED || ihdr.bit_depth != 8) return std::nullopt;
  if (spng_decoded_image_size(c, SPNG_FMT_PNG, &len)) return std::nullopt;
  std::vector<uint8_t> out(len);
  if (spng_decode_image(c, out.data(), len, SPNG_FMT_PNG, 0)) return std::nullopt;
  return out;
}

Image getchannel_alpha(const Image& rgba) {
  Image out(rgba.w, rgba.h, 1);
  for (size_t i = 0, n = size_t(rgba.w) * rgba.h; i < n; ++i) out.px[i] = rgba.px[i * 4 + 3];
  return out;
}

void putalpha(Image& rgba, const Image& mask) {
  if (mask.w != rgba.w || mask.h != rgba.h || mask.channels != 1)
    throw ValueError("images do not match");
  for (size_t i = 0, n = size_t(rgba.w) * rgba.h; i < n; ++i) rgba.px[i * 4 + 3] = mask.px[i];
}

Image multiply(const Image& a, const Image& b) {
  Image out(std::min(a.w, b.w), std::min(a.h, b.h), 1);
  for (int y = 0; y < out.h; ++y)
    for (int x = 0; x < out.w; ++x) *out.at(x, y) = uint8_t(int(*a.at(x, y)) * *b.at(x, y) / 255);
  return out;
}

void paste(Image& dst, const Image& src, int x, int y, const Image* mask) {
  if (src.channels != dst.channels) throw ValueError("images do not match");
  if (mask && (mask->w != src.w || mask->h != src.h || mask->channels != 1))
    throw ValueError("bad transparency mask");
  for (int sy = std::max(0, -y); sy < src.h && sy + y < dst.h; ++sy)
    for (int sx = std::max(0, -x); sx < src.w && sx + x < dst.w; ++sx) {
      uint8_t* o = dst.at(sx + x, sy + y);
      const uint8_t* in = src.at(sx, sy);
      if (!mask) {
        std::copy_n(in, src.channels, o);
        continue;
      }
      unsigned m = *mask->at(sx, sy);
      for (int ch = 0; ch < src.channels; ++ch) {
        unsigned t = o[ch] * (255 - m) + in[ch] * m + 128;
        o[ch] = static_cast<uint8_t>(((t >> 8) + t) >> 8);
      }
    }
}

void alpha_composite(Image& dst, const Image& src) {
  if (dst.channels != 4 || src.channels != 4 || dst.w != src.w || dst.h != src.h)
    throw ValueError("images do not match");
  constexpr unsigned P = 7;
  auto div255 = [](uint32_t a) { return ((a >> 8) + a) >> 8; };
  for (size_t i = 0; i < dst.px.size(); i += 4) {
    const uint8_t* s = &src.px[i];
    uint8_t* d = &dst.px[i];
    if (s[3] == 0) continue;
    uint32_t blend = uint32_t(d[3]) * (255 - s[3]);
    uint32_t outa255 = uint32_t(s[3]) * 255 + blend;
    uint32_t coef1 = uint32_t(s[3]) * 255 * 255 * (1u << P) / outa255;
    uint32_t coef2 = 255 * (1u << P) - coef1;
    for (int ch = 0; ch < 3; ++ch) {
      uint32_t t = s[ch] * coef1 + d[ch] * coef2;
      d[ch] = static_cast<uint8_t>(div255(t + (0x80u << P)) >> P);
    }
    d[3] = static_cast<uint8_t>(div255(outa255 + 0x80));
  }
}

Image gaussian_blur(const Image& src, double radius) {
  Image out = src;
  if (radius <= 0 || out.w == 0 || out.h == 0) return out;
  float r = extended_box_radius(static_cast<float>(radius), 3);
  std::vector<uint8_t> tmp;
  const size_t pixel = size_t(out.channels);
  for (int pass = 0; pass < 3; ++pass)
    for (int y = 0; y < out.h; ++y)
      for (int ch = 0; ch < out.channels; ++ch) box_line(out.at(0, y) + ch, out.w, pixel, r, tmp);
  for (int pass = 0; pass < 3; ++pass)
    for (int x = 0; x < out.w; ++x)
      for (int ch = 0; ch < out.channels; ++ch)
        box_line(out.at(x, 0) + ch, out.h, pixel * out.w, r, tmp);
  return out;
}

Image resize_box(const Image& src, int w, int h) {
  if (w <= 0 || h <= 0) throw ValueError("height and width must be > 0");
  Image out = src;
  if (w != out.w) out = resample_h(out, w);
  if (h != out.h) out = resample_v(out, h);
  return out;
}

void rectangle(Image& l, int x0, int y0, int x1, int y1, uint8_t fill) {
  for (int y = std::max(y0, 0); y <= std::min(y1, l.h - 1); ++y)
    for (int x = std::max(x0, 0); x <= std::min(x1, l.w - 1); ++x) *l.at(x, y) = fill;
}

// A pixel belongs to the slice when its centre lies in the ellipse whose
// edges are the outer edges of the box, and its direction from the centre
// lies between the two angles (bounds included).
void pieslice(Image& l, int x0, int y0, int x1, int y1, double start, double end, uint8_t fill) {
  if (x1 < x0 || y1 < y0) return;
  double cx = (x0 + x1) / 2.0, cy = (y0 + y1) / 2.0;
  double rx = (x1 - x0 + 1) / 2.0, ry = (y1 - y0 + 1) / 2.0;
  double span = end - start;
  bool full = span >= 360.0;
  double s = std::fmod(start, 360.0);
  if (s < 0) s += 360.0;
  for (int y = std::max(y0, 0); y <= std::min(y1, l.h - 1); ++y)
    for (int x = std::max(x0, 0); x <= std::min(x1, l.w - 1); ++x) {
      double dx = x - cx, dy = y - cy;
      if ((dx / rx) * (dx / rx) + (dy / ry) * (dy / ry) > 1.0) continue;
      if (!full && (dx != 0 || dy != 0)) {
        double t = std::atan2(dy, dx) * 180.0 / std::numbers::pi;
        double d = std::fmod(t - s + 720.0, 360.0);
        if (d > span + 1e-9) continue;
      }
      *l.at(x, y) = fill;
    }
}

std::optional<std::vector<ColorCount>> getcolors(const Image& rgba, size_t limit) {
  std::unordered_map<uint32_t, int64_t> seen;
  for (size_t i = 0; i < rgba.px.size(); i += 4) {
    uint32_t key = (uint32_t(rgba.px[i]) << 24) | (uint32_t(rgba.px[i + 1]) << 16) |
                   (uint32_t(rgba.px[i + 2]) << 8) | rgba.px[i + 3];
    if (++seen[key] == 1 && seen.size() > limit) return std::nullopt;
  }
  std::vector<ColorCount> out;
  for (const auto& [key, count] : seen)
    out.push_back(
        {count, {uint8_t(key >> 24), uint8_t(key >> 16), uint8_t(key >> 8), uint8_t(key)}});
  return out;
}

}  // namespace img
}  // namespace pagefold
