// Code-point text operations over UTF-8, with Unicode tables from utf8proc.
#include "util/text.hpp"

#include <utf8proc.h>

#include <algorithm>

#include "pagefold/error.hpp"

namespace pagefold::text {

namespace {

// Length of the UTF-8 sequence led by byte `b` (1 for a stray byte, so that
// walking never stalls on text that was not validated).
inline size_t seq_len(unsigned char b) {
  if (b < 0x80) return 1;
  if (b >= 0xF0 && b < 0xF8) return 4;
  if (b >= 0xE0) return b < 0xF0 ? 3 : 1;
  if (b >= 0xC0) return 2;
  return 1;
}

// Decodes the code point at byte `i` and advances `i` past it. Broken
// sequences read as U+FFFD one byte at a time.
char32_t next(std::string_view s, size_t& i) {
  const unsigned char b = static_cast<unsigned char>(s[i]);
  const size_t n = seq_len(b);
  if (n == 1) {
    ++i;
    return b < 0x80 ? b : 0xFFFD;
  }
  if (i + n > s.size()) {
    ++i;
    return 0xFFFD;
  }
  char32_t c = b & (0xFF >> (n + 1));
  for (size_t k = 1; k < n; ++k) {
    const unsigned char t = static_cast<unsigned char>(s[i + k]);
    if ((t & 0xC0) != 0x80) {
      ++i;
      return 0xFFFD;
    }
    c = (c << 6) | (t & 0x3F);
  }
  i += n;
  return c;
}

// Byte offset of the code point before byte `i`.
size_t prev_start(std::string_view s, size_t i) {
  size_t j = i - 1;
  while (j > 0 && i - j < 4 && (static_cast<unsigned char>(s[j]) & 0xC0) == 0x80) --j;
  return j;
}

// Byte offset of code point `n` of `s` (its size when `s` is shorter).
size_t offset_of(std::string_view s, size_t n) {
  size_t i = 0;
  while (n > 0 && i < s.size()) {
    i += std::min(seq_len(static_cast<unsigned char>(s[i])), s.size() - i);
    --n;
  }
  return i;
}

utf8proc_category_t cat(char32_t c) {
  return c > 0x10FFFF ? UTF8PROC_CATEGORY_CN : utf8proc_category(static_cast<utf8proc_int32_t>(c));
}

bool in_chars(char32_t c, std::string_view chars) {
  for (size_t i = 0; i < chars.size();)
    if (next(chars, i) == c) return true;
  return false;
}

template <typename Pred>
std::string lstrip_if(std::string_view s, Pred pred) {
  size_t i = 0;
  while (i < s.size()) {
    size_t j = i;
    if (!pred(next(s, j))) break;
    i = j;
  }
  return std::string(s.substr(i));
}

template <typename Pred>
std::string rstrip_if(std::string_view s, Pred pred) {
  size_t e = s.size();
  while (e > 0) {
    size_t b = prev_start(s, e);
    size_t j = b;
    if (!pred(next(s, j))) break;
    e = b;
  }
  return std::string(s.substr(0, e));
}

// Properties behind the final-sigma rule of lower-casing: a capital sigma
// that ends a word lower-cases to the final form.
bool is_cased(char32_t c) {
  const auto k = cat(c);
  return k == UTF8PROC_CATEGORY_LU || k == UTF8PROC_CATEGORY_LL || k == UTF8PROC_CATEGORY_LT ||
         utf8proc_islower(static_cast<utf8proc_int32_t>(c)) ||
         utf8proc_isupper(static_cast<utf8proc_int32_t>(c));
}

bool is_case_ignorable(char32_t c) {
  switch (c) {
    case 0x27:
    case 0x2E:
    case 0x3A:
    case 0xB7:
    case 0x387:
    case 0x55F:
    case 0x5F4:
    case 0x2018:
    case 0x2019:
    case 0x2024:
    case 0x2027:
    case 0xFE13:
    case 0xFE52:
    case 0xFE55:
    case 0xFF07:
    case 0xFF0E:
    case 0xFF1A:
      return true;
    default:
      break;
  }
  const auto k = cat(c);
  return k == UTF8PROC_CATEGORY_MN || k == UTF8PROC_CATEGORY_ME || k == UTF8PROC_CATEGORY_CF ||
         k == UTF8PROC_CATEGORY_LM || k == UTF8PROC_CATEGORY_SK;
}

bool final_sigma(const std::u32string& u, size_t i) {
  size_t j = i;
  char32_t c = 0;
  bool found = false;
  while (j > 0) {
    c = u[--j];
    if (!is_case_ignorable(c)) {
      found = true;
      break;
    }
  }
  if (!found || !is_cased(c)) return false;
  for (j = i + 1; j < u.size(); ++j) {
    if (!is_case_ignorable(u[j])) return !is_cased(u[j]);
  }
  return true;
}

}  // namespace

void append_utf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out.push_back(static_cast<char>(c));
  } else if (c < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (c >> 6)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else if (c < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (c >> 12)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (c >> 18)));
    out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
}

