// What each element of a page becomes: type detection, and the tree walk
// through windows, radio groups, diagrams, slide windows and lists.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "controls/tables.hpp"
#include "front/readers.hpp"
#include "testkit.hpp"

namespace pagefold {
namespace {

using testkit::J;
using testkit::pretty;

const std::string EMIT_MISSING =
    "必填键补全未走共享发射层（ui_emit 不可用：No module named 'ui_emit'）→ 本页可能缺必填键";
const std::string SLIDE_ICON_UNKNOWN =
    "slidewindow Slidewindow1: iconSize 未指定且读不到图片实际尺寸（items "
    "无图或文件缺失），默认 128 可能导致图标位置不对；请按实际图片尺寸填 data-icon-w/h";

// A black page of the default size holding `body`, converted without any
// sibling module.
ConvertResult convert_page(const std::string& body) {
  return testkit::convert_html(R"(<div class="screen" data-bg="#000000">)" + body + "</div>",
                               testkit::no_modules());
}

// The whole page root as the walk leaves it: the root keys, then `controls`
// (the text of the root's remaining members).
Value page_with(const std::string& controls) {
  return J(R"({"beepEnable": true, "id": 0, "resolution": {"height": 272, "width": 480},
      "topmost": false, "backgroundColor": 0,
      "position": {"height": 272, "left": 0, "top": 0, "width": 480}, )" +
           controls + "}");
}

void expect_page(const ConvertResult& r, const std::string& controls,
                 const std::vector<std::string>& warnings) {
  ASSERT_TRUE(r.pages.has_value());
  ASSERT_EQ(r.pages->size(), 1u);
  EXPECT_EQ(pretty(r.pages->at(0).second), pretty(page_with(controls)));
  EXPECT_EQ(r.warnings, warnings);
}

struct DetectCase {
  std::string tag;
  Attrs attrs;
  std::string want;
};

TEST(DetectType, GlyphThenClassTableThenTag) {
  const std::vector<DetectCase> cases = {
      // A glyph only promotes elements that are buttons or icons.
      {"div", {{"class", "label"}, {"data-icon", "home"}}, "textview"},
      {"div", {{"class", "label icon"}, {"data-icon", "home"}}, "icon"},
      {"div", {{"class", "label icon-home"}}, "icon"},
      {"button", {{"class", "icon"}, {"data-icon", "home"}}, "button"},
      {"div", {{"class", "text b"}, {"data-icon", "home"}}, "button"},
      {"div", {{"class", "label icon"}}, "textview"},
      // Table rows are tried in order, whatever the class order.
      {"div", {{"class", "btn text"}}, "textview"},
      {"div", {{"class", "gauge card"}}, "window"},
      {"div", {{"class", "modal btn"}}, "button"},
      {"span", {{"class", "qr"}}, "qrcode"},
      // Tags, once no class decides.
      {"input", {{"type", " RANGE "}}, "seekbar"},
      {"input", {}, "edittext"},
      {"input", {{"type", "checkbox"}}, "edittext"},
      {"input", {{"type", "range"}, {"class", "cb"}}, "checkbox"},
      {"input", {{"type", std::nullopt}}, "edittext"},
      {"button", {}, "button"},
      {"img", {}, "icon"},
      {"ol", {}, "listview"},
      {"ul", {}, "listview"},
      {"li", {}, "textview"},
      {"section", {{"class", "modal"}}, "modal"},
      {"style", {}, "textview"},
      {"h3", {}, "textview"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(_detect_type(c.tag, _classes(c.attrs), &c.attrs), c.want)
        << "<" << c.tag << " " << (c.attrs.empty() ? "" : c.attrs[0].value.value_or("")) << ">";
  }
  // Without attributes there is no glyph rule and no input type.
  EXPECT_EQ(_detect_type("div", {"label", "icon"}, nullptr), "textview");
  EXPECT_EQ(_detect_type("input", {}, nullptr), "edittext");
}

TEST(DetectType, TablesHaveTheirRows) {
  EXPECT_EQ(ID_BASE.size(), 23u);
  EXPECT_EQ(CLASS_MAP.size(), 23u);
  EXPECT_EQ(CLASS_MAP[5].first, "modal");
  EXPECT_EQ(CTRL_CLASSES.size(), 72u);
  EXPECT_TRUE(CTRL_CLASSES.count("iconfont"));
  EXPECT_FALSE(CTRL_CLASSES.count("item"));
  EXPECT_EQ(align_code("c"), 37);
  EXPECT_EQ(align_code("middle"), std::nullopt);
}

TEST(Walk, ModalClassOpensAHiddenWindowEvenOnAButton) {
  const auto r = convert_page(
      R"(<div class="btn modal" data-x="10" data-y="20" data-w="200" data-h="100" data-bg="#112233">
           <div class="card" data-caption="Inner card"></div>
         </div>
         <section class="window"></section>)");
  ASSERT_TRUE(r.pages.has_value());
  const Value root = r.pages->at(0).second;
  EXPECT_EQ(pretty(root.get("window__1")), pretty(J(R"({
      "backgroundColor": 1122867, "caption": "Window1", "hideTimeOut": -1, "id": 110001,
      "modal": true, "position": {"height": 100, "left": 10, "top": 20, "width": 200},
      "touchable": false, "visible": false,
      "window__2": {"backgroundColor": -1, "caption": "Inner_card", "hideTimeOut": -1,
        "id": 110002, "modal": false,
        "position": {"height": 40, "left": 0, "top": 0, "width": 100},
        "touchable": false, "visible": true}})")));
  // A section of class window is no container: it becomes a leaf.
  EXPECT_FALSE(root.contains("window__3"));
  EXPECT_TRUE(root.contains("textview__3"));
  EXPECT_EQ(r.warnings, std::vector<std::string>{EMIT_MISSING});
}

TEST(Walk, RadioGroupTakesEveryLeafAsAButtonButOnlyWhenNearest) {
  const auto r = convert_page(
      R"(<div class="rg" data-w="200" data-h="80">
           <div class="radio" data-checked="1">开</div>
           <span data-visible="0">关</span>
           <div class="window"><div class="radio"></div></div>
         </div>)");
  expect_page(r, R"("radiogroup__1": {
      "backgroundColor": -1, "caption": "RadioGroup1", "id": 94001,
      "position": {"height": 80, "left": 0, "top": 0, "width": 200},
      "touchable": true, "visible": true,
      "radiobuttons": [
        {"alignment": 38, "backgroundColor": -1, "bold": false, "caption": "Radiobutton1",
         "checked": true, "fontSize": 16, "italic": false, "touchable": true,
         "bgColorTab": {"color0": 10461279, "color2": 5600108},
         "colorTab": {"color0": 15659766}, "id": 94101,
         "position": {"height": 40, "left": 0, "top": 0, "width": 100},
         "visible": true, "text": "开"},
        {"alignment": 38, "backgroundColor": -1, "bold": false, "caption": "TextView1",
         "checked": false, "fontSize": 16, "italic": false, "touchable": true,
         "bgColorTab": {"color0": 10461279, "color2": 5600108},
         "colorTab": {"color0": 15659766}, "id": 94102,
         "position": {"height": 40, "left": 0, "top": 0, "width": 100},
         "visible": true, "text": "关"}],
      "window__2": {"backgroundColor": -1, "caption": "Window1", "hideTimeOut": -1,
        "id": 110001, "modal": false,
        "position": {"height": 40, "left": 0, "top": 0, "width": 100},
        "touchable": false, "visible": true,
        "radiogroup__3": {"backgroundColor": -1, "caption": "RadioGroup2", "id": 94002,
          "position": {"height": 40, "left": 0, "top": 0, "width": 100},
          "touchable": true, "visible": true, "radiobuttons": []}}})",
              {EMIT_MISSING});
}

TEST(Walk, DiagramTakesWavesAndWalksItsOtherChildren) {
  const auto r = convert_page(
      R"(<div class="chart" data-w="300" data-h="150" data-x-max="60" data-y-min="-10">
           <div class="wave" data-color="#00FF00" data-step="2.5" data-antialias="1"></div>
           <div class="text">legend</div>
           <p class="diagram" data-caption="2nd wave" data-pen-width="3px"></p>
         </div>)");
  expect_page(r, R"("diagram__1": {
      "backgroundColor": -1, "caption": "Diagram1", "id": 60001, "touchable": true,
      "visible": true, "position": {"height": 150, "left": 0, "top": 0, "width": 300},
      "xAxisRange": {"lower": 0, "upper": 60}, "yAxisRange": {"lower": -10, "upper": 100},
      "region": {"left": 0, "top": 0, "width": 300, "height": 150},
      "infos": [
        {"caption": "Wave1", "penColor": 65280, "penWidth": 2, "step": 2.5, "style": 1,
         "eraseSpace": 20, "antialias": true, "visible": true, "xScale": 1.0, "yScale": 1.0},
        {"caption": "_2nd_wave", "penColor": 16777215, "penWidth": 3, "step": 10.0,
         "style": 1, "eraseSpace": 20, "antialias": false, "visible": true, "xScale": 1.0,
         "yScale": 1.0}],
      "textview__2": {"alignment": 36, "caption": "TextView1", "colorTab": {"color0": 15659766},
        "fontSize": 16, "id": 50001,
        "position": {"height": 40, "left": 0, "top": 0, "width": 100},
        "touchable": false, "text": "legend"}})",
              {EMIT_MISSING});
}

