// Rounded solid-colour controls end to end: the code-drawn button (painter,
// hot area, glue source) and the nine-patch background of windows and text
// views, with and without the picture module.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "assets/image.hpp"
#include "assets/png_output.hpp"
#include "testkit.hpp"

namespace pagefold {
namespace {

using testkit::FakeGenRes;
using testkit::J;
using testkit::pretty;
using testkit::TempDir;
using Strings = std::vector<std::string>;

const std::string EMIT_MISSING =
    "必填键补全未走共享发射层（ui_emit 不可用：No module named 'ui_emit'）→ 本页可能缺必填键";
// The audit's word on a button whose radius is drawn by code, not by a picture.
const std::string RADIUS_NOT_PICTURED =
    "<button class=\"\"> 含 CSS 效果（圆角）：Quilora 不支持 "
    "CSS，无法硬转；请切图（PNG/.9.png/序列帧/"
    "GIF）后 用 data-pic 引用（效果转图片 + 控件组合实现）";
const std::string NO_PAGE_COLOUR =
    "页面根没有底色（.screen 无 data-bg，html/body 也没写 background）→ 真机**不擦屏**，会露出上一"
    "页/屏保的残留画面（2026-10-04 实机验证：CSS 的 background 只写在 body 上时整屏残留旧帧）→ "
    "给 .screen 加 data-bg 或给 body 写 background（需切图确认外观）";
const std::string POS = R"({"height": 48, "left": 10, "top": 20, "width": 120})";

struct Converted {
  Value root;
  std::vector<std::string> warnings;
  Value glue;
  int64_t gen_count = 0;
};

// Converts one page holding `body`, with the picture module when `gen` is
// given (writing into `dir`).
Converted convert(const std::string& body, std::shared_ptr<FakeGenRes> gen = nullptr,
                  const TempDir* dir = nullptr, const std::string& screen_bg = "#000000") {
  Modules modules;
  modules.gen_res = std::move(gen);
  std::optional<std::string> assets;
  if (dir) assets = dir->str();
  PageFold pf(std::nullopt, assets, &modules);
  std::string bg = screen_bg.empty() ? "" : " data-bg=\"" + screen_bg + "\"";
  ConvertResult r = pf.convert("<div class=\"screen\"" + bg + ">" + body + "</div>");
  Converted out;
  if (!r.pages || r.pages->size() != 1) {
    ADD_FAILURE() << "no single page; meta: " << pretty(r.meta);
    return out;
  }
  out.root = r.pages->front().second;
  out.warnings = r.warnings;
  out.glue = pf._rad_glue;
  out.gen_count = pf.gen_count;
  return out;
}

// The glue expected for a button of caption `cap`.
std::string glue_code(const std::string& cap, int radius, const std::string& bg,
                      const std::string& normal, const std::string& extra = "") {
  const std::string c = cap + "Rad";
  return "/* ---- " + c +
         ": ql::ui_v1::RadButton（由 pagefold 生成，粘进 src/logic/<page>Logic.cc）----\n"
         "   组件源码：把 components/ui_v1/RadButton/src/ql/ql_radbutton.{h,cpp} 拷进工程 "
         "src/ql/（一次性）\n"
         "   必须 3 步：setStyle + attach + refresh；`st.bg` "
         "必须是按钮背后的**真实底色**（AA 混色基准） */\n"
         "#include \"ql/ql_radbutton.h\"\n"
         "static ql::ui_v1::RadButton s_" +
         c +
         ";\n"
         "\n"
         "/* onUI_init() 里： */\n"
         "    ql::ui_v1::RadButton::Style st_" +
         c + " = ql::ui_v1::RadButton::defaultStyle();\n    st_" + c +
         ".radius = " + std::to_string(radius) + ";              /* CSS border-radius */\n    st_" +
         c + ".bg     = " + bg +
         ";   /* ★ 按钮背后的真实底色（AA 混色基准，取自 CSS/祖先容器） */\n    st_" + c +
         ".normal = " + normal + ";              /* CSS background-color */\n" + extra + "    s_" +
         c + ".setStyle(st_" + c + ");\n    s_" + c + ".attach(m" + c +
         "Ptr);               /* json 里的 painter__N */\n    s_" + c +
         ".refresh();                         /* ★ 不调什么都不显示；切页回来要再调一次 */\n";
}

std::string rad_warning(const std::string& cap, int radius, const std::string& pk) {
  return cap + "：纯色 + border-radius=" + std::to_string(radius) +
         "px → 按**需求方决策**走 `ql::ui_v1::RadButton`（painter 自绘 AA 倒角，不出切图）：json "
         "已出 `" +
         pk +
         "`（RadButton 画布，z 更低）+ 透明热区 `button__N`（文字/触摸，picTab 是全透明图 → "
         "不遮画布）。**倒角由代码画**：把返回体 radButtonGlue 里那段粘进 "
         "src/logic/<page>Logic.cc（setStyle+attach+refresh 三步；缺 refresh "
         "什么都不显示），并把 components/ui_v1/RadButton/src/ql/ql_radbutton.{h,cpp} 拷进工程 "
         "src/ql/";
}

const std::string BUTTON =
    R"(<button data-caption="ok" data-x="10" data-y="20" data-w="120" data-h="48" data-fs="18" )"
    R"(style="border-radius:8px;background:#3366ff">OK</button>)";

TEST(RadButton, PainterHotAreaAndGlue) {
  PNG_LOG.clear();
  auto gen = std::make_shared<FakeGenRes>();
  TempDir dir;
  Converted p = convert(BUTTON, gen, &dir);
  EXPECT_EQ(pretty(p.root.get("painter__1")),
            pretty(J(R"({"backgroundColor": -1, "caption": "okRad", "id": 52001, "position": )" +
                     POS + R"(, "touchable": false, "visible": true})")));
  EXPECT_EQ(pretty(p.root.get("button__2")),
            pretty(J(R"({"alignment": 37, "caption": "ok", "colorTab": {"color0": 15659766},
              "id": 20001, "position": )" +
                     POS + R"(, "touchable": true,
              "picTab": {"pic0": "images/btn_ok_hit.png", "pic1": "images/btn_ok_hit.png"},
              "fontSize": 18, "text": "OK"})")));
  // The painter and the button share one position record.
  EXPECT_TRUE(
      p.root.get("painter__1").get("position").same(p.root.get("button__2").get("position")));
  Value glue = Value::array();
  glue.as_array().push_back(Value::object({{"caption", "okRad"},
                                           {"kind", "RadButton"},
                                           {"radius", 8},
                                           {"bg", "0x000000"},
                                           {"fill", "0x3366FF"},
                                           {"code", glue_code("ok", 8, "0x000000", "0x3366FF")}}));
  EXPECT_EQ(pretty(p.glue), pretty(glue));
  // The hot area is fully transparent with the colour behind in its RGB; a
  // single-colour picture this small is smaller as plain RGBA.
  EXPECT_EQ(p.warnings,
            (Strings{RADIUS_NOT_PICTURED, EMIT_MISSING, rad_warning("ok", 8, "painter__1"),
                     "CSS 导出切图编码：0 张走 **8bit 索引色 PNG**（调色板裁剪 + tRNS 逐档 "
                     "alpha，省 0 B）；1 张保留 RGBA（索引化不划算/掉色：btn_ok_hit.png "
                     "102B→102B/1色 —— 用色数 >256 的真渐变索引化后反而更大，需要更小请把渐变收敛成"
                     "几个色标）"}));
  EXPECT_EQ(p.gen_count, 1);
  Image hit = I_open(dir.str() + "/btn_ok_hit.png");
  EXPECT_EQ(hit.w, 120);
  EXPECT_EQ(hit.h, 48);
  EXPECT_EQ(hit.px, std::vector<uint8_t>(120 * 48 * 4, 0));
  EXPECT_TRUE(PNG_LOG.empty());
}

TEST(RadButton, WithoutPicturesTheGlueStillComes) {
  Converted p = convert(BUTTON);
  Value b = p.root.get("button__2");
  EXPECT_EQ(pretty(b.get("picTab")), pretty(J(R"({"pic0": "", "pic1": ""})")));
  EXPECT_EQ(p.glue.as_array().size(), 1u);
  EXPECT_EQ(p.gen_count, 0);
  EXPECT_EQ(p.warnings,
            (Strings{RADIUS_NOT_PICTURED, EMIT_MISSING, rad_warning("ok", 8, "painter__1")}));
}

TEST(RadButton, FourRadiiTakeTheLargestWithANote) {
  Converted p = convert(R"(<button data-caption="b" data-bg="#102030" )"
                        R"(style="border-radius:10px 0">Go</button>)");
  ASSERT_EQ(p.glue.as_array().size(), 1u);
  EXPECT_EQ(p.glue.as_array()[0].get("code").as_string(),
            glue_code("b", 10, "0x000000", "0x102030",
                      "    /* ⚠️ CSS 是四角不同半径（10/0/10/0）；RadButton "
                      "只有单一半径，已取最大 10 */\n"));
}

TEST(RadButton, UnknownColourBehindIsWhiteWithAWarning) {
  Converted p = convert(BUTTON, nullptr, nullptr, "");
  ASSERT_EQ(p.glue.as_array().size(), 1u);
  EXPECT_EQ(p.glue.as_array()[0].get("bg"), Value("0xFFFFFF"));
  EXPECT_EQ(p.warnings,
            (Strings{NO_PAGE_COLOUR, RADIUS_NOT_PICTURED,
                     "ok：走 RadButton（纯色倒角）路线，但**背后底色**取不到（祖先容器与页面根都没"
                     "底色）→ 胶水里先按白 0xFFFFFF 兜底，请改成实际底色，否则倒角边缘会有一圈颜色"
                     "不对的边（components/ui_v1/RadButton/README.md §8）",
                     EMIT_MISSING, rad_warning("ok", 8, "painter__1")}));
}

TEST(RadButton, NoRouteForSquareOrPaintedButtons) {
  for (const char* body :
       {R"(<button style="border-radius:0;background:#3366ff">A</button>)",
        R"x(<button style="border-radius:8px;background:linear-gradient(#fff,#000)">A</button>)x",
        R"(<button style="border-radius:8px;background:#3366ff" data-pic="a.png">A</button>)",
        R"(<button style="border-radius:8px">A</button>)"}) {
    Converted p = convert(body);
    EXPECT_TRUE(p.glue.as_array().empty()) << body;
    EXPECT_FALSE(p.root.contains("painter__1")) << body;
  }
}

TEST(RadBox, TextViewGetsANinePatchAndItsNote) {
  auto gen = std::make_shared<FakeGenRes>();
  TempDir dir;
  Converted p = convert(R"(<div class="text" data-caption="tag" )"
                        R"(style="border-radius:6px;background:#ff0000">Hi</div>)",
                        gen, &dir);
  EXPECT_EQ(p.root.get("textview__1").get("backgroundPic"), Value("images/pill_tag.9.png"));
  EXPECT_EQ(gen->calls, (Strings{"rounded_rect_cov 100x40", "to_9patch pill_tag.9.png"}));
  // Re-encoded in place: a single colour stays exact.
  Image pic = I_open(dir.str() + "/pill_tag.9.png");
  EXPECT_EQ(std::vector<uint8_t>(pic.at(0, 0), pic.at(0, 0) + 4),
            (std::vector<uint8_t>{255, 0, 0, 255}));
  std::string note =
      "tag：纯色 + border-radius=6px 的文本块（textview 没有 radius 字段）→ 已出 **`.9.png` "
      "背景图** `images/pill_tag.9.png`（九宫格：四角不参与拉伸，任意尺寸都不变形；8bit "
      "索引色省存储）。本控件的方角底色已让位（改用背后底色 0x000000）—— 无需任何代码";
  EXPECT_NE(std::find(p.warnings.begin(), p.warnings.end(), note), p.warnings.end());
}

TEST(RadBox, NothingWithoutThePictureModule) {
  Converted p =
      convert(R"(<div class="text" style="border-radius:6px;background:#ff0000">Hi</div>)");
  EXPECT_FALSE(p.root.get("textview__1").contains("backgroundPic"));
}

}  // namespace
}  // namespace pagefold
