// Text and button controls end to end: a small prototype in, the whole page
// and its warnings out. Covers text views, buttons, edit fields, check boxes,
// list items and radio buttons.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "leaf_pages.hpp"

namespace pagefold {
namespace {

using namespace leafpages;
using testkit::J;
using testkit::pretty;

TEST(TextView, ColoursAlignmentAndTextExtras) {
  Converted p = convert(
      R"(<div class="text" data-bg="#102030" data-align="Right" data-color="#ff0000"
           data-fs="20" data-bold="1" data-roll="0">Hi</div>)"
      R"(<p data-bgpic="#fff" data-align="middle" data-fs="0">x</p>)"
      R"(<span data-background-pic="a.png"></span>)");
  EXPECT_EQ(p.json, page(R"(
    "textview__1": {"alignment": 38, "caption": "TextView1", "colorTab": {"color0": 16711680},
      "fontSize": 20, "id": 50001, "position": )" +
                         POS + R"(, "touchable": false,
      "bgColorTab": {"color0": 1056816}, "text": "Hi", "bold": true, "rollEnable": false},
    "textview__2": {"alignment": 36, "caption": "TextView2", "colorTab": {"color0": 15659766},
      "fontSize": 16, "id": 50002, "position": )" +
                         POS + R"(, "touchable": false, "text": "x"},
    "textview__3": {"alignment": 36, "caption": "TextView3", "colorTab": {"color0": 15659766},
      "fontSize": 16, "id": 50003, "position": )" +
                         POS + R"(, "touchable": false,
      "backgroundPic": "images/a.png", "bgColorTab": {"color0": 0}})"));
  EXPECT_EQ(p.warnings, (std::vector<std::string>{EMIT_MISSING, corner_warning("TextView3")}));
}

TEST(TextView, SpinnerBecomesAnimationWithItsFile) {
  auto gen = std::make_shared<testkit::FakeGenRes>();
  testkit::TempDir dir;
  Converted p = convert(R"(<div class="text loading" data-caption="spin">wait</div>)",
                        gen_only(gen), dir.str());
  EXPECT_EQ(p.json, page(R"("imageanim__1": {"caption": "spin", "id": 160001, "loopCount": 0,
      "position": )" + POS +
                         R"(, "playFile": "images/loading_spin.gif"})"));
  EXPECT_EQ(
      p.warnings,
      (std::vector<std::string>{
          R"(<div class="text loading"> loading 动图已生成 images/loading_spin.gif（imageanim 控件，playFile 已写入 json，设备自动播放；循环次数由 loopCount 控制，代码可用 mspinPtr->play("images/loading_spin.gif") 重播）)",
          EMIT_MISSING}));
}

TEST(Button, TextColoursAndDefaults) {
  Converted p = convert(R"(<button data-fs="18" data-italic="true">OK</button>)"
                        R"(<div class="btn"></div>)"
                        R"(<div class="btn" data-bg="#000000"></div>)"
                        R"(<div class="btn" data-bg="#000000" data-align="l">Go</div>)");
  EXPECT_EQ(p.json, page(R"(
    "button__1": {"alignment": 37, "caption": "Button1", "colorTab": {"color0": 15659766},
      "id": 20001, "position": )" +
                         POS + R"(, "touchable": true,
      "bgColorTab": {"color0": 3621975}, "fontSize": 18, "text": "OK", "picTab": {},
      "italic": true},
    "button__2": {"alignment": 37, "caption": "Button2", "colorTab": {"color0": 15659766},
      "id": 20002, "position": )" +
                         POS + R"(, "touchable": true, "picTab": {}, "text": ""},
    "button__3": {"alignment": 37, "caption": "Button3", "colorTab": {"color0": 15659766},
      "id": 20003, "position": )" +
                         POS + R"(, "touchable": true, "picTab": {}, "text": ""},
    "button__4": {"alignment": 36, "caption": "Button4", "colorTab": {"color0": 15659766},
      "id": 20004, "position": )" +
                         POS + R"(, "touchable": true,
      "bgColorTab": {"color0": 0}, "text": "Go", "picTab": {}})"));
  EXPECT_EQ(p.warnings, std::vector<std::string>{EMIT_MISSING});
}

