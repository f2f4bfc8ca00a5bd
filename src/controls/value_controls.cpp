// Value controls: seek bars, circle bars, pointers and digital clocks. None
// takes text: what the prologue cleaned is dropped. Unreadable attribute
// values count as not given, silently.
#include <optional>
#include <string>
#include <utility>

#include "controls/controls.hpp"
#include "controls/leaf_support.hpp"
#include "front/readers.hpp"

namespace pagefold {

using namespace leafs;

namespace {

// Two numbers written "a,b" in attribute `name` become the map `key` with
// the two numbers, as read, under `first` and `second`. Anything else (one
// part, three, or a part that is no number) writes nothing: the record keeps
// its default.
void set_number_pair(Object& o, const Attrs& attrs, std::string_view name, std::string_view key,
                     std::string_view first, std::string_view second) {
  OptStr raw = nonempty_attr(attrs, name);
  if (!raw) return;
  std::vector<std::string> parts = text::split(*raw, ",");
  if (parts.size() != 2) return;
  Value x = num_or_null(parts[0]), y = num_or_null(parts[1]);
  if (x.is_null() || y.is_null()) return;
  o.set(key, Value::object({{first, x}, {second, y}}));
}

}  // namespace

Value Controls::_leaf_seekbar(Ctx& ctx, const Node& node, Leaf& leaf) {
  const Attrs& attrs = node.attrs;
  Value c = headed(-1, leaf.cap,
                   {
                       {"defProgress", 0},
                       {"id", ctx.nid("seekbar")},
                       {"max", 100},
                       {"orientation", 0},
                       {"position", leaf.pos},
                       {"touchable", false},
                       {"visible", true},
                   });
  Object& o = c.as_object();

  // A 0 never overrides, for the maximum or the value.
  std::optional<int64_t> mx = parse_px(_attr(attrs, "data-max"));
  std::optional<int64_t> val = parse_px(_attr(attrs, "data-value"));
  if (mx.value_or(0)) o.set("max", *mx);
  if (val.value_or(0)) o.set("defProgress", *val);

  if (OptStr track = nonempty_attr(attrs, "data-track")) o.set("backgroundPic", image_path(*track));
  if (OptStr fill = nonempty_attr(attrs, "data-fill")) o.set("progressPic", image_path(*fill));

  if (std::optional<int64_t> ori = parse_px(_attr(attrs, "data-orientation")))
    o.set("orientation", *ori);

  // A thumb given in the markup lists its size height first.
  OptStr tn = nonempty_attr(attrs, "data-thumb");
  OptStr tp = nonempty_attr(attrs, "data-thumb-pressed");
  std::optional<int64_t> ts = parse_px(_attr(attrs, "data-thumb-size"));
  if (tn || tp || ts.value_or(0)) {
    o.set("touchable", true);
    int64_t side = ts.value_or(0) ? *ts : 24;
    Value thumb = Value::object({{"size", Value::object({{"height", side}, {"width", side}})}});
    if (tn) thumb.as_object().set("normalPic", image_path(*tn));
    if (tp) thumb.as_object().set("pressedPic", image_path(*tp));
    o.set("thumb", thumb);
  }

  assets_._seekbar_css_assets(ctx, node, c, leaf.pos, leaf.cap);

  // A bar without a thumb keeps the key, empty, and stays untouchable.
  if (!o.contains("thumb")) {
    o.set("thumb", Value::object({{"size", Value::object({{"width", 0}, {"height", 0}})},
                                  {"normalPic", ""},
                                  {"pressedPic", ""}}));
  }
  return c;
}

Value Controls::_leaf_circlebar(Ctx& ctx, const Node& node, Leaf& leaf) {
  const Attrs& attrs = node.attrs;
  Value cw = size_of(leaf.pos, "width", 200), ch = size_of(leaf.pos, "height", 200);
  Value c = headed(
      -1, leaf.cap,
      {
          {"clockwise", true},
          {"id", ctx.nid("circlebar")},
          {"max", 100},
          {"maxAngle", 360},
          {"progressPicPos", Value::object({{"left", 0}, {"top", 0}, {"width", 0}, {"height", 0}})},
          {"position", leaf.pos},
          {"startAngle", 0},
          {"touchable", true},
          {"touchRange", Value::object({{"lower", 0}, {"upper", 0}})},
          {"visible", true},
      });
  Object& o = c.as_object();

  // A 0 doesn't override; the values are truncated.
  for (auto [attr, key] : {std::pair{"data-max", "max"}, std::pair{"data-max-angle", "maxAngle"},
                           std::pair{"data-start-angle", "startAngle"}}) {
    Value v = _num(_attr(attrs, attr));
    if (v.truthy()) o.set(key, int_of(v));
  }
  if (OptStr cwise = _attr(attrs, "data-clockwise")) o.set("clockwise", flag(cwise));

  // A colour in data-bg is passed over: only a picture becomes the background.
  OptStr bg = first_nonempty(attrs, {"data-bgpic", "data-background-pic", "data-bg"});
  OptStr fill = first_nonempty(attrs, {"data-fill", "data-progress-pic"});
  if (bg && !text::starts_with(*bg, "#")) o.set("backgroundPic", image_path(*bg));
  if (fill) {
    o.set("progressPic", image_path(*fill));
    o.set("progressPicPos",
          Value::object({{"left", 0}, {"top", 0}, {"width", cw}, {"height", ch}}));
  }

  if (std::optional<int64_t> tc = to_dec(_attr(attrs, "data-text-color")); tc.value_or(0))
    o.set("textColor", *tc);
  if (std::optional<int64_t> tsz = parse_px(_attr(attrs, "data-text-size")); tsz.value_or(0))
    o.set("textSize", *tsz);
  if (Value tt = num_or_null(_attr(attrs, "data-text-type")); !tt.is_null())
    o.set("textType", int_of(tt));
  if (OptStr unit = nonempty_attr(attrs, "data-unit")) o.set("unit", *unit);

  // The circle's thumb lists its size width first and has no pressed state.
  OptStr tn = nonempty_attr(attrs, "data-thumb");
  std::optional<int64_t> ts = parse_px(_attr(attrs, "data-thumb-size"));
  if (tn || ts.value_or(0)) {
    int64_t side = ts.value_or(0);
    Value thumb = Value::object({{"size", Value::object({{"width", side}, {"height", side}})}});
    if (tn) thumb.as_object().set("normalPic", image_path(*tn));
    o.set("thumb", thumb);
  }

  set_number_pair(o, attrs, "data-touch-range", "touchRange", "lower", "upper");
  return c;
}

Value Controls::_leaf_pointer(Ctx& ctx, const Node& node, Leaf& leaf) {
  const Attrs& attrs = node.attrs;
  Value c = headed(-1, leaf.cap,
                   {
                       {"id", ctx.nid("pointer")},
                       {"rotateSpeed", 1},
                       {"startAngle", 0},
                       {"position", leaf.pos},
                       {"touchable", false},
                       {"visible", true},
                   });
  Object& o = c.as_object();

  if (OptStr pp = nonempty_attr(attrs, "data-pointer-pic")) o.set("pointerPic", image_path(*pp));
  if (OptStr bgpic = first_nonempty(attrs, {"data-bgpic", "data-background-pic"}))
    o.set("backgroundPic", image_path(*bgpic));

  std::optional<int64_t> psw = parse_px(_attr(attrs, "data-pointer-w"));
  std::optional<int64_t> psh = parse_px(_attr(attrs, "data-pointer-h"));
  if (psw.value_or(0) && psh.value_or(0))
    o.set("pointerSize", Value::object({{"width", *psw}, {"height", *psh}}));

  // Angles and speed are kept as read, reals included.
  if (Value sa = num_or_null(_attr(attrs, "data-start-angle")); !sa.is_null())
    o.set("startAngle", sa);
  if (Value rs = num_or_null(_attr(attrs, "data-rotate-speed")); !rs.is_null())
    o.set("rotateSpeed", rs);

  o.set("clockwise", flag_or(attrs, "data-clockwise", "1"));
  o.set("animatable", flag_or(attrs, "data-animatable", "1"));

  set_number_pair(o, attrs, "data-fixed-point", "fixedPoint", "x", "y");
  set_number_pair(o, attrs, "data-rotation-point", "rotationPoint", "x", "y");
  return c;
}

Value Controls::_leaf_digitalclock(Ctx& ctx, const Node& node, Leaf& leaf) {
  const Attrs& attrs = node.attrs;
  Value c = Value::object({
      {"backgroundColor", -1},
      {"beat", false},
      {"caption", leaf.cap},
      {"clockColor", 16777215},
      {"format", "HH:MM"},
      {"fontSize", size_or_default(_font_size(attrs), 32)},
      {"id", ctx.nid("digitalclock")},
      {"touchable", false},
      {"visible", true},
      {"position", leaf.pos},
  });
  Object& o = c.as_object();

  if (OptStr fmt = nonempty_attr(attrs, "data-format")) o.set("format", *fmt);
  if (OptStr beat = _attr(attrs, "data-beat")) o.set("beat", flag(beat));
  if (auto cc = _color_explicit(attrs, {"data-color", "data-clock-color"}, std::nullopt))
    o.set("clockColor", *cc);
  if (std::optional<int64_t> bgc = _bg_color(attrs))
    o.set("bgColorTab", Value::object({{"color0", *bgc}}));
  return c;
}

}  // namespace pagefold
