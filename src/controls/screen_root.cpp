// The page root: resolution, page colour, topmost flag and position.
#include <optional>
#include <string>
#include <utility>

#include "controls/controls.hpp"
#include "front/readers.hpp"
#include "util/num.hpp"
#include "util/regex.hpp"
#include "util/text.hpp"

namespace pagefold {
namespace {

const int64_t DEFAULT_W = 480;
const int64_t DEFAULT_H = 272;

// True when the page places itself: a position attribute that reads as a
// number (0 included) or a position property in its style.
bool _has_pos_attr(const Attrs& attrs) {
  static const char* const names[] = {"data-x",    "data-y",   "data-w",     "data-h",
                                      "data-left", "data-top", "data-width", "data-height"};
  for (const char* name : names) {
    if (parse_px(_attr(attrs, name))) return true;
  }
  OptStr style = _attr(attrs, "style");
  if (!style) style = std::string();
  for (const char* k : {"left", "top", "width", "height"}) {
    if (_style_len(style, k)) return true;
  }
  return false;
}

}  // namespace

std::pair<int64_t, int64_t> Controls::_screen_size(const Node& node) const {
  // A forced resolution wins over everything the page says; a malformed one
  // is silently the default size.
  OptStr r = (res_ && !res_->empty()) ? res_ : _attr(node.attrs, "data-res");
  if (r && !r->empty()) {
    static const Regex wxh(R"(^\s*(\d+)\s*[xX]\s*(\d+)\s*$)");
    if (auto m = wxh.match(*r)) {
      // A size beyond 64 bits is as unreadable as any other malformed one.
      auto w = num::parse_int(m->group(1));
      auto h = num::parse_int(m->group(2));
      if (w && h) return {*w, *h};
    }
    return {DEFAULT_W, DEFAULT_H};
  }
  std::optional<int64_t> w_attr = parse_px(_attr(node.attrs, "data-width"));
  std::optional<int64_t> h_attr = parse_px(_attr(node.attrs, "data-height"));
  if (w_attr.value_or(0) && h_attr.value_or(0)) return {*w_attr, *h_attr};
  OptStr style = _attr(node.attrs, "style");
  Value sp = _style_pos(style ? style : OptStr(std::string()));
  Value sw = sp.get("width"), sh = sp.get("height");
  if (sw.truthy() && sh.truthy()) return {sw.as_int(), sh.as_int()};
  return {DEFAULT_W, DEFAULT_H};
}

Value Controls::_open_screen(Ctx& ctx, const Node& node) {
  auto [w, h] = _screen_size(node);

  std::optional<int64_t> bg = to_dec(_attr(node.attrs, "data-background"));
  if (!bg) bg = to_dec(_attr(node.attrs, "data-bg"));
  if (!bg) {
    bg = page_bg_;
    if (bg) {
      ctx.warn("页面底色取自 CSS 的 html/body background（#" + num::hex(*bg, 6) +
                   "）—— 已写进 json 根 backgroundColor（.screen 自己没有 data-bg）",
               "screen-bg-from-body");
    }
  }

  Value root = Value::object({
      {"beepEnable", true},
      {"id", 0},
      {"resolution", Value::object({{"height", h}, {"width", w}})},
      {"topmost", flag(_attr(node.attrs, "data-topmost"))},
  });
  if (bg) {
    root["backgroundColor"] = *bg;
  } else {
    // Without a colour the device does not clear the screen: the key stays
    // out and the designer is told.
    ctx.warn(
        "页面根没有底色（.screen 无 data-bg，html/body 也没写 background）→ 真机**不擦屏**，"
        "会露出上一页/屏保的残留画面（2026-10-04 实机验证：CSS 的 background 只写在 body "
        "上时整屏残留旧帧）→ 给 .screen 加 data-bg 或给 body 写 background（需切图确认外观）",
        "screen-bg-missing");
  }

  if (_has_pos_attr(node.attrs)) {
    root["position"] = _pos(ctx, node.attrs);
  } else {
    root["position"] = Value::object({{"height", h}, {"left", 0}, {"top", 0}, {"width", w}});
  }
  ctx.root = root;
  return root;
}

}  // namespace pagefold
