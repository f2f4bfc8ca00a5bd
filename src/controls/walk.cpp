// Control detection and the tree walk: what each element of a page becomes,
// and which container opener, special child or leaf builder handles it.
#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "controls/controls.hpp"
#include "controls/tables.hpp"
#include "front/readers.hpp"
#include "util/text.hpp"

namespace pagefold {
namespace {

bool has_any(const std::set<std::string>& classes, const std::vector<std::string>& names) {
  return std::any_of(names.begin(), names.end(),
                     [&](const std::string& n) { return classes.count(n) > 0; });
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
  const bool is_btn = has_any(classes, class_row("button")) || tag == "button";
  const bool is_icon = has_any(classes, class_row("icon")) ||
                       std::any_of(classes.begin(), classes.end(), [](const std::string& c) {
                         return text::starts_with(c, "icon-");
                       });

  // An element with a font glyph is a glyph button or icon, even when a
  // class earlier in the table would say otherwise. (The glyph is looked for
  // only where it can decide.)
  if ((is_btn || is_icon) && attrs && _glyph_from_attrs(*attrs).value_or("") != "") {
    if (is_btn) return "button";
    if (is_icon) return "icon";
  }

  for (const auto& [typ, names] : CLASS_MAP)
    if (has_any(classes, names)) return typ;

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
  if (tag == "div" && has_any(classes, class_row("modal"))) {
    _open_window(ctx, node, true);
    walk_children(*this, ctx, node);
    ctx.stack.pop_back();
    return;
  }
  if (tag == "div" && has_any(classes, class_row("window"))) {
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
