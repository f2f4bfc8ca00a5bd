// The two commonest containers: windows (plain and modal) and list views.
// An opener builds its record, files it through the context and pushes the
// very same map on the stack, so the children added while it is open land
// in it.
#include <algorithm>
#include <string>

#include "controls/controls.hpp"
#include "controls/tables.hpp"
#include "front/box_specs.hpp"
#include "front/readers.hpp"
#include "util/num.hpp"
#include "util/record_values.hpp"
#include "util/text.hpp"

namespace pagefold {
namespace {}  // namespace

void Controls::_open_window(Ctx& ctx, const Node& node, bool modal) {
  const Attrs& attrs = node.attrs;
  const std::string cap = _caption(ctx, "window", attrs);
  const Value pos = _pos(ctx, attrs);
  Value c = Value::object({
      {"backgroundColor", Value(int64_t{-1})},
      {"caption", Value(cap)},
      {"hideTimeOut", Value(int64_t{-1})},
      {"id", Value(ctx.nid("window"))},
      {"modal", Value(false)},
      {"position", pos},
      {"touchable", Value(false)},
      {"visible", Value(true)},
  });
  // A modal window starts hidden.
  if (modal) {
    c["visible"] = Value(false);
    c["modal"] = Value(true);
  }
  if (auto hto = parse_px(_attr(attrs, "data-hide-timeout"))) c["hideTimeOut"] = Value(*hto);

  const auto bgc = _bg_color(attrs);
  if (bgc) c["backgroundColor"] = Value(*bgc);
  // The colour behind the children, null when the window has none, so that
  // the search for a corner colour passes on to the next ancestor.
  c["__bg"] = bgc ? Value(*bgc) : Value();

  // A rounded box is drawn as a stretchable picture unless the author gives
  // one or a gradient or shadow picture will take its place.
  const OptStr pic_ahead = first_nonempty(attrs, {"data-pic", "data-bgpic"});
  const std::string style = _attr(attrs, "style").value_or("");
  if (!pic_ahead && !text::contains_any(style, {"linear-gradient", "box-shadow"})) {
    auto [pic9, info9] = assets_._radbox_9pic(ctx, node, pos, cap, "window");
    if (pic9 && !pic9->empty()) {
      c["backgroundPic"] = Value(*pic9);
      if (info9) c["backgroundColor"] = Value(info9->behind);
    }
  }

  if (auto vis = _bool_attr(attrs, "data-visible")) c["visible"] = Value(*vis);

  // data-bgpic only holds the rounded-box picture back; it is not written.
  const OptStr pic = nonempty_attr(attrs, "data-pic");
  if (pic) c["backgroundPic"] = Value(image_path(*pic));

  if (!pic) {
    const EffectAssets eff = assets_._effect_assets(ctx, node, size_or(pos, "width", 100),
                                                    size_or(pos, "height", 40), cap);
    if (eff.backgroundPic && !eff.backgroundPic->empty()) {
      c["backgroundPic"] = Value(*eff.backgroundPic);
      if (eff.pad && *eff.pad != 0) {
        const int64_t pad = *eff.pad;
        // The box grows by the shadow on every side; children are moved by
        // the same amount through the pad marker.
        _grow(pos, static_cast<double>(pad));
        c["__pad"] = Value(pad);
        // The shadow picture is drawn over the page colour.
        const Value page_bg = ctx.root.is_object() ? ctx.root.get("backgroundColor") : Value();
        if (!page_bg.is_null()) {
          c["backgroundColor"] = page_bg;
          c["__bg"] = page_bg;
        }
        ctx.warnings.push_back(cap + ": box-shadow → 阴影图 " + value_str(pos.get("width")) + "x" +
                               value_str(pos.get("height")) + "（含 " + std::to_string(pad) +
                               "px 阴影外扩）；控件盒已外扩、子控件已补偿，无需手工调整");
      }
    }
  }

  c["__container"] = Value(true);
  ctx.add("window", c);
  ctx.stack.push_back(c);
}

void Controls::_open_listview(Ctx& ctx, const Node& node) {
  const Attrs& attrs = node.attrs;
  const std::string cap = _caption(ctx, "listview", attrs);
  // The template every row of the list is drawn from.
  Value item = Value::object({
      {"alignment", Value(int64_t{37})},
      {"backgroundColor", Value(int64_t{-1})},
      {"bgColorTab", Value::object({{"color0", Value(int64_t{-1})}})},
      {"bold", Value(false)},
      {"caption", Value("item")},
      {"colorTab", Value::object({{"color0", Value(int64_t{16777215})}})},
      {"fontSize", Value(int64_t{16})},
      {"italic", Value(false)},
      {"longClickIntervalTime", Value(int64_t{-1})},
      {"longClickTimeOut", Value(int64_t{-1})},
      {"picTab", Value::object()},
      {"text", Value("")},
      {"touchable", Value(true)},
      {"visible", Value(true)},
      {"subItem", Value::array()},
  });
  const int64_t id = ctx.nid("listview");
  Value c = Value::object({
      {"autoRollback", Value(false)},
      {"backgroundColor", Value(int64_t{-1})},
      {"caption", Value(cap)},
      {"cols", Value(int64_t{1})},
      {"cycleEnable", Value(false)},
      {"dragMaxDis", Value(int64_t{0})},
      {"edgeEffect", Value(int64_t{0})},
      {"hasScrollbar", Value(true)},
      {"id", Value(id)},
      {"rows", Value(int64_t{5})},
      {"position", _pos(ctx, attrs)},
      {"colSpacing", Value(int64_t{0})},
      {"rowSpacing", Value(int64_t{1})},
      {"orientation", Value(int64_t{1})},
      {"touchable", Value(true)},
      {"visible", Value(true)},
      {"item", item},
      {"__container", Value(true)},
      {"__listview", Value(true)},
  });

  // Zero columns or rows keep the defaults; zero spacings are honoured.
  if (auto v = parse_px(_attr(attrs, "data-cols")); v && *v) c["cols"] = Value(*v);
  if (auto v = parse_px(_attr(attrs, "data-rows")); v && *v) c["rows"] = Value(*v);
  if (auto v = parse_px(_attr(attrs, "data-row-spacing"))) c["rowSpacing"] = Value(*v);
  if (auto v = parse_px(_attr(attrs, "data-col-spacing"))) c["colSpacing"] = Value(*v);
  if (auto v = _attr(attrs, "data-auto-rollback")) c["autoRollback"] = Value(flag(v));
  if (auto v = _attr(attrs, "data-cycle")) c["cycleEnable"] = Value(flag(v));
  if (auto v = parse_px(_attr(attrs, "data-drag-max"))) c["dragMaxDis"] = Value(*v);
  if (auto v = parse_px(_attr(attrs, "data-edge-effect"))) c["edgeEffect"] = Value(*v);
  if (auto v = _attr(attrs, "data-scrollbar")) c["hasScrollbar"] = Value(flag(v));

  // One row's box: the list's height shared by the rows, less the spacing,
  // never below one pixel.
  const Value pos = c.get("position");
  const Value lh = pos.get("height");
  const Value rows = c.get("rows");
  const Value spacing = c.get("rowSpacing");
  const double divisor = std::max(rows.truthy() ? rows.as_number() : 5.0, 1.0);
  const double list_h = lh.is_number() ? lh.as_number() : 0.0;
  int64_t row_h = num::trunc(list_h / divisor);
  row_h -= spacing.truthy() ? spacing.as_int() : 0;
  row_h = std::max<int64_t>(row_h, 1);
  item["position"] = Value::object({
      {"left", Value(int64_t{0})},
      {"top", Value(int64_t{0})},
      {"width", pos.contains("width") ? pos.get("width") : Value(int64_t{100})},
      {"height", Value(row_h)},
  });

  ctx.add("listview", c);
  ctx.stack.push_back(c);
}

}  // namespace pagefold
