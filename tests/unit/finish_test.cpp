// The finishing passes over finished pages: text boxes grown to fit, covering
// full-screen windows reported, slide-window icon sizes read from the real
// picture files.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "pagefold/converter.hpp"
#include "pagefold/error.hpp"
#include "testkit.hpp"

using namespace pagefold;
using testkit::J;

namespace {

#define EXPECT_JSON(actual, expected) EXPECT_EQ(dump(actual, 2), dump(expected, 2))

const std::string COVERING_TAIL =
    "）：按 knowledge/devflow/page-architecture-spec.md 的默认口径，**同一业务域**内的多页就该"
    "这么放（同一个 qlu 内叠多个整屏 window，首屏 visible:true、其余 visible:false，切换只走 "
    "showWnd()/hideWnd()：零切换成本、共享控件指针与状态）；**只有跨业务域 / "
    "需独立生命周期与返回栈 / 超大页面**才拆成独立 qlu（新 Activity + openActivity() "
    "跳转；pagefold 缺省就是每屏一个 json /\n一个 qlu，这个多整屏 window "
    "形态要用 --merge-windows 才是）。判据见该文档 §2 决策清单";

std::string too_wide(const std::string& key, const std::string& cap, const std::string& text,
                     int fs, int mw, int cw) {
  return key + "(" + cap + ") 文本“" + text + "”字号 " + std::to_string(fs) + " 需最小宽 " +
         std::to_string(mw) + "px，但扩宽会超出容器(" + std::to_string(cw) +
         "px)——需手动调位置/字号或拆行";
}

TEST(FinalizeLayout, TextBoxesGrowToTheirMinimumSize) {
  Value data = J(R"({"resolution": {"height": 272, "width": 480},
    "textview__1": {"text": "中文", "fontSize": 20, "position": {"height": 10, "left": 0, "top": 0, "width": 30}},
    "textview__2": {"text": "中文", "fontSize": 20, "alignment": 37, "position": {"height": 10, "left": 0, "top": 0, "width": 30}},
    "button__3": {"text": "ab", "fontSize": 10, "position": {"height": 20, "left": 0, "top": 0, "width": 20}},
    "button__4": {"text": "--", "fontSize": 10, "position": {"height": 20, "left": 0, "top": 0, "width": 20}},
    "textview__5": {"text": "ab", "fontSize": 10, "position": {"height": 5, "left": 0, "top": 0, "width": 100}},
    "textview__6": {"text": "ab", "fontSize": 0, "position": {"height": 1, "left": 0, "top": 0, "width": 1}},
    "textview__7": {"text": "ab", "fontSize": 10},
    "edittext__8": {"text": "ab", "fontSize": 10, "position": {"height": 1, "left": 0, "top": 0, "width": 1}},
    "textview__9": {"text": "", "fontSize": 10, "position": {"height": 1, "left": 0, "top": 0, "width": 1}}})");
  std::vector<std::string> warnings;
  _finalize_layout(data, warnings);
  EXPECT_JSON(data, J(R"({"resolution": {"height": 272, "width": 480},
    "textview__1": {"text": "中文", "fontSize": 20, "position": {"height": 25, "left": 0, "top": 0, "width": 60}},
    "textview__2": {"text": "中文", "fontSize": 20, "alignment": 37, "position": {"height": 25, "left": 0, "top": 0, "width": 68}},
    "button__3": {"text": "ab", "fontSize": 10, "position": {"height": 20, "left": 0, "top": 0, "width": 28}},
    "button__4": {"text": "--", "fontSize": 10, "position": {"height": 20, "left": 0, "top": 0, "width": 29}},
    "textview__5": {"text": "ab", "fontSize": 10, "position": {"height": 12, "left": 0, "top": 0, "width": 100}},
    "textview__6": {"text": "ab", "fontSize": 0, "position": {"height": 1, "left": 0, "top": 0, "width": 1}},
    "textview__7": {"text": "ab", "fontSize": 10},
    "edittext__8": {"text": "ab", "fontSize": 10, "position": {"height": 1, "left": 0, "top": 0, "width": 1}},
    "textview__9": {"text": "", "fontSize": 10, "position": {"height": 1, "left": 0, "top": 0, "width": 1}}})"));
  EXPECT_TRUE(warnings.empty());
}

