// Attribute, number and colour readers. Every reader is total for its usual
// input: it answers a value or absent and leaves the meaning of absent to the
// caller. The one exception is parse_px, whose digits-and-dots group that is
// no number ("1.2.3") raises, and stops the conversion of the document.
#include "front/readers.hpp"

#include <algorithm>
#include <charconv>
#include <map>
#include <memory>
#include <mutex>

#include "front/checked.hpp"
#include "util/num.hpp"
#include "util/regex.hpp"
#include "util/text.hpp"

namespace pagefold {

const std::vector<NamedColor> CSS_COLOR_NAMES = {
    {"black", Color::rgb(0, 0, 0)},      {"white", Color::rgb(255, 255, 255)},
    {"red", Color::rgb(255, 0, 0)},      {"green", Color::rgb(0, 128, 0)},
    {"lime", Color::rgb(0, 255, 0)},     {"blue", Color::rgb(0, 0, 255)},
    {"yellow", Color::rgb(255, 255, 0)}, {"orange", Color::rgb(255, 165, 0)},
    {"gray", Color::rgb(128, 128, 128)}, {"grey", Color::rgb(128, 128, 128)},
    {"transparent", std::nullopt},
};

namespace {

bool is_ascii(std::string_view s) {
  for (unsigned char ch : s)
    if (ch >= 0x80) return false;
  return true;
}

// Attribute names compare without regard to case (Unicode lower-casing).
// Names are nearly always ASCII, and then a difference at an ASCII position
// decides at once: Unicode lower-casing keeps the ASCII prefix as it is.
bool same_name(std::string_view a, std::string_view b) {
  const size_t n = std::min(a.size(), b.size());
  for (size_t i = 0; i < n; ++i) {
    unsigned char x = a[i], y = b[i];
    if ((x | y) & 0x80) return text::lower(a) == text::lower(b);
    if (x >= 'A' && x <= 'Z') x += 32;
    if (y >= 'A' && y <= 'Z') y += 32;
    if (x != y) return false;
  }
  if (a.size() == b.size()) return true;
  const std::string_view rest = (a.size() > b.size() ? a : b).substr(n);
  if (is_ascii(rest)) return false;
  return text::lower(a) == text::lower(b);
}

// The code point at byte `i` of valid UTF-8 `s`; `len` gets its byte length.
char32_t code_point_at(std::string_view s, size_t i, size_t& len) {
  const auto b = [&](size_t k) { return static_cast<unsigned char>(s[i + k]); };
  const unsigned char lead = b(0);
  if (lead < 0x80) {
    len = 1;
    return lead;
  }
  if (lead >= 0xF0 && i + 3 < s.size()) {
    len = 4;
    return (char32_t(lead & 0x07) << 18) | (char32_t(b(1) & 0x3F) << 12) |
           (char32_t(b(2) & 0x3F) << 6) | (b(3) & 0x3F);
  }
  if (lead >= 0xE0 && i + 2 < s.size()) {
    len = 3;
    return (char32_t(lead & 0x0F) << 12) | (char32_t(b(1) & 0x3F) << 6) | (b(2) & 0x3F);
  }
  if (lead >= 0xC0 && i + 1 < s.size()) {
    len = 2;
    return (char32_t(lead & 0x1F) << 6) | (b(1) & 0x3F);
  }
  len = 1;
  return lead;
}

size_t skip_space(std::string_view s, size_t i) {
  size_t len = 0;
  while (i < s.size() && text::is_space(code_point_at(s, i, len))) i += len;
  return i;
}

// "\s*<key>\s*:\s*([^;]+)" tried at byte `i` of `style`: group 1 or absent.
// The value after the colon skips whitespace greedily but must hold one
// character, so a value of whitespace only is its last whitespace character.
std::optional<std::string_view> prop_at(std::string_view style, size_t i, std::string_view key) {
  i = skip_space(style, i);
  if (style.substr(i, key.size()) != key) return std::nullopt;
  i = skip_space(style, i + key.size());
  if (i >= style.size() || style[i] != ':') return std::nullopt;
  ++i;
  size_t last_space = std::string_view::npos, len = 0;
  while (i < style.size() && text::is_space(code_point_at(style, i, len))) {
    last_space = i;
    i += len;
  }
  size_t end = style.find(';', i);
  if (end == std::string_view::npos) end = style.size();
  if (end > i) return style.substr(i, end - i);
  if (last_space != std::string_view::npos) return style.substr(last_space, i - last_space);
  return std::nullopt;
}

// The first place in `style` where a declaration of `key` (or of `alt`,
// tried second at the same place) can be read, as the property pattern
// "(?:^|;)\s*<key>\s*:\s*([^;]+)" searches: at the start, then after each
// ";". Keys are property names, which hold no pattern characters. Written out
// because every builder reads several properties of every control's style.
std::optional<std::string_view> find_prop(std::string_view style, std::string_view key,
                                          std::string_view alt = {}) {
  for (size_t i = 0;;) {
    if (auto v = prop_at(style, i, key)) return v;
    if (!alt.empty()) {
      if (auto v = prop_at(style, i, alt)) return v;
    }
    const size_t semi = style.find(';', i);
    if (semi == std::string_view::npos) return std::nullopt;
    i = semi + 1;
  }
}

// "^([\d.]+)(?:px?)?$" on ASCII text, which is all but certain: group 1, or
// absent without a match. `std::nullopt` in `ascii` means the text was not
// ASCII and the pattern itself must decide (Unicode digits count there).
std::optional<std::string_view> px_digits(std::string_view t, bool& ascii) {
  ascii = is_ascii(t);
  if (!ascii) return std::nullopt;
  size_t k = 0;
  while (k < t.size() && ((t[k] >= '0' && t[k] <= '9') || t[k] == '.')) ++k;
  if (k == 0) return std::nullopt;
  const std::string_view rest = t.substr(k);
  if (rest.empty() || rest == "p" || rest == "px") return t.substr(0, k);
  return std::nullopt;
}

}  // namespace

std::optional<int64_t> to_dec(const OptStr& color) {
  if (!color) return std::nullopt;
  const std::string s = text::strip(*color);
  if (s.empty()) return std::nullopt;
  // "#fff" is the integer 0xFFF: the rest is neither expanded nor checked.
  if (s[0] == '#') return num::parse_int(std::string_view(s).substr(1), 16);
  if (s.size() >= 2 && s[0] == '0' && (s[1] == 'x' || s[1] == 'X')) return num::parse_int(s, 16);
  return num::parse_int(s, 10);
}

namespace {

// parse_px of text already stripped.
std::optional<int64_t> px_of_stripped(std::string_view t) {
  static const Regex re(R"(^([\d.]+)(?:px?)?$)");
  bool ascii = false;
  std::optional<std::string_view> digits = px_digits(t, ascii);
  if (!ascii) {
    if (auto m = re.match(t)) digits = m->group(1);
  }
  if (!digits) return std::nullopt;
  // Up to 15 plain ASCII digits are their own integer: every such number is
  // exact as a double, so reading it as one and truncating gives the same.
  if (ascii && digits->size() <= 15 && digits->find('.') == std::string_view::npos) {
    int64_t n = 0;
    for (char c : *digits) n = n * 10 + (c - '0');
    return n;
  }
  // Plain ASCII digits with at most one point read directly, correctly
  // rounded like the general reader; everything else goes through it.
  if (ascii && std::count(digits->begin(), digits->end(), '.') <= 1 && *digits != ".") {
    double d = 0;
    const auto res = std::from_chars(digits->data(), digits->data() + digits->size(), d);
    if (res.ec == std::errc() && res.ptr == digits->data() + digits->size())
      return checked::trunc(d);
  }
  // Not caught on purpose: "1.2.3" or "." raise ValueError.
  return checked::trunc(num::to_real(*digits));
}

}  // namespace

std::optional<int64_t> parse_px(const OptStr& v) {
  const std::string t = text::strip(text_form(v));
  return px_of_stripped(t);
}

std::optional<int64_t> parse_px_in(std::string_view v) {
  // ASCII text, all but certain, is stripped in place; anything else takes
  // the general road.
  if (!is_ascii(v)) return parse_px(std::string(v));
  size_t b = 0, e = v.size();
  while (b < e && text::is_space(static_cast<unsigned char>(v[b]))) ++b;
  while (e > b && text::is_space(static_cast<unsigned char>(v[e - 1]))) --e;
  return px_of_stripped(v.substr(b, e - b));
}

Value _num(const OptStr& v, const Value& dflt) {
  static const Regex re(R"(^(-?[\d.]+)(?:px?)?$)");
  if (!v) return dflt;
  const std::string t = text::strip(*v);
  auto m = re.match(t);
  if (!m) return dflt;
  auto f = num::parse_real(m->group(1));
  if (!f || !std::isfinite(*f)) return dflt;
  // A whole value is an integer ("12.0" gives 12); one beyond 64 bits is unusable.
  if (*f == std::trunc(*f)) {
    auto i = checked::trunc(*f);
    return i ? Value(*i) : dflt;
  }
  return Value(*f);
}

std::optional<double> _px_num(const OptStr& v) {
  static const Regex re(R"(^\s*(-?\d+(?:\.\d+)?)\s*(?:px|em|rem|pt|%)?\s*$)");
  const std::string t = text_form(v);
  auto m = re.match(t);
  if (!m) return std::nullopt;
  return num::parse_real(m->group(1));
}

namespace {

// A key of letters, digits, "-" and "_" stands for itself in the pattern.
bool plain_key(std::string_view key) {
  return !key.empty() && std::all_of(key.begin(), key.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '_';
  });
}

// The property pattern compiled for a key that holds pattern characters; one
// compiled pattern per such key.
const Regex& key_pattern(std::string_view key) {
  static std::mutex mu;
  static std::map<std::string, std::unique_ptr<Regex>, std::less<>> cache;
  std::lock_guard<std::mutex> lock(mu);
  auto it = cache.find(key);
  if (it == cache.end()) {
    std::string pat = R"((?:^|;)\s*)" + std::string(key) + R"(\s*:\s*([^;]+))";
    it = cache.emplace(std::string(key), std::make_unique<Regex>(pat)).first;
  }
  return *it->second;
}

}  // namespace

