// The finishing passes over finished pages: the edges of text fitting and of
// covering windows (the golden prototypes finish_text_fit and
// finish_covering_windows show both whole), and slide-window icon sizes read
// from real picture files.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "finish/finish.hpp"
#include "pagefold/error.hpp"
#include "testkit.hpp"

using namespace pagefold;
using testkit::J;

namespace {

#define EXPECT_JSON(actual, expected) EXPECT_EQ(dump(actual, 2), dump(expected, 2))

TEST(FinalizeLayout, TextControlsWithoutTextSizeOrBoxAreLeftAlone) {
  const std::string page = R"({"resolution": {"height": 272, "width": 480},
    "textview__1": {"text": "ab", "fontSize": 0, "position": {"height": 1, "left": 0, "top": 0, "width": 1}},
    "textview__2": {"text": "ab", "fontSize": 10},
    "button__3": {"text": "ab", "fontSize": 10, "position": {"height": 0, "left": 0, "top": 0, "width": 1}},
    "edittext__4": {"text": "ab", "fontSize": 10, "position": {"height": 1, "left": 0, "top": 0, "width": 1}},
    "textview__5": {"text": "", "fontSize": 10, "position": {"height": 1, "left": 0, "top": 0, "width": 1}}})";
  Value data = J(page);
  std::vector<std::string> warnings;
  _finalize_layout(data, warnings);
  EXPECT_JSON(data, J(page));
  EXPECT_TRUE(warnings.empty());
}

// Characters below U+2E80 count 0.55 when they are word characters, digits
// or brackets (in any script) and 0.6 otherwise; from U+2E80 on a full em.
// Ten characters at font size 100: w = trunc(units * 100 * 1.1) + 16, the
// units summed one character at a time (ten times 0.55 is 5.499999999999999).
TEST(FinalizeLayout, TextWidthCountsEachCharacterByItsClass) {
  const std::pair<std::string, int64_t> cases[] = {
      {"aaaaaaaaaa", 620},  // word characters: 0.55 each
      {"éééééééééé", 620},  // letters beyond ASCII too
      {"٣٣٣٣٣٣٣٣٣٣", 620},  // Arabic-Indic digits
      {"((((((((((", 620},  // brackets
      {"----------", 675},  // punctuation: 0.6 each
      {"——————————", 675},  // U+2014
      {"\u2e7f\u2e7f\u2e7f\u2e7f\u2e7f\u2e7f\u2e7f\u2e7f\u2e7f\u2e7f", 675},    // the last below
      {"\u2e80\u2e80\u2e80\u2e80\u2e80\u2e80\u2e80\u2e80\u2e80\u2e80", 1116}};  // the first em
  for (const auto& [text, want] : cases) {
    Value data = J(R"({"resolution": {"height": 272, "width": 4800},
      "textview__1": {"fontSize": 100, "position": {"height": 1, "left": 0, "top": 0, "width": 1}}})");
    data["textview__1"]["text"] = text;
    std::vector<std::string> warnings;
    _finalize_layout(data, warnings);
    EXPECT_EQ(data["textview__1"]["position"]["width"], Value(want)) << text;
  }
}

