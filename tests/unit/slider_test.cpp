// Slider styling end to end: the track band, the growth of the box for a
// tall thumb, and the split of a hard-stop gradient into fill and track.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "assets/image.hpp"
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

std::string engine_model(const std::string& made) {
  return "进度条真机口径（2026-10-04 实测，出图/改图前先看这条）：① 轨道图 backgroundPic "
         "会被**拉伸填满控件盒**；② 有效图 progressPic 是**1:1 原样贴 + 按 floor(盒宽×进度/max) "
         "横向裁剪**（不是拉伸！右端永远硬切）；③ 滑块按 **PNG 原尺寸**画（thumb.size "
         "只作声明，实测真机忽略它），左沿 = position.left + floor((盒宽−图宽)×进度/max)，盒高 < "
         "图高时滑块被居中裁。本次自动出图：" +
         made;
}

std::string box_grown(const std::string& cap, int tw, int th, const std::string& top) {
  const std::string w = std::to_string(tw), h = std::to_string(th);
  return cap + "：滑块 " + w + "x" + h + " 比控件盒高 " + h + " 大 → 已把控件盒**居中抬到** " + h +
         " 高（top " + top +
         "），否则真机按盒高居中裁、圆钮上下被切（实测：24×24 图 + 12 高盒 → 24×12 扁椭圆）";
}

struct Slider {
  Value record;
  Strings warnings;
  std::shared_ptr<FakeGenRes> gen = std::make_shared<FakeGenRes>();
  TempDir dir;

  explicit Slider(const std::string& body) {
    Modules modules;
    modules.gen_res = gen;
    PageFold pf(std::nullopt, dir.str(), &modules);
    ConvertResult r = pf.convert(R"(<div class="screen" data-bg="#000000">)" + body + "</div>");
    if (!r.pages || r.pages->size() != 1) {
      ADD_FAILURE() << "no single page; meta: " << pretty(r.meta);
      return;
    }
    record = r.pages->front().second.get("seekbar__1");
    warnings = r.warnings;
  }
  Image picture(const std::string& name) const { return I_open(dir.str() + "/" + name); }
};

TEST(Slider, TallThumbGrowsTheBoxAndTheTrackBecomesABand) {
  Slider s(R"(<div class="slider" data-caption="vol" style="width:200px;height:4px;)"
           R"(background:#333333"><div class="thumb" style="width:24px;height:24px;)"
           R"(background:#ffffff"></div></div>)");
  EXPECT_EQ(pretty(s.record), pretty(J(R"({"backgroundColor": -1, "caption": "vol",
    "defProgress": 0, "id": 91001, "max": 100, "orientation": 0,
    "position": {"height": 24, "left": 0, "top": -10, "width": 200},
    "touchable": true, "visible": true, "backgroundPic": "images/bar_vol_track.png",
    "thumb": {"size": {"width": 24, "height": 24}, "normalPic": "images/bar_vol_thumb.png",
              "pressedPic": ""}})")));
  Image track = s.picture("bar_vol_track.png");
  ASSERT_EQ(track.w, 200);
  ASSERT_EQ(track.h, 24);
  for (int y = 0; y < 24; ++y) {
    const uint8_t* p = track.at(100, y);
    bool band = y >= 10 && y < 14;
    EXPECT_EQ(p[3], band ? 255 : 0) << y;
    if (band) {
      EXPECT_EQ(p[0], 0x33);
    }
  }
  EXPECT_EQ(s.gen->calls, (Strings{"coverage_mask 200x4", "rounded_rect_cov 24x24"}));
  EXPECT_EQ(
      s.warnings,
      (Strings{box_grown("vol", 24, 24, "-10"), engine_model("track、thumb"), EMIT_MISSING,
               "CSS 导出切图编码：1 张走 **8bit 索引色 PNG**（调色板裁剪 + tRNS 逐档 alpha，省 "
               "22 B，平均 −15%）；1 张保留 RGBA（索引化不划算/掉色：bar_vol_thumb.png "
               "94B→94B/1色 —— 用色数 >256 的真渐变索引化后反而更大，需要更小请把渐变收敛成"
               "几个色标）"}));
}

TEST(Slider, OddGrowthMovesUpByTheFloorOfHalf) {
  Slider s(R"(<div class="slider" data-caption="s" style="height:20px;border-radius:4px">)"
           R"(<div class="knob" style="width:25px;height:25px"></div></div>)");
  EXPECT_EQ(pretty(s.record.get("position")),
            pretty(J(R"({"height": 25, "left": 0, "top": -2, "width": 100})")));
  EXPECT_EQ(std::count(s.warnings.begin(), s.warnings.end(), box_grown("s", 25, 25, "-3")), 1);
}

TEST(Slider, HardStopSplitsIntoFillAndTrack) {
  Slider s(R"(<div class="slider" data-caption="p" style="width:200px;height:8px;)"
           R"(border-radius:4px;background:linear-gradient(to right,#00ff00 0% 30%,)"
           R"x(#333333 30% 100%)"></div>)x");
  EXPECT_EQ(s.record.get("defProgress"), Value(30));
  EXPECT_EQ(s.record.get("backgroundPic"), Value("images/bar_p_track.png"));
  EXPECT_EQ(s.record.get("progressPic"), Value("images/bar_p_fill.png"));
  EXPECT_EQ(s.picture("bar_p_fill.png").at(100, 4)[1], 255);
  EXPECT_EQ(s.picture("bar_p_track.png").at(100, 4)[1], 0x33);
  Strings expected = {
      "p：进度取自轨道背景的**硬停靠渐变**（停靠点 30.0% → defProgress=30/max=100）。Chrome 的 "
      "input[type=range] 没有填充伪元素，「已有进度」就是这么画的 —— 已拆成 填充图 + 轨道图 "
      "两张；要运行期改值用代码 setProgress()",
      "p：有效图带 border-radius，但引擎对有效图**只裁剪不缩放** → 0<p<max "
      "时右端永远是**硬切**（实测：药丸端头一点没被压，右端直接切断）；「按进度伸长的圆头填充」在"
      "真机上无法实现，圆头只能靠滑块盖住（需切图确认外观）",
      engine_model("value、track、fill")};
  for (const std::string& w : expected)
    EXPECT_EQ(std::count(s.warnings.begin(), s.warnings.end(), w), 1) << w;
}

