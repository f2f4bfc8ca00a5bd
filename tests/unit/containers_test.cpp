// The CSS effect audit, called directly on one element. Container records,
// shadow growth and its pads are covered end to end by the controls_containers
// and controls_with_pictures golden cases.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "front/readers.hpp"
#include "testkit.hpp"

namespace pagefold {
namespace {

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
  testkit::Stages stages(&modules, asset_dir);
  Node node{tag, attrs, {}, ""};
  stages.controls._warn_css_effects(stages.ctx, node, typ);
  return stages.ctx.warnings;
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
  testkit::Stages stages(&modules);
  Ctx& ctx = stages.ctx;
  Node node{"div", {{"style", "opacity: .5"}}, {}, ""};
  stages.controls._warn_css_effects(ctx, node, "textview");
  stages.controls._warn_css_effects(ctx, node, "textview");
  EXPECT_EQ(ctx.warnings.size(), 2u);
  EXPECT_EQ(ctx.warnings[0], ctx.warnings[1]);
}

}  // namespace
}  // namespace pagefold
