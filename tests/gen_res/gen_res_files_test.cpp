// The files the plug-in writes: the animated spinner and its frames, the same
// bytes on every run, and failures that leave nothing half-written.
#include <gif_lib.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "files.hpp"
#include "module.hpp"
#include "pagefold/error.hpp"
#include "support.hpp"
#include "testkit.hpp"

using namespace pagefold;
using gen_res_test::files_in;
namespace fs = std::filesystem;

namespace {

// A GIF read back whole; closed with the object.
struct Gif {
  GifFileType* f = nullptr;
  explicit Gif(const std::string& path) {
    int err = 0;
    f = DGifOpenFileName(path.c_str(), &err);
    if (f && DGifSlurp(f) != GIF_OK) {
      DGifCloseFile(f, &err);
      f = nullptr;
    }
  }
  ~Gif() {
    int err = 0;
    if (f) DGifCloseFile(f, &err);
  }
  // Frame i as text: '#' for the colour, '.' for the transparent index.
  std::string frame(int i) const {
    const SavedImage& im = f->SavedImages[i];
    std::string out;
    for (int k = 0; k < im.ImageDesc.Width * im.ImageDesc.Height; ++k)
      out.push_back(im.RasterBits[k] ? '#' : '.');
    return out;
  }
};

// The loop block: application extension "NETSCAPE2.0" whose sub-block is
// 1 followed by the loop count (little-endian), 0 meaning forever.
bool loops_forever(const SavedImage& first) {
  for (int i = 0; i + 1 < first.ExtensionBlockCount; ++i) {
    const ExtensionBlock& app = first.ExtensionBlocks[i];
    const ExtensionBlock& sub = first.ExtensionBlocks[i + 1];
    if (app.Function == APPLICATION_EXT_FUNC_CODE && app.ByteCount == 11 &&
        std::memcmp(app.Bytes, "NETSCAPE2.0", 11) == 0)
      return sub.ByteCount == 3 && sub.Bytes[0] == 1 && sub.Bytes[1] == 0 && sub.Bytes[2] == 0;
  }
  return false;
}

class Files : public ::testing::Test {
 protected:
  genres::GenResModule gr;
  testkit::TempDir tmp;
};

TEST_F(Files, SpinnerGifHasTwelveLoopingTransparentFrames) {
  const std::string path =
      gr.frames_loading_gif(tmp.str(), "spin.gif", 48, Color::rgba(0x38, 0xBD, 0xF8, 255), 12);
  EXPECT_EQ(tmp.str() + "/spin.gif", path);
  Gif gif(path);
  ASSERT_NE(nullptr, gif.f);
  EXPECT_EQ(48, gif.f->SWidth);
  EXPECT_EQ(48, gif.f->SHeight);
  ASSERT_EQ(12, gif.f->ImageCount);
  ASSERT_EQ(2, gif.f->SColorMap->ColorCount);
  const GifColorType ink = gif.f->SColorMap->Colors[1];
  EXPECT_EQ(0x38, ink.Red);
  EXPECT_EQ(0xBD, ink.Green);
  EXPECT_EQ(0xF8, ink.Blue);
  EXPECT_TRUE(loops_forever(gif.f->SavedImages[0]));
  for (int i = 0; i < 12; ++i) {
    GraphicsControlBlock gcb{};
    ASSERT_EQ(GIF_OK, DGifSavedExtensionToGCB(gif.f, i, &gcb));
    EXPECT_EQ(0, gcb.TransparentColor);
    EXPECT_EQ(DISPOSE_BACKGROUND, gcb.DisposalMode);
    EXPECT_EQ(8, gcb.DelayTime);  // one turn a second
  }
  // Each frame turns the spinner a twelfth clockwise: three frames on is a
  // quarter turn.
  auto at = [](const std::string& f, int x, int y) { return f[size_t(y) * 48 + size_t(x)]; };
  for (int i = 0; i < 12; ++i) {
    const std::string a = gif.frame(i), b = gif.frame((i + 3) % 12);
    int differ = 0;
    for (int y = 0; y < 48; ++y)
      for (int x = 0; x < 48; ++x) differ += at(a, x, y) != at(b, 47 - y, x);
    EXPECT_LE(differ, 4) << "frame " << i;
    EXPECT_NE(a, gif.frame((i + 1) % 12));
  }
  // A colour too faint to reach half opacity leaves every frame empty.
  Gif faint(gr.frames_loading_gif(tmp.str(), "faint.gif", 16, Color::rgba(0, 0, 0, 100), 12));
  EXPECT_EQ(std::string(256, '.'), faint.frame(0));
}

TEST_F(Files, SpinnerFramesAreNumberedPicturesOfTheSameSpinner) {
  gr.frames_loading(tmp.str(), "loading_x", 32, std::nullopt, 12);
  std::vector<std::string> want;
  for (int i = 0; i < 12; ++i)
    want.push_back("loading_x_" + std::string(i < 10 ? "0" : "") + std::to_string(i) + ".png");
  EXPECT_EQ(want, files_in(tmp.str()));
  Gif gif(gr.frames_loading_gif(tmp.str(), "x.gif", 32, std::nullopt, 12));
  for (int i = 0; i < 12; ++i) {
    const Image png = genres::read_png(tmp.str() + "/" + want[size_t(i)]);
    ASSERT_EQ(32, png.w);
    ASSERT_EQ(32, png.h);
    // The default colour, and the GIF opaque exactly where a frame is at
    // least half covered.
    std::string half;
    for (int y = 0; y < 32; ++y)
      for (int x = 0; x < 32; ++x) {
        const uint8_t* p = png.at(x, y);
        ASSERT_EQ(66, p[0]);
        ASSERT_EQ(201, p[1]);
        ASSERT_EQ(255, p[2]);
        half.push_back(p[3] >= 128 ? '#' : '.');
      }
    EXPECT_EQ(gif.frame(i), half) << "frame " << i;
  }
  // Frame counts: 1 to 60.
  EXPECT_THROW(gr.frames_loading(tmp.str(), "n0", 8, std::nullopt, 0), Failure);
  EXPECT_NO_THROW(gr.frames_loading(tmp.str(), "n1", 8, std::nullopt, 1));
  EXPECT_NO_THROW(gr.frames_loading_gif(tmp.str(), "n60.gif", 8, std::nullopt, 60));
  EXPECT_THROW(gr.frames_loading_gif(tmp.str(), "n61.gif", 8, std::nullopt, 61), Failure);
  EXPECT_TRUE(fs::exists(tmp.path() / "n1_00.png"));
  EXPECT_FALSE(fs::exists(tmp.path() / "n0_00.png"));
  EXPECT_FALSE(fs::exists(tmp.path() / "n61.gif"));
}

// Every kind of file, written into `d`.
void write_all(genres::GenResModule& gr, const std::string& d) {
  const Color blue = Color::rgba(37, 99, 235, 255);
  gr.gen_gradient_stops(d, "grad.png", 60, 20, {{std::nullopt, blue}, {0.7, Color::rgb(9, 9, 9)}},
                        true, 6, 4);
  gr.gen_shadow_card(d, "shadow.png", 40, 30, 8, Color::rgb(255, 255, 255),
                     ShadowSpec{0, 3, 6, Color::rgba(0, 0, 0, 90)}, false, 4);
  gr.to_9patch(gr.rounded_rect_cov(30, 20, 6.0, blue), 6, d, "card.9.png");
  gr.glyph_icon(d, "icon.png", "settings", 24, Color::rgb(200, 200, 200), false, {32, 28});
  gr.glyph_icon(d, "icon_p.png", "settings", 24, Color::rgb(200, 200, 200), true, {32, 28});
  gr.emoji_icon_box(d, "emoji.png", 40, 30, "🇨🇳");
  gr.frames_loading_gif(d, "spin.gif", 24, blue, 12);
  gr.frames_loading(d, "spin", 24, blue, 12);
}

TEST_F(Files, SameInputGivesTheSameBytes) {
  write_all(gr, tmp.str() + "/a");
  genres::GenResModule other;
  write_all(other, tmp.str() + "/b");
  const std::vector<std::string> names = files_in(tmp.str() + "/a");
  EXPECT_EQ(names, files_in(tmp.str() + "/b"));
  EXPECT_EQ(19u, names.size());
  for (const std::string& n : names)
    EXPECT_EQ(testkit::read_file(tmp.str() + "/a/" + n), testkit::read_file(tmp.str() + "/b/" + n))
        << n;
}

// Equal pixels are encoded once and their bytes reused; a picture that
// differs in one byte, or has the same bytes in another shape, or is too
// large to keep, is encoded for itself: each file reads back as its picture.
TEST_F(Files, EachPictureIsEncodedAsItselfWhenEqualOnesAreReused) {
  const auto picture = [](int w, int h) {
    Image img(w, h, 4);
    for (size_t i = 0; i < img.px.size(); ++i) img.px[i] = uint8_t((i * 7 + i / 13) & 255);
    return img;
  };
  Image a = picture(40, 30), b = a, c = a, large = picture(300, 300);
  b.px.back() ^= 1;
  c.w = 30;
  c.h = 40;
  const std::pair<const char*, const Image*> order[] = {
      {"a1", &a}, {"b1", &b}, {"c1", &c}, {"l1", &large}, {"a2", &a}, {"c2", &c}, {"l2", &large}};
  for (const auto& [name, img] : order) {
    const std::string path = tmp.str() + "/" + name + ".png";
    genres::write_file_atomic(path, genres::encode_png(*img));
    const Image back = genres::read_png(path);
    EXPECT_EQ(back.w, img->w) << name;
    EXPECT_EQ(back.h, img->h) << name;
    EXPECT_EQ(back.px, img->px) << name;
  }
  EXPECT_EQ(testkit::read_file(tmp.str() + "/a1.png"), testkit::read_file(tmp.str() + "/a2.png"));
  EXPECT_EQ(testkit::read_file(tmp.str() + "/l1.png"), testkit::read_file(tmp.str() + "/l2.png"));
}

TEST_F(Files, FailedWritesLeaveNothingBehind) {
  const Color red = Color::rgb(255, 0, 0);
  // A directory that cannot be made: a file stands in its way.
  const std::string blocker = tmp.write("blocker", "x");
  try {
    gr.gen_gradient_stops(blocker + "/sub", "g.png", 4, 4, {{std::nullopt, red}}, true, 0, 4);
    ADD_FAILURE() << "written under a file";
  } catch (const Failure& f) {
    EXPECT_EQ("NotADirectoryError", f.type());
    EXPECT_EQ("[Errno 20] Not a directory: '" + blocker + "/sub'", f.message());
  }
  // A name that is no plain file name.
  EXPECT_THROW(
      gr.gen_gradient_stops(tmp.str(), "../g.png", 4, 4, {{std::nullopt, red}}, true, 0, 4),
      Failure);
  EXPECT_THROW(gr.frames_loading(tmp.str(), "a/b", 4, std::nullopt, 2), Failure);
  // A target that cannot be replaced (a directory of that name): no file and
  // no temporary left over; of a frame sequence, the frames put in place
  // before the failure stay, each one whole.
  fs::create_directories(tmp.path() / "taken.png");
  EXPECT_THROW(
      gr.gen_gradient_stops(tmp.str(), "taken.png", 4, 4, {{std::nullopt, red}}, true, 0, 4),
      Failure);
  fs::create_directories(tmp.path() / "f_01.png");
  EXPECT_THROW(gr.frames_loading(tmp.str(), "f", 8, std::nullopt, 3), Failure);
  EXPECT_EQ(std::vector<std::string>({"blocker", "f_00.png", "f_01.png", "taken.png"}),
            files_in(tmp.str()));
  EXPECT_TRUE(fs::is_directory(tmp.path() / "taken.png"));
  // A directory that does not exist yet is made.
  EXPECT_EQ(tmp.str() + "/new/deep/g.png",
            gr.gen_gradient_stops(tmp.str() + "/new/deep", "g.png", 4, 4, {{std::nullopt, red}},
                                  true, 0, 4));
}

}  // namespace
