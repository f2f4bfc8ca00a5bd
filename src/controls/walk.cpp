// Control detection and the tree walk: what each element of a page becomes,
// and which container opener, special child or leaf builder handles it.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <set>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

#include "controls/controls.hpp"
#include "controls/tables.hpp"
#include "front/readers.hpp"
#include "util/text.hpp"

namespace pagefold {
namespace {

// The rows of CLASS_MAP that name any of `classes`, one bit per row in table
// order: the lowest bit set is the first row that matches. Made from a table
// of class names built once, so that detection costs one look-up per class.
uint64_t class_rows(const std::set<std::string>& classes) {
  static const std::unordered_map<std::string, uint64_t> rows = [] {
    if (CLASS_MAP.size() > 64) throw std::logic_error("CLASS_MAP has more rows than bits");
    std::unordered_map<std::string, uint64_t> out;
    for (size_t r = 0; r < CLASS_MAP.size(); ++r)
      for (const std::string& name : CLASS_MAP[r].second) out[name] |= uint64_t{1} << r;
    return out;
  }();
  uint64_t found = 0;
  for (const std::string& c : classes) {
    auto it = rows.find(c);
    if (it != rows.end()) found |= it->second;
  }
  return found;
}

// The bit of the row of type word `typ`.
uint64_t row_bit(std::string_view typ) {
  for (size_t r = 0; r < CLASS_MAP.size(); ++r)
    if (CLASS_MAP[r].first == typ) return uint64_t{1} << r;
  return 0;
}

bool has_any_ctrl_class(const std::set<std::string>& classes) {
  return std::any_of(classes.begin(), classes.end(),
                     [](const std::string& c) { return CTRL_CLASSES.count(c) > 0; });
}

// Walks every child of `node` against the current stack.
void walk_children(Controls& controls, Ctx& ctx, const Node& node) {
  for (const Node* child : node.children) controls._walk(ctx, *child);
}

// An element of an attribute list is a (name, value) pair; a bare attribute
// name is never equal to such a pair. The slide-item check below compares
// names with the elements themselves, so position attributes on their own
// never draw the slide-item warning: control classes alone do.
bool pair_equals_name(const Attr&, const std::string&) { return false; }

bool lists_pos_attr(const Attrs& attrs) {
  for (const std::string& name : POS_ATTRS)
    for (const Attr& a : attrs)
      if (pair_equals_name(a, name)) return true;
  return false;
}

void warn_slide_child(Ctx& ctx, const std::set<std::string>& classes, const Attrs& attrs) {
  // std::set keeps UTF-8 text in byte order, which is code-point order.
  std::vector<std::string> ctrl_classes;
  for (const std::string& c : classes)
    if (CTRL_CLASSES.count(c)) ctrl_classes.push_back(c);
  if (ctrl_classes.empty() && !lists_pos_attr(attrs)) return;
  const std::string what =
      ctrl_classes.empty() ? std::string("这个 div") : "class=\"" + ctrl_classes[0] + "\"";
  ctx.warn("slidewindow 的子内容只能是图标项（div.item）：" + what +
               " 已按图标项处理（只取 data-pic/data-pic1/text），data-x/y/w/h "
               "与控件行为全部丢弃 —— 要放真控件 / 要绝对定位请改用 window "
               "容器（万能容器）；要图标宫格请写 div.item",
           "slidewindow-child-not-item");
}

using Opener = void (Controls::*)(Ctx&, const Node&);

Opener container_opener(const std::string& typ) {
  if (typ == "listview") return &Controls::_open_listview;
  if (typ == "radiogroup") return &Controls::_open_radiogroup;
  if (typ == "diagram") return &Controls::_open_diagram;
  if (typ == "slidewindow") return &Controls::_open_slidewindow;
  if (typ == "scrollwindow") return &Controls::_open_scrollwindow;
  if (typ == "pagewindow") return &Controls::_open_pagewindow;
  return nullptr;
}

}  // namespace

Controls::Controls(std::optional<std::string> res, std::optional<int64_t> page_bg, Assets& assets)
    : res_(std::move(res)), page_bg_(page_bg), assets_(assets) {}

std::string _detect_type(const std::string& tag, const std::set<std::string>& classes,
                         const Attrs* attrs) {
  static const uint64_t button_row = row_bit("button"), icon_row = row_bit("icon");
  const uint64_t rows = class_rows(classes);
  const bool is_btn = (rows & button_row) || tag == "button";
  const bool is_icon =
      (rows & icon_row) || std::any_of(classes.begin(), classes.end(), [](const std::string& c) {
        return text::starts_with(c, "icon-");
      });

  // An element with a font glyph is a glyph button or icon, even when a
  // class earlier in the table would say otherwise. (The glyph is looked for
  // only where it can decide.)
  if ((is_btn || is_icon) && attrs && _glyph_from_attrs(*attrs).value_or("") != "") {
    if (is_btn) return "button";
    if (is_icon) return "icon";
  }

  // The first row of the table that names one of the classes.
  if (rows) return CLASS_MAP[static_cast<size_t>(std::countr_zero(rows))].first;

  if (tag == "button") return "button";
  if (tag == "input") {
    const OptStr type = attrs ? _attr(*attrs, "type") : std::nullopt;
    return text::lower(text::strip(type.value_or(""))) == "range" ? "seekbar" : "edittext";
  }
  if (tag == "img") return "icon";
  if (tag == "ul" || tag == "ol") return "listview";
  // p, span, h1-h3, label, div, i and every other tag
  return "textview";
}

void Controls::_walk(Ctx& ctx, const Node& node) {
  const std::set<std::string> classes = _classes(node.attrs);
  const std::string& tag = node.tag;
  const std::string typ = _detect_type(tag, classes, &node.attrs);

  // Every walked node is audited, also those dissolved below.
  _warn_css_effects(ctx, node, typ);

  // Modal and plain windows look at the classes directly, ahead of the type
  // and of any container marker.
  static const uint64_t modal_row = row_bit("modal"), window_row = row_bit("window");
  const uint64_t rows = tag == "div" ? class_rows(classes) : 0;
  if (rows & modal_row) {
    _open_window(ctx, node, true);
    walk_children(*this, ctx, node);
    ctx.stack.pop_back();
    return;
  }
  if (rows & window_row) {
    _open_window(ctx, node, false);
    walk_children(*this, ctx, node);
    ctx.stack.pop_back();
    return;
  }

  // An element of class radio inside a radio group is one of its buttons.
  if (ctx.top_has("__radiogroup") && typ == "radiogroup") {
    _leaf(ctx, node, "radiobutton");
    return;
  }
  if (ctx.top_has("__diagram") && typ == "diagram") {
    _append_wave(ctx, node);
    return;
  }
  // Every div of a slide window is an icon item, whatever else it says.
  if (ctx.top_has("__slidewindow") && tag == "div") {
    warn_slide_child(ctx, classes, node.attrs);
    _append_slideitem(ctx, node);
    return;
  }
  // A div without any control class inside a list is a transparent wrapper:
  // its children go to the list as if written there.
  if (ctx.top_has("__listview") && tag == "div" && !has_any_ctrl_class(classes)) {
    walk_children(*this, ctx, node);
    return;
  }

  if (Opener open = container_opener(typ)) {
    (this->*open)(ctx, node);
    walk_children(*this, ctx, node);
    ctx.stack.pop_back();
    return;
  }

  _leaf(ctx, node, typ);
}

}  // namespace pagefold