std::optional<std::string> style_prop(const OptStr& style, std::string_view key) {
  if (!plain_key(key)) {
    const Regex& re = key_pattern(key);
    if (!style) return std::nullopt;
    auto m = re.search(*style);
    if (!m) return std::nullopt;
    return m->str(1);
  }
  if (!style) return std::nullopt;
  if (auto v = find_prop(*style, key)) return std::string(*v);
  return std::nullopt;
}

std::optional<std::string_view> style_value(std::string_view style, std::string_view key) {
  return find_prop(style, key);
}

Value style_pos_in(std::string_view style) {
  Value pos = Value::object();
  for (const char* k : {"left", "top", "width", "height"}) {
    auto raw = find_prop(style, k);
    if (!raw) continue;
    if (auto v = parse_px(std::string(*raw))) pos.as_object().set(k, Value(*v));
  }
  return pos;
}

Value _style_pos(const OptStr& style) { return style_pos_in(style ? *style : std::string_view()); }

namespace {

// Two ASCII letters or signs that cannot be equal whatever their case.
bool ascii_apart(unsigned char x, unsigned char y) {
  return ((x | y) & 0x80) == 0 && (x | 0x20) != (y | 0x20);
}

}  // namespace

const Attr* find_attr(const Attrs& attrs, std::string_view name) {
  for (const Attr& a : attrs) {
    // Lower-casing maps an ASCII character to itself or its lower case, so
    // an ASCII first or last character that differs settles the pair early
    // (the readers ask for dozens of names per control).
    const std::string& n = a.name;
    if (!n.empty() && !name.empty() &&
        (ascii_apart(n.front(), name.front()) || ascii_apart(n.back(), name.back())))
      continue;
    if (same_name(n, name)) return &a;
  }
  return nullptr;
}

