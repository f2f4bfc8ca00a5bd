// Exact palette PNG output: when a picture becomes indexed, what the log
// says, the chunks written, and that the pixels survive unchanged.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>

#include "assets/image.hpp"
#include "assets/png_output.hpp"
#include "testkit.hpp"

namespace pagefold {
namespace {

using testkit::TempDir;
namespace fs = std::filesystem;

// Chunk type to data length (repeated types keep the last).
std::map<std::string, size_t> chunks(const std::string& path) {
  std::string d = img::read_bytes(path);
  std::map<std::string, size_t> out;
  for (size_t i = 8; i + 8 <= d.size(); i += 12 + out[d.substr(i + 4, 4)])
    out[d.substr(i + 4, 4)] = (size_t(uint8_t(d[i])) << 24) | (size_t(uint8_t(d[i + 1])) << 16) |
                              (size_t(uint8_t(d[i + 2])) << 8) | uint8_t(d[i + 3]);
  return out;
}

// A 128 by 128 picture of exactly `n` distinct colours, scattered.
Image distinct_colours(int n) {
  Image im(128, 128, 4);
  for (int y = 0; y < im.h; ++y)
    for (int x = 0; x < im.w; ++x) {
      int k = (x == 0 && y < n) ? y : int((uint32_t(x * 128 + y) * 2654435761u) >> 13) % n;
      uint8_t* p = im.at(x, y);
      p[0] = uint8_t(k * 7), p[1] = uint8_t(k >> 3), p[2] = uint8_t(k % 5 * 40);
      p[3] = uint8_t(255 - k % 3 * 60);
    }
  return im;
}

Image ramp() {
  Image im(256, 64, 4);
  for (int y = 0; y < im.h; ++y)
    for (int x = 0; x < im.w; ++x) im.at(x, y)[0] = uint8_t(x), im.at(x, y)[3] = 255;
  return im;
}

struct Case {
  const char* what;
  Image img;
  const char* kind;
  int64_t colours;
  size_t plte, trns;  // chunk lengths; 0 for none
};

TEST(SavePng, ChoosesExactPaletteOrRgbaAndLogsIt) {
  const Case cases[] = {
      {"256 colours", distinct_colours(256), "p8", 256, 768, 256},
      {"257 colours", distinct_colours(257), "rgba", 0, 0, 0},
      {"one opaque colour", img::new_rgba(300, 200, Color::rgba(10, 20, 30, 255)), "p8", 1, 3, 1},
      {"clear hit area", I_new_rgba(120, 48, Color::rgba(1, 2, 3, 0)), "p8", 1, 3, 1},
      // Its palette alone outweighs the filtered RGBA rows.
      {"smooth ramp", ramp(), "rgba", 256, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    TempDir dir;
    PngLog log;
    std::string path = _save_css_png(c.img, dir.str() + "/sub", "a.png", log);
    EXPECT_EQ(path, dir.str() + "/sub/a.png");
    ASSERT_EQ(log.entries.size(), 1u);
    const PngLogEntry& e = log.entries[0];
    EXPECT_EQ(e.name, "a.png");
    EXPECT_EQ(e.kind, c.kind);
    EXPECT_EQ(e.colors, c.colours);
    EXPECT_EQ(e.final_size, int64_t(fs::file_size(path)));
    // A tie goes to the palette file.
    EXPECT_TRUE(e.kind == "p8" ? e.final_size <= e.rgba_size : e.final_size == e.rgba_size);
    auto ch = chunks(path);
    EXPECT_EQ(ch.count("PLTE") ? ch["PLTE"] : 0, c.plte);
    EXPECT_EQ(ch.count("tRNS") ? ch["tRNS"] : 0, c.trns);
    EXPECT_FALSE(fs::exists(dir.path() / "sub/.__rgba_probe_a.png"));
    EXPECT_EQ(I_open(path).px, c.img.px);
  }
  EXPECT_EQ(I_new_rgba(0, -3, Color::rgba(0, 0, 0, 0)).px.size(), 4u);
}

TEST(TrimPalette, CutsPaddedPaletteToTheIndicesInUse) {
  TempDir dir;
  std::string path = dir.str() + "/p.png";
  std::vector<uint8_t> pal(768, 0), trns = {0, 128, 255, 255}, idx(64);
  pal[3] = 200;
  for (size_t i = 0; i < idx.size(); ++i) idx[i] = uint8_t(i % 2);
  img::save_png_palette(8, 8, idx, pal, trns, path);
  auto before = fs::file_size(path);
  int64_t saved = _trim_png_palette(path);
  EXPECT_EQ(saved, int64_t(before - fs::file_size(path)));
  auto c = chunks(path);
  EXPECT_EQ(c["PLTE"], 6u);
  EXPECT_EQ(c["tRNS"], 2u);
  // Fresh checksums: the file still decodes, and a second trim has nothing to do.
  Image back = I_open(path);
  EXPECT_EQ(back.at(1, 0)[0], 200);
  EXPECT_EQ(back.at(1, 0)[3], 128);
  EXPECT_EQ(_trim_png_palette(path), 0);
}

TEST(TrimPalette, LeavesOtherFilesAlone) {
  TempDir dir;
  EXPECT_EQ(_trim_png_palette(dir.str() + "/missing.png"), 0);
  EXPECT_EQ(_trim_png_palette(dir.write("t.png", "not a picture")), 0);
  std::string rgba = dir.str() + "/r.png";
  img::save_png(img::new_rgba(4, 4, Color::rgba(1, 2, 3, 4)), rgba);
  auto size = fs::file_size(rgba);
  EXPECT_EQ(_trim_png_palette(rgba), 0);
  EXPECT_EQ(fs::file_size(rgba), size);
}

}  // namespace
}  // namespace pagefold