TEST(Slider, ThumbSizeFromAttributeAndUnreadableSizes) {
  Slider sized(R"(<div class="slider" data-caption="a" style="height:32px;background:#222222">)"
               R"(<div class="thumb" data-thumb-size="20" style="background:#fff"></div></div>)");
  EXPECT_EQ(pretty(sized.record.get("thumb").get("size")),
            pretty(J(R"({"width": 20, "height": 20})")));
  Slider unsized(R"(<div class="slider" data-caption="b" style="height:32px;background:#222">)"
                 R"(<div class="thumb" style="width:50%;background:#fff"></div></div>)");
  EXPECT_EQ(unsized.warnings.at(0),
            "b：.thumb 子元素 里读不到绝对像素宽高（缺 width/height 或写了 % / auto）—— "
            "滑块图未生成；请写 width:32px;height:32px（或 data-thumb-size=\"32\"）");
}

TEST(Slider, PlainSliderMakesNothing) {
  Slider s(R"(<div class="slider" data-value="30"></div>)");
  EXPECT_TRUE(s.gen->calls.empty());
  EXPECT_FALSE(s.record.contains("backgroundPic"));
}

TEST(Slider, BackgroundEqualToTrackIsReported) {
  Slider s(R"(<div class="slider" data-caption="e" data-bg="#333333" )"
           R"(style="height:8px;background:#333333"></div>)");
  const std::string w =
      "e：seekbar 的 backgroundColor（data-bg）与轨道图**同色** —— "
      "真机先铺满底色再贴图，轨道图的透明圆角会被底色补满、视觉上变直角（2026-10-04 "
      "实测：同色时四角 = 轨道色，改成 -1 后四角 = 页面底色、圆角立刻可见）→ 去掉 "
      "data-bg（保持 backgroundColor:-1）或改成页面底色";
  EXPECT_EQ(std::count(s.warnings.begin(), s.warnings.end(), w), 1);
}

TEST(Slider, PseudoElementsAndPercentWidth) {
  // Called directly, with the pseudo-element table as the cascade leaves it.
  auto gen = std::make_shared<FakeGenRes>();
  Modules modules;
  modules.gen_res = gen;
  TempDir dir;
  PageFold pf(std::nullopt, dir.str(), &modules);
  Ctx ctx(&modules);
  pf.ctx = &ctx;
  ctx.root = J(R"({"resolution": {"width": 480, "height": 272}})");
  Node n;
  n.tag = "input";
  n.attrs = {{"style", "width:50%;height:12px"}};
  pf._pseudo_css[&n] = {{"webkit-slider-thumb",
                         "width:20px;height:20px;background:#fff;border:2px solid #36f;"
                         "box-shadow:0 1px 2px #000"},
                        {"webkit-slider-runnable-track", "height:6px;background:#444444"}};
  Value pos = J(R"({"height": 12, "left": 0, "top": 100, "width": 100})");
  Value c = Value::object({{"caption", "vol"}, {"max", 100}, {"position", pos}});
  EXPECT_TRUE(pf._seekbar_css_assets(ctx, n, c, pos, "vol"));
  // A pseudo-element thumb measures border-box: 20 stays 20.
  EXPECT_EQ(pretty(c), pretty(J(R"({"caption": "vol", "max": 100,
    "position": {"height": 20, "left": 0, "top": 96, "width": 240},
    "backgroundPic": "images/bar_vol_track.png",
    "thumb": {"size": {"width": 20, "height": 20}, "normalPic": "images/bar_vol_thumb.png",
              "pressedPic": ""}, "touchable": true})")));
  EXPECT_EQ(gen->calls,
            (Strings{"coverage_mask 240x6", "coverage_mask 20x20", "coverage_mask 20x20"}));
  EXPECT_EQ(ctx.warnings,
            (Strings{"vol：CSS 的 width 是百分比 → 按最近容器（屏幕宽=480px）解析成 "
                     "240px（没有布局引擎，百分比只能这样近似；建议改写成绝对像素）",
                     box_grown("vol", 20, 20, "-4"),
                     "vol：滑块样式取自伪元素 `::-webkit-slider-thumb`（或 -moz-）—— 已翻译成 "
                     "thumb 切图 20x20（thumb.size 同步写 20）；`margin-top` "
                     "之类的伪元素垂直微调无对应，真机一律**盒内居中**",
                     "vol：滑块用了 box-shadow —— 引擎按 PNG 原尺寸贴图、没有阴影层 → "
                     "请把投影烘进滑块切图（需切图确认外观）",
                     engine_model("track、thumb")}));
}

}  // namespace
}  // namespace pagefold
