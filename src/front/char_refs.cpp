// Character references: the named references of HTML (generated table in
// char_refs.inc) and decimal and hexadecimal references, expanded the way the
// prototypes' authoring tools expand them. A reference is "&" followed by
// "#digits", "#x" and hex digits, or up to 32 name characters, each with an
// optional ";". A name that is not in the table as a whole falls back to its
// longest prefix that is a legacy name (those work without a semicolon), so
// "&copy2024" reads "©2024"; a name with no such prefix stays as written.
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "front/dom.hpp"
#include "util/text.hpp"

namespace pagefold {

namespace {

struct CharRef {
  std::string_view name;
  std::string_view value;
};

#include "front/char_refs.inc"

static_assert(std::ranges::is_sorted(CHAR_REFS, {}, &CharRef::name),
              "char_refs.inc must be sorted for binary search");

const CharRef* find_ref(std::string_view name) {
  const auto* it = std::ranges::lower_bound(CHAR_REFS, name, {}, &CharRef::name);
  return it != std::end(CHAR_REFS) && it->name == name ? it : nullptr;
}

// Numeric references 0x80..0x9F name windows-1252 characters, as browsers have
// always read them; 0x81, 0x8D, 0x8F, 0x90 and 0x9D have no such character and
// stay themselves.
constexpr char32_t WINDOWS_1252[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// Code points a numeric reference may not produce at all: C0 controls other
// than tab, line feed, form feed and carriage return, DEL and the C1 range, and
// the noncharacters. Such a reference expands to nothing.
bool is_dropped_code_point(uint32_t c) {
  if ((c >= 0x01 && c <= 0x08) || c == 0x0B || (c >= 0x0E && c <= 0x1F)) return true;
  if (c >= 0x7F && c <= 0x9F) return true;
  if (c >= 0xFDD0 && c <= 0xFDEF) return true;
  return (c & 0xFFFE) == 0xFFFE;  // U+xFFFE and U+xFFFF of every plane
}

std::string numeric_ref(uint32_t c) {
  if (c == 0x00) return "\xEF\xBF\xBD";
  if (c >= 0x80 && c <= 0x9F) return text::to_utf8(WINDOWS_1252[c - 0x80]);
  if ((c >= 0xD800 && c <= 0xDFFF) || c > 0x10FFFF) return "\xEF\xBF\xBD";
  if (is_dropped_code_point(c)) return "";
  return text::to_utf8(static_cast<char32_t>(c));
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }

int hex_value(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Characters that end a reference name.
bool ends_name(char c) {
  return c == '\t' || c == '\n' || c == '\f' || c == ' ' || c == '<' || c == '&' || c == '#' ||
         c == ';';
}

// Parses the digits of a numeric reference starting at `pos`; the value
// saturates just above the last code point, which reads as U+FFFD anyway.
size_t parse_number(std::string_view s, size_t pos, int base, uint32_t& value) {
  value = 0;
  for (; pos < s.size(); ++pos) {
    const int d = base == 10 ? (is_digit(s[pos]) ? s[pos] - '0' : -1) : hex_value(s[pos]);
    if (d < 0) break;
    value = std::min<uint32_t>(value * base + d, 0x110000);
  }
  return pos;
}

// Expands the name `ref` (without "&", with its ";" when it has one).
std::string named_ref(std::string_view ref) {
  if (const CharRef* hit = find_ref(ref)) return std::string(hit->value);
  // Only legacy names match without a semicolon, so only prefixes up to the
  // longest legacy name need looking at. Table names are ASCII, so a byte
  // prefix that cuts a multi-byte character can never match.
  for (size_t len = std::min(ref.size() - 1, CHAR_REF_MAX_LEGACY_NAME); len >= 2; --len) {
    if (const CharRef* hit = find_ref(ref.substr(0, len)))
      return std::string(hit->value) + std::string(ref.substr(len));
  }
  return "&" + std::string(ref);
}

}  // namespace

std::string unescape(std::string_view s) {
  size_t amp = s.find('&');
  if (amp == std::string_view::npos) return std::string(s);
  std::string out;
  out.reserve(s.size());
  size_t done = 0;
  for (; amp != std::string_view::npos; amp = s.find('&', done)) {
    out.append(s, done, amp - done);
    const size_t p = amp + 1;
    size_t end = p;
    if (p < s.size() && s[p] == '#') {
      uint32_t value = 0;
      if (p + 1 < s.size() && is_digit(s[p + 1])) {
        end = parse_number(s, p + 1, 10, value);
      } else if (p + 2 < s.size() && (s[p + 1] == 'x' || s[p + 1] == 'X') &&
                 hex_value(s[p + 2]) >= 0) {
        end = parse_number(s, p + 2, 16, value);
      }
      if (end == p) {  // "&#" without digits is plain text
        out += '&';
        done = p;
        continue;
      }
      if (end < s.size() && s[end] == ';') ++end;
      out += numeric_ref(value);
      done = end;
      continue;
    }
    // A name: up to 32 characters (code points) that do not end a name.
    size_t chars = 0;
    while (end < s.size() && chars < 32 && !ends_name(s[end])) {
      ++end;
      while (end < s.size() && (static_cast<unsigned char>(s[end]) & 0xC0) == 0x80) ++end;
      ++chars;
    }
    if (chars == 0) {
      out += '&';
      done = p;
      continue;
    }
    if (end < s.size() && s[end] == ';') ++end;
    out += named_ref(s.substr(p, end - p));
    done = end;
  }
  out.append(s, done);
  return out;
}

}  // namespace pagefold