// Every growing box is measured against its own nearest window, wherever it
// stands in the page; a box outside any window against the page.
TEST(FinalizeLayout, EachGrowingBoxIsBoundByItsOwnWindow) {
  Value data = J(R"({"resolution": {"height": 480, "width": 800},
    "window__1": {"position": {"height": 100, "left": 0, "top": 0, "width": 60},
      "textview__2": {"text": "ab", "fontSize": 10, "position": {"height": 20, "left": 40, "top": 0, "width": 1}},
      "window__3": {"position": {"height": 100, "left": 0, "top": 0, "width": 0},
        "textview__4": {"text": "ab", "fontSize": 10, "position": {"height": 20, "left": 790, "top": 0, "width": 1}}},
      "listview__5": {"position": {"height": 100, "left": 0, "top": 0, "width": 10},
        "textview__6": {"text": "ab", "fontSize": 10, "position": {"height": 20, "left": 0, "top": 0, "width": 1}}}},
    "textview__7": {"text": "ab", "fontSize": 10, "position": {"height": 20, "left": 780, "top": 0, "width": 1}}})");
  std::vector<std::string> warnings;
  _finalize_layout(data, warnings);
  // 28 wide: textview__2 ends at 68 > 60; textview__4 in a window of width 0
  // is bound by the page (800) and ends at 818; textview__6 fits its window
  // (the list view counts for nothing); textview__7 ends at 808 > 800.
  EXPECT_EQ(data["window__1"]["textview__2"]["position"]["width"], Value(1));
  EXPECT_EQ(data["window__1"]["window__3"]["textview__4"]["position"]["width"], Value(1));
  EXPECT_EQ(data["window__1"]["listview__5"]["textview__6"]["position"]["width"], Value(28));
  EXPECT_EQ(data["textview__7"]["position"]["width"], Value(1));
  ASSERT_EQ(warnings.size(), 3u);
  EXPECT_NE(warnings[0].find("textview__2()"), std::string::npos);
  EXPECT_NE(warnings[0].find("超出容器(60px)"), std::string::npos);
  EXPECT_NE(warnings[1].find("超出容器(800px)"), std::string::npos);
  EXPECT_NE(warnings[2].find("textview__7()"), std::string::npos);
  EXPECT_NE(warnings[2].find("超出容器(800px)"), std::string::npos);
}

// Merged windows: every page shares the root, and the pages' passes say what
// one pass after another would say, grown boxes and repeated warnings alike.
TEST(FinalizePages, OnePageAfterAnotherOnOneRoot) {
  const std::string page = R"({"resolution": {"height": 480, "width": 800},
    "window__1": {"position": {"height": 480, "left": 0, "top": 0, "width": 800},
      "textview__2": {"text": "ab", "fontSize": 10, "position": {"height": 1, "left": 790, "top": 0, "width": 1}},
      "textview__3": {"text": "ab", "fontSize": 10, "position": {"height": 1, "left": 0, "top": 0, "width": 1}}},
    "window__4": {"position": {"height": 480, "left": 0, "top": 0, "width": 800}},
    "textview__5": {"text": "abc", "fontSize": 12, "position": {"height": 20, "left": 0, "top": 0, "width": 1}}})";
  // With `shared`, the first window's position is the position of a box
  // that grows after the window's children were measured, so the second
  // pass measures against a wider window than the first and warns
  // differently.
  auto make = [&](bool shared) {
    Value root = J(page);
    if (shared) root["window__1"]["position"] = root["textview__5"]["position"];
    return root;
  };
  for (bool shared : {false, true}) {
    for (size_t pages : {size_t{1}, size_t{2}, size_t{3}, size_t{5}}) {
      Value expected = make(shared);
      std::vector<std::string> want;
      for (size_t i = 0; i < pages; ++i) _finalize_layout(expected, want);
      Value root = make(shared);
      std::vector<std::string> got = {"earlier"};
      _finalize_pages(std::vector<Value>(pages, root), got);
      EXPECT_JSON(root, expected);
      want.insert(want.begin(), "earlier");
      EXPECT_EQ(got, want) << pages << (shared ? " shared" : "");
    }
  }
  std::vector<std::string> once, twice;
  Value root = make(true);
  _finalize_layout(root, once);
  _finalize_layout(root, twice);
  EXPECT_NE(once, twice);  // the case above really changes between passes
  // Separate roots each get their own pass.
  Value a = J(page), b = J(page);
  std::vector<std::string> got;
  _finalize_pages({a, b, a}, got);
  EXPECT_EQ(got.size(), 6u);
}

// A record met twice (one record in two windows) is bound where its key is
// first met, both times.
TEST(FinalizeLayout, ARecordMetTwiceIsBoundByTheWindowOfItsFirstPlace) {
  Value data = J(R"({"resolution": {"height": 480, "width": 800},
    "window__1": {"position": {"height": 100, "left": 0, "top": 0, "width": 60}},
    "window__3": {"position": {"height": 100, "left": 0, "top": 0, "width": 800}}})");
  const Value box = J(
      R"({"text": "ab", "fontSize": 10, "position": {"height": 20, "left": 40, "top": 0, "width": 1}})");
  data["window__1"]["textview__9"] = box;
  data["window__3"]["textview__9"] = box;
  std::vector<std::string> warnings;
  _finalize_layout(data, warnings);
  ASSERT_EQ(warnings.size(), 2u);
  EXPECT_EQ(warnings[0], warnings[1]);
  EXPECT_NE(warnings[1].find("超出容器(60px)"), std::string::npos) << warnings[1];
  EXPECT_EQ(box.get("position").get("width"), Value(1));
}

