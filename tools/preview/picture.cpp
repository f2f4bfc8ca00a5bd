#include "picture.hpp"

#include <gif_lib.h>
#include <spng.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace pagefold::preview {

namespace {

// Page assets are small; a file larger than this is refused before reading.
constexpr std::uintmax_t MAX_PICTURE_FILE = 64u << 20;

bool fits_limits(int64_t w, int64_t h) {
  return w > 0 && h > 0 && w <= MAX_PICTURE_SIDE && h <= MAX_PICTURE_SIDE &&
         w * h <= MAX_PICTURE_PIXELS;
}

std::string size_text(int64_t w, int64_t h) { return std::to_string(w) + "x" + std::to_string(h); }

std::optional<Raster> decode_png(const std::vector<uint8_t>& data, std::string& error) {
  spng_ctx* ctx = spng_ctx_new(0);
  if (!ctx) {
    error = "out of memory";
    return std::nullopt;
  }
  std::optional<Raster> out;
  spng_set_image_limits(ctx, MAX_PICTURE_SIDE, MAX_PICTURE_SIDE);
  spng_set_chunk_limits(ctx, MAX_PICTURE_FILE, MAX_PICTURE_FILE);
  spng_ihdr ihdr{};
  size_t size = 0;
  int rc = spng_set_png_buffer(ctx, data.data(), data.size());
  if (rc == 0) rc = spng_get_ihdr(ctx, &ihdr);
  if (rc == 0 && !fits_limits(ihdr.width, ihdr.height)) {
    error = "picture of " + size_text(ihdr.width, ihdr.height) + " is beyond the limit of " +
            std::to_string(MAX_PICTURE_SIDE) + " a side";
  } else if (rc == 0) {
    rc = spng_decoded_image_size(ctx, SPNG_FMT_RGBA8, &size);
    if (rc == 0) {
      Raster r(int(ihdr.width), int(ihdr.height));
      // Without SPNG_DECODE_TRNS the transparency chunk of palette and grey
      // pictures would be ignored and their transparent parts drawn opaque.
      rc = spng_decode_image(ctx, r.px.data(), r.px.size(), SPNG_FMT_RGBA8, SPNG_DECODE_TRNS);
      if (rc == 0) out = std::move(r);
    }
  }
  if (rc != 0) error = std::string("unreadable PNG: ") + spng_strerror(rc);
  spng_ctx_free(ctx);
  return out;
}

// Reads records up to the first image and composes that frame on the GIF's
// logical screen, honouring its transparent colour and interlacing.
std::optional<Raster> decode_gif_first_frame(const std::string& path, std::string& error) {
  int err = 0;
  GifFileType* g = DGifOpenFileName(path.c_str(), &err);
  if (!g) {
    error = std::string("unreadable GIF: ") + GifErrorString(err);
    return std::nullopt;
  }
  std::optional<Raster> out;
  int transparent = NO_TRANSPARENT_COLOR;
  GifRecordType rt = UNDEFINED_RECORD_TYPE;
  bool failed = false;
  while (!out && !failed) {
    if (DGifGetRecordType(g, &rt) == GIF_ERROR || rt == TERMINATE_RECORD_TYPE) break;
    if (rt == EXTENSION_RECORD_TYPE) {
      int code = 0;
      GifByteType* ext = nullptr;
      if (DGifGetExtension(g, &code, &ext) == GIF_ERROR) break;
      if (code == GRAPHICS_EXT_FUNC_CODE && ext && ext[0] >= 4) {
        GraphicsControlBlock gcb{};
        if (DGifExtensionToGCB(ext[0], ext + 1, &gcb) == GIF_OK) transparent = gcb.TransparentColor;
      }
      while (ext) {
        if (DGifGetExtensionNext(g, &ext) == GIF_ERROR) {
          failed = true;
          break;
        }
      }
    } else if (rt == IMAGE_DESC_RECORD_TYPE) {
      if (DGifGetImageDesc(g) == GIF_ERROR) break;
      const GifImageDesc& d = g->Image;
      int sw = g->SWidth > 0 ? g->SWidth : d.Width;
      int sh = g->SHeight > 0 ? g->SHeight : d.Height;
      if (!fits_limits(sw, sh) || !fits_limits(d.Width, d.Height)) {
        error = "GIF of " + size_text(sw, sh) + " is beyond the limit of " +
                std::to_string(MAX_PICTURE_SIDE) + " a side";
        failed = true;
        break;
      }
      const ColorMapObject* map = d.ColorMap ? d.ColorMap : g->SColorMap;
      Raster r(sw, sh);
      std::vector<GifPixelType> line(size_t(d.Width));
      std::vector<int> rows;
      if (d.Interlace) {
        const int start[] = {0, 4, 2, 1}, step[] = {8, 8, 4, 2};
        for (int pass = 0; pass < 4; ++pass)
          for (int y = start[pass]; y < d.Height; y += step[pass]) rows.push_back(y);
      } else {
        for (int y = 0; y < d.Height; ++y) rows.push_back(y);
      }
      for (int y : rows) {
        if (DGifGetLine(g, line.data(), d.Width) == GIF_ERROR) {
          failed = true;
          break;
        }
        int py = d.Top + y;
        if (py < 0 || py >= sh) continue;
        for (int x = 0; x < d.Width; ++x) {
          int px = d.Left + x, idx = line[size_t(x)];
          if (px < 0 || px >= sw || idx == transparent || !map || idx >= map->ColorCount) continue;
          uint8_t* p = r.at(px, py);
          p[0] = map->Colors[idx].Red;
          p[1] = map->Colors[idx].Green;
          p[2] = map->Colors[idx].Blue;
          p[3] = 255;
        }
      }
      if (!failed) out = std::move(r);
    } else {
      break;
    }
  }
  if (!out && error.empty()) error = std::string("unreadable GIF: ") + GifErrorString(g->Error);
  DGifCloseFile(g, &err);
  return out;
}

bool read_file(const std::string& path, std::vector<uint8_t>& data, std::string& error) {
  std::error_code ec;
  if (!fs::is_regular_file(path, ec)) {
    error = "file not found";
    return false;
  }
  auto size = fs::file_size(path, ec);
  if (ec || size > MAX_PICTURE_FILE) {
    error = ec ? "unreadable file" : "file larger than 64 MiB";
    return false;
  }
  std::ifstream in(path, std::ios::binary);
  data.assign(std::istreambuf_iterator<char>(in), {});
  if (!in.good() && !in.eof()) {
    error = "unreadable file";
    return false;
  }
  return true;
}

bool is_mark(const uint8_t* p) { return p[0] == 0 && p[1] == 0 && p[2] == 0 && p[3] == 255; }

// A frame pixel is a mark, fully transparent, or the red of an optical-bounds
// mark, which only layout engines read.
bool is_frame_pixel(const uint8_t* p) {
  return is_mark(p) || p[3] == 0 || (p[0] == 255 && p[1] == 0 && p[2] == 0 && p[3] == 255);
}

std::vector<NinePatch::Run> runs_of(const std::vector<bool>& marks) {
  std::vector<NinePatch::Run> runs;
  for (size_t i = 0; i < marks.size(); ++i) {
    if (runs.empty() || runs.back().stretch != marks[i])
      runs.push_back({int(i), 1, bool(marks[i])});
    else
      ++runs.back().length;
  }
  return runs;
}

}  // namespace

