// Rounded solid-colour controls. The runtime's controls have no corner
// radius, so a button is drawn at run time by the RadButton component (a
// painter plus a transparent hot area and a piece of glue source for the
// user), and a window or text view gets a nine-patch background instead.
#include <algorithm>
#include <string>

#include "assets/assets.hpp"
#include "assets/image.hpp"
#include "assets/png_output.hpp"
#include "front/backgrounds.hpp"
#include "front/box_specs.hpp"
#include "front/readers.hpp"
#include "util/num.hpp"
#include "util/record_values.hpp"
#include "util/text.hpp"

namespace pagefold {
namespace {

// The glue the user pastes into the page's logic source; `<page>` stays as
// it is for the user to fill in.
const char* const RAD_GLUE_TMPL =
    R"TMPL(/* ---- %(cap)s: ql::ui_v1::RadButton（由 pagefold 生成，粘进 src/logic/<page>Logic.cc）----
   组件源码：把 components/ui_v1/RadButton/src/ql/ql_radbutton.{h,cpp} 拷进工程 src/ql/（一次性）
   必须 3 步：setStyle + attach + refresh；`st.bg` 必须是按钮背后的**真实底色**（AA 混色基准） */
#include "ql/ql_radbutton.h"
static ql::ui_v1::RadButton s_%(cap)s;

/* onUI_init() 里： */
    ql::ui_v1::RadButton::Style st_%(cap)s = ql::ui_v1::RadButton::defaultStyle();
    st_%(cap)s.radius = %(radius)d;              /* CSS border-radius */
    st_%(cap)s.bg     = %(bg)s;   /* ★ 按钮背后的真实底色（AA 混色基准，取自 CSS/祖先容器） */
    st_%(cap)s.normal = %(normal)s;              /* CSS background-color */
%(extra)s    s_%(cap)s.setStyle(st_%(cap)s);
    s_%(cap)s.attach(m%(cap)sPtr);               /* json 里的 painter__N */
    s_%(cap)s.refresh();                         /* ★ 不调什么都不显示；切页回来要再调一次 */
)TMPL";

int64_t rgb_int(const Color& c) { return (c.r() << 16) | (c.g() << 8) | c.b(); }

std::string hex6(int64_t v) { return "0x" + num::hex(v, 6); }

std::string fill_template(const std::string& cap, int64_t radius, const std::string& bg,
                          const std::string& normal, const std::string& extra) {
  std::string s = RAD_GLUE_TMPL;
  s = text::replace_all(s, "%(cap)s", cap);
  s = text::replace_all(s, "%(radius)d", std::to_string(radius));
  s = text::replace_all(s, "%(bg)s", bg);
  s = text::replace_all(s, "%(normal)s", normal);
  return text::replace_all(s, "%(extra)s", extra);
}

}  // namespace

Color Assets::_rgba_of(int64_t cint) const {
  return Color::rgba((cint >> 16) & 255, (cint >> 8) & 255, cint & 255, 0);
}