TEST(FinalizeLayout, CoveringNeedsTwoPageSizedWindowsOverlappingMoreThanAThird) {
  // Windows 70% of the screen wide: (left of the second, warned).
  for (const auto& [left, warned] : {std::pair{300, false}, std::pair{144, true}}) {
    Value data = J(R"({"resolution": {"height": 272, "width": 480},
      "window__1": {"position": {"height": 272, "left": 0, "top": 0, "width": 336}},
      "window__2": {"position": {"height": 272, "left": )" +
                   std::to_string(left) +
                   R"(, "top": 0, "width": 336}},
      "window__3": {"position": {"height": 10, "left": 0, "top": 0, "width": 10}}})");
    std::vector<std::string> warnings;
    _finalize_layout(data, warnings);
    // The whole text is checked by the golden prototypes.
    EXPECT_EQ(warnings.size(), warned ? 1u : 0u) << left;
    EXPECT_TRUE(!warned || warnings.at(0).rfind(
                               "检测到多个互相盖住的整屏 Window（window__1 / window__2）", 0) == 0);
  }
}

TEST(FinalizeLayout, AWindowPositionWithoutLeftIsAFailure) {
  Value data = J(R"({"resolution": {"height": 272, "width": 480},
    "window__1": {"position": {"height": 272, "top": 0, "width": 480}},
    "window__2": {"position": {"height": 272, "top": 0, "width": 480}}})");
  std::vector<std::string> warnings;
  try {
    _finalize_layout(data, warnings);
    ADD_FAILURE() << "expected KeyError";
  } catch (const Failure& f) {
    EXPECT_EQ(f.type() + " " + f.message(), "KeyError 'left'");
  }
}

TEST(WalkCtrls, ListsControlsParentFirstAndSkipsLists) {
  Value data =
      J(R"({"id": 0, "a__1": {"b__2": {}, "items": [{"c__3": {}}]}, "d__4": 5, "e__5": {}})");
  std::vector<std::string> keys, top;
  for (const auto& [k, v] : _walk_ctrls(data)) keys.push_back(k);
  for (const auto& [k, v] : _walk_ctrls(data, true)) top.push_back(k);
  EXPECT_EQ(keys, (std::vector<std::string>{"a__1", "b__2", "e__5"}));
  EXPECT_EQ(top, (std::vector<std::string>{"a__1", "e__5"}));
}

// ---- slide-window icon sizes

class IconSize : public ::testing::Test {
 protected:
  testkit::TempDir tmp;
  Ctx ctx = testkit::page_ctx();

  void SetUp() override { std::filesystem::create_directories(tmp.path() / "images"); }

  // Back-fills `root` with the asset directory `assets` and answers the
  // warnings written so far.
  std::vector<std::string> fix(const Value& root, std::optional<std::string> assets,
                               bool recursive = false) {
    _fix_slidewindow_icon_size(ctx, root, assets, recursive);
    return ctx.warnings;
  }
  static Value slide(const std::vector<std::string>& pics, const std::string& caption = "sw") {
    Value sw = Value::object();
    if (!caption.empty()) sw["caption"] = caption;
    sw["iconSize"] = J(R"({"width": 128, "height": 128})");
    sw["items"] = Value::array();
    for (const auto& p : pics)
      sw["items"].as_array().push_back(Value::object({{"picTab", Value::object({{"pic0", p}})}}));
    return sw;
  }
};

const std::string UNREADABLE =
    ": iconSize 未指定且读不到图片实际尺寸（items 无图或文件缺失），默认 128 "
    "可能导致图标位置不对；请按实际图片尺寸填 data-icon-w/h";

