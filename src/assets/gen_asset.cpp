// The single gate through which every generated picture passes: it decides
// whether pictures can be made at all, runs the maker, counts successes and
// turns any failure into one warning.
#include <exception>
#include <string>

#include "assets/assets.hpp"
#include "pagefold/error.hpp"

namespace pagefold {

Assets::Assets(std::optional<std::string> asset_dir_, GenRes* gen_res, std::string css_text,
               const PseudoTable& pseudo_css)
    : asset_dir(std::move(asset_dir_)),
      gen_res_(gen_res),
      css_text_(std::move(css_text)),
      pseudo_css_(pseudo_css) {}

PictureTools Assets::tools() {
  // Without the module its defaults stand: 4 for CSS effects, 16 for the
  // corner mask drawn here.
  PictureTools t;
  t.gen_res = gen_res_;
  if (gen_res_) {
    t.css_ss = gen_res_->SS_DEFAULT().value_or(4);
    t.cov_ss = gen_res_->COV_SS().value_or(16);
  }
  t.png_log = &png_log;
  return t;
}

std::optional<std::string> Assets::_gen_asset(Ctx& ctx, const PictureMaker& fn) {
  // Without the picture module or a directory there is nothing to do; each
  // caller that must speak about it has its own message.
  if (!can_generate()) return std::nullopt;
  try {
    std::string p = fn(*asset_dir);
    // A maker that answers no path made no picture.
    if (p.empty()) return std::nullopt;
    ++gen_count;
    // The device finds every picture under images/, whatever the directory.
    return "images/" + p.substr(p.rfind('/') + 1);
  } catch (const std::exception& e) {
    ctx.warnings.push_back("自动转图失败: " + failure_message(e));
    return std::nullopt;
  }
}

}  // namespace pagefold
