// Control mapping of one conversion: what each element of a page becomes,
// and the builders of every control record. `_walk` visits a page's nodes,
// runs the CSS effect audit, opens containers, dissolves wrappers and builds
// leaves; every finished record enters its parent through `Ctx::add`.
// Builders read values through the front end and ask the asset stage for
// pictures.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "assets/assets.hpp"
#include "front/text_clean.hpp"
#include "pagefold/json.hpp"
#include "pagefold/node.hpp"
#include "util/ctx.hpp"

namespace pagefold {

// The prologue values every leaf builder receives; a builder may change `typ`
// (an icon is filed as a textview, a spinner becomes an imageanim).
struct Leaf {
  std::string typ;
  std::string cap;
  Value pos;
  std::optional<std::string> text;
};

// The page's warning entry point, for the readers that report what they drop.
inline WarnFn page_warner(Ctx& ctx) {
  return [&ctx](const std::string& msg, const std::string& key) { ctx.warn(msg, key); };
}

class Controls {
 public:
  // `res`: "WxH" forcing every page's resolution, or absent. `page_bg`: the
  // document's canvas colour. `assets` must outlive this object.
  Controls(std::optional<std::string> res, std::optional<int64_t> page_bg, Assets& assets);

  // ---- screen root and walk
  std::pair<int64_t, int64_t> _screen_size(const Node& node) const;
  Value _open_screen(Ctx& ctx, const Node& node);
  void _walk(Ctx& ctx, const Node& node);

  // ---- effect audit
  void _warn_css_effects(Ctx& ctx, const Node& node, const std::optional<std::string>& typ);
  std::set<std::string> _convertible_effects(const Node& node, const std::string& style,
                                             const std::vector<std::string>& hit,
                                             const std::optional<std::string>& typ) const;

  // ---- common attributes
  std::string _caption(Ctx& ctx, const std::string& typ, const Attrs& attrs);
  Value _pos(Ctx& ctx, const Attrs& attrs) const;
  void _text_extra(const Value& c, const Attrs& attrs) const;
  void _corner_bg(Ctx& ctx, const Value& c, const Attrs& attrs, std::optional<int64_t> given,
                  const std::string& cap = "");

  // ---- containers
  void _open_window(Ctx& ctx, const Node& node, bool modal);
  void _open_listview(Ctx& ctx, const Node& node);
  void _open_diagram(Ctx& ctx, const Node& node);
  void _open_slidewindow(Ctx& ctx, const Node& node);
  void _open_scrollwindow(Ctx& ctx, const Node& node);
  void _open_pagewindow(Ctx& ctx, const Node& node);
  void _open_radiogroup(Ctx& ctx, const Node& node);
  void _append_wave(Ctx& ctx, const Node& node);
  void _append_slideitem(Ctx& ctx, const Node& node);

  // ---- leaves. `_leaf` runs the prologue, the two stack-driven cases and
  // the dispatch; each branch builds its record and answers it, or null when
  // it has stored the record itself.
  void _leaf(Ctx& ctx, const Node& node, const std::string& typ);
  void _leaf_subitem(Ctx& ctx, const Node& node, Leaf& leaf);
  void _leaf_radiobutton(Ctx& ctx, const Node& node, Leaf& leaf);
  Value _leaf_textview(Ctx& ctx, const Node& node, Leaf& leaf);
  Value _leaf_button(Ctx& ctx, const Node& node, Leaf& leaf);
  Value _leaf_edittext(Ctx& ctx, const Node& node, Leaf& leaf);
  Value _leaf_checkbox(Ctx& ctx, const Node& node, Leaf& leaf);
  Value _leaf_seekbar(Ctx& ctx, const Node& node, Leaf& leaf);
  Value _leaf_circlebar(Ctx& ctx, const Node& node, Leaf& leaf);
  Value _leaf_pointer(Ctx& ctx, const Node& node, Leaf& leaf);
  Value _leaf_digitalclock(Ctx& ctx, const Node& node, Leaf& leaf);
  Value _leaf_imageanim(Ctx& ctx, const Node& node, Leaf& leaf);
  Value _leaf_slidetext(Ctx& ctx, const Node& node, Leaf& leaf);
  Value _leaf_cameraview(Ctx& ctx, const Node& node, Leaf& leaf);
  Value _leaf_painter(Ctx& ctx, const Node& node, Leaf& leaf);
  Value _leaf_qrcode(Ctx& ctx, const Node& node, Leaf& leaf);
  Value _leaf_videoview(Ctx& ctx, const Node& node, Leaf& leaf);
  Value _leaf_icon(Ctx& ctx, const Node& node, Leaf& leaf);
  Value _leaf_fallback(Ctx& ctx, const Node& node, Leaf& leaf);

  Assets& assets() { return assets_; }

 private:
  std::optional<std::string> res_;
  std::optional<int64_t> page_bg_;
  Assets& assets_;
};

}  // namespace pagefold
