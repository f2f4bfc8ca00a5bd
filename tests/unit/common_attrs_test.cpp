// The attribute methods every control builder rests on: caption, position
// (with the pads of grown containers), font size, optional text keys and the
// background colours.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "front/readers.hpp"
#include "testkit.hpp"

namespace pagefold {
namespace {

using testkit::J;
using testkit::pretty;

class CommonAttrs : public ::testing::Test {
 protected:
  Modules modules = testkit::no_modules();
  testkit::Stages stages{&modules};
  Controls& controls = stages.controls;
  Ctx& ctx = stages.ctx;

  // Opens a container record on the stack with the given markers.
  void push(const std::string& json) { ctx.stack.push_back(J(json)); }
};

TEST_F(CommonAttrs, CaptionCleansAndCountsPerType) {
  EXPECT_EQ(controls._caption(ctx, "button", {}), "Button1");
  EXPECT_EQ(controls._caption(ctx, "button", {{"data-caption", ""}}), "Button2");
  EXPECT_EQ(controls._caption(ctx, "wave", {{"data-caption", std::nullopt}}), "Wave1");
  EXPECT_EQ(controls._caption(ctx, "button", {{"data-caption", "9 lives"}}), "_9_lives");
  EXPECT_EQ(controls._caption(ctx, "button", {{"data-caption", "确定 ok"}}), "___ok");
  EXPECT_EQ(controls._caption(ctx, "button", {{"data-caption", "_a-b"}}), "_a_b");
  // One "_" for each character, whatever its length in bytes.
  EXPECT_EQ(controls._caption(ctx, "button", {{"data-caption", "é😀x"}}), "__x");
  EXPECT_EQ(controls._caption(ctx, "button", {{"data-caption", "0"}}), "_0");
  EXPECT_EQ(controls._caption(ctx, "button", {{"data-caption", "Zz09_"}}), "Zz09_");
  EXPECT_EQ(controls._caption(ctx, "button", {{"data-caption", "@[`{"}}), "____");
  EXPECT_EQ(controls._caption(ctx, "button", {}), "Button3");
}

struct PosCase {
  Attrs attrs;
  std::string want;
};

TEST_F(CommonAttrs, PositionAliasesOverrideTheStyle) {
  const std::vector<PosCase> cases = {
      {{}, R"({"height": 40, "left": 0, "top": 0, "width": 100})"},
      {{{"data-x", "10"}, {"style", "left:20px"}},
       R"({"height": 40, "left": 10, "top": 0, "width": 100})"},
      {{{"data-x", "abc"}, {"style", "left:20px"}},
       R"({"height": 40, "left": 20, "top": 0, "width": 100})"},
      {{{"data-left", "5"}, {"data-x", "9"}},
       R"({"height": 40, "left": 5, "top": 0, "width": 100})"},
      {{{"data-left", "abc"}, {"data-x", "9"}},
       R"({"height": 40, "left": 9, "top": 0, "width": 100})"},
      {{{"data-w", "-5"}, {"data-h", "0"}, {"style", "top: 7.9px; width: 50%"}},
       R"({"height": 0, "left": 0, "top": 7, "width": 100})"},
      {{{"data-height", "12px"}, {"data-width", "30"}, {"data-top", "1"}, {"data-y", "2"}},
       R"({"height": 12, "left": 0, "top": 1, "width": 30})"},
  };
  for (const auto& c : cases) EXPECT_EQ(pretty(controls._pos(ctx, c.attrs)), pretty(J(c.want)));
}

TEST_F(CommonAttrs, PadsOfGrownContainersAddUpToTheNearestList) {
  push(R"({"__pad": 3})");
  push(R"({"__listview": true})");
  push(R"({"__pad": 12, "__bg": 0})");
  push(R"({"__pad": 0})");
  EXPECT_EQ(pretty(controls._pos(ctx, {{"data-x", "1"}})),
            pretty(J(R"({"height": 40, "left": 13, "top": 12, "width": 100})")));
  // Without the list both pads count.
  ctx.stack.erase(ctx.stack.begin() + 1);
  EXPECT_EQ(pretty(controls._pos(ctx, {})),
            pretty(J(R"({"height": 40, "left": 15, "top": 15, "width": 100})")));
  // A stack entry that is no map ends the walk.
  ctx.stack.insert(ctx.stack.begin() + 1, Value("not a map"));
  EXPECT_EQ(pretty(controls._pos(ctx, {})),
            pretty(J(R"({"height": 40, "left": 12, "top": 12, "width": 100})")));
}

TEST_F(CommonAttrs, FontSizeAliasesThenStyle) {
  EXPECT_EQ(_font_size({{"data-fs", "0"}}), 0);
  EXPECT_EQ(_font_size({{"data-fs", "abc"}, {"data-font-size", "20"}}), 20);
  EXPECT_EQ(_font_size({{"data-fontsize", "18px"}, {"style", "font-size: 30px"}}), 18);
  EXPECT_EQ(_font_size({{"style", "color:red; font-size : 22.8px ;font-size: 9px"}}), 22);
  EXPECT_EQ(_font_size({{"style", "font-size: 2em"}}), std::nullopt);
  EXPECT_EQ(_font_size({}), std::nullopt);
}

TEST_F(CommonAttrs, TextExtraWritesPresentAttributesInOrder) {
  Value c = J(R"({"bold": true, "text": "x"})");
  controls._text_extra(c, {{"data-roll-interval", "300"},
                           {"data-italic", std::nullopt},
                           {"data-roll-direction", " 2 "},
                           {"data-roll", "true"},
                           {"data-bold", "0"},
                           {"data-roll-step", "abc"}});
  EXPECT_EQ(pretty(c), pretty(J(R"({"bold": false, "text": "x", "rollEnable": true,
      "rollDirection": 2, "rollIntervalTime": 300})")));
  Value d = Value::object();
  controls._text_extra(
      d, {{"data-roll-direction", "left"}, {"data-italic", "TRUE"}, {"data-roll-step", "4px"}});
  EXPECT_EQ(pretty(d), pretty(J(R"({"italic": false, "rollDirection": "left", "rollStep": 4})")));
}

TEST_F(CommonAttrs, BackgroundColourSources) {
  EXPECT_EQ(_bg_color({{"data-background", "#000000"}, {"data-bg", "#FFFFFF"}}), 0);
  EXPECT_EQ(_bg_color({{"data-background", "red"}, {"data-bg", "0x10"}}), 16);
  EXPECT_EQ(_bg_color({{"style", "color: #fff; background-color: #FF0000"}}), 0xFF0000);
  EXPECT_EQ(_bg_color({{"style", "background: linear-gradient(#fff, #000)"}}), std::nullopt);
  EXPECT_EQ(_bg_color({}), std::nullopt);
  EXPECT_EQ(_bg_or({{"data-bg", "#000000"}}, 16777215), 0);
  EXPECT_EQ(_bg_or({{"data-bg", "navy"}}, 16777215), 16777215);
}

TEST_F(CommonAttrs, AncestorColourSkipsNullsAndStopsAtLists) {
  EXPECT_EQ(_ancestor_bg(ctx), std::nullopt);
  ctx.root = J(R"({"backgroundColor": -1})");
  EXPECT_EQ(_ancestor_bg(ctx), -1);
  push(R"({"__bg": 255})");
  push(R"({"__bg": null})");
  EXPECT_EQ(_ancestor_bg(ctx), 255);
  push(R"({"__listview": true, "__bg": 7})");
  EXPECT_EQ(_ancestor_bg(ctx), -1);
  ctx.stack.back() = J(R"({"__bg": 0})");
  EXPECT_EQ(_ancestor_bg(ctx), 0);
}

TEST_F(CommonAttrs, CornerColourGivenInheritedOrMissing) {
  Value c = J(R"({"bgColorTab": {"color0": 1}})");
  controls._corner_bg(ctx, c, {}, 0, "Pic1");
  EXPECT_EQ(pretty(c), pretty(J(R"({"bgColorTab": {"color0": 0}})")));
  EXPECT_TRUE(ctx.warnings.empty());

  controls._corner_bg(ctx, c, {}, std::nullopt, "Pic1");
  EXPECT_EQ(pretty(c), "{}");
  push(R"({"__bg": 16777215})");
  Value d = Value::object();
  controls._corner_bg(ctx, d, {}, std::nullopt, "");
  controls._corner_bg(ctx, d, {}, std::nullopt, "");
  EXPECT_EQ(pretty(d), pretty(J(R"({"bgColorTab": {"color0": 16777215}})")));
  EXPECT_EQ(ctx.warnings,
            (std::vector<std::string>{
                "Pic1：有图控件既无 data-bg 也无祖先底色 → "
                "圆角外四角按引擎缺省渲染（坐卡片上会发黑）；请给该控件补 data-bg=容器色",
                "控件：有图控件未写 data-bg，圆角外底色取最近祖先底色 0xFFFFFF（A6：四角由 "
                "bgColorTab 决定，不写会露窗口黑底）"}));
}

}  // namespace
}  // namespace pagefold
