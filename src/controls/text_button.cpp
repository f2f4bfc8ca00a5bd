// Text and button controls: list items and radio buttons (built for any leaf
// inside a list view or radio group), text views, buttons, edit fields and
// check boxes. Each record lists its keys in the runtime's order; keys that
// attributes add later are appended.
#include <algorithm>
#include <cmath>
#include <exception>
#include <string>

#include "controls/controls.hpp"
#include "controls/leaf_support.hpp"
#include "front/box_specs.hpp"
#include "front/readers.hpp"
#include "front/text_clean.hpp"
#include "pagefold/error.hpp"
#include "util/text.hpp"

namespace pagefold {

using namespace leafs;

namespace {

constexpr int64_t BUTTON_FILL = 3621975;  // 0x374457
constexpr int64_t WHITE = 16777215;       // 0xFFFFFF
constexpr int64_t RADIO_BG = 10461279;    // 0x9FA05F
constexpr int64_t CHECKBOX_BG = 6322820;  // 0x607A84
constexpr int64_t CHECKED_BG = 5600108;   // 0x55736C

Value color0(const Value& v) { return Value::object({{"color0", v}}); }

std::string opening_tag(const Node& node) {
  return "<" + node.tag + " class=\"" + attr_or_empty(node.attrs, "class") + "\">";
}

// Whether every number in `v` is finite. A number too large for a real
// ("1e400") reads as infinite, and an infinite value is no plain JSON.
bool all_finite(const Value& v) {
  if (v.is_real()) return std::isfinite(v.as_real());
  if (v.is_array()) return std::all_of(v.as_array().begin(), v.as_array().end(), all_finite);
  if (v.is_object())
    return std::all_of(v.as_object().begin(), v.as_object().end(),
                       [](const Object::Item& kv) { return all_finite(kv.second); });
  return true;
}

// Radio buttons and check boxes open alike: their alignment, the unchecked
// state, and the colours behind the box unchecked (`bg`) and checked.
Value toggle_head(const Attrs& attrs, const std::string& cap, int64_t align, int64_t bg) {
  return Value::object({
      {"alignment", align},
      {"backgroundColor", -1},
      {"bold", false},
      {"caption", cap},
      {"checked", false},
      {"fontSize", size_or_default(_font_size(attrs), 16)},
      {"italic", false},
      {"touchable", true},
      {"bgColorTab", Value::object({
                         {"color0", *_color_explicit(attrs, {"data-bg"}, bg)},
                         {"color2", *_color_explicit(attrs, {"data-bg2"}, CHECKED_BG)},
                     })},
  });
}

}  // namespace

void Controls::_leaf_subitem(Ctx& ctx, const Node& node, Leaf& leaf) {
  const Attrs& attrs = node.attrs;
  std::optional<int64_t> bg = _bg_color(attrs);
  Value c = Value::object({
      {"alignment", alignment(attrs, "center", 37)},
      {"backgroundColor", -1},
      {"bgColorTab", color0(bg.value_or(-1))},
      {"bold", false},
      {"caption", leaf.cap},
      {"colorTab", color0(_color_explicit(attrs, {"data-color"}, TEXT_COLOR).value())},
      {"fontFamily", 0},
      {"fontSize", size_or_default(_font_size(attrs), 16)},
      {"id", ctx.nid("subitem")},
      {"italic", false},
      {"longClickIntervalTime", -1},
      {"longClickTimeOut", -1},
      {"picTab", Value::object()},
      {"text", leaf.text.value_or("")},
      {"touchable", true},
      {"visible", true},
      {"position", leaf.pos},
  });
  Object& o = c.as_object();

  if (OptStr pic = first_nonempty(attrs, {"data-pic", "data-bgpic", "data-src", "src"})) {
    o.set("backgroundPic", image_path(*pic));
  } else if (OptStr glyph = _glyph_from_attrs(attrs)) {
    auto name =
        assets_._icon_png(ctx, *glyph, size_or(leaf.pos, "width", 100),
                          size_or(leaf.pos, "height", 40), assets_._icon_color(attrs), false);
    if (truthy(name)) o.set("backgroundPic", *name);
  }

  if (OptStr charset = nonempty_attr(attrs, "data-charset")) {
    // A charset that is no plain JSON is left out without a word.
    try {
      Value tab = parse_json(*charset);
      if (all_finite(tab)) o.set("charsetTab", tab);
    } catch (const std::exception&) {
    }
  }
  if (std::optional<bool> vis = _bool_attr(attrs, "data-visible")) o.set("visible", *vis);

  // Items are no controls of their own: no generated key, no completion.
  const Value& top = ctx.stack.back();
  if (!top.contains("item")) throw KeyError("'item'");
  Value item = top.get("item");
  if (!item.contains("subItem")) throw KeyError("'subItem'");
  item.get("subItem").as_array().push_back(c);
}

void Controls::_leaf_radiobutton(Ctx& ctx, const Node& node, Leaf& leaf) {
  const Attrs& attrs = node.attrs;
  Value c = toggle_head(attrs, leaf.cap, 38, RADIO_BG);
  Object& o = c.as_object();
  o.set("colorTab", color0(*_color_explicit(attrs, {"data-color"}, TEXT_COLOR)));
  o.set("id", ctx.nid("radiobutton"));
  o.set("position", leaf.pos);
  o.set("visible", true);

  OptStr rp0 = first_nonempty(attrs, {"data-pic", "data-pic0", "data-src"});
  OptStr rp2 = nonempty_attr(attrs, "data-pic2");
  if (rp0) {
    o.set("picTab",
          Value::object({{"pic0", image_path(*rp0)}, {"pic2", image_path(rp2 ? *rp2 : *rp0)}}));
    o.set("iconPosition", Value::object({{"left", 0},
                                         {"top", 0},
                                         {"width", int_attr(attrs, "data-icon-w", 20)},
                                         {"height", int_attr(attrs, "data-icon-h", 20)}}));
  }
  o.set("text", leaf.text.value_or(""));
  if (flag_or(attrs, "data-checked", "")) o.set("checked", true);

  // The group's list holds its buttons; a button keeps no data-visible.
  const Value& top = ctx.stack.back();
  if (!top.contains("radiobuttons")) throw KeyError("'radiobuttons'");
  top.get("radiobuttons").as_array().push_back(c);
}

Value Controls::_leaf_textview(Ctx& ctx, const Node& node, Leaf& leaf) {
  const Attrs& attrs = node.attrs;
  Value c = Value::object({
      {"alignment", alignment(attrs, "left", 36)},
      {"caption", leaf.cap},
      {"colorTab", color0(*_color_explicit(attrs, {"data-color"}, TEXT_COLOR))},
      {"fontSize", size_or_default(_font_size(attrs), 16)},
      {"id", ctx.nid("textview")},
      {"position", leaf.pos},
      {"touchable", false},
  });
  Object& o = c.as_object();
  const std::string text = leaf.text.value_or("");

  std::optional<int64_t> bgc = _bg_color(attrs);
  if (bgc) o.set("bgColorTab", color0(*bgc));

  // A rounded solid box becomes a nine-patch picture. The corner colour then
  // comes from the ancestors, not from the box's own colour.
  const std::string style = attr_or_empty(attrs, "style");
  if (attr_or_empty(attrs, "data-bgpic").empty() &&
      !text::contains_any(style, {"linear-gradient", "radial-gradient", "box-shadow"})) {
    auto [pic, info] = assets_._radbox_9pic(ctx, node, leaf.pos, leaf.cap, "textview");
    if (truthy(pic)) {
      o.set("backgroundPic", *pic);
      _corner_bg(ctx, c, attrs, std::nullopt, leaf.cap);
    }
  }

  // A value starting with "#" is a colour written in the wrong attribute.
  OptStr bgp = first_nonempty(attrs, {"data-bgpic", "data-background-pic"});
  if (bgp && !text::starts_with(*bgp, "#")) {
    o.set("backgroundPic", image_path(*bgp));
    _corner_bg(ctx, c, attrs, bgc, leaf.cap);
  }

  if (!text.empty()) o.set("text", text);
  _text_extra(c, attrs);

  EffectAssets eff = assets_._effect_assets(ctx, node, size_or(leaf.pos, "width", 100),
                                            size_or(leaf.pos, "height", 40), leaf.cap);
  if (eff.use_emoji) {
    o.erase("text");
    _corner_bg(ctx, c, attrs, bgc, leaf.cap);
    o.set("touchable", false);
  }
  if (truthy(eff.backgroundPic)) {
    o.set("backgroundPic", *eff.backgroundPic);
    _corner_bg(ctx, c, attrs, bgc, leaf.cap);
    if (eff.pad.value_or(0)) _grow(leaf.pos, static_cast<double>(*eff.pad));
  }

  if (eff.imageanim) {
    // A spinner: the text view turns into an animation control; the text
    // view id already drawn stays used.
    leaf.typ = "imageanim";
    c = Value::object({
        {"caption", leaf.cap},
        {"id", ctx.nid("imageanim")},
        {"loopCount", 0},
        {"position", leaf.pos},
    });
    if (truthy(eff.anim_file)) {
      const std::string& file = *eff.anim_file;
      c.as_object().set("playFile", file);
      ctx.warnings.push_back(
          opening_tag(node) + " loading 动图已生成 " + file +
          "（imageanim 控件，playFile 已写入 json，设备自动播放；循环次数由 loopCount "
          "控制，代码可用 m" +
          leaf.cap + "Ptr->play(\"" + file + "\") 重播）");
    }
  }
  return c;
}

Value Controls::_leaf_button(Ctx& ctx, const Node& node, Leaf& leaf) {
  const Attrs& attrs = node.attrs;
  if (assets_._try_radbutton(ctx, node, leaf.pos, leaf.cap, leaf.text)) return Value();

  const std::string text = leaf.text.value_or("");
  std::optional<int64_t> bgc = _bg_color(attrs);
  Value c = Value::object({
      {"alignment", alignment(attrs, "center", 37)},
      {"caption", leaf.cap},
      {"colorTab", color0(*_color_explicit(attrs, {"data-color"}, TEXT_COLOR))},
      {"id", ctx.nid("button")},
      {"position", leaf.pos},
      {"touchable", true},
  });
  Object& o = c.as_object();

  // An explicit black with no text is falsy and paints nothing.
  if (bgc.value_or(0) != 0 || !text.empty()) o.set("bgColorTab", color0(bgc.value_or(BUTTON_FILL)));
  if (std::optional<int64_t> fs = _font_size(attrs); fs.value_or(0)) o.set("fontSize", *fs);
  if (!text.empty()) o.set("text", text);

  // Numbered pictures in attribute order; a pic0 from data-pic or data-src
  // comes last.
  OptStr pic0 = first_nonempty(attrs, {"data-pic", "data-pic0", "data-src"});
  Value pics = Value::object();
  for (const char* k : {"pic0", "pic1", "pic2", "pic3", "pic4"}) {
    if (OptStr v = nonempty_attr(attrs, std::string("data-") + k))
      pics.as_object().set(k, image_path(*v));
  }
  if (pic0 && !pics.contains("pic0")) pics.as_object().set("pic0", image_path(*pic0));

  OptStr glyph = _glyph_from_attrs(attrs);
  if (pics.as_object().empty() && glyph) {
    std::optional<int64_t> col = assets_._icon_color(attrs);
    int64_t w = size_or(leaf.pos, "width", 100), h = size_or(leaf.pos, "height", 40);
    auto p0 = assets_._icon_png(ctx, *glyph, w, h, col, false);
    auto p1 = assets_._icon_png(ctx, *glyph, w, h, col, true);
    if (truthy(p0)) {
      o.set("picTab", Value::object({{"pic0", *p0}, {"pic1", truthy(p1) ? *p1 : *p0}}));
      o.erase("bgColorTab");
      if (!text.empty()) {
        ctx.warnings.push_back(opening_tag(node) + " data-icon 图标按钮已忽略文字「" + text +
                               "」（图标按钮纯图标；需文字说明请相邻加 div.text 或用纯文字按钮）");
        o.erase("text");
      }
    }
  }

  if (!pics.as_object().empty()) {
    o.set("picTab", pics);
  } else if (!o.contains("picTab")) {
    if (OptStr bgpic = first_nonempty(attrs, {"data-bgpic", "data-background-pic"})) {
      o.set("backgroundPic", image_path(*bgpic));
    } else {
      // Of the effects a button takes only the picture and its shadow growth.
      EffectAssets eff = assets_._effect_assets(ctx, node, size_or(leaf.pos, "width", 100),
                                                size_or(leaf.pos, "height", 40), leaf.cap);
      if (truthy(eff.backgroundPic)) {
        o.set("picTab",
              Value::object({{"pic0", *eff.backgroundPic}, {"pic1", *eff.backgroundPic}}));
        if (eff.pad.value_or(0)) _grow(leaf.pos, static_cast<double>(*eff.pad));
      }
    }
  }
  if (o.contains("picTab") || o.contains("backgroundPic")) _corner_bg(ctx, c, attrs, bgc, leaf.cap);

  // The icon box is read as plain integers: "24px" is refused loudly.
  if (nonempty_attr(attrs, "data-icon-w") || nonempty_attr(attrs, "data-icon-h")) {
    int64_t iw = int_attr_or(attrs, "data-icon-w", size_of(leaf.pos, "width", 100));
    int64_t ih = int_attr_or(attrs, "data-icon-h", size_of(leaf.pos, "height", 40));
    o.set("iconPosition", Value::object({{"left", 0}, {"top", 0}, {"width", iw}, {"height", ih}}));
  }

  o.setdefault("picTab", Value::object());
  o.setdefault("text", "");
  _text_extra(c, attrs);
  return c;
}

Value Controls::_leaf_edittext(Ctx& ctx, const Node& node, Leaf& leaf) {
  const Attrs& attrs = node.attrs;
  Value c = Value::object({
      {"alignment", 37},
      {"bold", false},
      {"caption", leaf.cap},
      {"bgColorTab", color0(_bg_or(attrs, WHITE))},
      {"colorTab", color0(*_color_explicit(attrs, {"data-color"}, 0))},
      {"fontSize", size_or_default(_font_size(attrs), 16)},
      {"hintTextColor", 0},
      {"id", ctx.nid("edittext")},
      {"position", leaf.pos},
      {"touchable", true},
      {"visible", true},
  });
  Object& o = c.as_object();

  o.set("textType", flag_or(attrs, "data-num", "") ? 1 : 0);
  if (flag_or(attrs, "data-password", "")) {
    o.set("isPassword", true);
    if (OptStr pc = nonempty_attr(attrs, "data-password-char")) o.set("passwordChar", *pc);
  }
  if (OptStr hint = nonempty_attr(attrs, "data-hint")) {
    const WarnFn warn = page_warner(ctx);
    o.set("hintText", _clean_text(hint, &warn, leaf.cap).value_or(""));
  }
  if (auto hc = _color_explicit(attrs, {"data-hint-color"}, std::nullopt))
    o.set("hintTextColor", *hc);
  o.set("text", leaf.text.value_or(""));
  _text_extra(c, attrs);
  return c;
}

Value Controls::_leaf_checkbox(Ctx& ctx, const Node& node, Leaf& leaf) {
  const Attrs& attrs = node.attrs;
  // The default box is a square of the control's height. The attribute texts
  // are read as plain integers: "24px" is refused loudly.
  Value cw = size_of(leaf.pos, "width", 100), ch = size_of(leaf.pos, "height", 40);
  int64_t iw = int_attr_or(attrs, "data-icon-w", ch);
  int64_t ih = int_attr_or(attrs, "data-icon-h", ch);
  int64_t pad = int_attr_or(attrs, "data-pad", 6);
  int64_t text_w = std::max<int64_t>(int_of(cw) - iw - pad, 10);

  Value c = toggle_head(attrs, leaf.cap, 36, CHECKBOX_BG);
  Object& o = c.as_object();
  o.set("colorTab", Value::object({
                        {"color0", *_color_explicit(attrs, {"data-color"}, TEXT_COLOR)},
                        {"color2", *_color_explicit(attrs, {"data-color2"}, WHITE)},
                    }));
  o.set("iconPosition", Value::object({{"left", 0}, {"top", 0}, {"width", iw}, {"height", ih}}));
  o.set("id", ctx.nid("checkbox"));
  o.set("position", leaf.pos);
  o.set("textPosition",
        Value::object({{"left", iw + pad}, {"top", 0}, {"width", text_w}, {"height", ch}}));
  o.set("visible", true);

  OptStr pic0 = first_nonempty(attrs, {"data-pic", "data-pic0", "data-src"});
  OptStr pic2 = first_nonempty(attrs, {"data-pic2", "data-src2"});
  if (pic0) {
    o.set("picTab",
          Value::object({{"pic0", image_path(*pic0)}, {"pic2", image_path(pic2 ? *pic2 : *pic0)}}));
    _corner_bg(ctx, c, attrs, _bg_color(attrs), leaf.cap);
  }
  o.set("text", leaf.text.value_or(""));
  if (flag_or(attrs, "data-checked", "")) o.set("checked", true);
  _text_extra(c, attrs);
  return c;
}

}  // namespace pagefold