TEST(Button, PicturesInNumberOrderWithDataPicLast) {
  Converted p = convert(
      R"(<div class="btn" data-pic2="b.png" data-pic="a.png" data-pic1="x/c.png"
           data-icon-w="24" data-icon-h=""></div>)"
      R"(<div class="btn" data-bgpic="#fff" data-bg="#010203">T</div>)");
  EXPECT_EQ(p.json, page(R"(
    "button__1": {"alignment": 37, "caption": "Button1", "colorTab": {"color0": 15659766},
      "id": 20001, "position": )" +
                         POS + R"(, "touchable": true,
      "picTab": {"pic1": "x/c.png", "pic2": "images/b.png", "pic0": "images/a.png"},
      "bgColorTab": {"color0": 0},
      "iconPosition": {"left": 0, "top": 0, "width": 24, "height": 40}, "text": ""},
    "button__2": {"alignment": 37, "caption": "Button2", "colorTab": {"color0": 15659766},
      "id": 20002, "position": )" +
                         POS + R"(, "touchable": true,
      "bgColorTab": {"color0": 66051}, "text": "T", "backgroundPic": "images/#fff",
      "picTab": {}})"));
  EXPECT_EQ(p.warnings, (std::vector<std::string>{corner_warning("Button1"), EMIT_MISSING}));
}

TEST(Button, GlyphBecomesIconPicturesAndDropsText) {
  auto gen = std::make_shared<testkit::FakeGenRes>();
  testkit::TempDir dir;
  Converted p = convert(R"(<div class="btn" data-icon="home" data-color="#ffffff">Go</div>)",
                        gen_only(gen), dir.str());
  EXPECT_EQ(p.json, page(R"(
    "button__1": {"alignment": 37, "caption": "Button1", "colorTab": {"color0": 16777215},
      "id": 20001, "position": )" +
                         POS + R"(, "touchable": true,
      "picTab": {"pic0": "images/icon_home_100x40_FFFFFF.png",
                 "pic1": "images/icon_home_100x40_FFFFFF_p.png"},
      "bgColorTab": {"color0": 0}, "text": ""})"));
  EXPECT_EQ(
      p.warnings,
      (std::vector<std::string>{
          R"(<div class="btn"> data-icon 图标按钮已忽略文字「Go」（图标按钮纯图标；需文字说明请相邻加 div.text 或用纯文字按钮）)",
          corner_warning("Button1"), EMIT_MISSING}));
}

TEST(Button, GlyphWithoutPictureModuleKeepsTextButton) {
  Converted p = convert(R"(<div class="btn" data-icon="home">Go</div>)");
  EXPECT_EQ(p.json, page(R"(
    "button__1": {"alignment": 37, "caption": "Button1", "colorTab": {"color0": 15659766},
      "id": 20001, "position": )" +
                         POS + R"(, "touchable": true,
      "bgColorTab": {"color0": 3621975}, "text": "Go", "picTab": {}})"));
  // Both the normal and the pressed picture were asked for.
  const std::string no_gen =
      R"(data-icon="home" 自动转图不可用（缺 gen_res/Pillow 或未指定 asset_dir），请给 data-pic 自备图)";
  EXPECT_EQ(p.warnings, (std::vector<std::string>{no_gen, no_gen, EMIT_MISSING}));
}

TEST(Button, IconSizeWithUnitFailsOnlyItsPage) {
  ConvertResult r = testkit::convert_html(
      R"(<body><div class="screen" data-bg="#000000"><div class="btn" data-icon-w="24px">A</div></div>)"
      R"(<div class="screen" data-bg="#000000"><div class="btn" data-icon-h=" 1_0 ">B</div></div></body>)",
      testkit::no_modules());
  EXPECT_FALSE(r.pages.has_value());
  const std::string failed =
      "page_1（第 1 屏转换失败: ValueError: invalid literal for int() with base 10: '24px'）";
  EXPECT_EQ(
      pretty(r.meta),
      pretty(J(
          R"({"screensDetected": 2, "pagesProduced": 1, "failed": [")" + failed +
          R"("], "mode": "per-screen", "error": "屏数核对失败：识别到 2 个 .screen，仅产出 1 页，失败：)" +
          failed +
          R"(。禁止静默丢页 —— 请修正 HTML（每屏一个并列 .screen，data-page 唯一）后重转"})")));
}