std::string same_size(const std::string& size) {
  return "slidewindow sw: iconSize 未显式指定，已按实际图片尺寸 " + size +
         " 回填（SlideWindow 铁律：iconSize=图片实际尺寸，非平分格子大小；可显式 data-icon-w/h "
         "指定）";
}

TEST_F(IconSize, UnequalIconsTakeTheSmallestSizeWithTwoWarnings) {
  testkit::write_png(tmp.str() + "/images/a.png", 64, 64);
  testkit::write_png(tmp.str() + "/b.png", 48, 48);
  // Only the file name counts: sub-directories and backslashes go.
  Value root = Value::object({{"slidewindow__1", slide({"images/a.png", "images\\icons\\b.png"})}});
  EXPECT_EQ(
      fix(root, tmp.str()),
      (std::vector<std::string>{
          "slidewindow sw: items 图标尺寸不一致 ['48x48', '64x64']——同一滑动窗口所有图标必须"
          "同尺寸（iconSize 按实际图片尺寸，图标位置按平分格子计算）；请统一图标图片尺寸后重转",
          "slidewindow sw: 暂按首图尺寸 48x48 回填 iconSize，请统一图标尺寸后重转"}));
  // The key keeps its place.
  EXPECT_JSON(root.get("slidewindow__1"),
              J(R"({"caption": "sw", "iconSize": {"width": 48, "height": 48},
    "items": [{"picTab": {"pic0": "images/a.png"}}, {"picTab": {"pic0": "images\\icons\\b.png"}}]})"));
}

TEST_F(IconSize, EqualPngGifAndJpegIconsBackFillTheirSize) {
  testkit::write_png(tmp.str() + "/a.png", 32, 16);
  std::ofstream(tmp.str() + "/images/g.gif", std::ios::binary)
      << std::string("GIF89a\x20\x00\x10\x00\x80\x00\x00", 13);
  // A baseline JPEG header whose frame is 32 wide and 16 high.
  std::ofstream(tmp.str() + "/j.jpg", std::ios::binary) << std::string(
      "\xFF\xD8\xFF\xE0\x00\x10JFIF\x00\x01\x01\x00\x00\x01\x00\x01\x00\x00"
      "\xFF\xC0\x00\x11\x08\x00\x10\x00\x20\x03\x01\x22\x00\x02\x11\x01\x03"
      "\x11\x01\xFF\xD9",
      41);
  Value root = Value::object({{"slidewindow__3", slide({"a.png", "", "x/g.gif", "j.jpg"})}});
  EXPECT_EQ(fix(root, tmp.str()), std::vector<std::string>{same_size("32x16")});
  EXPECT_JSON(root.get("slidewindow__3").get("iconSize"), J(R"({"width": 32, "height": 16})"));
}

TEST_F(IconSize, UnreadablePicturesLeaveTheSizeAlone) {
  tmp.write("bad.png", "not a picture");
  testkit::write_png(tmp.str() + "/a.png", 8, 8);
  Value root = Value::object({{"slidewindow__1", slide({"bad.png", "missing.png"}, "")},
                              {"slidewindow__2", slide({"a.png"})},
                              {"slidewindow__3", slide({})}});
  EXPECT_EQ(fix(root, tmp.str()).at(0), "slidewindow slidewindow__1" + UNREADABLE);
  // Without an asset directory nothing can be read; empty items are skipped.
  ctx.warnings.clear();
  EXPECT_EQ(fix(root, std::nullopt),
            (std::vector<std::string>{"slidewindow slidewindow__1" + UNREADABLE,
                                      "slidewindow sw" + UNREADABLE}));
  EXPECT_JSON(root.get("slidewindow__1").get("iconSize"), J(R"({"width": 128, "height": 128})"));
}

TEST_F(IconSize, OnlyMergedPagesLookInsideWindows) {
  testkit::write_png(tmp.str() + "/a.png", 24, 24);
  Value root =
      Value::object({{"window__1", Value::object({{"slidewindow__2", slide({"a.png"})}})}});
  EXPECT_TRUE(fix(root, tmp.str(), false).empty());
  EXPECT_EQ(fix(root, tmp.str(), true), std::vector<std::string>{same_size("24x24")});
}

}  // namespace
