// Text as a sequence of code points. Text is kept as UTF-8, but every length,
// index, slice, per-character loop and code-point sort counts code points.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace pagefold::text {

// Decodes valid UTF-8 (callers validate input once at the door).
std::u32string to_u32(std::string_view s);
// The code point at byte `i` of `s`, advancing `i` past it (a broken sequence
// reads as U+FFFD, one byte at a time, as in to_u32).
char32_t decode_next(std::string_view s, size_t& i);
std::string to_utf8(std::u32string_view s);
std::string to_utf8(char32_t c);
// Appends the UTF-8 encoding of `c` to `out`.
void append_utf8(std::string& out, char32_t c);
// Offset of the first byte that breaks strict UTF-8 (an overlong form, a
// surrogate, anything above U+10FFFF, a sequence cut short), or npos.
size_t invalid_utf8_at(std::string_view s);
// True when `s` is well-formed UTF-8.
inline bool valid_utf8(std::string_view s) { return invalid_utf8_at(s) == std::string_view::npos; }

size_t length(std::string_view s);
// Code points [start, start + n) of `s`, clipped to its length.
std::string slice(std::string_view s, size_t start, size_t n = std::string::npos);

// Unicode whitespace: general category Zs, or bidirectional class WS, B or S
// (29 code points). ASCII is answered inline: nearly every character asked
// about is ASCII.
bool is_space_beyond_ascii(char32_t c);
inline bool is_space(char32_t c) {
  if (c < 0x80) return (c >= 0x09 && c <= 0x0D) || (c >= 0x1C && c <= 0x20);
  return is_space_beyond_ascii(c);
}
std::string strip(std::string_view s);
// Every run of whitespace replaced by one space, as the pattern "\s+" would.
std::string collapse_space(std::string_view s);
// Strips the given ASCII characters (not whitespace) from one or both ends.
std::string strip_chars(std::string_view s, std::string_view chars);
std::string rstrip_chars(std::string_view s, std::string_view chars);
std::string lstrip_chars(std::string_view s, std::string_view chars);
// Splits at runs of whitespace, dropping empty pieces.
std::vector<std::string> split_ws(std::string_view s);
// Splits at every occurrence of `sep`, keeping empty pieces.
std::vector<std::string> split(std::string_view s, std::string_view sep);
std::string join(const std::vector<std::string>& parts, std::string_view sep);

// Unicode lower-casing, one code point at a time (U+0130 becomes "i̇"),
// except that a capital sigma ending a word becomes the final form "ς".
std::string lower(std::string_view s);
// ASCII-only case folding for names (tags, attribute names, keywords).
std::string ascii_lower(std::string_view s);

bool starts_with(std::string_view s, std::string_view p);
bool ends_with(std::string_view s, std::string_view p);
bool contains(std::string_view s, std::string_view p);
// Whether any of `ps` occurs in `s`.
bool contains_any(std::string_view s, std::initializer_list<std::string_view> ps);
std::string replace_all(std::string_view s, std::string_view from, std::string_view to);

// Decimal value of a Unicode decimal digit (category Nd), or -1.
int digit_value(char32_t c);

// Two-letter general category ("Lu", "Cf", "Cn", ...).
const char* category(char32_t c);

// The quoted display form of one character: '★', '\u200d', '\U0001fb00'.
// Non-printable characters (categories C*, Z* other than the plain space)
// are escaped as \xNN, \uNNNN or \UNNNNNNNN; backslash and quote are escaped.
std::string quoted(char32_t c);
// The same display form of a whole text, as messages name a value: 'abc',
// "it's", 'a\tb'. Apostrophes are used unless the text holds one and no
// double quote.
std::string repr(std::string_view s);

}  // namespace pagefold::text
