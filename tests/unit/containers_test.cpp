// Container records (windows, lists, diagrams, slide, scroll and page
// windows, radio groups), shadow growth and its pads, and the CSS effect
// audit.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "front/readers.hpp"
#include "testkit.hpp"

namespace pagefold {
namespace {

using testkit::J;
using testkit::pretty;

const std::string EMIT_MISSING =
    "必填键补全未走共享发射层（ui_emit 不可用：No module named 'ui_emit'）→ 本页可能缺必填键";

ConvertResult convert_page(const std::string& body, const Modules& modules,
                           std::optional<std::string> asset_dir = std::nullopt,
                           const std::string& page_bg = "#000000") {
  return testkit::convert_html(
      R"(<div class="screen" data-bg=")" + page_bg + R"(">)" + body + "</div>", modules, asset_dir);
}

// The record stored under `key` on the page root.
std::string record(const ConvertResult& r, const std::string& key) {
  if (!r.pages || r.pages->empty()) return "(no page)";
  return pretty(r.pages->at(0).second.get(key));
}

TEST(Window, AttributesInTheirPlaces) {
  const auto r = convert_page(
      R"(<div class="window" data-x="5" data-y="6" data-w="120" data-h="80"
              data-hide-timeout="3000" data-visible="0" data-pic="bg.png" data-bgpic="x.png"
              data-bg="#102030"></div>
         <div class="dialog" data-visible="1" data-bgpic="only-suppresses.png"></div>)",
      testkit::no_modules());
  EXPECT_EQ(record(r, "window__1"), pretty(J(R"({
      "backgroundColor": 1056816, "caption": "Window1", "hideTimeOut": 3000, "id": 110001,
      "modal": false, "position": {"height": 80, "left": 5, "top": 6, "width": 120},
      "touchable": false, "visible": false, "backgroundPic": "images/bg.png"})")));
  // A modal made visible stays modal; data-bgpic is never written.
  EXPECT_EQ(record(r, "window__2"), pretty(J(R"({
      "backgroundColor": -1, "caption": "Window2", "hideTimeOut": -1, "id": 110002,
      "modal": true, "position": {"height": 40, "left": 0, "top": 0, "width": 100},
      "touchable": false, "visible": true})")));
  EXPECT_EQ(r.warnings, std::vector<std::string>{EMIT_MISSING});
}

TEST(Window, ShadowGrowsTheBoxAndPadsAddUpUntilAList) {
  testkit::TempDir dir;
  Modules modules;  // pictures, but no ui_emit
  modules.gen_res = std::make_shared<testkit::FakeGenRes>();
  const auto r = convert_page(
      R"html(<div class="window" data-w="100" data-h="60" style="box-shadow: 0 4px 8px rgba(0,0,0,0.5)">
           <div class="window" data-caption="inner" style="box-shadow: 0 1px 2px #000">
             <span>t</span>
           </div>
           <ul data-h="100"><span>s</span></ul>
         </div>)html",
      modules, dir.str(), "#FFFFFF");
  ASSERT_TRUE(r.pages.has_value());
  const Value outer = r.pages->at(0).second.get("window__1");
  // The list moves with its window, but lays out its own items unshifted.
  const Value list = outer.get("listview__4");
  outer.as_object().erase("listview__4");
  EXPECT_EQ(pretty(list.get("position")),
            pretty(J(R"({"height": 100, "left": 12, "top": 12, "width": 100})")));
  EXPECT_EQ(pretty(list.get("item").get("subItem").as_array().at(0).get("position")),
            pretty(J(R"({"height": 40, "left": 0, "top": 0, "width": 100})")));
  EXPECT_EQ(pretty(outer), pretty(J(R"({
      "backgroundColor": 16777215, "caption": "Window1", "hideTimeOut": -1, "id": 110001,
      "modal": false, "position": {"height": 84, "left": -12, "top": -12, "width": 124},
      "touchable": false, "visible": true, "backgroundPic": "images/shadow_Window1_0.png",
      "window__2": {"backgroundColor": 16777215, "caption": "inner", "hideTimeOut": -1,
        "id": 110002, "modal": false,
        "position": {"height": 46, "left": 9, "top": 9, "width": 106},
        "touchable": false, "visible": true, "backgroundPic": "images/shadow_inner_1.png",
        "textview__3": {"alignment": 36, "caption": "TextView1",
          "colorTab": {"color0": 15659766}, "fontSize": 16, "id": 50001,
          "position": {"height": 40, "left": 15, "top": 15, "width": 100},
          "touchable": false, "text": "t"}}})")));
  const std::string converted =
      "<div class=\"window\"> 的 CSS 效果（阴影）**已自动转成图片**（PNG/序列帧，尺寸 == "
      "控件盒，json 已引用 images/*.png）；Quilora 没有 CSS "
      "引擎，改外观请改图或控件属性，不要指望写 CSS "
      "生效。（若该控件类型没生成对应图，再用 data-pic 自备图（PNG，尺寸 == 控件盒））";
  EXPECT_EQ(r.warnings,
            (std::vector<std::string>{converted,
                                      "Window1: box-shadow → 阴影图 124x84（含 12px "
                                      "阴影外扩）；控件盒已外扩、子控件已补偿，无需手工调整",
                                      EMIT_MISSING, converted,
                                      "inner: box-shadow → 阴影图 106x46（含 3px "
                                      "阴影外扩）；控件盒已外扩、子控件已补偿，无需手工调整"}));
}

TEST(Window, AuthorPictureSkipsEveryGeneratedPicture) {
  testkit::TempDir dir;
  Modules modules;
  auto gen = std::make_shared<testkit::FakeGenRes>();
  modules.gen_res = gen;
  const auto r = convert_page(
      R"(<div class="window" data-pic="card.png" style="box-shadow: 0 4px 8px #000; border-radius: 8px"
              data-bg="#FF0000"></div>)",
      modules, dir.str(), "#FFFFFF");
  EXPECT_EQ(record(r, "window__1"), pretty(J(R"({
      "backgroundColor": 16711680, "caption": "Window1", "hideTimeOut": -1, "id": 110001,
      "modal": false, "position": {"height": 40, "left": 0, "top": 0, "width": 100},
      "touchable": false, "visible": true, "backgroundPic": "images/card.png"})")));
  EXPECT_TRUE(gen->calls.empty());
  EXPECT_EQ(r.warnings, std::vector<std::string>{EMIT_MISSING});
}

TEST(Window, RoundedSolidCardTakesANinePatchOverThePageColour) {
  testkit::TempDir dir;
  Modules modules;
  modules.gen_res = std::make_shared<testkit::FakeGenRes>();
  const auto r = convert_page(
      R"(<div class="window" data-w="120" data-h="60" data-bg="#FF0000"
              style="border-radius: 8px"><div class="window"></div></div>)",
      modules, dir.str(), "#FFFFFF");
  // The card's own colour stays the colour behind its children.
  EXPECT_EQ(record(r, "window__1"), pretty(J(R"({
      "backgroundColor": 16777215, "caption": "Window1", "hideTimeOut": -1, "id": 110001,
      "modal": false, "position": {"height": 60, "left": 0, "top": 0, "width": 120},
      "touchable": false, "visible": true, "backgroundPic": "images/card_Window1.9.png",
      "window__2": {"backgroundColor": -1, "caption": "Window2", "hideTimeOut": -1,
        "id": 110002, "modal": false,
        "position": {"height": 40, "left": 0, "top": 0, "width": 100},
        "touchable": false, "visible": true}})")));
  ASSERT_FALSE(r.warnings.empty());
  EXPECT_EQ(r.warnings[0],
            "<div class=\"window\"> 含 CSS 效果（圆角）：Quilora 不支持 "
            "CSS，无法硬转；请切图（PNG/.9.png/序列帧/GIF）后 用 data-pic "
            "引用（效果转图片 + 控件组合实现）");
}

struct RowCase {
  std::string attrs;
  int64_t row_height;
};

TEST(ListView, RowHeightSharesTheListHeight) {
  const std::vector<RowCase> cases = {
      {R"(data-h="300")", 59},
      {R"(data-h="300" data-rows="0")", 59},
      {R"(data-h="100" data-rows="4" data-row-spacing="0")", 25},
      {R"(data-h="0")", 1},
      {"", 7},  // the position record's default height of 40
      {R"(data-h="10" data-rows="3" data-row-spacing="2")", 1},
      {R"(data-h="99" data-rows="2" data-row-spacing="0")", 49},
  };
  for (const auto& c : cases) {
    const auto r = convert_page("<ul " + c.attrs + "></ul>", testkit::no_modules());
    ASSERT_TRUE(r.pages.has_value()) << c.attrs;
    const Value item = r.pages->at(0).second.get("listview__1").get("item");
    EXPECT_EQ(pretty(item.get("position")),
              pretty(Value::object({{"left", Value(0)},
                                    {"top", Value(0)},
                                    {"width", Value(100)},
                                    {"height", Value(c.row_height)}})))
        << c.attrs;
  }
}

TEST(ListView, AttributesAndTheirZeroes) {
  const auto r = convert_page(
      R"(<div class="lv" data-w="240" data-h="200" data-cols="0" data-rows="4"
              data-row-spacing="0" data-col-spacing="3" data-auto-rollback=" 1 " data-cycle="yes"
              data-drag-max="0" data-edge-effect="2" data-scrollbar="0" data-bg="#FF0000"></div>)",
      testkit::no_modules());
  EXPECT_EQ(record(r, "listview__1"), pretty(J(R"({
      "autoRollback": true, "backgroundColor": -1, "caption": "ListView1", "cols": 1,
      "cycleEnable": false, "dragMaxDis": 0, "edgeEffect": 2, "hasScrollbar": false,
      "id": 80001, "rows": 4, "position": {"height": 200, "left": 0, "top": 0, "width": 240},
      "colSpacing": 3, "rowSpacing": 0, "orientation": 1, "touchable": true, "visible": true,
      "item": {"alignment": 37, "backgroundColor": -1, "bgColorTab": {"color0": -1},
        "bold": false, "caption": "item", "colorTab": {"color0": 16777215}, "fontSize": 16,
        "italic": false, "longClickIntervalTime": -1, "longClickTimeOut": -1, "picTab": {},
        "text": "", "touchable": true, "visible": true, "subItem": [],
        "position": {"left": 0, "top": 0, "width": 240, "height": 50}}})")));
}

TEST(Diagram, ColourIsNoPictureAndRegionFollowsThePosition) {
  const auto r = convert_page(
      R"(<div class="diagram" data-bg="#102030" data-x-min="-5.5" data-y-max="abc"></div>
         <div class="chart" data-background-pic="grid.png" data-bg="ignored.png"></div>)",
      testkit::no_modules());
  EXPECT_EQ(record(r, "diagram__1"), pretty(J(R"({
      "backgroundColor": -1, "caption": "Diagram1", "id": 60001, "touchable": true,
      "visible": true, "position": {"height": 40, "left": 0, "top": 0, "width": 100},
      "xAxisRange": {"lower": -5.5, "upper": 100}, "yAxisRange": {"lower": 0, "upper": 100},
      "region": {"left": 0, "top": 0, "width": 100, "height": 40}, "infos": []})")));
  EXPECT_EQ(pretty(J(record(r, "diagram__2")).get("backgroundPic")), "\"images/grid.png\"");
}

TEST(SlideWindow, AttributesTruncatedAndExplicitIconSize) {
  const auto r = convert_page(
      R"(<div class="launcher" data-cols="3.7" data-rows="-2" data-drag-max="0"
              data-icon-w="64" data-icon-align="abc" data-icon-pad-b="2px" data-pad-b="1.5"
              data-roll-speed="50" data-fs="18" data-bgpic="ui/bg.png" data-icon-max="96"
              data-orientation="1"></div>)",
      testkit::no_modules());
  EXPECT_EQ(record(r, "slidewindow__1"), pretty(J(R"({
      "caption": "Slidewindow1", "cols": 3, "rows": -2, "dragMaxDis": 0, "edgeEffect": 1,
      "iconSize": {"width": 64, "height": 128}, "iconTextAlignment": 41,
      "iconTextPadding": {"bottom": 2, "left": 0, "right": 0, "top": 0}, "id": 30001,
      "orientation": 1,
      "padding": {"paddingBottom": 1, "paddingLeft": 0, "paddingRight": 0, "paddingTop": 0},
      "position": {"height": 40, "left": 0, "top": 0, "width": 100}, "rollSpeed": 50,
      "fontSize": 18, "backgroundColor": -1, "touchable": true, "visible": true, "items": [],
      "backgroundPic": "ui/bg.png", "iconMaxSize": {"width": 96, "height": 96}})")));
  // No items: nothing to read sizes from, and nothing to say.
  EXPECT_EQ(r.warnings, std::vector<std::string>{EMIT_MISSING});
}

TEST(ScrollAndPageWindow, ZeroesAreHonoured) {
  const auto r = convert_page(
      R"(<div class="scroll" data-drag-max="0" data-orientation="1" data-edge-effect="0"
              data-roll-speed="5" data-bg="#FFFFFF" data-visible="0"></div>
         <div class="pager" data-drag-max="0" data-roll-speed="0" data-w="480"></div>)",
      testkit::no_modules());
  EXPECT_EQ(record(r, "scrollwindow__1"), pretty(J(R"({
      "caption": "Scrollwindow1", "dragMaxDis": 0, "edgeEffect": 0, "id": 32001,
      "orientation": 1, "position": {"height": 40, "left": 0, "top": 0, "width": 100}})")));
  EXPECT_EQ(record(r, "pagewindow__2"), pretty(J(R"({
      "caption": "Pagewindow1", "dragMaxDis": 0, "edgeEffect": 1, "id": 31001,
      "orientation": 0, "rollSpeed": 0,
      "position": {"height": 40, "left": 0, "top": 0, "width": 480}})")));
}

TEST(RadioGroup, EmptyGroupRecord) {
  const auto r = convert_page(R"(<div class="radiogroup" data-caption="mode" data-y="8"></div>)",
                              testkit::no_modules());
  EXPECT_EQ(record(r, "radiogroup__1"), pretty(J(R"({
      "backgroundColor": -1, "caption": "mode", "id": 94001,
      "position": {"height": 40, "left": 0, "top": 8, "width": 100},
      "touchable": true, "visible": true, "radiobuttons": []})")));
}

// ---- the CSS effect audit, called directly on one element

struct AuditCase {
  const char* name;
  std::string tag;
  Attrs attrs;
  std::optional<std::string> typ;
  std::vector<std::string> converted;  // the names listed by the first notice
  std::vector<std::string> lost;       // the names listed by the second notice
};

std::string converted_notice(const std::string& head, const std::string& names) {
  return head + " 的 CSS 效果（" + names +
         "）**已自动转成图片**（PNG/序列帧，尺寸 == 控件盒，json 已引用 images/*.png）；Quilora "
         "没有 CSS 引擎，改外观请改图或控件属性，不要指望写 CSS "
         "生效。（若该控件类型没生成对应图，再用 data-pic 自备图（PNG，尺寸 == 控件盒））";
}

std::string lost_notice(const std::string& head, const std::string& names) {
  return head + " 含 CSS 效果（" + names +
         "）：Quilora 不支持 CSS，无法硬转；请切图（PNG/.9.png/序列帧/GIF）后 用 data-pic "
         "引用（效果转图片 + 控件组合实现）";
}

std::string joined(const std::vector<std::string>& names) {
  std::string out;
  for (const auto& n : names) out += (out.empty() ? "" : "、") + n;
  return out;
}

std::vector<std::string> audit(const Modules& modules, std::optional<std::string> asset_dir,
                               const std::string& tag, const Attrs& attrs,
                               const std::optional<std::string>& typ) {
  PageFold pf(std::nullopt, asset_dir, &modules);
  Ctx ctx(&modules);
  Node node{tag, attrs, {}, ""};
  pf._warn_css_effects(ctx, node, typ);
  return ctx.warnings;
}

TEST(CssAudit, ConvertedAndLostEffectsWithPictureGeneration) {
  const Modules modules = testkit::fake_modules(nullptr, std::make_shared<testkit::FakeGenRes>());
  const std::vector<AuditCase> cases = {
      {"gradient converted, opacity lost",
       "button",
       {{"class", "btn"}, {"style", "background: linear-gradient(#fff, #000); opacity: .5"}},
       "button",
       {"线性渐变"},
       {"透明度"}},
      {"list views draw nothing",
       "ul",
       {{"style", "box-shadow: 0 2px 4px #000"}},
       "listview",
       {},
       {"阴影"}},
      {"shadow and radius, sorted by code point",
       "span",
       {{"style", "box-shadow: 0 2px 4px #000; border-radius: 4px"}},
       "textview",
       {"圆角", "阴影"},
       {}},
      {"text shadow blocks the shadow",
       "div",
       {{"style", "text-shadow: 1px 1px #000; box-shadow: 0 2px 4px #000"}},
       "textview",
       {},
       {"阴影", "文字阴影"}},
      {"slider: background only",
       "div",
       {{"style", "background: linear-gradient(90deg, #f00, #00f); border-radius: 4px"}},
       "seekbar",
       {"圆角", "线性渐变"},
       {}},
      {"slider shadow lost",
       "div",
       {{"style", "box-shadow: 0 2px 4px #000"}},
       "seekbar",
       {},
       {"阴影"}},
      {"radial gradient never counts",
       "div",
       {{"style", "background: radial-gradient(#fff, #000)"}},
       "window",
       {},
       {"径向渐变"}},
      {"spinner class",
       "div",
       {{"class", "loading"}, {"style", "animation: x 1s"}},
       "textview",
       {"动画"},
       {}},
      {"spin keyword",
       "div",
       {{"style", "animation: spin 1s linear infinite"}},
       "textview",
       {"动画"},
       {}},
      {"plain animation lost",
       "div",
       {{"style", "animation: fade 1s; transition: all 1s"}},
       "window",
       {},
       {"动画", "过渡"}},
      {"substring match", "div", {{"style", "backdrop-filter: blur(2px)"}}, "modal", {}, {"滤镜"}},
      {"no type", "div", {{"style", "box-shadow: 0 2px 4px #000"}}, std::nullopt, {}, {"阴影"}},
  };
  for (const auto& c : cases) {
    const OptStr cls = _attr(c.attrs, "class");
    const std::string head = "<" + c.tag + " class=\"" + cls.value_or("") + "\">";
    std::vector<std::string> want;
    if (!c.converted.empty()) want.push_back(converted_notice(head, joined(c.converted)));
    if (!c.lost.empty()) want.push_back(lost_notice(head, joined(c.lost)));
    EXPECT_EQ(audit(modules, "assets", c.tag, c.attrs, c.typ), want) << c.name;
  }
}

TEST(CssAudit, WithoutGenerationEverythingIsLost) {
  const Attrs attrs = {{"class", "btn"},
                       {"style", "background: linear-gradient(#fff, #000); opacity: .5"}};
  const auto want =
      std::vector<std::string>{lost_notice("<button class=\"btn\">", "线性渐变、透明度")};
  const Modules with_gen = testkit::fake_modules(nullptr, std::make_shared<testkit::FakeGenRes>());
  EXPECT_EQ(audit(with_gen, std::nullopt, "button", attrs, "button"), want);
  EXPECT_EQ(audit(with_gen, "", "button", attrs, "button"), want);
  EXPECT_EQ(audit(testkit::no_modules(), "assets", "button", attrs, "button"), want);
}

TEST(CssAudit, SilentCases) {
  const Modules modules = testkit::no_modules();
  // An author's picture is not audited, whatever the style says.
  EXPECT_TRUE(
      audit(modules, "a", "div", {{"data-pic", "x.png"}, {"style", "opacity: .5"}}, "textview")
          .empty());
  EXPECT_TRUE(audit(modules, "a", "div", {{"style", std::nullopt}}, "textview").empty());
  EXPECT_TRUE(audit(modules, "a", "div", {{"style", "color: red"}}, "textview").empty());
  // An empty data-pic is no picture.
  EXPECT_EQ(audit(modules, "a", "i", {{"data-pic", ""}, {"style", "opacity: 1"}}, "textview"),
            std::vector<std::string>{lost_notice("<i class=\"\">", "透明度")});
}

TEST(CssAudit, NoticesRepeatForEqualElements) {
  const Modules modules = testkit::no_modules();
  PageFold pf(std::nullopt, std::nullopt, &modules);
  Ctx ctx(&modules);
  Node node{"div", {{"style", "opacity: .5"}}, {}, ""};
  pf._warn_css_effects(ctx, node, "textview");
  pf._warn_css_effects(ctx, node, "textview");
  EXPECT_EQ(ctx.warnings.size(), 2u);
  EXPECT_EQ(ctx.warnings[0], ctx.warnings[1]);
}

}  // namespace
}  // namespace pagefold
