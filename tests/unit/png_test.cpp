// Exact palette PNG output: when a picture becomes indexed, what the log
// says, and that the pixels survive the round trip unchanged.
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

// Chunk type to data length, in file order (repeated types keep the last).
std::map<std::string, size_t> chunks(const std::string& path) {
  std::string d = img::read_bytes(path);
  std::map<std::string, size_t> out;
  for (size_t i = 8; i + 8 <= d.size();) {
    size_t ln = (size_t(uint8_t(d[i])) << 24) | (size_t(uint8_t(d[i + 1])) << 16) |
                (size_t(uint8_t(d[i + 2])) << 8) | uint8_t(d[i + 3]);
    out[d.substr(i + 4, 4)] = ln;
    i += 12 + ln;
  }
  return out;
}

// A 128 by 128 picture of exactly `n` distinct colours, scattered.
Image distinct_colours(int n) {
  Image im(128, 128, 4);
  for (int y = 0; y < im.h; ++y)
    for (int x = 0; x < im.w; ++x) {
      int k = int((uint32_t(x * 128 + y) * 2654435761u) >> 13) % n;
      if (x == 0 && y < n) k = y;  // every colour at least once
      uint8_t* p = im.at(x, y);
      p[0] = uint8_t(k * 7);
      p[1] = uint8_t(k >> 3);
      p[2] = uint8_t(k % 5 * 40);
      p[3] = uint8_t(255 - k % 3 * 60);
    }
  return im;
}

class SavePng : public ::testing::Test {
 protected:
  void SetUp() override { PNG_LOG.clear(); }
  void TearDown() override { PNG_LOG.clear(); }
  TempDir dir;
};

TEST_F(SavePng, TwoHundredFiftySixColoursAreIndexedAndDecodeExactly) {
  Image im = distinct_colours(256);
  std::string path = _save_css_png(im, dir.str(), "a.png");
  EXPECT_EQ(path, dir.str() + "/a.png");
  ASSERT_EQ(PNG_LOG.size(), 1u);
  const PngLogEntry& e = PNG_LOG[0];
  EXPECT_EQ(e.name, "a.png");
  EXPECT_EQ(e.kind, "p8");
  EXPECT_EQ(e.colors, 256);
  EXPECT_EQ(e.final_size, int64_t(fs::file_size(path)));
  EXPECT_LE(e.final_size, e.rgba_size);
  EXPECT_FALSE(fs::exists(dir.path() / ".__rgba_probe_a.png"));
  EXPECT_EQ(I_open(path).px, im.px);
}

TEST_F(SavePng, TwoHundredFiftySevenColoursStayRgba) {
  Image im = distinct_colours(257);
  std::string path = _save_css_png(im, dir.str(), "b.png");
  ASSERT_EQ(PNG_LOG.size(), 1u);
  EXPECT_EQ(PNG_LOG[0].kind, "rgba");
  EXPECT_EQ(PNG_LOG[0].colors, 0);
  EXPECT_EQ(PNG_LOG[0].final_size, PNG_LOG[0].rgba_size);
  EXPECT_EQ(chunks(path).count("PLTE"), 0u);
  EXPECT_FALSE(fs::exists(dir.path() / ".__rgba_probe_b.png"));
  EXPECT_EQ(I_open(path).px, im.px);
}

TEST_F(SavePng, OneOpaqueColourKeepsOnePaletteEntryAndOneAlphaByte) {
  Image im = img::new_rgba(300, 200, Color::rgba(10, 20, 30, 255));
  std::string path = _save_css_png(im, dir.str(), "c.png");
  EXPECT_EQ(PNG_LOG.at(0).kind, "p8");
  EXPECT_EQ(PNG_LOG.at(0).colors, 1);
  auto c = chunks(path);
  EXPECT_EQ(c["PLTE"], 3u);
  EXPECT_EQ(c["tRNS"], 1u);
  EXPECT_EQ(I_open(path).px, im.px);
}

TEST_F(SavePng, FullyTransparentHitAreaIsIndexed) {
  Image im = I_new_rgba(0, -3, Color::rgba(255, 255, 255, 0));
  EXPECT_EQ(im.w, 1);
  EXPECT_EQ(im.h, 1);
  im = I_new_rgba(120, 48, Color::rgba(1, 2, 3, 0));
  std::string path = _save_css_png(im, dir.str() + "/sub/dir", "btn_x_hit.png");
  EXPECT_EQ(PNG_LOG.at(0).kind, "p8");
  auto c = chunks(path);
  EXPECT_EQ(c["PLTE"], 3u);
  EXPECT_EQ(c["tRNS"], 1u);
  EXPECT_EQ(I_open(path).px, im.px);
}

TEST_F(SavePng, LargerPaletteFileLeavesTheRgbaBytes) {
  // A smooth ramp filters to almost nothing as RGBA, while its palette alone
  // takes 768 bytes.
  Image im(256, 64, 4);
  for (int y = 0; y < im.h; ++y)
    for (int x = 0; x < im.w; ++x) {
      uint8_t* p = im.at(x, y);
      p[0] = uint8_t(x), p[1] = 0, p[2] = 0, p[3] = 255;
    }
  std::string path = _save_css_png(im, dir.str(), "ramp.png");
  ASSERT_EQ(PNG_LOG.size(), 1u);
  EXPECT_EQ(PNG_LOG[0].kind, "rgba");
  EXPECT_EQ(PNG_LOG[0].colors, 256);
  EXPECT_EQ(int64_t(fs::file_size(path)), PNG_LOG[0].rgba_size);
  EXPECT_FALSE(fs::exists(dir.path() / ".__rgba_probe_ramp.png"));
}

TEST(TrimPalette, CutsPaddedPaletteToTheIndicesInUse) {
  TempDir dir;
  std::string path = dir.str() + "/p.png";
  std::vector<uint8_t> pal(768, 0), trns = {0, 128, 255, 255};
  pal[3] = 200;
  std::vector<uint8_t> idx(64);
  for (size_t i = 0; i < idx.size(); ++i) idx[i] = uint8_t(i % 2);
  img::save_png_palette(8, 8, idx, pal, trns, path);
  auto before = fs::file_size(path);
  int64_t saved = _trim_png_palette(path);
  EXPECT_EQ(saved, int64_t(before - fs::file_size(path)));
  auto c = chunks(path);
  EXPECT_EQ(c["PLTE"], 6u);
  EXPECT_EQ(c["tRNS"], 2u);
  // Fresh checksums: the file still decodes.
  Image back = I_open(path);
  EXPECT_EQ(back.at(1, 0)[0], 200);
  EXPECT_EQ(back.at(1, 0)[3], 128);
  EXPECT_EQ(_trim_png_palette(path), 0);
}

TEST(TrimPalette, LeavesOtherFilesAlone) {
  TempDir dir;
  EXPECT_EQ(_trim_png_palette(dir.str() + "/missing.png"), 0);
  std::string text = dir.write("t.png", "not a picture");
  EXPECT_EQ(_trim_png_palette(text), 0);
  std::string rgba = dir.str() + "/r.png";
  img::save_png(img::new_rgba(4, 4, Color::rgba(1, 2, 3, 4)), rgba);
  auto size = fs::file_size(rgba);
  EXPECT_EQ(_trim_png_palette(rgba), 0);
  EXPECT_EQ(fs::file_size(rgba), size);
}

}  // namespace
}  // namespace pagefold
