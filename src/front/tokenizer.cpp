// The tokeniser: one pass over the prototype text, delivering start tags,
// self-closed tags, end tags and character data to a TokenSink.
//
// Its edge behaviour is fixed, because the prototypes it reads were checked
// against it: a start tag is recognised by one tolerant pattern (tag name,
// then attributes whose values may be quoted, bare or absent), stray text in a
// tag makes the whole tag text, an unterminated construct at the end of the
// input becomes text, and text pieces are split exactly at "<" constructs.
// Positions are byte offsets into UTF-8 text; every delimiter the scanner looks
// for is ASCII. Between attributes any Unicode whitespace separates, but a tag
// name ends only at ASCII whitespace, "/", ">" or NUL: "<div\u3000id=a>" is a
// tag named "div\u3000id=a" with no attributes.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "front/dom.hpp"
#include "util/text.hpp"

namespace pagefold {

namespace {

constexpr size_t npos = std::string_view::npos;

bool is_ascii_alpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

char ascii_lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

// Byte length of the UTF-8 sequence starting with `lead`.
size_t seq_len(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xF0) return 4;
  if (lead >= 0xE0) return 3;
  return 2;
}

char32_t decode_at(std::string_view s, size_t pos) {
  const auto b = [&](size_t k) { return static_cast<unsigned char>(s[pos + k]); };
  const size_t n = seq_len(b(0));
  if (n == 1) return b(0);
  if (n == 2) return (char32_t(b(0) & 0x1F) << 6) | (b(1) & 0x3F);
  if (n == 3) return (char32_t(b(0) & 0x0F) << 12) | (char32_t(b(1) & 0x3F) << 6) | (b(2) & 0x3F);
  return (char32_t(b(0) & 0x07) << 18) | (char32_t(b(1) & 0x3F) << 12) |
         (char32_t(b(2) & 0x3F) << 6) | (b(3) & 0x3F);
}

// Byte length of the whitespace character at `pos`, 0 when there is none.
size_t space_at(std::string_view s, size_t pos) {
  if (pos >= s.size()) return 0;
  const auto c = static_cast<unsigned char>(s[pos]);
  if (c < 0x80) return text::is_space(c) ? 1 : 0;
  return text::is_space(decode_at(s, pos)) ? seq_len(c) : 0;
}

size_t skip_spaces(std::string_view s, size_t pos) {
  while (size_t n = space_at(s, pos)) pos += n;
  return pos;
}

// Start of the character that ends just before `pos` (pos > 0).
size_t prev_char(std::string_view s, size_t pos) {
  --pos;
  while (pos > 0 && (static_cast<unsigned char>(s[pos]) & 0xC0) == 0x80) --pos;
  return pos;
}

// Skips whitespace and any "/" that does not begin "/>".
size_t skip_tag_gap(std::string_view s, size_t pos) {
  for (;;) {
    if (size_t n = space_at(s, pos)) {
      pos += n;
    } else if (pos < s.size() && s[pos] == '/' && (pos + 1 >= s.size() || s[pos + 1] != '>')) {
      ++pos;
    } else {
      return pos;
    }
  }
}

// A tag name: a letter, then everything up to whitespace of the ASCII kind,
// "/", ">" or NUL. Returns its end.
size_t tag_name_end(std::string_view s, size_t pos) {
  ++pos;  // the letter
  while (pos < s.size()) {
    const char c = s[pos];
    if (c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == ' ' || c == '/' || c == '>' ||
        c == '\0')
      break;
    ++pos;
  }
  return pos;
}

// One attribute as the tolerant start-tag pattern reads it.
struct AttrSpan {
  size_t name_begin = 0, name_end = 0;
  bool has_value = false;  // an "=" part was read
  size_t value_begin = 0, value_end = 0;
  size_t end = 0;  // after the value and the gap that follows
};

// An attribute value at `pos`: quoted in ' or " up to the matching quote, or
// bare up to whitespace or ">". A quote without its partner is no value.
bool value_at(std::string_view s, size_t pos, size_t& end) {
  if (pos < s.size() && (s[pos] == '\'' || s[pos] == '"')) {
    const size_t close = s.find(s[pos], pos + 1);
    if (close == npos) return false;
    end = close + 1;
    return true;
  }
  end = pos;
  while (end < s.size() && s[end] != '>' && !space_at(s, end)) end += seq_len(s[end]);
  return true;
}

// The "= value" part after an attribute name: whitespace, one or more "=",
// whitespace, value. When the value fails (an unpaired quote), the pattern
// settles for less: an empty value before the last whitespace, or, with
// several "=", a bare value that starts at the last "=".
bool value_part(std::string_view s, size_t pos, AttrSpan& a) {
  const size_t eq = skip_spaces(s, pos);
  if (eq >= s.size() || s[eq] != '=') return false;
  size_t eq_end = eq;
  while (eq_end < s.size() && s[eq_end] == '=') ++eq_end;
  const size_t val = skip_spaces(s, eq_end);
  size_t end = 0;
  if (value_at(s, val, end)) {
    a.value_begin = val;
    a.value_end = end;
  } else if (val > eq_end) {
    a.value_begin = a.value_end = prev_char(s, val);
  } else if (eq_end - eq >= 2) {
    value_at(s, eq_end - 1, end);
    a.value_begin = eq_end - 1;
    a.value_end = end;
  } else {
    return false;
  }
  a.has_value = true;
  return true;
}

// An attribute at `pos`: it must follow a quote, whitespace or "/"; its name
// starts with anything but whitespace, "/" and ">", and runs up to
// whitespace, "/", "=" or ">".
bool attr_at(std::string_view s, size_t pos, AttrSpan& a) {
  if (pos == 0 || pos >= s.size()) return false;
  const size_t before = prev_char(s, pos);
  if (s[before] != '\'' && s[before] != '"' && s[before] != '/' && !space_at(s, before))
    return false;
  if (s[pos] == '/' || s[pos] == '>' || space_at(s, pos)) return false;
  a = AttrSpan{};
  a.name_begin = pos;
  size_t p = pos + seq_len(s[pos]);
  while (p < s.size() && s[p] != '/' && s[p] != '=' && s[p] != '>' && !space_at(s, p))
    p += seq_len(s[p]);
  a.name_end = p;
  if (value_part(s, p, a)) p = a.value_end;
  a.end = skip_tag_gap(s, p);
  return true;
}

class Scanner {
 public:
  Scanner(std::string_view s, TokenSink& sink) : s_(s), sink_(sink) {}
  void run();