std::optional<RadDecision> Assets::_rad_button_of(Ctx& ctx, const Node& node, const Value& pos,
                                                  const std::string& cap) {
  const Attrs& attrs = node.attrs;
  std::string style = _attr(attrs, "style").value_or("");
  // A control without border-radius has square corners: no route.
  Radii radii =
      _radius_corners(style, number_or(pos.get("width"), 100), number_or(pos.get("height"), 40))
          .value_or(Radii{});
  int64_t r = num::round_even(std::max({radii.tl, radii.tr, radii.br, radii.bl}));
  if (r <= 0) return std::nullopt;

  // A control with a picture or an effect has no solid fill.
  if (text::contains_any(style, {"linear-gradient", "radial-gradient", "box-shadow"}))
    return std::nullopt;
  for (const char* a : {"data-pic", "data-pic0", "data-bgpic", "data-background-pic"})
    if (truthy(_attr(attrs, a))) return std::nullopt;
  if (truthy(_glyph_from_attrs(attrs))) return std::nullopt;

  std::optional<BgSpec> spec = _bg_spec(style);
  std::optional<int64_t> bgc_int = _bg_color(attrs);
  bool css_color = spec && spec->kind == "color";
  if (!css_color && !bgc_int) return std::nullopt;
  // The CSS colour wins over data-bg; its alpha is dropped.
  int64_t fill = css_color ? rgb_int(spec->color) : *bgc_int;

  // The colour behind: the nearest container that has one, then the page.
  std::optional<int64_t> behind;
  for (auto it = ctx.stack.rbegin(); it != ctx.stack.rend(); ++it) {
    Value bg = it->get("__bg"), bc = it->get("backgroundColor");
    bool has_bc = !bc.is_null() && !(bc.is_int() && bc.as_int() == -1);
    if (bg.is_null() && !has_bc) continue;
    Value v = bg.is_null() ? bc : bg;
    if (v.is_int()) behind = v.as_int();
    break;
  }
  if (!behind || *behind < 0) {
    Value rb = ctx.root.get("backgroundColor");
    behind = rb.is_int() ? std::optional<int64_t>(rb.as_int()) : std::nullopt;
  }
  if (!behind || *behind < 0) {
    behind = 0xFFFFFF;
    ctx.warn(
        cap +
            "：走 RadButton（纯色倒角）路线，但**背后底色**取不到（祖先容器与页面根都没底色）→ "
            "胶水里先按白 0xFFFFFF "
            "兜底，请改成实际底色，否则倒角边缘会有一圈颜色不对的边（components/ui_v1/RadButton/"
            "README.md §8）",
        "radbutton-bg");
  }
  return RadDecision{r, radii, fill, *behind};
}

bool Assets::_try_radbutton(Ctx& ctx, const Node& node, const Value& pos, const std::string& cap,
                            const std::optional<std::string>& text) {
  auto rb = _rad_button_of(ctx, node, pos, cap);
  if (!rb) return false;
  const Attrs& attrs = node.attrs;
  int64_t W = size_nonzero_or(pos, "width", 100), H = size_nonzero_or(pos, "height", 40);
  std::string rcap = cap + "Rad";

  // The painter first, so that it lies lower in the z order.
  std::string pk = ctx.add("painter", Value::object({{"backgroundColor", -1},
                                                     {"caption", rcap},
                                                     {"id", ctx.nid("painter")},
                                                     {"position", pos},
                                                     {"touchable", false},
                                                     {"visible", true}}));

  std::string align = text::lower(_attr(attrs, "data-align").value_or("center"));
  Value c = Value::object(
      {{"alignment", align_code(align).value_or(37)},
       {"caption", cap},
       {"colorTab",
        Value::object(
            {{"color0", _color_explicit(attrs, {"data-color"}, 15659766).value_or(15659766)}})},
       {"id", ctx.nid("button")},
       {"position", pos},
       {"touchable", true}});

  // The hot area is fully transparent, with the colour behind in its RGB.
  Color clear = _rgba_of(rb->behind);
  std::string hit_name = "btn_" + cap + "_hit.png";
  PngLog* log = &png_log;
  auto hit = _gen_asset(ctx, [W, H, clear, hit_name, log](const std::string& d) {
    return _save_css_png(I_new_rgba(double(W), double(H), clear), d, hit_name, *log);
  });
  std::string hp = hit.value_or("");
  c["picTab"] = Value::object({{"pic0", hp}, {"pic1", hp}});
  if (auto fs = _font_size(attrs); fs && *fs) c["fontSize"] = *fs;
  if (text && !text->empty()) c["text"] = *text;
  ctx.add("button", c);

  const Radii& rr = rb->radii;
  std::string extra;
  if (!(rr.tl == rr.tr && rr.tr == rr.br && rr.br == rr.bl)) {
    std::vector<std::string> parts;
    for (int i = 0; i < 4; ++i) parts.push_back(num::fmt("%g", rr[i]));
    extra = "    /* ⚠️ CSS 是四角不同半径（" + text::join(parts, "/") +
            "）；RadButton 只有单一半径，已取最大 " + std::to_string(rb->radius) + " */\n";
  }
  std::string code = fill_template(rcap, rb->radius, hex6(rb->behind), hex6(rb->fill), extra);
  rad_glue.as_array().push_back(Value::object({{"caption", rcap},
                                               {"kind", "RadButton"},
                                               {"radius", rb->radius},
                                               {"bg", hex6(rb->behind)},
                                               {"fill", hex6(rb->fill)},
                                               {"code", code}}));
  ctx.warn(
      cap + "：纯色 + border-radius=" + std::to_string(rb->radius) +
          "px → 按**需求方决策**走 `ql::ui_v1::RadButton`（painter 自绘 AA 倒角，不出切图）：json "
          "已出 `" +
          pk +
          "`（RadButton 画布，z 更低）+ 透明热区 `button__N`（文字/触摸，picTab 是全透明图 → "
          "不遮画布）。**倒角由代码画**：把返回体 radButtonGlue 里那段粘进 "
          "src/logic/<page>Logic.cc（setStyle+attach+refresh 三步；缺 refresh 什么都不显示），并把 "
          "components/ui_v1/RadButton/src/ql/ql_radbutton.{h,cpp} 拷进工程 src/ql/",
      "radbutton:" + cap);
  return true;
}