std::string_view attr_view(const Attrs& attrs, std::string_view name) {
  const Attr* a = find_attr(attrs, name);
  return a && a->value ? std::string_view(*a->value) : std::string_view();
}

OptStr _attr(const Attrs& attrs, std::string_view name, const OptStr& dflt) {
  const Attr* a = find_attr(attrs, name);
  return a ? a->value : dflt;
}

std::set<std::string> _classes(const Attrs& attrs) {
  std::set<std::string> out;
  for (auto& c : text::split_ws(attr_view(attrs, "class"))) out.insert(std::move(c));
  return out;
}

bool has_class(const Attrs& attrs, std::string_view name) {
  const std::string_view v = attr_view(attrs, "class");
  size_t i = 0, len = 0;
  while (i < v.size()) {
    while (i < v.size() && text::is_space(code_point_at(v, i, len))) i += len;
    const size_t start = i;
    while (i < v.size() && !text::is_space(code_point_at(v, i, len))) i += len;
    if (i > start && v.substr(start, i - start) == name) return true;
  }
  return false;
}

OptStr _glyph_from_attrs(const Attrs& attrs) {
  auto v = _attr(attrs, "data-icon");
  if (truthy(v)) {
    std::string s = text::strip(*v);
    if (!s.empty()) return s;
  }
  // With two icon- classes the set order decides: the first by code point.
  // The class pattern "^icon-(.+)$": classes hold no line break, so any
  // class longer than "icon-" that starts with it names the glyph.
  for (const auto& c : _classes(attrs))
    if (c.size() > 5 && text::starts_with(c, "icon-")) return c.substr(5);
  return std::nullopt;
}

