// Glyph icons and emoji: how names are read, where glyphs sit, what the
// pressed state looks like, colour emoji and their sequences, and what
// happens when a font is missing.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "files.hpp"
#include "glyphs.hpp"
#include "module.hpp"
#include "pagefold/error.hpp"
#include "support.hpp"
#include "testkit.hpp"

using namespace pagefold;
using gen_res_test::alpha_box;
using gen_res_test::alpha_centroid;
using gen_res_test::files_in;

namespace {

class Fonts : public ::testing::Test {
 protected:
  genres::GenResModule gr;
  testkit::TempDir tmp;

  Image icon(const std::string& gname, int64_t size, std::pair<int64_t, int64_t> canvas,
             bool pressed = false, Color color = Color::rgb(40, 80, 160)) {
    return genres::read_png(gr.glyph_icon(tmp.str(), "i.png", gname, size, color, pressed, canvas));
  }
};

TEST_F(Fonts, GlyphNamesAreReadInTheirUsualSpellings) {
  const std::pair<const char*, const char*> cases[] = {
      {"home", "home"},
      {"HOME", "home"},
      {"  Settings ", "settings"},
      {"icon-home", "home"},
      {"fa-cog", "settings"},
      {"fa fa-trash", "delete"},
      {"fa-solid fa-house", "house"},
      {"mdi-arrow-left", "arrow_left"},
      {"mdi-chevron-down", "expand_more"},
      {"ic_home_black_24dp", "home"},
      {"arrow-back", "arrow_back"},
      {"chevron.left", "chevron_left"},
      {"fa-heart-o", "favorite"},
      {"material-icons delete", "delete"},
      {"nothing here, plus", "add"},
      {"back", "arrow_back"},
      {"minus", "remove"},
      {"battery", "battery_full"},
      {"wifi-3", "network_wifi_3_bar"},
      {"wifi", "wifi"},
      {"shift", "keyboard_capslock"},
      {"\xee\xa2\x8a", "home"},  // the glyph's own character, U+E88A
      {"zzz", ""},
      {"icon", ""},
      {"", ""},
      {"fa-", ""},
  };
  for (const auto& [in, want] : cases) EXPECT_EQ(want, gr.glyph_canonical(in)) << in;
}

TEST_F(Fonts, EveryShortNameAndListedNameIsAGlyphOfTheFont) {
  genres::FreeType ft;
  genres::IconFont font(ft, genres::FontPaths{}.icon_font, genres::FontPaths{}.icon_names);
  const auto& names = font.names();
  EXPECT_GT(names.size(), 2000u);
  // Short names stand for glyphs of the font and never hide one.
  for (const auto& [alias, target] : genres::IconFont::aliases()) {
    EXPECT_TRUE(names.count(target)) << alias << " -> " << target;
    EXPECT_FALSE(names.count(alias)) << alias;
  }
  const std::vector<std::string> list = gr.glyph_list();
  EXPECT_GE(list.size(), 24u);
  EXPECT_LE(list.size(), 72u);
  for (const std::string& n : list) EXPECT_TRUE(names.count(gr.glyph_canonical(n))) << n;
}

TEST_F(Fonts, GlyphIsCentredOnItsCanvas) {
  // A round glyph on canvases wider, taller and equal to its size.
  for (auto [cw, ch] : {std::pair<int64_t, int64_t>{40, 30}, {24, 36}, {24, 24}, {33, 33}}) {
    const Image img = icon("circle", 24, {cw, ch});
    ASSERT_EQ(cw, img.w);
    ASSERT_EQ(ch, img.h);
    const auto c = alpha_centroid(img);
    EXPECT_NEAR(cw / 2.0, c.x, 0.25) << cw << "x" << ch;
    EXPECT_NEAR(ch / 2.0, c.y, 0.25) << cw << "x" << ch;
  }
  // Ink drawn in the colour asked for, its edges anti-aliased.
  const Image home = icon("home", 48, {48, 48});
  const auto c = alpha_centroid(home);
  EXPECT_NEAR(24.0, c.x, 1.0);
  EXPECT_NEAR(24.0, c.y, 2.0);
  int partial = 0;
  for (int y = 0; y < 48; ++y)
    for (int x = 0; x < 48; ++x) {
      const uint8_t* p = home.at(x, y);
      ASSERT_EQ(40, p[0]);
      ASSERT_EQ(80, p[1]);
      ASSERT_EQ(160, p[2]);
      partial += p[3] > 0 && p[3] < 255;
    }
  EXPECT_GT(partial, 20);
  // A canvas without a size is the glyph's square.
  EXPECT_EQ(20, icon("home", 20, {0, 0}).w);
}

TEST_F(Fonts, PressedIconIsTheSameGlyphDarkerOnAFaintDisc) {
  const Image normal = icon("home", 48, {48, 48});
  const Image pressed = icon("home", 48, {48, 48}, true);
  // Outside the disc (a canvas corner) nothing; inside it, away from the
  // glyph, the icon's colour at 16%.
  EXPECT_EQ(0, pressed.at(0, 0)[3]);
  EXPECT_EQ(0, normal.at(24, 44)[3]);
  const uint8_t* disc = pressed.at(24, 44);
  EXPECT_EQ(41, disc[3]);
  EXPECT_EQ(40, disc[0]);
  // The glyph itself: same shape, 70% of the brightness.
  const uint8_t* ink = pressed.at(16, 30);
  ASSERT_EQ(255, normal.at(16, 30)[3]);
  EXPECT_EQ(255, ink[3]);
  EXPECT_EQ(28, ink[0]);
  EXPECT_EQ(56, ink[1]);
  EXPECT_EQ(112, ink[2]);
  int differ = 0;
  for (int y = 0; y < 48; ++y)
    for (int x = 0; x < 48; ++x)
      differ += std::abs(normal.at(x, y)[3] - pressed.at(x, y)[3]) > 30 ||
                std::abs(normal.at(x, y)[2] - pressed.at(x, y)[2]) > 30;
  EXPECT_GT(differ, 48 * 48 / 3);
}

TEST_F(Fonts, EmojiAreDrawnInColourScaledAndCentred) {
  const Image img = genres::read_png(gr.emoji_icon_box(tmp.str(), "e.png", 64, 40, "😀"));
  ASSERT_EQ(64, img.w);
  ASSERT_EQ(40, img.h);
  // Fitted to the height and centred across.
  const auto box = alpha_box(img, 8);
  EXPECT_LE(box[1], 2);
  EXPECT_GE(box[3], 37);
  EXPECT_NEAR(img.w - 1 - box[2], box[0], 1);
  const auto c = alpha_centroid(img);
  EXPECT_NEAR(32.0, c.x, 1.0);
  EXPECT_NEAR(20.0, c.y, 1.5);
  // In colour: most of the opaque face is saturated yellow.
  int opaque = 0, yellow = 0;
  for (int y = 0; y < img.h; ++y)
    for (int x = 0; x < img.w; ++x) {
      const uint8_t* p = img.at(x, y);
      if (p[3] < 250) continue;
      ++opaque;
      yellow += p[0] > 200 && p[1] > 150 && p[2] < 100;
    }
  EXPECT_GT(yellow, opaque / 2);
  // The square form.
  const Image sq = genres::read_png(gr.emoji_icon(tmp.str(), "s.png", 30, "😀"));
  EXPECT_EQ(30, sq.w);
  EXPECT_EQ(30, sq.h);
}

TEST_F(Fonts, EmojiSequencesAreOnePictureWhereTheFontHasOne) {
  EXPECT_EQ(1u, gr.emoji_glyph_count("🇨🇳"));               // a flag
  EXPECT_EQ(1u, gr.emoji_glyph_count("👍🏽"));         // a skin tone
  EXPECT_EQ(1u, gr.emoji_glyph_count("👨\u200d👩\u200d👧"));  // a family
  EXPECT_EQ(1u, gr.emoji_glyph_count("❤️"));           // with its selector
  EXPECT_EQ(2u, gr.emoji_glyph_count("😀😀"));
  // Two pictures side by side still fit the box.
  const Image two = genres::read_png(gr.emoji_icon_box(tmp.str(), "two.png", 40, 40, "😀😀"));
  const auto box = alpha_box(two, 8);
  EXPECT_LE(box[0], 1);
  EXPECT_GE(box[2], 38);
  EXPECT_GT(box[1], 8);
}

TEST_F(Fonts, WhatCannotBeDrawnFailsClearlyAndWritesNothing) {
  try {
    gr.glyph_icon(tmp.str(), "i.png", "no_such_icon", 24, Color::rgb(0, 0, 0), false, {24, 24});
    ADD_FAILURE() << "unknown glyph drawn";
  } catch (const Failure& f) {
    EXPECT_EQ("KeyError", f.type());
    EXPECT_EQ("unknown glyph name 'no_such_icon'", f.message());
  }
  try {
    gr.emoji_icon_box(tmp.str(), "e.png", 24, 24, "℃");
    ADD_FAILURE() << "character without an emoji drawn";
  } catch (const Failure& f) {
    EXPECT_EQ("emoji font cannot draw U+2103", f.message());
  }
  EXPECT_THROW(gr.emoji_icon_box(tmp.str(), "e.png", 24, 24, ""), Failure);
  EXPECT_EQ(std::vector<std::string>{}, files_in(tmp.str()));
}

TEST_F(Fonts, MissingFontsFailWhenUsedAndNamesStillRead) {
  genres::FontPaths paths;
  paths.icon_font = tmp.str() + "/none/icons.ttf";
  paths.emoji_font = tmp.str() + "/none/emoji.ttf";
  genres::GenResModule broken(paths);
  EXPECT_EQ("home", broken.glyph_canonical("icon-home"));
  try {
    broken.glyph_icon(tmp.str(), "i.png", "home", 24, Color::rgb(0, 0, 0), false, {24, 24});
    ADD_FAILURE() << "drawn without a font";
  } catch (const Failure& f) {
    EXPECT_EQ("FileNotFoundError", f.type());
    EXPECT_EQ(
        "icon font unavailable: [Errno 2] No such file or directory: '" + paths.icon_font + "'",
        f.message());
  }
  try {
    broken.emoji_icon(tmp.str(), "e.png", 24, "😀");
    ADD_FAILURE() << "drawn without a font";
  } catch (const Failure& f) {
    EXPECT_EQ(
        "emoji font unavailable: [Errno 2] No such file or directory: '" + paths.emoji_font + "'",
        f.message());
  }
  // Without the name map, spellings are still normalised, so that drawing
  // reports the real trouble.
  paths = genres::FontPaths{};
  paths.icon_names = tmp.str() + "/none/names.scss";
  genres::GenResModule no_map(paths);
  EXPECT_EQ("arrow_back", no_map.glyph_canonical("back"));
  EXPECT_EQ("thermostat_auto", no_map.glyph_canonical("icon-thermostat-auto"));
  EXPECT_THROW(
      no_map.glyph_icon(tmp.str(), "i.png", "home", 24, Color::rgb(0, 0, 0), false, {24, 24}),
      Failure);
  EXPECT_EQ(std::vector<std::string>{}, files_in(tmp.str()));
}

}  // namespace