char32_t decode_next(std::string_view s, size_t& i) { return next(s, i); }

std::u32string to_u32(std::string_view s) {
  std::u32string out;
  out.reserve(s.size());
  for (size_t i = 0; i < s.size();) out.push_back(next(s, i));
  return out;
}

std::string to_utf8(std::u32string_view s) {
  std::string out;
  out.reserve(s.size());
  for (char32_t c : s) append_utf8(out, c);
  return out;
}

std::string to_utf8(char32_t c) {
  std::string out;
  append_utf8(out, c);
  return out;
}

size_t invalid_utf8_at(std::string_view s) {
  const auto* b = reinterpret_cast<const unsigned char*>(s.data());
  const size_t n = s.size();
  size_t i = 0;
  while (i < n) {
    const unsigned char c = b[i];
    if (c < 0x80) {
      ++i;
      continue;
    }
    size_t len;
    unsigned char lo = 0x80, hi = 0xBF;  // the second byte's range
    if (c >= 0xC2 && c <= 0xDF) {
      len = 2;
    } else if (c >= 0xE0 && c <= 0xEF) {
      len = 3;
      if (c == 0xE0) lo = 0xA0;  // overlong below
      if (c == 0xED) hi = 0x9F;  // surrogates above
    } else if (c >= 0xF0 && c <= 0xF4) {
      len = 4;
      if (c == 0xF0) lo = 0x90;  // overlong below
      if (c == 0xF4) hi = 0x8F;  // beyond U+10FFFF above
    } else {
      return i;
    }
    if (i + 1 >= n || b[i + 1] < lo || b[i + 1] > hi) return i;
    for (size_t k = 2; k < len; ++k) {
      if (i + k >= n || b[i + k] < 0x80 || b[i + k] > 0xBF) return i;
    }
    i += len;
  }
  return std::string_view::npos;
}

size_t length(std::string_view s) {
  size_t n = 0;
  for (unsigned char b : s)
    if ((b & 0xC0) != 0x80) ++n;
  return n;
}

std::string slice(std::string_view s, size_t start, size_t n) {
  const size_t b = offset_of(s, start);
  if (n == std::string::npos) return std::string(s.substr(b));
  const size_t e = b + offset_of(s.substr(b), n);
  return std::string(s.substr(b, e - b));
}

bool is_space_beyond_ascii(char32_t c) {
  switch (c) {
    case 0x85:
    case 0xA0:
    case 0x1680:
    case 0x2028:
    case 0x2029:
    case 0x202F:
    case 0x205F:
    case 0x3000:
      return true;
    default:
      return c >= 0x2000 && c <= 0x200A;
  }
}

