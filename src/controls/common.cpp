// The small attribute methods every control builder rests on: caption,
// position, font size, optional text keys, and the background colour of a
// control and of what lies behind it.
#include <algorithm>
#include <string>

#include "controls/controls.hpp"
#include "controls/tables.hpp"
#include "front/readers.hpp"
#include "util/num.hpp"
#include "util/regex.hpp"
#include "util/text.hpp"

namespace pagefold {
namespace {

// Sum of two JSON numbers, an integer when both are integers.
Value add_numbers(const Value& a, const Value& b) {
  if (a.is_int() && b.is_int()) return Value(a.as_int() + b.as_int());
  return Value(a.as_number() + b.as_number());
}

const char* const POS_KEYS[] = {"height", "left", "top", "width"};
const int64_t POS_DEFAULTS[] = {40, 0, 0, 100};

}  // namespace

std::string Controls::_caption(Ctx& ctx, const std::string& typ, const Attrs& attrs) {
  const Attr* a = find_attr(attrs, "data-caption");
  if (!a || !a->value || a->value->empty()) return ctx.name(typ);
  // Every character that is no ASCII letter, digit or "_" becomes one "_"
  // (a character of several bytes too); a name must not start with a digit.
  std::string cap;
  cap.reserve(a->value->size() + 1);
  for (const char ch : *a->value) {
    const auto b = static_cast<unsigned char>(ch);
    if ((b & 0xC0) == 0x80) continue;  // inside a multi-byte character
    const bool ident =
        (b >= 'A' && b <= 'Z') || (b >= 'a' && b <= 'z') || (b >= '0' && b <= '9') || b == '_';
    cap.push_back(ident ? ch : '_');
  }
  if (cap.empty() || (cap[0] >= '0' && cap[0] <= '9')) return "_" + cap;
  return cap;
}

Value Controls::_pos(Ctx& ctx, const Attrs& attrs) const {
  // left, top, width, height as read so far.
  static constexpr std::string_view kNames[4] = {"left", "top", "width", "height"};
  std::optional<Value> at[4];
  const std::string_view style = attr_view(attrs, "style");
  for (int k = 0; k < 4; ++k) {
    if (auto raw = style_value(style, kNames[k])) {
      if (auto px = parse_px_in(*raw)) at[k] = Value(*px);
    }
  }
  // Any usable alias overrides the style; the first usable one wins. The
  // attribute names of the aliases, made once, by the slot they fill.
  static const auto aliases = [] {
    std::vector<std::pair<int, std::vector<std::string>>> out;
    for (const auto& [key, suffixes] : POS_ALIAS) {
      const int k = static_cast<int>(std::find(kNames, kNames + 4, key) - kNames);
      out.emplace_back(k, std::vector<std::string>());
      for (const std::string& suffix : suffixes) out.back().second.push_back("data-" + suffix);
    }
    return out;
  }();
  for (const auto& [k, names] : aliases) {
    for (const std::string& name : names) {
      const Attr* a = find_attr(attrs, name);
      if (!a || !a->value || a->value->empty()) continue;
      if (auto px = parse_px_in(*a->value)) {
        at[k] = Value(*px);
        break;
      }
    }
  }
  // Children of containers grown by a shadow move with the growth of every
  // enclosing container, up to the nearest list view: list items are laid
  // out by the list itself.
  for (auto it = ctx.stack.rbegin(); it != ctx.stack.rend(); ++it) {
    if (!it->is_object() || it->get("__listview").truthy()) break;
    const Value pad = it->get("__pad");
    if (!pad.truthy()) continue;
    for (int k : {0, 1}) at[k] = add_numbers(at[k] ? *at[k] : Value(int64_t{0}), pad);
  }
  // The record's order: height, left, top, width.
  Value out = Value::object();
  Object& o = out.as_object();
  o.reserve(4);
  for (int i = 0; i < 4; ++i) {
    const int k = static_cast<int>(std::find(kNames, kNames + 4, POS_KEYS[i]) - kNames);
    o.set(POS_KEYS[i], at[k] ? *at[k] : Value(POS_DEFAULTS[i]));
  }
  return out;
}

void Controls::_text_extra(const Value& c, const Attrs& attrs) const {
  const struct {
    const char* attr;
    const char* key;
  } flags[] = {{"data-bold", "bold"}, {"data-italic", "italic"}, {"data-roll", "rollEnable"}};
  for (const auto& f : flags) {
    const OptStr v = _attr(attrs, f.attr);
    if (v) c[f.key] = Value(flag(v));
  }
  if (const OptStr dir = _attr(attrs, "data-roll-direction")) {
    const std::string s = text::strip(*dir);
    const std::u32string cps = text::to_u32(s);
    const bool all_digits = !cps.empty() && std::all_of(cps.begin(), cps.end(), [](char32_t ch) {
      return text::digit_value(ch) >= 0;
    });
    const auto n = all_digits ? num::parse_int(s) : std::nullopt;
    c["rollDirection"] = n ? Value(*n) : Value(s);
  }
  if (auto step = parse_px(_attr(attrs, "data-roll-step"))) c["rollStep"] = Value(*step);
  if (auto iv = parse_px(_attr(attrs, "data-roll-interval"))) c["rollIntervalTime"] = Value(*iv);
}

void Controls::_corner_bg(Ctx& ctx, const Value& c, const Attrs&, std::optional<int64_t> given,
                          const std::string& cap) {
  if (given) {
    c["bgColorTab"] = Value::object({{"color0", Value(*given)}});
    return;
  }
  const std::string who = cap.empty() ? std::string("控件") : cap;
  const std::string token = cap.empty() ? std::string("?") : cap;
  if (auto anc = _ancestor_bg(ctx)) {
    c["bgColorTab"] = Value::object({{"color0", Value(*anc)}});
    ctx.warn(who + "：有图控件未写 data-bg，圆角外底色取最近祖先底色 0x" + num::hex(*anc, 6) +
                 "（A6：四角由 bgColorTab 决定，不写会露窗口黑底）",
             "corner:" + token);
    return;
  }
  if (c.is_object()) c.as_object().erase("bgColorTab");
  ctx.warn(who +
               "：有图控件既无 data-bg 也无祖先底色 → 圆角外四角按引擎缺省渲染（坐卡片上会发黑）；"
               "请给该控件补 data-bg=容器色",
           "corner-nobg:" + token);
}

}  // namespace pagefold