TEST(Button, IconSizeAcceptsIntegerText) {
  Converted p = convert(R"(<div class="btn" data-w="60" data-icon-h=" 1_0 ">B</div>)");
  EXPECT_EQ(p.json, page(R"(
    "button__1": {"alignment": 37, "caption": "Button1", "colorTab": {"color0": 15659766},
      "id": 20001, "position": {"height": 40, "left": 0, "top": 0, "width": 60},
      "touchable": true, "bgColorTab": {"color0": 3621975}, "text": "B",
      "iconPosition": {"left": 0, "top": 0, "width": 60, "height": 10}, "picTab": {}})"));
}

TEST(EditText, PasswordHintAndTextType) {
  Converted p = convert(
      R"(<input data-num="1" data-password="true" data-password-char="*" data-hint="Name ★"
           data-hint-color="#00ff00" data-bg="#000000" data-align="left">)"
      R"(<div class="edit" data-password-char="#" data-color="#0000ff">v</div>)");
  EXPECT_EQ(p.json, page(R"(
    "edittext__1": {"alignment": 37, "bold": false, "caption": "EditText1",
      "bgColorTab": {"color0": 0}, "colorTab": {"color0": 0}, "fontSize": 16,
      "hintTextColor": 65280, "id": 51001, "position": )" +
                         POS + R"(, "touchable": true,
      "visible": true, "textType": 1, "isPassword": true, "passwordChar": "*",
      "hintText": "Name", "text": ""},
    "edittext__2": {"alignment": 37, "bold": false, "caption": "EditText2",
      "bgColorTab": {"color0": 16777215}, "colorTab": {"color0": 255}, "fontSize": 16,
      "hintTextColor": 0, "id": 51002, "position": )" +
                         POS + R"(, "touchable": true,
      "visible": true, "textType": 0, "text": "v"})"));
  EXPECT_EQ(p.warnings,
            (std::vector<std::string>{"文本字符被丢弃（emoji）：'★'（设备裁剪字库无该字形 → "
                                      "整字消失）  @EditText1 —— 改用图片素材或换字符（铁律 1）",
                                      EMIT_MISSING}));
}

TEST(CheckBox, BoxesPicturesAndNarrowText) {
  Converted p = convert(
      R"(<div class="checkbox" data-w="30" data-checked="1" data-pic="off.png"
           data-src2="on.png" data-bg="#112233">Wifi</div>)"
      R"(<div class="cb" data-w="200" data-icon-w="20" data-pad="4" data-visible="0"></div>)");
  EXPECT_EQ(p.json, page(R"(
    "checkbox__1": {"alignment": 36, "backgroundColor": -1, "bold": false,
      "caption": "CheckBox1", "checked": true, "fontSize": 16, "italic": false,
      "touchable": true, "bgColorTab": {"color0": 1122867},
      "colorTab": {"color0": 15659766, "color2": 16777215},
      "iconPosition": {"left": 0, "top": 0, "width": 40, "height": 40}, "id": 94501,
      "position": {"height": 40, "left": 0, "top": 0, "width": 30},
      "textPosition": {"left": 46, "top": 0, "width": 10, "height": 40}, "visible": true,
      "picTab": {"pic0": "images/off.png", "pic2": "images/on.png"}, "text": "Wifi"},
    "checkbox__2": {"alignment": 36, "backgroundColor": -1, "bold": false,
      "caption": "CheckBox2", "checked": false, "fontSize": 16, "italic": false,
      "touchable": true, "bgColorTab": {"color0": 6322820, "color2": 5600108},
      "colorTab": {"color0": 15659766, "color2": 16777215},
      "iconPosition": {"left": 0, "top": 0, "width": 20, "height": 40}, "id": 94502,
      "position": {"height": 40, "left": 0, "top": 0, "width": 200},
      "textPosition": {"left": 24, "top": 0, "width": 176, "height": 40}, "visible": false,
      "text": ""})"));
}

