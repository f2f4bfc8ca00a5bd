// Removal of the characters that the device's cut-down font lacks. Such a
// character does not render as a box: it vanishes on the device, so it is
// taken out here and the designer is told which one went and why.
#include "front/text_clean.hpp"

#include <algorithm>

#include "util/text.hpp"

namespace pagefold {

const std::u32string TEXT_BLACKLIST = U"⌫℃■●‹－＋–…→★◆▶▷①";

bool _is_emoji(char32_t ch) {
  struct Range {
    char32_t lo, hi;
  };
  static constexpr Range ranges[] = {
      {0x1F000, 0x1FAFF},  // emoji and pictographs
      {0x2600, 0x27BF},    // miscellaneous symbols and dingbats
      {0x2300, 0x23FF},    // miscellaneous technical
      {0x2190, 0x21FF},    // arrows
      {0x25A0, 0x25FF},    // geometric shapes
      {0x2460, 0x24FF},    // enclosed alphanumerics
      {0x2100, 0x214F},    // letterlike symbols
      {0x2B00, 0x2BFF},    // miscellaneous symbols and arrows
      {0xFE0F, 0xFE0F},    // variation selector
      {0x200D, 0x200D},    // zero-width joiner
  };
  for (const auto& r : ranges)
    if (ch >= r.lo && ch <= r.hi) return true;
  return false;
}

namespace {

void report(const WarnFn& warn, const std::u32string& dropped, const std::string& where) {
  const bool all_emoji = std::all_of(dropped.begin(), dropped.end(), _is_emoji);
  const std::string kind = all_emoji ? "emoji" : "黑名单特殊符号";
  std::string shown;
  for (size_t i = 0; i < dropped.size(); ++i) {
    if (i) shown += " ";
    shown += text::quoted(dropped[i]);
  }
  std::string msg =
      "文本字符被丢弃（" + kind + "）：" + shown + "（设备裁剪字库无该字形 → 整字消失）";
  if (!where.empty()) msg += "  @" + where;
  msg += " —— 改用图片素材或换字符（铁律 1）";
  // The same characters lost in two texts are one warning, wherever they were.
  std::u32string sorted = dropped;
  std::sort(sorted.begin(), sorted.end());
  warn(msg, "drop:" + kind + ":" + text::to_utf8(sorted));
}

// Runs of blanks (space, tab, carriage return, form feed, vertical tab)
// become one space; line feeds are no blanks. All blanks are ASCII, so bytes
// of longer UTF-8 characters never count.
std::string fold_blanks(std::string_view s) {
  std::string out;
  out.reserve(s.size());
  bool in_run = false;
  for (char ch : s) {
    const bool blank = ch == ' ' || ch == '\t' || ch == '\r' || ch == '\f' || ch == '\x0b';
    if (blank && in_run) continue;
    in_run = blank;
    out.push_back(blank ? ' ' : ch);
  }
  return out;
}

}  // namespace

std::optional<std::string> _clean_text(const std::optional<std::string>& s, const WarnFn* warn,
                                       const std::string& where) {
  if (!s || s->empty()) return s;
  // ASCII holds no character the font lacks: only the blanks are folded.
  if (std::all_of(s->begin(), s->end(), [](char c) { return (c & 0x80) == 0; }))
    return text::strip(fold_blanks(*s));
  std::u32string out, dropped;
  for (char32_t ch : text::to_u32(*s)) {
    if (TEXT_BLACKLIST.find(ch) != std::u32string::npos || _is_emoji(ch)) {
      if (dropped.find(ch) == std::u32string::npos) dropped += ch;
    } else {
      out += ch;
    }
  }
  if (warn && !dropped.empty()) report(*warn, dropped, where);
  // Line feeds survive inside the text; only the ends lose them.
  return text::strip(fold_blanks(text::to_utf8(out)));
}

}  // namespace pagefold