TEST(Walk, SlideWindowTurnsEveryDivIntoAnIconItem) {
  const auto r = convert_page(
      R"(<div class="slide" data-w="400" data-h="200">
           <div class="item" data-pic0="a.png">Mail</div>
           <div class="btn" data-pic1="sub/b.png" data-color="#000000" data-x="9">X</div>
           <div class="text">Y</div>
           <span>Z</span>
         </div>)");
  expect_page(r, R"("slidewindow__1": {
      "caption": "Slidewindow1", "cols": 4, "rows": 2, "dragMaxDis": 200, "edgeEffect": 1,
      "iconSize": {"width": 128, "height": 128}, "iconTextAlignment": 41,
      "iconTextPadding": {"bottom": 5, "left": 0, "right": 0, "top": 0}, "id": 30001,
      "orientation": 0,
      "padding": {"paddingBottom": 8, "paddingLeft": 0, "paddingRight": 0, "paddingTop": 0},
      "position": {"height": 200, "left": 0, "top": 0, "width": 400}, "rollSpeed": 999,
      "fontSize": 22, "backgroundColor": -1, "touchable": true, "visible": true,
      "items": [
        {"colorTab": {"color0": 16777215},
         "picTab": {"pic0": "images/a.png", "pic1": "images/a.png"}, "text": "Mail"},
        {"colorTab": {"color0": 0}, "picTab": {"pic1": "sub/b.png"}, "text": "X"},
        {"colorTab": {"color0": 16777215}, "picTab": {}, "text": "Y"}],
      "textview__2": {"alignment": 36, "caption": "TextView1", "colorTab": {"color0": 15659766},
        "fontSize": 16, "id": 50001,
        "position": {"height": 40, "left": 0, "top": 0, "width": 100},
        "touchable": false, "text": "Z"}})",
              {EMIT_MISSING,
               "slidewindow 的子内容只能是图标项（div.item）：class=\"btn\" "
               "已按图标项处理（只取 data-pic/data-pic1/text），data-x/y/w/h 与控件行为全部丢弃 "
               "—— 要放真控件 / 要绝对定位请改用 window 容器（万能容器）；要图标宫格请写 div.item",
               SLIDE_ICON_UNKNOWN});
}

