// Asset synthesis of one conversion: the gate through which every generated
// picture passes, the effect pictures of a node, glyph icons, the slider
// translation and the rounded-control routes.
//
// The control builders call these with the page's context; what they make is
// returned or placed into the record they are given, and the conversion's
// counts (pictures made, rounded-button glue, encoding log) stay here until
// the driver reports them.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "assets/picture_tools.hpp"
#include "assets/png_output.hpp"
#include "front/cascade.hpp"
#include "pagefold/json.hpp"
#include "pagefold/modules.hpp"
#include "pagefold/node.hpp"
#include "pagefold/style_types.hpp"
#include "util/ctx.hpp"

namespace pagefold {

// A picture maker: writes one file into directory `d` and answers its path.
using PictureMaker = std::function<std::string(const std::string& d)>;

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

class Assets {
 public:
  // `gen_res` may be null; `pseudo_css` (the cascade's pseudo-element table)
  // must outlive this object.
  Assets(std::optional<std::string> asset_dir, GenRes* gen_res, std::string css_text,
         const PseudoTable& pseudo_css);

  std::optional<std::string> asset_dir;
  int64_t gen_count = 0;            // pictures made so far; also the running number in file names
  Value rad_glue = Value::array();  // glue snippets of code-drawn rounded buttons
  PngLog png_log;

  bool has_gen_res() const { return gen_res_ != nullptr; }
  GenRes& gen_res() const { return *gen_res_; }
  // Pictures are made only with the module and a directory to put them in.
  bool can_generate() const { return gen_res_ && asset_dir && !asset_dir->empty(); }
  // The module, its supersampling factors and this conversion's log.
  PictureTools tools();

  // Runs `fn` when pictures can be made; answers "images/<file>", or absent
  // when nothing was made. A failure of the maker is one warning of the page.
  std::optional<std::string> _gen_asset(Ctx& ctx, const PictureMaker& fn);
  EffectAssets _effect_assets(Ctx& ctx, const Node& node, int64_t w, int64_t h,
                              const std::string& cap);
  std::optional<std::string> _icon_png(Ctx& ctx, const std::string& glyph, int64_t cw, int64_t ch,
                                       std::optional<int64_t> color = std::nullopt,
                                       bool pressed = false);
  std::optional<int64_t> _icon_color(const Attrs& attrs) const;

  // Slider translation: the first non-empty pseudo-element style of `node`
  // under `names`, and the pictures, box and values of a styled slider.
  std::string _pseudo_style(const Node& node, const std::vector<std::string>& names) const;
  bool _seekbar_css_assets(Ctx& ctx, const Node& node, const Value& c, const Value& pos,
                           const std::string& cap);

  // Rounded controls: the decision, the code-drawn button route and the
  // nine-patch route.
  std::optional<RadDecision> _rad_button_of(Ctx& ctx, const Node& node, const Value& pos,
                                            const std::string& cap);
  bool _try_radbutton(Ctx& ctx, const Node& node, const Value& pos, const std::string& cap,
                      const std::optional<std::string>& text);
  std::pair<std::optional<std::string>, std::optional<RadDecision>> _radbox_9pic(
      Ctx& ctx, const Node& node, const Value& pos, const std::string& cap,
      const std::string& kind);
  Color _rgba_of(int64_t cint) const;

  // The text of every style sheet of the document.
  const std::string& css_text() const { return css_text_; }

 private:
  GenRes* gen_res_;
  std::string css_text_;
  const PseudoTable& pseudo_css_;
};

}  // namespace pagefold