TEST(FinalizeLayout, WidthIsBoundByTheNearestWindowOrThePage) {
  Value data = J(R"({"resolution": {"height": 272, "width": 480},
    "window__1": {"position": {"height": 100, "left": 0, "top": 0, "width": 50},
      "listview__2": {"position": {"height": 100, "left": 0, "top": 0, "width": 400},
        "textview__3": {"caption": "cap", "text": "中文中文", "fontSize": 20,
                        "position": {"height": 20, "left": 10, "top": 0, "width": 40}}}},
    "textview__4": {"text": "中文中文", "fontSize": 20, "position": {"height": 30, "left": 400, "top": 0, "width": 40}},
    "textview__5": {"caption": "c5", "text": "一二三四五六七八九十十一", "fontSize": 20, "position": {"height": 30, "left": 0, "top": 0, "width": 40}}})");
  std::vector<std::string> warnings;
  _finalize_layout(data, warnings);
  const Value pos3 = data.get("window__1").get("listview__2").get("textview__3").get("position");
  EXPECT_JSON(pos3, J(R"({"height": 25, "left": 10, "top": 0, "width": 40})"));
  EXPECT_JSON(data.get("textview__4").get("position"),
              J(R"({"height": 30, "left": 400, "top": 0, "width": 40})"));
  EXPECT_JSON(data.get("textview__5").get("position"),
              J(R"({"height": 30, "left": 0, "top": 0, "width": 280})"));
  EXPECT_EQ(warnings,
            (std::vector<std::string>{too_wide("textview__3", "cap", "中文中文", 20, 104, 50),
                                      too_wide("textview__4", "", "中文中文", 20, 104, 480)}));
}

TEST(FinalizeLayout, CoveringFullScreenWindowsAreReported) {
  struct Case {
    const char* what;
    std::string windows;
    std::string hits;  // empty: no warning
  };
  const std::vector<Case> cases = {
      {"two full windows in one place",
       R"("window__2": {"position": {"height": 272, "left": 0, "top": 0, "width": 480}},
          "window__10": {"position": {"height": 272, "left": 0, "top": 0, "width": 480}})",
       "window__10 / window__2"},
      {"half-screen windows are no pages",
       R"("window__1": {"position": {"height": 272, "left": 0, "top": 0, "width": 240}},
          "window__2": {"position": {"height": 272, "left": 0, "top": 0, "width": 240}})",
       ""},
      {"70% windows side by side overlap too little",
       R"("window__1": {"position": {"height": 272, "left": 0, "top": 0, "width": 336}},
          "window__2": {"position": {"height": 272, "left": 300, "top": 0, "width": 336}})",
       ""},
      {"70% windows overlapping more than 30%",
       R"("window__1": {"position": {"height": 272, "left": 0, "top": 0, "width": 336}},
          "window__2": {"position": {"height": 272, "left": 144, "top": 0, "width": 336}},
          "window__3": {"position": {"height": 10, "left": 0, "top": 0, "width": 10}})",
       "window__1 / window__2"},
      {"windows inside windows do not count",
       R"("window__1": {"position": {"height": 272, "left": 0, "top": 0, "width": 480},
          "window__2": {"position": {"height": 272, "left": 0, "top": 0, "width": 480}}})",
       ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Value data = J(R"({"resolution": {"height": 272, "width": 480}, )" + c.windows + "}");
    std::vector<std::string> warnings;
    _finalize_layout(data, warnings);
    std::vector<std::string> expected;
    if (!c.hits.empty()) {
      expected.push_back("检测到多个互相盖住的整屏 Window（" + c.hits + COVERING_TAIL);
    }
    EXPECT_EQ(warnings, expected);
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
    EXPECT_EQ(f.type(), "KeyError");
    EXPECT_EQ(f.message(), "'left'");
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
  Ctx ctx;

  void SetUp() override { std::filesystem::create_directories(tmp.path() / "images"); }

  // Back-fills `root` with the asset directory `assets` and answers the
  // warnings it wrote.
  std::vector<std::string> fix(const Value& root, std::optional<std::string> assets,
                               bool recursive = false) {
    PageFold pf(std::nullopt, assets, nullptr);
    pf.ctx = &ctx;
    pf._fix_slidewindow_icon_size(root, recursive);
    return ctx.warnings;
  }
  static Value slide(const std::vector<std::string>& pics, const std::string& caption = "sw") {
    Value items = Value::array();
    for (const auto& p : pics) {
      items.as_array().push_back(Value::object({{"picTab", Value::object({{"pic0", p}})}}));
    }
    Value sw = Value::object();
    if (!caption.empty()) sw["caption"] = caption;
    sw["iconSize"] = J(R"({"width": 128, "height": 128})");
    sw["items"] = items;
    return sw;
  }
};