namespace {

// One module serves every conversion of a process, also conversions on two
// threads at once: icons and emoji drawn concurrently are the pictures drawn
// one after the other.
TEST(FontsOnThreads, TwoThreadsDrawWhatOneDraws) {
  genres::GenResModule gr;
  testkit::TempDir tmp;
  auto draw = [&](const std::string& dir, int i) {
    const std::string d = (tmp.path() / dir).string();
    std::string icon = gr.glyph_icon(d, "i" + std::to_string(i) + ".png", i % 2 ? "home" : "wifi",
                                     24 + i % 3, Color::rgb(40, 80, 160), i % 2 == 0, {48, 48});
    std::string emoji = gr.emoji_icon_box(d, "e" + std::to_string(i) + ".png", 40, 40,
                                          i % 2 ? "\U0001F600" : "\U0001F319");
    return testkit::read_file(icon) + testkit::read_file(emoji);
  };
  std::vector<std::string> one;
  for (int i = 0; i < 8; ++i) one.push_back(draw("one", i));
  std::vector<std::string> a(8), b(8);
  std::thread ta([&] {
    for (int i = 0; i < 8; ++i) a[i] = draw("a", i);
  });
  std::thread tb([&] {
    for (int i = 0; i < 8; ++i) b[i] = draw("b", i);
  });
  ta.join();
  tb.join();
  EXPECT_EQ(a, one);
  EXPECT_EQ(b, one);
}

}  // namespace
