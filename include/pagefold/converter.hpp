// The converter: from the text of a prototype to finished JSON pages.
//
// One PageFold serves one conversion. Its methods are spread over the stage
// folders by the part of the road they belong to: the driver (convert, pages,
// merged windows), the controls (walk, common attributes, every control
// family), the assets (picture gate, effects, sliders, rounded buttons) and
// the finishing passes.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "pagefold/ctx.hpp"
#include "pagefold/json.hpp"
#include "pagefold/modules.hpp"
#include "pagefold/node.hpp"
#include "pagefold/style_types.hpp"

namespace pagefold {

// Pseudo-element declarations per node: node identity to (name, declarations)
// pairs in first-seen order.
using PseudoBucket = std::vector<std::pair<std::string, std::string>>;
using PseudoTable = std::unordered_map<const Node*, PseudoBucket>;

// A page pair: page id and the page's JSON root.
using Page = std::pair<std::string, Value>;

// What `convert` answers: pages absent (nullopt) on failure, and `meta` null
// when there was no tree or no page at all.
struct ConvertResult {
  std::optional<std::vector<Page>> pages;
  std::vector<std::string> warnings;
  Value meta;
};

// What `_effect_assets` made for one node; each member present only when made.
struct EffectAssets {
  std::optional<std::string> backgroundPic;
  std::optional<int64_t> pad;
  bool use_emoji = false;
  bool imageanim = false;
  std::optional<std::string> anim_file;
};

// The decision of the rounded-control routes.
struct RadDecision {
  int64_t radius = 0;
  Radii radii;
  int64_t fill = 0;
  int64_t behind = 0;
};

// A picture maker: writes one file into directory `d` and answers its path.
using PictureMaker = std::function<std::string(const std::string& d)>;

// The prologue values every leaf builder receives; a builder may change `typ`
// (an icon is filed as a textview, a spinner becomes an imageanim).
struct Leaf {
  std::string typ;
  std::string cap;
  Value pos;
  std::optional<std::string> text;
};

class PageFold {
 public:
  PageFold(std::optional<std::string> res = std::nullopt,
           std::optional<std::string> asset_dir = std::nullopt,
           const Modules* modules = &Modules::system());

  ConvertResult convert(const std::string& text, bool merge_windows = false);

  // ---- fields (read by the entry point and by other stages)
  std::optional<std::string> res;
  std::optional<std::string> asset_dir;
  int64_t gen_count = 0;
  std::string _css_text;
  PseudoTable _pseudo_css;
  Value _rad_glue = Value::array();
  int64_t _css_applied = 0;
  std::optional<int64_t> _page_bg;
  Ctx* ctx = nullptr;  // the context of the page being converted

  const Modules& modules() const { return *modules_; }
  bool has_gen_res() const { return modules_->gen_res != nullptr; }
  GenRes& gr() const { return *modules_->gen_res; }
  // Supersampling factors handed to gen_res and used by the local corner mask.
  int64_t css_ss() const;
  int64_t cov_ss_local() const;

  // ---- driver: pages and contexts
  std::pair<Value, std::vector<std::string>> _convert_one(const Node& node);
  static std::pair<std::vector<const Node*>, std::vector<const Node*>> _find_screens(
      const Node& root);
  std::string _page_id(const Node& node, int64_t k) const;
  std::string _page_label(const Node& node, int64_t k) const;
  std::string _nest_label(const Node& node, int64_t k) const;
  static void _strip_markers(const Value& d);
  std::tuple<Value, std::vector<std::string>, std::vector<std::string>> _compose_windows(
      const std::vector<const Node*>& screens, const Value& meta);

  // ---- controls: screen root and walk
  std::pair<int64_t, int64_t> _screen_size(const Node& node) const;
  Value _open_screen(Ctx& ctx, const Node& node);
  void _walk(Ctx& ctx, const Node& node);

  // ---- controls: effect audit
  void _warn_css_effects(Ctx& ctx, const Node& node, const std::optional<std::string>& typ);
  std::set<std::string> _convertible_effects(const Node& node, const std::string& style,
                                             const std::vector<std::string>& hit,
                                             const std::optional<std::string>& typ) const;

  // ---- controls: common attributes
  std::string _caption(Ctx& ctx, const std::string& typ, const Attrs& attrs);
  Value _pos(const Attrs& attrs) const;
  std::optional<int64_t> _font_size(const Attrs& attrs) const;
  void _text_extra(const Value& c, const Attrs& attrs) const;
  std::optional<int64_t> _bg_color(const Attrs& attrs) const;
  int64_t _bg_or(const Attrs& attrs, int64_t dflt) const;
  std::optional<int64_t> _ancestor_bg(const Ctx& ctx) const;
  void _corner_bg(Ctx& ctx, const Value& c, const Attrs& attrs, std::optional<int64_t> given,
                  const std::string& cap = "");