std::string collapse_space(std::string_view s) {
  std::string out;
  out.reserve(s.size());
  size_t run = 0;  // start of the pending run without whitespace
  for (size_t i = 0; i < s.size();) {
    size_t j = i;
    if (!is_space(next(s, j))) {
      i = j;
      continue;
    }
    out.append(s, run, i - run);
    out.push_back(' ');
    while (i < s.size()) {
      j = i;
      if (!is_space(next(s, j))) break;
      i = j;
    }
    run = i;
  }
  out.append(s, run, s.size() - run);
  return out;
}

std::string strip(std::string_view s) {
  // Both ends found first, so that the result is made once.
  size_t b = 0;
  while (b < s.size()) {
    size_t j = b;
    if (!is_space(next(s, j))) break;
    b = j;
  }
  size_t e = s.size();
  while (e > b) {
    size_t p = prev_start(s, e);
    size_t j = p;
    if (!is_space(next(s, j))) break;
    e = p;
  }
  return std::string(s.substr(b, e - b));
}

std::string strip_chars(std::string_view s, std::string_view chars) {
  auto in = [chars](char32_t c) { return in_chars(c, chars); };
  return rstrip_if(lstrip_if(s, in), in);
}
std::string rstrip_chars(std::string_view s, std::string_view chars) {
  return rstrip_if(s, [chars](char32_t c) { return in_chars(c, chars); });
}
std::string lstrip_chars(std::string_view s, std::string_view chars) {
  return lstrip_if(s, [chars](char32_t c) { return in_chars(c, chars); });
}

std::vector<std::string> split_ws(std::string_view s) {
  std::vector<std::string> out;
  size_t i = 0, start = std::string::npos;
  while (i < s.size()) {
    const size_t here = i;
    const bool sp = is_space(next(s, i));
    if (sp && start != std::string::npos) {
      out.emplace_back(s.substr(start, here - start));
      start = std::string::npos;
    } else if (!sp && start == std::string::npos) {
      start = here;
    }
  }
  if (start != std::string::npos) out.emplace_back(s.substr(start));
  return out;
}

std::vector<std::string> split(std::string_view s, std::string_view sep) {
  if (sep.empty()) throw ValueError("empty separator");
  std::vector<std::string> out;
  size_t from = 0;
  for (;;) {
    const size_t at = s.find(sep, from);
    if (at == std::string_view::npos) break;
    out.emplace_back(s.substr(from, at - from));
    from = at + sep.size();
  }
  out.emplace_back(s.substr(from));
  return out;
}

std::string join(const std::vector<std::string>& parts, std::string_view sep) {
  std::string out;
  for (size_t i = 0; i < parts.size(); ++i) {
    if (i) out += sep;
    out += parts[i];
  }
  return out;
}

std::string lower(std::string_view s) {
  std::string out;
  out.reserve(s.size());
  size_t i = 0;
  for (; i < s.size() && static_cast<unsigned char>(s[i]) < 0x80; ++i) {
    const char c = s[i];
    out.push_back(c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c);
  }
  if (i == s.size()) return out;
  const std::u32string u = to_u32(s.substr(i));
  // The final-sigma rule looks back past the ASCII prefix too.
  const std::u32string ctx = to_u32(s);
  const size_t base = ctx.size() - u.size();
  for (size_t k = 0; k < u.size(); ++k) {
    const char32_t c = u[k];
    if (c == 0x130) {
      out += "i\xCC\x87";  // U+0069 U+0307
    } else if (c == 0x3A3) {
      append_utf8(out, final_sigma(ctx, base + k) ? 0x3C2 : 0x3C3);
    } else if (c <= 0x10FFFF) {
      append_utf8(out, static_cast<char32_t>(utf8proc_tolower(static_cast<utf8proc_int32_t>(c))));
    } else {
      append_utf8(out, c);
    }
  }
  return out;
}

std::string ascii_lower(std::string_view s) {
  std::string out(s);
  for (char& c : out)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
  return out;
}

bool starts_with(std::string_view s, std::string_view p) { return s.substr(0, p.size()) == p; }