const std::string UNREADABLE =
    ": iconSize 未指定且读不到图片实际尺寸（items 无图或文件缺失），默认 128 "
    "可能导致图标位置不对；请按实际图片尺寸填 data-icon-w/h";

std::string same_size(const std::string& cap, const std::string& size) {
  return "slidewindow " + cap + ": iconSize 未显式指定，已按实际图片尺寸 " + size +
         " 回填（SlideWindow 铁律：iconSize=图片实际尺寸，非平分格子大小；可显式 data-icon-w/h "
         "指定）";
}

TEST_F(IconSize, UnequalIconsTakeTheSmallestSizeWithTwoWarnings) {
  testkit::write_png(tmp.str() + "/images/a.png", 64, 64);
  testkit::write_png(tmp.str() + "/b.png", 48, 48);
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

TEST_F(IconSize, EqualIconsBackFillTheirSize) {
  testkit::write_png(tmp.str() + "/a.png", 40, 30);
  testkit::write_png(tmp.str() + "/images/c.png", 40, 30);
  Value root = Value::object({{"slidewindow__3", slide({"a.png", "", "x/c.png"})}});
  EXPECT_EQ(fix(root, tmp.str()), std::vector<std::string>{same_size("sw", "40x30")});
  EXPECT_JSON(root.get("slidewindow__3").get("iconSize"), J(R"({"width": 40, "height": 30})"));
}

TEST_F(IconSize, GifAndJpegIconsAreMeasuredToo) {
  std::ofstream(tmp.str() + "/g.gif", std::ios::binary)
      << std::string("GIF89a\x20\x00\x10\x00\x80\x00\x00", 13);
  const unsigned char jpeg[] = {0xFF, 0xD8, 0xFF, 0xE0, 0x00, 0x10, 'J',  'F',  'I', 'F',  0,
                                1,    1,    0,    0,    1,    0,    1,    0,    0,   0xFF, 0xC0,
                                0x00, 0x11, 0x08, 0x00, 0x10, 0x00, 0x20, 0x03, 1,   0x22, 0,
                                2,    0x11, 1,    3,    0x11, 1,    0xFF, 0xD9};
  std::ofstream(tmp.str() + "/j.jpg", std::ios::binary)
      .write(reinterpret_cast<const char*>(jpeg), sizeof jpeg);
  Value root = Value::object({{"slidewindow__1", slide({"g.gif", "j.jpg"})}});
  EXPECT_EQ(fix(root, tmp.str()), std::vector<std::string>{same_size("sw", "32x16")});
}

TEST_F(IconSize, UnreadablePicturesLeaveTheSizeAlone) {
  tmp.write("bad.png", "not a picture");
  Value root = Value::object({{"slidewindow__1", slide({"bad.png", "missing.png"}, "")},
                              {"slidewindow__2", slide({"a.png"})},
                              {"slidewindow__3", slide({})}});
  testkit::write_png(tmp.str() + "/a.png", 8, 8);
  // Without an asset directory nothing can be read.
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
  EXPECT_EQ(fix(root, tmp.str(), true), std::vector<std::string>{same_size("sw", "24x24")});
}

}  // namespace
