// Merged-window conversion: every screen of a document becomes a full-screen
// window of one root, under one context, so keys, ids, names and warning
// de-duplication run on across the screens.
#include <string>
#include <tuple>
#include <vector>

#include "driver/converter.hpp"
#include "finish/finish.hpp"
#include "front/readers.hpp"
#include "pagefold/error.hpp"

namespace pagefold {

std::tuple<Value, std::vector<std::string>, std::vector<std::string>> PageFold::_compose_windows(
    Controls& controls, const std::vector<const Node*>& screens, const Value& meta) {
  // All windows take the first screen's size and the root its properties.
  const Node& first = *screens.front();
  auto [W, H] = controls._screen_size(first);
  Ctx ctx = new_ctx();
  controls._open_screen(ctx, first);
  // Reserve the window keys first so that they number 1..N.
  std::vector<std::string> keys;
  for (size_t i = 0; i < screens.size(); ++i) keys.push_back(ctx.key("window"));

  int64_t made = 0;
  std::vector<std::string> made_ids;
  for (size_t i = 0; i < screens.size(); ++i) {
    const Node& node = *screens[i];
    const std::string& key = keys[i];
    const int64_t k = static_cast<int64_t>(i) + 1;
    std::string pid = _page_id(node, k);
    Value page = Value::object({
        {"backgroundColor", int64_t{-1}},
        {"caption", pid},
        {"hideTimeOut", int64_t{-1}},
        {"id", ctx.nid("window")},
        {"modal", false},
        {"position", Value::object({{"height", H}, {"left", 0}, {"top", 0}, {"width", W}})},
        {"touchable", false},
        {"visible", k == 1},
    });
    std::optional<int64_t> bg = to_dec(_attr(node.attrs, "data-background"));
    if (!bg) bg = to_dec(_attr(node.attrs, "data-bg"));
    if (bg) page["backgroundColor"] = *bg;
    if (std::optional<int64_t> hto = parse_px(_attr(node.attrs, "data-hide-timeout"))) {
      page["hideTimeOut"] = *hto;
    }
    OptStr pic = _attr(node.attrs, "data-pic");
    if (pic && !pic->empty()) page["backgroundPic"] = image_path(*pic);

    try {
      ctx.root[key] = page;
      ctx.stack.push_back(page);
      for (const Node* child : node.children) controls._walk(ctx, *child);
      ctx.stack.pop_back();
    } catch (const std::exception& e) {
      // One failing screen costs its window, not the document.
      ctx.stack.clear();
      if (ctx.root.is_object()) ctx.root.as_object().erase(key);
      meta["failed"].as_array().push_back(pid + "（第 " + std::to_string(k) + " 屏转换失败: " +
                                          failure_type(e) + ": " + failure_message(e) + "）");
      continue;
    }
    ++made;
    made_ids.push_back(pid);
    ctx.warnings.push_back("第 " + std::to_string(k) + " 屏 " + _page_label(node, k) + " -> " +
                           key + "（caption=" + pid + "，visible=" + (k == 1 ? "true" : "false") +
                           "）");
  }

  if (ctx.root.truthy()) {
    _strip_markers(ctx.root);
    _fix_slidewindow_icon_size(ctx, ctx.root, asset_dir, true);
  }
  meta["pagesProduced"] = made;
  return {ctx.root, ctx.warnings, made_ids};
}

}  // namespace pagefold