TEST(Walk, SlideItemWithOnlyPositionAttributesDrawsNoWarning) {
  const auto r = convert_page(
      R"(<div class="slide"><div data-x="5" data-y="5" data-w="10" data-h="10">A</div></div>)");
  ASSERT_TRUE(r.pages.has_value());
  EXPECT_EQ(r.warnings, (std::vector<std::string>{EMIT_MISSING, SLIDE_ICON_UNKNOWN}));
}

TEST(Walk, ListDissolvesPlainWrappersAndStopsAtTheNearestContainer) {
  const auto r = convert_page(
      R"(<ul data-h="300">
           <div class="row" style="opacity: .5"><div class="btn">Go</div></div>
           <div class="text">T</div>
           <div class="window"><span>in</span></div>
         </ul>)");
  expect_page(r, R"("listview__1": {
      "autoRollback": false, "backgroundColor": -1, "caption": "ListView1", "cols": 1,
      "cycleEnable": false, "dragMaxDis": 0, "edgeEffect": 0, "hasScrollbar": true,
      "id": 80001, "rows": 5, "position": {"height": 300, "left": 0, "top": 0, "width": 100},
      "colSpacing": 0, "rowSpacing": 1, "orientation": 1, "touchable": true, "visible": true,
      "item": {"alignment": 37, "backgroundColor": -1, "bgColorTab": {"color0": -1},
        "bold": false, "caption": "item", "colorTab": {"color0": 16777215}, "fontSize": 16,
        "italic": false, "longClickIntervalTime": -1, "longClickTimeOut": -1, "picTab": {},
        "text": "", "touchable": true, "visible": true,
        "subItem": [
          {"alignment": 37, "backgroundColor": -1, "bgColorTab": {"color0": -1}, "bold": false,
           "caption": "Button1", "colorTab": {"color0": 15659766}, "fontFamily": 0,
           "fontSize": 16, "id": 24001, "italic": false, "longClickIntervalTime": -1,
           "longClickTimeOut": -1, "picTab": {}, "text": "Go", "touchable": true,
           "visible": true, "position": {"height": 40, "left": 0, "top": 0, "width": 100}},
          {"alignment": 37, "backgroundColor": -1, "bgColorTab": {"color0": -1}, "bold": false,
           "caption": "TextView1", "colorTab": {"color0": 15659766}, "fontFamily": 0,
           "fontSize": 16, "id": 24002, "italic": false, "longClickIntervalTime": -1,
           "longClickTimeOut": -1, "picTab": {}, "text": "T", "touchable": true,
           "visible": true, "position": {"height": 40, "left": 0, "top": 0, "width": 100}}],
        "position": {"left": 0, "top": 0, "width": 100, "height": 59}},
      "window__2": {"backgroundColor": -1, "caption": "Window1", "hideTimeOut": -1,
        "id": 110001, "modal": false,
        "position": {"height": 40, "left": 0, "top": 0, "width": 100},
        "touchable": false, "visible": true,
        "textview__3": {"alignment": 36, "caption": "TextView2",
          "colorTab": {"color0": 15659766}, "fontSize": 16, "id": 50001,
          "position": {"height": 40, "left": 0, "top": 0, "width": 100},
          "touchable": false, "text": "in"}}})",
              // The dissolved wrapper is still audited.
              {EMIT_MISSING,
               "<div class=\"row\"> 含 CSS 效果（透明度）：Quilora 不支持 "
               "CSS，无法硬转；请切图（PNG/.9.png/序列帧/GIF）后 用 data-pic "
               "引用（效果转图片 + 控件组合实现）"});
}

}  // namespace
}  // namespace pagefold
