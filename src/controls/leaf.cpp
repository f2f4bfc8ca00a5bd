// The leaf builder: one node that opens no container becomes one control
// record. The prologue reads caption, position and text for every node; a
// list view or a radio group on top of the stack takes the node whatever its
// type; otherwise the type word picks the branch, and the common tail files
// the record in its parent.
#include <utility>
#include <vector>

#include "front/readers.hpp"
#include "front/text_clean.hpp"
#include "pagefold/converter.hpp"

namespace pagefold {

namespace {

using Branch = Value (PageFold::*)(Ctx&, const Node&, Leaf&);

// The branches in the order they are tried; the type word is compared exactly.
const std::vector<std::pair<std::string, Branch>>& branches() {
  static const std::vector<std::pair<std::string, Branch>> table = {
      {"textview", &PageFold::_leaf_textview},   {"imageanim", &PageFold::_leaf_imageanim},
      {"button", &PageFold::_leaf_button},       {"edittext", &PageFold::_leaf_edittext},
      {"seekbar", &PageFold::_leaf_seekbar},     {"checkbox", &PageFold::_leaf_checkbox},
      {"circlebar", &PageFold::_leaf_circlebar}, {"digitalclock", &PageFold::_leaf_digitalclock},
      {"slidetext", &PageFold::_leaf_slidetext}, {"cameraview", &PageFold::_leaf_cameraview},
      {"painter", &PageFold::_leaf_painter},     {"pointer", &PageFold::_leaf_pointer},
      {"qrcode", &PageFold::_leaf_qrcode},       {"videoview", &PageFold::_leaf_videoview},
      {"icon", &PageFold::_leaf_icon},
  };
  return table;
}

}  // namespace

void PageFold::_leaf(Ctx& ctx, const Node& node, const std::string& typ) {
  const Attrs& attrs = node.attrs;
  // All three run before any test, so a list item or a radio button also
  // uses up a caption number and reports the characters its text loses.
  Leaf a;
  a.typ = typ;
  a.cap = _caption(ctx, typ, attrs);
  a.pos = _pos(attrs);
  a.text = _clean_text(node.text, &ctx, a.cap);

  if (ctx.top_has("__listview")) {
    _leaf_subitem(ctx, node, a);
    return;
  }
  if (ctx.top_has("__radiogroup")) {
    _leaf_radiobutton(ctx, node, a);
    return;
  }

  Branch branch = &PageFold::_leaf_fallback;
  for (const auto& [word, fn] : branches()) {
    if (word == typ) {
      branch = fn;
      break;
    }
  }
  Value c = (this->*branch)(ctx, node, a);
  if (c.is_null()) return;  // the branch has stored the control itself

  if (std::optional<bool> vis = _bool_attr(attrs, "data-visible"))
    c.as_object().set("visible", *vis);
  ctx.add(a.typ, c);
}

}  // namespace pagefold
