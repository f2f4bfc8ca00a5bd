// The single gate through which every generated picture passes: it decides
// whether pictures can be made at all, runs the maker, counts successes and
// turns any failure into one warning.
#include <exception>
#include <string>

#include "pagefold/converter.hpp"
#include "pagefold/error.hpp"

namespace pagefold {

std::optional<std::string> PageFold::_gen_asset(const PictureMaker& fn) {
  // Without the picture module or a directory there is nothing to do; each
  // caller that must speak about it has its own message.
  if (!has_gen_res() || !asset_dir || asset_dir->empty()) return std::nullopt;
  try {
    std::string p = fn(*asset_dir);
    // A maker that answers no path made no picture.
    if (p.empty()) return std::nullopt;
    ++gen_count;
    // The device finds every picture under images/, whatever the directory.
    return "images/" + p.substr(p.rfind('/') + 1);
  } catch (const std::exception& e) {
    if (ctx) ctx->warnings.push_back("自动转图失败: " + failure_message(e));
    return std::nullopt;
  }
}

}  // namespace pagefold
