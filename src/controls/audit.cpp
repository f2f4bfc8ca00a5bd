// The CSS effect audit: the device has no CSS engine, so every walked element
// is told which of its CSS effects became pictures and which are lost. The
// audit only predicts what the effect-asset stage draws; it changes nothing.
#include <set>
#include <string>
#include <vector>

#include "controls/controls.hpp"
#include "controls/tables.hpp"
#include "front/backgrounds.hpp"
#include "front/box_specs.hpp"
#include "front/readers.hpp"
#include "util/regex.hpp"
#include "util/text.hpp"

namespace pagefold {
namespace {

const char* const LINEAR = "线性渐变";
const char* const SHADOW = "阴影";
const char* const CORNER = "圆角";
const char* const ANIMATION = "动画";

std::string join(const std::vector<std::string>& parts) { return text::join(parts, "、"); }

}  // namespace

void Controls::_warn_css_effects(Ctx& ctx, const Node& node,
                                 const std::optional<std::string>& typ) {
  const Attrs& attrs = node.attrs;
  // The author supplies a picture: nothing to audit.
  if (nonempty_attr(attrs, "data-pic")) return;
  const std::string style = _attr(attrs, "style").value_or("");
  if (style.empty()) return;

  // Plain substrings: "backdrop-filter" counts as a filter.
  std::vector<std::string> hit;
  for (const auto& [needle, name] : CSS_EFFECT_PATTERNS)
    if (text::contains(style, needle)) hit.push_back(name);
  if (hit.empty()) return;

  const std::set<std::string> conv = _convertible_effects(node, style, hit, typ);
  std::vector<std::string> rest;
  for (const std::string& h : hit)
    if (!conv.count(h)) rest.push_back(h);
  const std::string cls = _attr(attrs, "class").value_or("");
  const std::string head = "<" + node.tag + " class=\"" + cls + "\">";

  // Both notices repeat for every element on purpose: each element is told
  // its own effects. std::set keeps its texts in code-point order.
  if (!conv.empty()) {
    ctx.warnings.push_back(
        head + " 的 CSS 效果（" + join({conv.begin(), conv.end()}) +
        "）**已自动转成图片**（PNG/序列帧，尺寸 == 控件盒，json 已引用 images/*.png）；Quilora "
        "没有 CSS 引擎，改外观请改图或控件属性，不要指望写 CSS 生效。（若该控件类型没生成对应图，"
        "再用 data-pic 自备图（PNG，尺寸 == 控件盒））");
  }
  if (!rest.empty()) {
    ctx.warnings.push_back(head + " 含 CSS 效果（" + join(rest) +
                           "）：Quilora 不支持 CSS，无法硬转；请切图（PNG/.9.png/序列帧/GIF）后 用 "
                           "data-pic 引用（效果转图片 + 控件组合实现）");
  }
}

std::set<std::string> Controls::_convertible_effects(const Node& node, const std::string& style,
                                                     const std::vector<std::string>& hit,
                                                     const std::optional<std::string>& typ) const {
  if (!assets_.can_generate() || !typ) return {};
  if (!EFFECT_CONSUMERS.count(*typ)) return {};
  const std::set<std::string> cls = _classes(node.attrs);
  std::set<std::string> h;
  auto only_hit = [&]() {
    std::set<std::string> out;
    for (const std::string& name : hit)
      if (h.count(name)) out.insert(name);
    return out;
  };

  // A slider draws its background styling only; shadows and animation are
  // not pictured on it.
  if (*typ == "seekbar") {
    if (auto spec = _bg_spec(style)) {
      h.insert(CORNER);
      if (spec->kind == "gradient") h.insert(LINEAR);
    }
    return only_hit();
  }

  // A radial gradient is never reported as converted, though a picture may
  // be drawn for it.
  if (text::contains(style, "linear-gradient") || text::contains(style, "radial-gradient"))
    h.insert(LINEAR);
  if (_shadow_spec(style)) {
    h.insert(CORNER);
    if (!text::contains(style, "text-shadow")) h.insert(SHADOW);
  }
  static const Regex animation(R"(animation\s*:)");
  if (cls.count("loading") || cls.count("spinner") ||
      (animation.search(style) &&
       (text::contains(style, "spin") || text::contains(style, "rotate") ||
        text::contains(style, "loading"))))
    h.insert(ANIMATION);
  return only_hit();
}

}  // namespace pagefold