std::pair<std::optional<std::string>, std::optional<RadDecision>> Assets::_radbox_9pic(
    Ctx& ctx, const Node& node, const Value& pos, const std::string& cap, const std::string& kind) {
  auto rb = _rad_button_of(ctx, node, pos, cap);
  if (!rb) return {std::nullopt, std::nullopt};
  int64_t W = size_nonzero_or(pos, "width", 100), H = size_nonzero_or(pos, "height", 40);
  int64_t r = rb->radius, fill = rb->fill;
  Color rgba = Color::rgba((fill >> 16) & 255, (fill >> 8) & 255, fill & 255, 255);
  bool window = kind == "window";
  std::string name = std::string(window ? "card" : "pill") + "_" +
                     (cap.empty() ? std::to_string(ctx.n) : cap) + ".9.png";
  GenRes* g = gen_res_;
  PngLog* log = &png_log;
  auto pic = _gen_asset(ctx, [g, W, H, r, rgba, name, log](const std::string& d) {
    Image im = g->rounded_rect_cov(W, H, double(r), rgba);
    std::string p = g->to_9patch(im, r, d, name);
    // Re-encoded in place as an 8-bit palette file; should that fail, the
    // module's own file stands.
    try {
      return _save_css_png(I_open(p), d, name, *log);
    } catch (const std::exception&) {
      return p;
    }
  });
  if (!pic) return {std::nullopt, std::nullopt};

  std::optional<int64_t> anc = _ancestor_bg(ctx);
  if (!anc || *anc < 0) {
    anc = 0xFFFFFF;
    ctx.warn(cap +
                 "：出 .9.png 倒角底图，但**背后底色**取不到（祖先容器与页面根都没底色）→ "
                 "圆角外的方角会按引擎缺省（常是黑）渲染；请给页面/容器补底色（A6 口径）",
             "rad9-bg:" + cap);
  }
  ctx.warn(cap + "：纯色 + border-radius=" + std::to_string(r) + "px 的" +
               (window ? "卡片" : "文本块") + "（" + (window ? "window" : "textview") +
               " 没有 radius 字段）→ 已出 **`.9.png` 背景图** `" + *pic +
               "`（九宫格：四角不参与拉伸，任意尺寸都不变形；8bit "
               "索引色省存储）。本控件的方角底色已让位（改用背后底色 0x" +
               num::hex(*anc, 6) + "）—— 无需任何代码",
           "rad9:" + cap);
  return {pic, RadDecision{r, rb->radii, fill, *anc}};
}

}  // namespace pagefold
