// The leaf builder: one node that opens no container becomes one control
// record. The prologue reads caption, position and text for every node; a
// list view or a radio group on top of the stack takes the node whatever its
// type; otherwise the type word picks the branch, and the common tail files
// the record in its parent.
#include <utility>
#include <vector>

#include "controls/controls.hpp"
#include "front/readers.hpp"
#include "front/text_clean.hpp"

namespace pagefold {

namespace {

using Branch = Value (Controls::*)(Ctx&, const Node&, Leaf&);

// The branches in the order they are tried; the type word is compared exactly.
const std::vector<std::pair<std::string, Branch>>& branches() {
  static const std::vector<std::pair<std::string, Branch>> table = {
      {"textview", &Controls::_leaf_textview},   {"imageanim", &Controls::_leaf_imageanim},
      {"button", &Controls::_leaf_button},       {"edittext", &Controls::_leaf_edittext},
      {"seekbar", &Controls::_leaf_seekbar},     {"checkbox", &Controls::_leaf_checkbox},
      {"circlebar", &Controls::_leaf_circlebar}, {"digitalclock", &Controls::_leaf_digitalclock},
      {"slidetext", &Controls::_leaf_slidetext}, {"cameraview", &Controls::_leaf_cameraview},
      {"painter", &Controls::_leaf_painter},     {"pointer", &Controls::_leaf_pointer},
      {"qrcode", &Controls::_leaf_qrcode},       {"videoview", &Controls::_leaf_videoview},
      {"icon", &Controls::_leaf_icon},
  };
  return table;
}

}  // namespace

void Controls::_leaf(Ctx& ctx, const Node& node, const std::string& typ) {
  const Attrs& attrs = node.attrs;
  // All three run before any test, so a list item or a radio button also
  // uses up a caption number and reports the characters its text loses.
  Leaf leaf;
  leaf.typ = typ;
  leaf.cap = _caption(ctx, typ, attrs);
  leaf.pos = _pos(ctx, attrs);
  const WarnFn warn = page_warner(ctx);
  leaf.text = _clean_text(node.text, &warn, leaf.cap);

  if (ctx.top_has("__listview")) {
    _leaf_subitem(ctx, node, leaf);
    return;
  }
  if (ctx.top_has("__radiogroup")) {
    _leaf_radiobutton(ctx, node, leaf);
    return;
  }

  Branch branch = &Controls::_leaf_fallback;
  for (const auto& [word, fn] : branches()) {
    if (word == typ) {
      branch = fn;
      break;
    }
  }
  Value c = (this->*branch)(ctx, node, leaf);
  if (c.is_null()) return;  // the branch has stored the control itself

  if (std::optional<bool> vis = _bool_attr(attrs, "data-visible"))
    c.as_object().set("visible", *vis);
  ctx.add(leaf.typ, c);
}

}  // namespace pagefold