std::optional<Color> _color_int_rgba(std::optional<int64_t> cint, std::optional<Color> dflt) {
  if (!cint) return dflt;
  const int64_t c = *cint;
  if (c < 0 || c > 0xFFFFFF) return dflt;
  return Color::rgba((c >> 16) & 255, (c >> 8) & 255, c & 255, 255);
}

namespace {

std::optional<Color> hex_color(const std::string& h0) {
  std::u32string h = text::to_u32(h0);
  if (h.size() == 3) h = {h[0], h[0], h[1], h[1], h[2], h[2]};
  if (h.size() != 6 && h.size() != 8) return std::nullopt;
  int64_t m[4] = {0, 0, 0, 255};
  for (size_t i = 0; i * 2 < h.size(); ++i) {
    auto v = num::parse_int(text::to_utf8(h.substr(i * 2, 2)), 16);
    if (!v) return std::nullopt;
    m[i] = *v;
  }
  return Color::rgba(m[0], m[1], m[2], m[3]);
}

std::optional<Color> rgb_func(const std::string& s) {
  static const Regex re(R"(rgba?\(([^)]+)\))");
  auto m = re.match(s);
  if (!m) return std::nullopt;
  std::vector<std::string> items = text::split(m->group(1), ",");
  for (auto& it : items) it = text::strip(it);
  if (items.size() < 3) return std::nullopt;
  int64_t ch[4] = {0, 0, 0, 255};
  for (int i = 0; i < 3; ++i) {
    auto f = num::parse_real(items[i]);
    if (!f) return std::nullopt;
    auto t = checked::trunc(*f);
    if (!t) return std::nullopt;
    ch[i] = *t;
  }
  if (items.size() >= 4) {
    auto f = num::parse_real(items[3]);
    if (!f) return std::nullopt;
    auto t = checked::trunc(*f * 255.0);
    if (!t) return std::nullopt;
    ch[3] = *t;
  }
  return Color::rgba(ch[0], ch[1], ch[2], ch[3]);
}

}  // namespace

std::optional<Color> _css_color(const OptStr& s0) {
  const std::string s = text::lower(text::strip(s0 ? *s0 : std::string()));
  if (s.empty()) return std::nullopt;
  if (s[0] == '#') {
    // Lengths other than 3, 6 and 8 can match nothing below either.
    return hex_color(s.substr(1));
  }
  if (auto c = rgb_func(s)) return c;
  for (const auto& nc : CSS_COLOR_NAMES)
    if (s == nc.name) return nc.color;
  return std::nullopt;
}

namespace {

bool is_keyword_len(const std::string& raw) {
  const std::string l = text::lower(raw);
  return l == "auto" || l == "inherit" || l == "initial" || l == "unset";
}

}  // namespace