  // ---- controls: containers
  void _open_window(Ctx& ctx, const Node& node, bool modal);
  void _open_listview(Ctx& ctx, const Node& node);
  void _open_diagram(Ctx& ctx, const Node& node);
  void _open_slidewindow(Ctx& ctx, const Node& node);
  void _open_scrollwindow(Ctx& ctx, const Node& node);
  void _open_pagewindow(Ctx& ctx, const Node& node);
  void _open_radiogroup(Ctx& ctx, const Node& node);
  void _append_wave(Ctx& ctx, const Node& node);
  void _append_slideitem(Ctx& ctx, const Node& node);

  // ---- controls: leaves. `_leaf` runs the prologue, the two stack-driven
  // cases and the dispatch; each branch builds its record and answers it, or
  // null when it has stored the record itself.
  void _leaf(Ctx& ctx, const Node& node, const std::string& typ);
  void _leaf_subitem(Ctx& ctx, const Node& node, Leaf& a);
  void _leaf_radiobutton(Ctx& ctx, const Node& node, Leaf& a);
  Value _leaf_textview(Ctx& ctx, const Node& node, Leaf& a);
  Value _leaf_button(Ctx& ctx, const Node& node, Leaf& a);
  Value _leaf_edittext(Ctx& ctx, const Node& node, Leaf& a);
  Value _leaf_checkbox(Ctx& ctx, const Node& node, Leaf& a);
  Value _leaf_seekbar(Ctx& ctx, const Node& node, Leaf& a);
  Value _leaf_circlebar(Ctx& ctx, const Node& node, Leaf& a);
  Value _leaf_pointer(Ctx& ctx, const Node& node, Leaf& a);
  Value _leaf_digitalclock(Ctx& ctx, const Node& node, Leaf& a);
  Value _leaf_imageanim(Ctx& ctx, const Node& node, Leaf& a);
  Value _leaf_slidetext(Ctx& ctx, const Node& node, Leaf& a);
  Value _leaf_cameraview(Ctx& ctx, const Node& node, Leaf& a);
  Value _leaf_painter(Ctx& ctx, const Node& node, Leaf& a);
  Value _leaf_qrcode(Ctx& ctx, const Node& node, Leaf& a);
  Value _leaf_videoview(Ctx& ctx, const Node& node, Leaf& a);
  Value _leaf_icon(Ctx& ctx, const Node& node, Leaf& a);
  Value _leaf_fallback(Ctx& ctx, const Node& node, Leaf& a);

  // ---- assets
  std::optional<std::string> _gen_asset(const PictureMaker& fn);
  EffectAssets _effect_assets(Ctx& ctx, const Node& node, int64_t w, int64_t h,
                              const std::string& cap);
  std::optional<std::string> _icon_png(Ctx& ctx, const std::string& glyph, int64_t cw, int64_t ch,
                                       std::optional<int64_t> color = std::nullopt,
                                       bool pressed = false);
  std::optional<int64_t> _icon_color(const Attrs& attrs) const;
  std::string _pseudo_style(const Node& node, const std::vector<std::string>& names) const;
  bool _seekbar_css_assets(Ctx& ctx, const Node& node, const Value& c, const Value& pos,
                           const std::string& cap);
  std::optional<RadDecision> _rad_button_of(Ctx& ctx, const Node& node, const Value& pos,
                                            const std::string& cap);
  bool _try_radbutton(Ctx& ctx, const Node& node, const Value& pos, const std::string& cap,
                      const std::optional<std::string>& text);
  std::pair<std::optional<std::string>, std::optional<RadDecision>> _radbox_9pic(
      Ctx& ctx, const Node& node, const Value& pos, const std::string& cap,
      const std::string& kind);
  Color _rgba_of(int64_t cint) const;

  // ---- finishing
  void _fix_slidewindow_icon_size(const Value& root, bool recursive = false);
  static std::vector<std::pair<std::string, Value>> _slidewindow_dicts(const Value& d,
                                                                       bool recursive = true);

 private:
  const Modules* modules_;
};

// Control records of a page in document order, parent before children; with
// `top` only those directly in `d`. Lists are not entered.
std::vector<std::pair<std::string, Value>> _walk_ctrls(const Value& d, bool top = false);
std::vector<std::pair<std::string, Value>>& _walk_ctrls(
    const Value& d, bool top, std::vector<std::pair<std::string, Value>>& out);

// Grows text boxes to fit their text and reports covering full-screen windows.
Value _finalize_layout(const Value& data, std::vector<std::string>& warnings);

}  // namespace pagefold
