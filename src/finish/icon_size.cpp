// Slide-window icon size back-fill: the runtime draws every icon of a slide
// window at one `iconSize`, which must be the true size of the pictures, so
// the finished page is corrected from the picture files themselves.
#include <spng.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "finish/finish.hpp"
#include "pagefold/error.hpp"
#include "util/record_values.hpp"
#include "util/text.hpp"

namespace pagefold {
namespace {

namespace fs = std::filesystem;
using Size = std::pair<int64_t, int64_t>;

std::vector<uint8_t> read_head(const std::string& path, size_t max_bytes) {
  std::ifstream in(path, std::ios::binary);
  std::vector<uint8_t> buf(max_bytes);
  in.read(reinterpret_cast<char*>(buf.data()), static_cast<std::streamsize>(max_bytes));
  buf.resize(static_cast<size_t>(std::max<std::streamsize>(0, in.gcount())));
  return buf;
}

uint32_t le16(const uint8_t* p) { return uint32_t(p[0]) | uint32_t(p[1]) << 8; }
uint32_t be16(const uint8_t* p) { return uint32_t(p[0]) << 8 | uint32_t(p[1]); }
int32_t le32(const uint8_t* p) {
  return static_cast<int32_t>(uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 |
                              uint32_t(p[3]) << 24);
}

std::optional<Size> png_size(const std::string& path) {
  FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) return std::nullopt;
  std::optional<Size> out;
  if (spng_ctx* ctx = spng_ctx_new(0)) {
    spng_ihdr ihdr{};
    if (spng_set_png_file(ctx, f) == 0 && spng_get_ihdr(ctx, &ihdr) == 0) {
      out = Size{ihdr.width, ihdr.height};
    }
    spng_ctx_free(ctx);
  }
  std::fclose(f);
  return out;
}

std::optional<Size> gif_size(const std::vector<uint8_t>& b) {
  if (b.size() < 10) return std::nullopt;
  return Size{le16(&b[6]), le16(&b[8])};
}

std::optional<Size> bmp_size(const std::vector<uint8_t>& b) {
  if (b.size() < 26) return std::nullopt;
  const int32_t header = le32(&b[14]);
  if (header == 12) return Size{le16(&b[18]), le16(&b[20])};  // OS/2 core header
  // A negative height marks a top-down picture; its size is the magnitude.
  return Size{std::abs(int64_t{le32(&b[18])}), std::abs(int64_t{le32(&b[22])})};
}

std::optional<Size> jpeg_size(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::vector<uint8_t> b((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  size_t i = 2;
  while (i + 1 < b.size()) {
    if (b[i] != 0xFF) return std::nullopt;
    uint8_t marker = b[i + 1];
    if (marker == 0xFF) {  // fill byte
      ++i;
      continue;
    }
    i += 2;
    if (marker == 0xD8 || marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7)) continue;
    if (marker == 0xD9 || marker == 0xDA || i + 2 > b.size()) return std::nullopt;
    const size_t len = be16(&b[i]);
    const bool sof =
        marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
    if (sof) {
      if (i + 7 > b.size()) return std::nullopt;
      return Size{be16(&b[i + 5]), be16(&b[i + 3])};
    }
    if (len < 2) return std::nullopt;
    i += len;
  }
  return std::nullopt;
}

// The pixel size of a picture file, read from its header; absent when the
// file is no picture this reader knows.
std::optional<Size> picture_size(const std::string& path) {
  std::vector<uint8_t> head = read_head(path, 32);
  if (head.size() >= 8 && head[0] == 0x89 && head[1] == 'P' && head[2] == 'N' && head[3] == 'G') {
    return png_size(path);
  }
  if (head.size() >= 6 && head[0] == 'G' && head[1] == 'I' && head[2] == 'F') {
    return gif_size(head);
  }
  if (head.size() >= 3 && head[0] == 0xFF && head[1] == 0xD8 && head[2] == 0xFF) {
    return jpeg_size(path);
  }
  if (head.size() >= 2 && head[0] == 'B' && head[1] == 'M') return bmp_size(head);
  return std::nullopt;
}

// The true size of the picture an item refers to. Only the file name counts:
// it is looked for in the asset directory and in its images/ directory.
std::optional<Size> img_size(const std::optional<std::string>& asset_dir, const Value& pic) {
  if (!pic.truthy()) return std::nullopt;
  if (!pic.is_string()) throw TypeError("picture name is not text");
  std::string p = text::replace_all(pic.as_string(), "\\", "/");
  std::string name = p.substr(p.rfind('/') == std::string::npos ? 0 : p.rfind('/') + 1);
  if (!asset_dir || asset_dir->empty()) return std::nullopt;
  for (const fs::path& cand :
       {fs::path(*asset_dir) / name, fs::path(*asset_dir) / "images" / name}) {
    std::error_code ec;
    if (!fs::is_regular_file(cand, ec)) continue;
    try {
      if (auto size = picture_size(cand.string())) return size;
    } catch (const std::exception&) {
      // An unreadable picture is as good as none: try the next place.
    }
  }
  return std::nullopt;
}

std::string size_text(const Size& s) {
  return std::to_string(s.first) + "x" + std::to_string(s.second);
}

}  // namespace

std::vector<std::pair<std::string, Value>> _slidewindow_dicts(const Value& d, bool recursive) {
  std::vector<std::pair<std::string, Value>> out;
  auto visit = [&](auto&& self, const Value& m) -> void {
    for (const auto& [k, v] : m.as_object()) {
      if (!v.is_object() || !text::contains(k, "__")) continue;
      if (text::starts_with(k, "slidewindow__")) out.emplace_back(k, v);
      if (recursive) self(self, v);
    }
  };
  visit(visit, d);
  return out;
}

void _fix_slidewindow_icon_size(Ctx& ctx, const Value& root,
                                const std::optional<std::string>& asset_dir, bool recursive) {
  auto note = [&](const std::string& msg) { ctx.warnings.push_back(msg); };
  for (const auto& [key, sw] : _slidewindow_dicts(root, recursive)) {
    Value items = sw.get("items");
    if (!items.truthy()) continue;
    if (sw.get("__icon_explicit").truthy()) continue;
    if (!items.is_array()) throw TypeError("slidewindow items is not a list");

    std::vector<Size> sizes;
    for (const Value& item : items.as_array()) {
      if (!item.is_object()) throw TypeError("slidewindow item is not a map");
      Value pic_tab = item.get("picTab");
      if (!pic_tab.truthy()) pic_tab = Value::object();
      if (!pic_tab.is_object()) throw TypeError("slidewindow item picTab is not a map");
      Value pic0 = pic_tab.get("pic0");
      if (!pic0.truthy()) continue;
      if (auto size = img_size(asset_dir, pic0)) sizes.push_back(*size);
    }

    const std::string caption = value_str(sw.contains("caption") ? sw.get("caption") : Value(key));
    if (sizes.empty()) {
      note("slidewindow " + caption +
           ": iconSize 未指定且读不到图片实际尺寸（items 无图或文件缺失），默认 128 "
           "可能导致图标位置不对；请按实际图片尺寸填 data-icon-w/h");
      continue;
    }
    std::vector<Size> uniq = sizes;
    std::sort(uniq.begin(), uniq.end());
    uniq.erase(std::unique(uniq.begin(), uniq.end()), uniq.end());
    if (uniq.size() > 1) {
      std::vector<std::string> shown;
      for (const Size& s : uniq) shown.push_back("'" + size_text(s) + "'");
      note("slidewindow " + caption + ": items 图标尺寸不一致 [" + text::join(shown, ", ") +
           "]——同一滑动窗口所有图标必须同尺寸（iconSize 按实际图片尺寸，图标位置按平分格子计算）"
           "；请统一图标图片尺寸后重转");
    }
    // The smallest size is written, whatever the first item's size is.
    const Size& s0 = uniq.front();
    sw["iconSize"] = Value::object({{"width", s0.first}, {"height", s0.second}});
    if (uniq.size() == 1) {
      note("slidewindow " + caption + ": iconSize 未显式指定，已按实际图片尺寸 " + size_text(s0) +
           " 回填（SlideWindow 铁律：iconSize=图片实际尺寸，非平分格子大小；可显式 data-icon-w/h "
           "指定）");
    } else {
      note("slidewindow " + caption + ": 暂按首图尺寸 " + size_text(s0) +
           " 回填 iconSize，请统一图标尺寸后重转");
    }
  }
}

}  // namespace pagefold