TEST(ListView, AnyLeafBecomesAnItem) {
  Converted p =
      convert(R"(<ul data-h="300"><li data-align="r" data-charset='{"a": [1, 2]}'>One</li>)"
              R"(<div class="row"><div class="btn" data-visible="0" data-pic="p.png"
           data-charset="[NaN]" data-bg="#000000">Two</div></div>)"
              R"(<span data-charset="{bad" data-fs="0">★</span></ul>)");
  auto item = [](int align, int bg, const std::string& cap, int id, const std::string& text,
                 bool visible, const std::string& extra) {
    return R"({"alignment": )" + std::to_string(align) +
           R"(, "backgroundColor": -1, "bgColorTab": {"color0": )" + std::to_string(bg) +
           R"(}, "bold": false, "caption": ")" + cap +
           R"(", "colorTab": {"color0": 15659766}, "fontFamily": 0, "fontSize": 16, "id": )" +
           std::to_string(id) +
           R"(, "italic": false, "longClickIntervalTime": -1, "longClickTimeOut": -1,
           "picTab": {}, "text": ")" +
           text + R"(", "touchable": true, "visible": )" + (visible ? "true" : "false") +
           R"(, "position": )" + POS + extra + "}";
  };
  EXPECT_EQ(
      p.json,
      page(R"("listview__1": {"autoRollback": false, "backgroundColor": -1,
      "caption": "ListView1", "cols": 1, "cycleEnable": false, "dragMaxDis": 0,
      "edgeEffect": 0, "hasScrollbar": true, "id": 80001, "rows": 5,
      "position": {"height": 300, "left": 0, "top": 0, "width": 100}, "colSpacing": 0,
      "rowSpacing": 1, "orientation": 1, "touchable": true, "visible": true,
      "item": {"alignment": 37, "backgroundColor": -1, "bgColorTab": {"color0": -1},
        "bold": false, "caption": "item", "colorTab": {"color0": 16777215}, "fontSize": 16,
        "italic": false, "longClickIntervalTime": -1, "longClickTimeOut": -1, "picTab": {},
        "text": "", "touchable": true, "visible": true, "subItem": [)" +
           item(38, -1, "TextView1", 24001, "One", true, R"(, "charsetTab": {"a": [1, 2]})") +
           ", " +
           item(37, 0, "Button1", 24002, "Two", false, R"(, "backgroundPic": "images/p.png")") +
           ", " + item(37, -1, "TextView2", 24003, "", true, "") + R"(],
        "position": {"left": 0, "top": 0, "width": 100, "height": 59}}})"));
  // The item's text was cleaned with its caption; only the list is a control.
  EXPECT_EQ(p.warnings,
            (std::vector<std::string>{EMIT_MISSING,
                                      "文本字符被丢弃（emoji）：'★'（设备裁剪字库无该字形 → "
                                      "整字消失）  @TextView2 —— 改用图片素材或换字符（铁律 1）"}));
}

TEST(RadioGroup, AnyLeafBecomesARadioButton) {
  Converted p = convert(
      R"(<div class="radio"><div class="radio" data-checked="true" data-pic="r.png"
           data-icon-w="18.9" data-icon-h="9px4" data-visible="0">A</div>)"
      R"(<span data-bg2="#000000" data-fs="12" data-pic2="x.png">B</span></div>)");
  const std::string head = R"({"alignment": 38, "backgroundColor": -1, "bold": false,)";
  EXPECT_EQ(p.json, page(R"("radiogroup__1": {"backgroundColor": -1, "caption": "RadioGroup1",
      "id": 94001, "position": )" +
                         POS + R"(, "touchable": true, "visible": true,
      "radiobuttons": [)" +
                         head +
                         R"( "caption": "Radiobutton1", "checked": true, "fontSize": 16,
        "italic": false, "touchable": true, "bgColorTab": {"color0": 10461279, "color2": 5600108},
        "colorTab": {"color0": 15659766}, "id": 94101, "position": )" +
                         POS + R"(, "visible": true,
        "picTab": {"pic0": "images/r.png", "pic2": "images/r.png"},
        "iconPosition": {"left": 0, "top": 0, "width": 18, "height": 20}, "text": "A"}, )" +
                         head + R"( "caption": "TextView1", "checked": false, "fontSize": 12,
        "italic": false, "touchable": true, "bgColorTab": {"color0": 10461279, "color2": 0},
        "colorTab": {"color0": 15659766}, "id": 94102, "position": )" +
                         POS + R"(, "visible": true, "text": "B"}]})"));
  EXPECT_EQ(p.warnings, std::vector<std::string>{EMIT_MISSING});
}

}  // namespace
}  // namespace pagefold
