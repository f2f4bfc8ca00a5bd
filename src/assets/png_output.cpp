// Exact palette PNG output. No colour is ever approximated: a picture of more
// than 256 distinct RGBA values stays RGBA, and a palette file is kept only
// when it is no larger than the RGBA one.
#include "assets/png_output.hpp"

#include <zlib.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <system_error>

#include "util/num.hpp"
#include "util/text.hpp"

#include "assets/image.hpp"

namespace pagefold {

namespace {

namespace fs = std::filesystem;

const std::string PNG_SIGNATURE("\x89PNG\r\n\x1a\n", 8);

std::string join_path(const std::string& dir, const std::string& name) {
  if (!name.empty() && name[0] == '/') return name;
  if (dir.empty() || dir.back() == '/') return dir + name;
  return dir + "/" + name;
}

int64_t file_size(const std::string& path) {
  std::error_code ec;
  auto n = fs::file_size(path, ec);
  if (ec) img::raise_os_error(ec.value(), path);
  return static_cast<int64_t>(n);
}

uint32_t be32(const std::string& s, size_t i) {
  uint32_t v = 0;
  for (size_t k = 0; k < 4; ++k) v = (v << 8) | static_cast<uint8_t>(s[i + k]);
  return v;
}

void put_be32(std::string& out, uint32_t v) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<char>((v >> shift) & 255));
}

// Writes the palette candidate of `img` to `path` and answers whether it was
// written. `ndist` is the number of distinct colours as soon as they are
// counted, and stays 0 when there are more than 256 (nothing written).
bool write_palette_candidate(const Image& img, const std::string& path, int64_t& ndist) {
  auto cols = img::getcolors(img, 256);
  if (!cols || cols->empty()) return false;
  auto& c = *cols;
  ndist = static_cast<int64_t>(c.size());
  std::sort(c.begin(), c.end(),
            [](const img::ColorCount& a, const img::ColorCount& b) { return a.second < b.second; });
  std::map<std::array<uint8_t, 4>, uint8_t> idx;
  std::vector<uint8_t> pal(768, 0), trns;
  for (size_t i = 0; i < c.size(); ++i) {
    idx[c[i].second] = static_cast<uint8_t>(i);
    std::copy_n(c[i].second.begin(), 3, &pal[i * 3]);
    trns.push_back(c[i].second[3]);
  }
  // A fully opaque picture still carries one alpha byte.
  while (trns.size() >= 2 && trns.back() == 255) trns.pop_back();
  std::vector<uint8_t> q(size_t(img.w) * img.h);
  for (size_t i = 0; i < q.size(); ++i) {
    const uint8_t* p = &img.px[i * 4];
    q[i] = idx.at({p[0], p[1], p[2], p[3]});
  }
  img::save_png_palette(img.w, img.h, q, pal, trns, path);
  _trim_png_palette(path);
  return true;
}

}  // namespace

std::string _save_css_png(const Image& img, const std::string& out_dir, const std::string& name,
                          PngLog& log) {
  std::error_code ec;
  fs::create_directories(out_dir, ec);
  if (ec) img::raise_os_error(ec.value(), out_dir);
  std::string path = join_path(out_dir, name);
  std::string probe = join_path(out_dir, ".__rgba_probe_" + name);
  img::save_png(img, probe);
  int64_t rgba_sz = file_size(probe);

  int64_t n_p8 = 0, ndist = 0;
  try {
    if (write_palette_candidate(img, path, ndist)) n_p8 = file_size(path);
  } catch (const std::exception&) {
    // Whatever failed, the RGBA candidate stands.
  }

  // A tie goes to the palette file.
  if (n_p8 && n_p8 <= rgba_sz) {
    fs::remove(probe, ec);
    log.entries.push_back({name, "p8", rgba_sz, n_p8, ndist});
  } else {
    fs::rename(probe, path, ec);
    if (ec) img::raise_os_error(ec.value(), probe);
    log.entries.push_back({name, "rgba", rgba_sz, rgba_sz, ndist});
  }
  return path;
}

int64_t _trim_png_palette(const std::string& path) {
  std::string data;
  try {
    data = img::read_bytes(path);
  } catch (const std::exception&) {
    return 0;
  }
  if (data.compare(0, 8, PNG_SIGNATURE) != 0) return 0;
  auto indices = img::palette_indices(data);
  if (!indices) return 0;
  int maxidx = indices->empty() ? 0 : *std::max_element(indices->begin(), indices->end());
  size_t keep = std::min(maxidx + 1, 256);

  // Every chunk is written anew with a fresh CRC; the palette and its alpha
  // entries are cut to the indices in use, and nothing after IEND survives.
  std::string out = PNG_SIGNATURE;
  size_t i = 8;
  while (i + 8 <= data.size()) {
    uint32_t ln = be32(data, i);
    std::string typ = data.substr(i + 4, 4);
    std::string chunk = data.substr(i + 8, ln);
    if (typ == "PLTE" && ln > keep * 3) chunk.resize(keep * 3);
    if (typ == "tRNS" && ln > keep) chunk.resize(keep);
    if (typ == "IHDR" && chunk.size() >= 9 && static_cast<uint8_t>(chunk[8]) != 8) return 0;
    put_be32(out, static_cast<uint32_t>(chunk.size()));
    std::string body = typ + chunk;
    out += body;
    put_be32(out,
             static_cast<uint32_t>(
                 crc32(0, reinterpret_cast<const Bytef*>(body.data()), body.size()) & 0xFFFFFFFFu));
    i += 12 + size_t(ln);
    if (typ == "IEND") break;
  }
  if (out.size() >= data.size()) return 0;
  img::write_bytes(path, out);
  return static_cast<int64_t>(data.size() - out.size());
}

std::optional<std::string> PngLog::summary() const {
  if (entries.empty()) return std::nullopt;
  std::vector<const PngLogEntry*> p8, rest;
  for (const PngLogEntry& e : entries) (e.kind == "p8" ? p8 : rest).push_back(&e);
  int64_t saved = 0, p8_rgba = 0;
  for (const PngLogEntry* e : p8) {
    saved += e->rgba_size - e->final_size;
    p8_rgba += e->rgba_size;
  }
  std::string msg = "CSS 导出切图编码：" + std::to_string(p8.size()) +
                    " 张走 **8bit 索引色 PNG**（调色板裁剪 + tRNS 逐档 alpha，省 " +
                    std::to_string(saved) + " B";
  if (!p8.empty()) {
    double pct =
        100.0 * static_cast<double>(saved) / static_cast<double>(std::max<int64_t>(1, p8_rgba));
    msg += "，平均 −" + num::fmt("%.0f", pct) + "%";
  }
  msg += "）；" + std::to_string(rest.size()) + " 张保留 RGBA";
  if (!rest.empty()) {
    std::vector<std::string> shown;
    for (size_t i = 0; i < rest.size() && i < 4; ++i) {
      const PngLogEntry& e = *rest[i];
      shown.push_back(e.name + " " + std::to_string(e.rgba_size) + "B→" +
                      std::to_string(e.final_size) + "B/" + std::to_string(e.colors) + "色");
    }
    msg += "（索引化不划算/掉色：" + text::join(shown, "、") +
           " —— 用色数 >256 的真渐变索引化后反而更大，需要更小请把渐变收敛成几个色标）";
  }
  return msg;
}

}  // namespace pagefold
