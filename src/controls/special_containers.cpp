// The specialised containers (diagram, slide window, scroll window, page
// window, radio group) and the special children that go straight into a list
// of their container: the waves of a diagram and the icon items of a slide
// window.
#include <string>

#include "controls/controls.hpp"
#include "controls/leaf_support.hpp"
#include "controls/tables.hpp"
#include "front/readers.hpp"
#include "front/text_clean.hpp"
#include "util/num.hpp"
#include "util/text.hpp"

namespace pagefold {
namespace {

using namespace leafs;

void open_and_push(Ctx& ctx, const std::string& typ, const Value& c) {
  ctx.add(typ, c);
  ctx.stack.push_back(c);
}

// The scroll window and the page window differ only in their type word and
// in the page window's roll speed.
void open_scroller(Controls& controls, Ctx& ctx, const Node& node, const std::string& typ,
                   bool roll_speed) {
  const Attrs& attrs = node.attrs;
  const std::string cap = controls._caption(ctx, typ, attrs);
  Value c = Value::object({
      {"caption", Value(cap)},
      {"dragMaxDis", Value(int64_t{200})},
      {"edgeEffect", Value(int64_t{1})},
      {"id", Value(ctx.nid(typ))},
      {"orientation", Value(int64_t{0})},
  });
  if (roll_speed) c["rollSpeed"] = Value(int64_t{60});
  c["position"] = controls._pos(ctx, attrs);
  // Zero is a value here.
  if (auto v = parse_px(_attr(attrs, "data-drag-max"))) c["dragMaxDis"] = Value(*v);
  if (auto v = parse_px(_attr(attrs, "data-orientation"))) c["orientation"] = Value(*v);
  if (auto v = parse_px(_attr(attrs, "data-edge-effect"))) c["edgeEffect"] = Value(*v);
  if (roll_speed) {
    if (auto v = parse_px(_attr(attrs, "data-roll-speed"))) c["rollSpeed"] = Value(*v);
  }
  c["__container"] = Value(true);
  open_and_push(ctx, typ, c);
}

}  // namespace

void Controls::_open_diagram(Ctx& ctx, const Node& node) {
  const Attrs& attrs = node.attrs;
  const std::string cap = _caption(ctx, "diagram", attrs);
  const Value pos = _pos(ctx, attrs);
  const int64_t id = ctx.nid("diagram");
  Value c = Value::object({
      {"backgroundColor", Value(int64_t{-1})},
      {"caption", Value(cap)},
      {"id", Value(id)},
      {"touchable", Value(true)},
      {"visible", Value(true)},
      {"position", pos},
      {"xAxisRange",
       Value::object({{"lower", num_attr(attrs, "data-x-min", Value(int64_t{0}))},
                      {"upper", num_attr(attrs, "data-x-max", Value(int64_t{100}))}})},
      {"yAxisRange",
       Value::object({{"lower", num_attr(attrs, "data-y-min", Value(int64_t{0}))},
                      {"upper", num_attr(attrs, "data-y-max", Value(int64_t{100}))}})},
      {"region", Value::object({{"left", Value(int64_t{0})},
                                {"top", Value(int64_t{0})},
                                {"width", size_of(pos, "width", 300)},
                                {"height", size_of(pos, "height", 300)}})},
      {"__container", Value(true)},
      {"__diagram", Value(true)},
      {"infos", Value::array()},
  });
  // A colour in data-bg is no picture.
  const OptStr bg = first_nonempty(attrs, {"data-bgpic", "data-background-pic", "data-bg"});
  if (bg && !text::starts_with(*bg, "#")) c["backgroundPic"] = Value(image_path(*bg));
  open_and_push(ctx, "diagram", c);
}

void Controls::_append_wave(Ctx& ctx, const Node& node) {
  const Attrs& attrs = node.attrs;
  const std::string cap = _caption(ctx, "wave", attrs);
  const OptStr antialias = nonempty_attr(attrs, "data-antialias");
  Value w = Value::object({
      {"caption", Value(cap)},
      {"penColor", Value(*_color_explicit(attrs, {"data-color"}, 16777215))},
      {"penWidth", num_attr(attrs, "data-pen-width", Value(int64_t{2}))},
      {"step", num_attr(attrs, "data-step", Value(10.0))},
      {"style", num_attr(attrs, "data-style", Value(int64_t{1}))},
      {"eraseSpace", num_attr(attrs, "data-erase", Value(int64_t{20}))},
      {"antialias", Value(flag(antialias.value_or("")))},
      {"visible", Value(true)},
      {"xScale", num_attr(attrs, "data-x-scale", Value(1.0))},
      {"yScale", num_attr(attrs, "data-y-scale", Value(1.0))},
  });
  ctx.stack.back()["infos"].as_array().push_back(w);
}

void Controls::_open_slidewindow(Ctx& ctx, const Node& node) {
  const Attrs& attrs = node.attrs;
  const std::string cap = _caption(ctx, "slidewindow", attrs);
  const Value pos = _pos(ctx, attrs);
  Value c = Value::object({{"caption", Value(cap)},
                           {"cols", int_attr(attrs, "data-cols", 4)},
                           {"rows", int_attr(attrs, "data-rows", 2)},
                           {"dragMaxDis", int_attr(attrs, "data-drag-max", 200)},
                           {"edgeEffect", int_attr(attrs, "data-edge-effect", 1)}});
  c["iconSize"] = Value::object({{"width", int_attr(attrs, "data-icon-w", 128)},
                                 {"height", int_attr(attrs, "data-icon-h", 128)}});
  c["iconTextAlignment"] = int_attr(attrs, "data-icon-align", 41);
  c["iconTextPadding"] = Value::object({{"bottom", int_attr(attrs, "data-icon-pad-b", 5)},
                                        {"left", Value(int64_t{0})},
                                        {"right", Value(int64_t{0})},
                                        {"top", Value(int64_t{0})}});
  c["id"] = Value(ctx.nid("slidewindow"));
  c["orientation"] = int_attr(attrs, "data-orientation", 0);
  c["padding"] = Value::object({{"paddingBottom", int_attr(attrs, "data-pad-b", 8)},
                                {"paddingLeft", Value(int64_t{0})},
                                {"paddingRight", Value(int64_t{0})},
                                {"paddingTop", Value(int64_t{0})}});
  c["position"] = pos;
  c["rollSpeed"] = int_attr(attrs, "data-roll-speed", 999);
  c["fontSize"] = Value(int64_t{22});
  c["backgroundColor"] = Value(int64_t{-1});
  c["touchable"] = Value(true);
  c["visible"] = Value(true);
  c["__container"] = Value(true);
  c["__slidewindow"] = Value(true);
  c["items"] = Value::array();

  // The icon-size back-fill leaves a size the author named alone.
  if (nonempty_attr(attrs, "data-icon-w") || nonempty_attr(attrs, "data-icon-h"))
    c["__icon_explicit"] = Value(true);
  if (auto fs = _font_size(attrs); fs && *fs) c["fontSize"] = Value(*fs);
  if (auto bgp = first_nonempty(attrs, {"data-bgpic", "data-background-pic"}))
    c["backgroundPic"] = Value(image_path(*bgp));
  if (auto imx = parse_px(_attr(attrs, "data-icon-max")); imx && *imx)
    c["iconMaxSize"] = Value::object({{"width", Value(*imx)}, {"height", Value(*imx)}});
  open_and_push(ctx, "slidewindow", c);
}

void Controls::_append_slideitem(Ctx& ctx, const Node& node) {
  const Attrs& attrs = node.attrs;
  Value pic_tab = Value::object();
  Value item = Value::object({
      {"colorTab",
       Value::object({{"color0", Value(*_color_explicit(attrs, {"data-color"}, 16777215))}})},
      {"picTab", pic_tab},
      {"text", Value("")},
  });
  const OptStr pic = first_nonempty(attrs, {"data-pic", "data-pic0", "data-src"});
  const OptStr p1 = nonempty_attr(attrs, "data-pic1");
  if (pic) pic_tab["pic0"] = Value(image_path(*pic));
  if (p1)
    pic_tab["pic1"] = Value(image_path(*p1));
  else if (pic)
    pic_tab["pic1"] = pic_tab.get("pic0");
  const auto text = _clean_text(node.text);
  if (text && !text->empty()) item["text"] = Value(*text);
  ctx.stack.back()["items"].as_array().push_back(item);
}

void Controls::_open_scrollwindow(Ctx& ctx, const Node& node) {
  open_scroller(*this, ctx, node, "scrollwindow", false);
}

void Controls::_open_pagewindow(Ctx& ctx, const Node& node) {
  open_scroller(*this, ctx, node, "pagewindow", true);
}

void Controls::_open_radiogroup(Ctx& ctx, const Node& node) {
  const Attrs& attrs = node.attrs;
  const std::string cap = _caption(ctx, "radiogroup", attrs);
  const int64_t id = ctx.nid("radiogroup");
  Value c = Value::object({
      {"backgroundColor", Value(int64_t{-1})},
      {"caption", Value(cap)},
      {"id", Value(id)},
      {"position", _pos(ctx, attrs)},
      {"touchable", Value(true)},
      {"visible", Value(true)},
      {"__container", Value(true)},
      {"__radiogroup", Value(true)},
      {"radiobuttons", Value::array()},
  });
  open_and_push(ctx, "radiogroup", c);
}

}  // namespace pagefold