std::optional<Raster> load_picture(const std::string& path, std::string& error) {
  std::vector<uint8_t> data;
  if (!read_file(path, data, error)) return std::nullopt;
  static const uint8_t png_sig[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
  if (data.size() >= 8 && std::equal(png_sig, png_sig + 8, data.begin()))
    return decode_png(data, error);
  if (data.size() >= 6 && (std::equal(data.begin(), data.begin() + 6, "GIF87a") ||
                           std::equal(data.begin(), data.begin() + 6, "GIF89a")))
    return decode_gif_first_frame(path, error);
  error = "not a PNG or GIF picture";
  return std::nullopt;
}

bool write_png(const std::string& path, const Raster& r, bool opaque, std::string& error) {
  if (r.w <= 0 || r.h <= 0) {
    error = "cannot write " + path + ": the picture could not be made";
    return false;
  }
  std::vector<uint8_t> rgb;
  const uint8_t* data = r.px.data();
  size_t len = r.px.size();
  if (opaque) {
    rgb.resize(size_t(r.w) * size_t(r.h) * 3);
    for (size_t i = 0, n = size_t(r.w) * size_t(r.h); i < n; ++i)
      for (int c = 0; c < 3; ++c) rgb[i * 3 + size_t(c)] = r.px[i * 4 + size_t(c)];
    data = rgb.data();
    len = rgb.size();
  }
  spng_ctx* enc = spng_ctx_new(SPNG_CTX_ENCODER);
  if (!enc) {
    error = "out of memory";
    return false;
  }
  spng_set_option(enc, SPNG_ENCODE_TO_BUFFER, 1);
  spng_ihdr ihdr{};
  ihdr.width = uint32_t(r.w);
  ihdr.height = uint32_t(r.h);
  ihdr.bit_depth = 8;
  ihdr.color_type = opaque ? SPNG_COLOR_TYPE_TRUECOLOR : SPNG_COLOR_TYPE_TRUECOLOR_ALPHA;
  int rc = spng_set_ihdr(enc, &ihdr);
  if (rc == 0) rc = spng_encode_image(enc, data, len, SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE);
  size_t png_size = 0;
  void* png = rc == 0 ? spng_get_png_buffer(enc, &png_size, &rc) : nullptr;
  spng_ctx_free(enc);
  if (!png) {
    error = std::string("cannot encode PNG: ") + spng_strerror(rc);
    return false;
  }
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(static_cast<const char*>(png), std::streamsize(png_size));
  free(png);
  out.close();
  if (!out) {
    error = "cannot write " + path;
    return false;
  }
  return true;
}

std::optional<NinePatch> read_nine_patch(const Raster& framed, std::string& error) {
  if (framed.w < 3 || framed.h < 3) {
    error = "nine-patch smaller than its frame";
    return std::nullopt;
  }
  for (int x = 0; x < framed.w; ++x)
    if (!is_frame_pixel(framed.at(x, 0)) || !is_frame_pixel(framed.at(x, framed.h - 1))) {
      error = "nine-patch frame holds a colour other than marks";
      return std::nullopt;
    }
  for (int y = 0; y < framed.h; ++y)
    if (!is_frame_pixel(framed.at(0, y)) || !is_frame_pixel(framed.at(framed.w - 1, y))) {
      error = "nine-patch frame holds a colour other than marks";
      return std::nullopt;
    }
  std::vector<bool> mx(size_t(framed.w - 2)), my(size_t(framed.h - 2));
  bool any_x = false, any_y = false;
  for (int x = 1; x < framed.w - 1; ++x) any_x |= (mx[size_t(x - 1)] = is_mark(framed.at(x, 0)));
  for (int y = 1; y < framed.h - 1; ++y) any_y |= (my[size_t(y - 1)] = is_mark(framed.at(0, y)));
  if (!any_x || !any_y) {
    error = "nine-patch without stretch marks on its top or left edge";
    return std::nullopt;
  }
  NinePatch np;
  np.image = Raster(framed.w - 2, framed.h - 2);
  for (int y = 0; y < np.image.h; ++y)
    std::copy_n(framed.at(1, y + 1), size_t(np.image.w) * 4, np.image.at(0, y));
  np.xs = runs_of(mx);
  np.ys = runs_of(my);
  return np;
}

std::vector<int> stretch_runs(const std::vector<NinePatch::Run>& runs, int total) {
  int64_t fixed = 0, stretch = 0;
  for (const auto& r : runs) (r.stretch ? stretch : fixed) += r.length;
  std::vector<int> out(runs.size(), 0);
  // Shares of one pool among some runs, by cumulative rounding so that the
  // parts add up exactly to the pool.
  auto share = [&](int64_t pool, bool of_stretch, int64_t weight_total) {
    int64_t acc = 0, given = 0;
    for (size_t i = 0; i < runs.size(); ++i) {
      if (runs[i].stretch != of_stretch) continue;
      acc += runs[i].length;
      int64_t upto = pool * acc / weight_total;
      out[i] = int(upto - given);
      given = upto;
    }
  };
  if (total <= 0) return out;
  if (stretch == 0 || total < fixed) {
    share(total, false, fixed);
  } else {
    for (size_t i = 0; i < runs.size(); ++i)
      if (!runs[i].stretch) out[i] = runs[i].length;
    share(total - fixed, true, stretch);
  }
  return out;
}

std::string PictureStore::resolve(const std::string& ref) const {
  std::string rel = ref;
  for (const char* prefix : {"images/", "image/"})
    if (rel.rfind(prefix, 0) == 0) {
      rel = rel.substr(std::char_traits<char>::length(prefix));
      break;
    }
  std::string base = fs::path(ref).filename().string();
  bool climbs = rel.find("..") != std::string::npos || fs::path(rel).is_absolute();
  if (!climbs) {
    std::string direct = (fs::path(dir_) / rel).string();
    std::error_code ec;
    if (fs::is_regular_file(direct, ec) || base.empty()) return direct;
  }
  return (fs::path(dir_) / base).string();
}

const Raster* PictureStore::get(const std::string& ref, std::string& error) {
  std::string path = resolve(ref);
  auto it = cache_.find(path);
  if (it == cache_.end()) {
    Entry e;
    e.raster = load_picture(path, e.error);
    it = cache_.emplace(path, std::move(e)).first;
  }
  error = it->second.error;
  return it->second.raster ? &*it->second.raster : nullptr;
}

}  // namespace pagefold::preview