 private:
  void text(size_t from, size_t to) { sink_.handle_data(unescape(s_.substr(from, to - from))); }
  size_t raw_text_end(size_t from, size_t& close_end) const;
  // Also leaves the tag's attributes in `spans_`.
  size_t start_tag_end(size_t i);
  // Each parse_* answers the position after the construct at `i`, or npos
  // when the construct is not terminated.
  size_t parse_starttag(size_t i);
  size_t parse_endtag(size_t i);
  size_t parse_comment(size_t i) const;
  size_t parse_declaration(size_t i) const;
  size_t parse_marked_section(size_t i) const;
  size_t find_gt(size_t from) const;

  std::string_view s_;
  TokenSink& sink_;
  std::string raw_elem_;         // "script" or "style" while in raw text, else empty
  std::vector<AttrSpan> spans_;  // attributes of the start tag being read
};

void Scanner::run() {
  const size_t n = s_.size();
  size_t i = 0;
  while (i < n) {
    if (!raw_elem_.empty()) {
      // Raw text runs to the first "</name>" (any case, whitespace allowed
      // around the name) and arrives as one piece. Without a closing tag the
      // rest of the input is not delivered.
      size_t close_end = 0;
      const size_t close = raw_text_end(i, close_end);
      if (close == npos) return;
      if (close > i) sink_.handle_data(std::string(s_.substr(i, close - i)));
      sink_.handle_endtag(raw_elem_);
      raw_elem_.clear();
      i = close_end;
      continue;
    }
    size_t j = s_.find('<', i);
    if (j == npos) j = n;
    if (i < j) text(i, j);
    i = j;
    if (i == n) break;
    size_t k = npos;
    if (i + 1 < n && is_ascii_alpha(s_[i + 1])) {
      k = parse_starttag(i);
    } else if (s_.compare(i, 2, "</") == 0) {
      k = parse_endtag(i);
    } else if (s_.compare(i, 4, "<!--") == 0) {
      k = parse_comment(i);
    } else if (s_.compare(i, 2, "<?") == 0) {
      k = find_gt(i + 2);  // processing instruction
    } else if (s_.compare(i, 2, "<!") == 0) {
      k = parse_declaration(i);
    } else if (i + 1 < n) {
      sink_.handle_data("<");
      k = i + 1;
    } else {
      break;  // a final "<" is text
    }
    if (k == npos) {
      // An unterminated construct: its text up to the next ">" (or "<")
      // becomes character data and scanning goes on after it.
      size_t to = s_.find('>', i + 1);
      if (to != npos) {
        ++to;
      } else {
        to = s_.find('<', i + 1);
        if (to == npos) to = i + 1;
      }
      text(i, to);
      k = to;
    }
    i = k;
  }
  if (i < n && raw_elem_.empty()) text(i, n);
}

// Position of the closing tag of the raw text element from `from` on.
size_t Scanner::raw_text_end(size_t from, size_t& close_end) const {
  for (size_t at = s_.find("</", from); at != npos; at = s_.find("</", at + 1)) {
    size_t p = skip_spaces(s_, at + 2);
    if (s_.size() - p < raw_elem_.size()) return npos;
    bool same = true;
    for (size_t k = 0; k < raw_elem_.size() && same; ++k)
      same = ascii_lower(s_[p + k]) == raw_elem_[k];
    if (!same) continue;
    p = skip_spaces(s_, p + raw_elem_.size());
    if (p < s_.size() && s_[p] == '>') {
      close_end = p + 1;
      return at;
    }
  }
  return npos;
}

size_t Scanner::find_gt(size_t from) const {
  const size_t gt = s_.find('>', from);
  return gt == npos ? npos : gt + 1;
}

// Where the start tag at `i` ends: after its ">" or "/>", npos when the tag is
// unterminated (or its last attribute is still open), or the position where
// the tolerant pattern stopped when a stray character follows the tag. The
// attributes met on the way are the tag's attributes: they all start before
// the end, and where this scan skips a "/" that the attribute scan would stop
// at, a ">" follows, where no attribute starts.
size_t Scanner::start_tag_end(size_t i) {
  spans_.clear();
  size_t j = tag_name_end(s_, i + 1);
  while (j < s_.size() && (s_[j] == '/' || space_at(s_, j)))
    j += s_[j] == '/' ? 1 : space_at(s_, j);
  AttrSpan a;
  while (attr_at(s_, j, a)) {
    spans_.push_back(a);
    j = a.end;
  }
  j = skip_spaces(s_, j);
  if (j >= s_.size()) return npos;
  const char next = s_[j];
  if (next == '>') return j + 1;
  if (next == '/') return s_.compare(j, 2, "/>") == 0 ? j + 2 : npos;
  if (is_ascii_alpha(next) || next == '=') return npos;
  return j;
}

size_t Scanner::parse_starttag(size_t i) {
  const size_t endpos = start_tag_end(i);
  if (endpos == npos) return npos;
  const size_t name_end = tag_name_end(s_, i + 1);
  const std::string tag = text::lower(s_.substr(i + 1, name_end - i - 1));
  Attrs attrs;
  attrs.reserve(spans_.size());
  size_t k = skip_tag_gap(s_, name_end);
  for (const AttrSpan& a : spans_) {
    Attr attr{text::lower(s_.substr(a.name_begin, a.name_end - a.name_begin)), std::nullopt};
    if (a.has_value) {
      std::string_view v = s_.substr(a.value_begin, a.value_end - a.value_begin);
      if (v.size() >= 2 && (v.front() == '\'' || v.front() == '"') && v.back() == v.front())
        v = v.substr(1, v.size() - 2);
      attr.value = unescape(v);
    }
    attrs.push_back(std::move(attr));
    k = a.end;
  }
  const std::string rest = k < endpos ? text::strip(s_.substr(k, endpos - k)) : std::string();
  if (rest != ">" && rest != "/>") {
    // Stray characters inside the tag: the whole tag is text, as written.
    sink_.handle_data(std::string(s_.substr(i, endpos - i)));
    return endpos;
  }
  if (rest == "/>") {
    sink_.handle_startendtag(tag, attrs);
  } else {
    sink_.handle_starttag(tag, attrs);
    if (tag == "script" || tag == "style") raw_elem_ = tag;
  }
  return endpos;
}

size_t Scanner::parse_endtag(size_t i) {
  const size_t gt = s_.find('>', i + 1);
  if (gt == npos) return npos;
  // The plain form "</name>" with optional whitespace around the name.
  size_t p = skip_spaces(s_, i + 2);
  if (p < s_.size() && is_ascii_alpha(s_[p])) {
    const size_t name = p;
    while (p < s_.size() && (is_ascii_alpha(s_[p]) || (s_[p] >= '0' && s_[p] <= '9') ||
                             s_[p] == '-' || s_[p] == '.' || s_[p] == ':' || s_[p] == '_'))
      ++p;
    const size_t name_end = p;
    p = skip_spaces(s_, p);
    if (p == gt) {
      sink_.handle_endtag(text::lower(s_.substr(name, name_end - name)));
      return gt + 1;
    }
  }
  // Anything else after "</": a name is read as in a start tag and the rest
  // up to ">" is ignored; "</>" is nothing; without a name it is a comment.
  if (i + 2 < s_.size() && is_ascii_alpha(s_[i + 2])) {
    const size_t name_end = tag_name_end(s_, i + 2);
    const size_t after = skip_tag_gap(s_, name_end);
    sink_.handle_endtag(text::lower(s_.substr(i + 2, name_end - i - 2)));
    return find_gt(after);
  }
  return gt + 1;
}

// "<!--" up to the first "--" followed by optional whitespace and ">".
size_t Scanner::parse_comment(size_t i) const {
  for (size_t at = s_.find("--", i + 4); at != npos; at = s_.find("--", at + 1)) {
    const size_t p = skip_spaces(s_, at + 2);
    if (p < s_.size() && s_[p] == '>') return p + 1;
  }
  return npos;
}

// "<!" not starting a comment: a marked section "<![", a document type
// declaration, or a bogus comment up to the next ">".
size_t Scanner::parse_declaration(size_t i) const {
  if (s_.compare(i, 3, "<![") == 0) return parse_marked_section(i);
  static constexpr std::string_view kDoctype = "<!doctype";
  if (s_.size() - i >= kDoctype.size()) {
    bool doctype = true;
    for (size_t k = 2; k < kDoctype.size() && doctype; ++k)
      doctype = ascii_lower(s_[i + k]) == kDoctype[k];
    if (doctype) return find_gt(i + kDoctype.size());
  }
  return find_gt(i + 2);
}

// "<![keyword" ... : CDATA, TEMP, IGNORE, INCLUDE and RCDATA sections end at
// "]]>" (whitespace allowed between), the conditional-comment keywords if,
// else and endif at "]>". Any other keyword makes it a bogus comment.
size_t Scanner::parse_marked_section(size_t i) const {
  size_t p = i + 3;
  if (p >= s_.size()) return npos;
  if (!is_ascii_alpha(s_[p])) return find_gt(i + 2);
  const size_t name = p;
  while (p < s_.size() && (is_ascii_alpha(s_[p]) || (s_[p] >= '0' && s_[p] <= '9') ||
                           s_[p] == '-' || s_[p] == '_' || s_[p] == '.'))
    ++p;
  std::string keyword;
  for (size_t k = name; k < p; ++k) keyword += ascii_lower(s_[k]);
  if (skip_spaces(s_, p) >= s_.size()) return npos;
  const bool standard = keyword == "temp" || keyword == "cdata" || keyword == "ignore" ||
                        keyword == "include" || keyword == "rcdata";
  const bool conditional = keyword == "if" || keyword == "else" || keyword == "endif";
  if (!standard && !conditional) return find_gt(i + 2);
  for (size_t at = s_.find(']', i + 3); at != npos; at = s_.find(']', at + 1)) {
    size_t q = skip_spaces(s_, at + 1);
    if (standard) {
      if (q >= s_.size() || s_[q] != ']') continue;
      q = skip_spaces(s_, q + 1);
    }
    if (q < s_.size() && s_[q] == '>') return q + 1;
  }
  return npos;
}

}  // namespace

void tokenize(std::string_view html, TokenSink& sink) { Scanner(html, sink).run(); }

}  // namespace pagefold