std::optional<int64_t> _style_len(const OptStr& style, std::string_view key) {
  auto g = style_prop(style, key);
  if (!g) return std::nullopt;
  const std::string raw = text::strip(*g);
  if (text::ends_with(raw, "%") || is_keyword_len(raw)) return std::nullopt;
  auto v = _px_num(raw);
  if (!v) return std::nullopt;
  return checked::round_even(*v);
}

std::optional<int64_t> _style_len_ref(const OptStr& style, std::string_view key, double ref) {
  auto g = style_prop(style, key);
  if (!g) return std::nullopt;
  const std::string raw = text::strip(*g);
  if (is_keyword_len(raw)) return std::nullopt;
  if (text::ends_with(raw, "%")) {
    auto f = num::parse_real(std::string_view(raw).substr(0, raw.size() - 1));
    if (!f) return std::nullopt;
    return checked::round_even(*f / 100.0 * ref);
  }
  auto v = _px_num(raw);
  if (!v) return std::nullopt;
  return checked::round_even(*v);
}

std::optional<int64_t> _color_explicit(const Attrs& attrs,
                                       std::initializer_list<std::string_view> names,
                                       std::optional<int64_t> dflt) {
  for (const auto& n : names) {
    auto raw = _attr(attrs, n);
    if (!raw || text::strip(*raw).empty()) continue;
    // Black (0) is a given colour, not a missing one.
    if (auto v = to_dec(raw)) return v;
  }
  return dflt;
}

std::optional<bool> _bool_attr(const Attrs& attrs, std::string_view name) {
  auto raw = _attr(attrs, name);
  // `<input checked>` carries no value and reads as absent.
  if (!raw) return std::nullopt;
  const std::string v = text::lower(text::strip(*raw));
  return !(v == "false" || v == "0" || v == "no" || v == "off" || v == "n");
}

bool flag(const OptStr& v) {
  const std::string t = text::strip(text_form(v));
  return t == "1" || t == "true";
}

std::string image_path(const std::string& v) { return text::contains(v, "/") ? v : "images/" + v; }

OptStr nonempty_attr(const Attrs& attrs, std::string_view name) {
  const Attr* a = find_attr(attrs, name);
  if (!a || !a->value || a->value->empty()) return std::nullopt;
  return a->value;
}

OptStr first_nonempty(const Attrs& attrs, std::initializer_list<std::string_view> names) {
  for (auto n : names)
    if (auto v = nonempty_attr(attrs, n)) return v;
  return std::nullopt;
}

// ---- common attributes of every control

const std::vector<std::pair<std::string, int64_t>> ALIGN = {
    {"left", 36}, {"center", 37}, {"right", 38}, {"l", 36}, {"c", 37}, {"r", 38},
};

std::optional<int64_t> align_code(std::string_view word) {
  for (const auto& [w, code] : ALIGN)
    if (w == word) return code;
  return std::nullopt;
}

const std::vector<std::string> FS_ATTRS = {"data-fs", "data-font-size", "data-fontsize",
                                           "data-fontSize"};

std::optional<int64_t> _font_size(const Attrs& attrs) {
  for (const std::string& name : FS_ATTRS) {
    const OptStr v = nonempty_attr(attrs, name);
    if (!v) continue;
    if (auto px = parse_px(v)) return px;
  }
  if (auto v = find_prop(attr_view(attrs, "style"), "font-size")) {
    if (auto px = parse_px(std::string(*v))) return px;
  }
  return std::nullopt;
}

std::optional<int64_t> _bg_color(const Attrs& attrs) {
  if (auto v = to_dec(_attr(attrs, "data-background"))) return v;
  if (auto v = to_dec(_attr(attrs, "data-bg"))) return v;
  // A gradient is no colour: the declaration then answers absent.
  if (auto v = find_prop(attr_view(attrs, "style"), "background-color", "background"))
    return to_dec(text::strip(*v));
  return std::nullopt;
}

int64_t _bg_or(const Attrs& attrs, int64_t dflt) { return _bg_color(attrs).value_or(dflt); }

}  // namespace pagefold