bool ends_with(std::string_view s, std::string_view p) {
  return s.size() >= p.size() && s.substr(s.size() - p.size()) == p;
}

bool contains(std::string_view s, std::string_view p) { return s.find(p) != std::string::npos; }

bool contains_any(std::string_view s, std::initializer_list<std::string_view> ps) {
  for (std::string_view p : ps)
    if (s.find(p) != std::string_view::npos) return true;
  return false;
}

std::string replace_all(std::string_view s, std::string_view from, std::string_view to) {
  std::string out;
  if (from.empty()) {
    // An empty pattern matches before every character and at the end.
    out += to;
    for (size_t i = 0; i < s.size();) {
      const size_t b = i;
      next(s, i);
      out += s.substr(b, i - b);
      out += to;
    }
    return out;
  }
  size_t pos = 0;
  for (;;) {
    const size_t at = s.find(from, pos);
    if (at == std::string_view::npos) break;
    out += s.substr(pos, at - pos);
    out += to;
    pos = at + from.size();
  }
  out += s.substr(pos);
  return out;
}

int digit_value(char32_t c) {
  if (c >= '0' && c <= '9') return static_cast<int>(c - '0');
  if (c < 0x80 || cat(c) != UTF8PROC_CATEGORY_ND) return -1;
  // Decimal digits come in runs of ten, zero first; adjacent runs (the
  // mathematical digits) are whole multiples of ten.
  char32_t start = c;
  while (start > 0 && cat(start - 1) == UTF8PROC_CATEGORY_ND) --start;
  return static_cast<int>((c - start) % 10);
}

const char* category(char32_t c) {
  if (c > 0x10FFFF) return "Cn";
  return utf8proc_category_string(static_cast<utf8proc_int32_t>(c));
}

namespace {

bool printable(char32_t c) {
  if (c < 0x20 || c == 0x7F) return false;
  if (c < 0x80) return true;
  switch (cat(c)) {
    case UTF8PROC_CATEGORY_CC:
    case UTF8PROC_CATEGORY_CF:
    case UTF8PROC_CATEGORY_CS:
    case UTF8PROC_CATEGORY_CO:
    case UTF8PROC_CATEGORY_CN:
    case UTF8PROC_CATEGORY_ZL:
    case UTF8PROC_CATEGORY_ZP:
    case UTF8PROC_CATEGORY_ZS:  // the plain space is ASCII, handled above
      return false;
    default:
      return true;
  }
}

// Appends `c` as it appears between the quotes `quote` of a display form.
void append_shown(std::string& out, char32_t c, char quote) {
  static const char* hex = "0123456789abcdef";
  auto esc = [&](char prefix, int digits) {
    out.push_back('\\');
    out.push_back(prefix);
    for (int k = digits - 1; k >= 0; --k) out.push_back(hex[(c >> (4 * k)) & 15]);
  };
  if (c == '\\' || c == static_cast<char32_t>(quote)) {
    out.push_back('\\');
    out.push_back(static_cast<char>(c));
  } else if (c == '\t') {
    out += "\\t";
  } else if (c == '\n') {
    out += "\\n";
  } else if (c == '\r') {
    out += "\\r";
  } else if (printable(c)) {
    append_utf8(out, c);
  } else if (c < 0x100) {
    esc('x', 2);
  } else if (c < 0x10000) {
    esc('u', 4);
  } else {
    esc('U', 8);
  }
}

}  // namespace

std::string quoted(char32_t c) { return repr(to_utf8(c)); }

std::string repr(std::string_view s) {
  const bool apos = s.find('\'') != std::string_view::npos;
  const bool dquote = s.find('"') != std::string_view::npos;
  const char quote = apos && !dquote ? '"' : '\'';
  std::string out(1, quote);
  for (size_t i = 0; i < s.size();) append_shown(out, next(s, i), quote);
  out.push_back(quote);
  return out;
}

}  // namespace pagefold::text
