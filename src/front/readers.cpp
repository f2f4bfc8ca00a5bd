// Attribute, number and colour readers. Every reader is total for its usual
// input: it answers a value or absent and leaves the meaning of absent to the
// caller. The one exception is parse_px, whose digits-and-dots group that is
// no number ("1.2.3") raises, and stops the conversion of the document.
#include "front/readers.hpp"

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
bool same_name(std::string_view a, std::string_view b) {
  if (is_ascii(a) && is_ascii(b)) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
      unsigned char x = a[i], y = b[i];
      if (x >= 'A' && x <= 'Z') x += 32;
      if (y >= 'A' && y <= 'Z') y += 32;
      if (x != y) return false;
    }
    return true;
  }
  return text::lower(a) == text::lower(b);
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

std::optional<int64_t> parse_px(const OptStr& v) {
  static const Regex re(R"(^([\d.]+)(?:px?)?$)");
  const std::string t = text::strip(text_form(v));
  auto m = re.match(t);
  if (!m) return std::nullopt;
  // Not caught on purpose: "1.2.3" or "." raise ValueError.
  return checked::trunc(num::to_real(m->group(1)));
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

std::optional<std::string> style_prop(const OptStr& style, std::string_view key) {
  // One compiled pattern per property name; the names are a small fixed set.
  static std::mutex mu;
  static std::map<std::string, std::unique_ptr<Regex>, std::less<>> cache;
  const Regex* re;
  {
    std::lock_guard<std::mutex> lock(mu);
    auto it = cache.find(key);
    if (it == cache.end()) {
      std::string pat = R"((?:^|;)\s*)" + std::string(key) + R"(\s*:\s*([^;]+))";
      it = cache.emplace(std::string(key), std::make_unique<Regex>(pat)).first;
    }
    re = it->second.get();
  }
  if (!style) return std::nullopt;
  auto m = re->search(*style);
  if (!m) return std::nullopt;
  return m->str(1);
}

Value _style_pos(const OptStr& style) {
  Value pos = Value::object();
  for (const char* k : {"left", "top", "width", "height"}) {
    auto raw = style_prop(style, k);
    if (!raw) continue;
    if (auto v = parse_px(raw)) pos.as_object().set(k, Value(*v));
  }
  return pos;
}

OptStr _attr(const Attrs& attrs, std::string_view name, const OptStr& dflt) {
  for (const Attr& a : attrs)
    if (same_name(a.name, name)) return a.value;
  return dflt;
}

std::set<std::string> _classes(const Attrs& attrs) {
  auto v = _attr(attrs, "class");
  std::set<std::string> out;
  if (!v) return out;
  for (auto& c : text::split_ws(*v)) out.insert(std::move(c));
  return out;
}

OptStr _glyph_from_attrs(const Attrs& attrs) {
  static const Regex icon_class(R"(^icon-(.+)$)");
  auto v = _attr(attrs, "data-icon");
  if (truthy(v)) {
    std::string s = text::strip(*v);
    if (!s.empty()) return s;
  }
  // With two icon- classes the set order decides: the first by code point.
  for (const auto& c : _classes(attrs))
    if (auto m = icon_class.match(c)) return m->str(1);
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

std::optional<int64_t> _color_explicit(const Attrs& attrs, const std::vector<std::string>& names,
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
  auto v = _attr(attrs, name);
  return truthy(v) ? v : std::nullopt;
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
  static const Regex font_size(R"((?:^|;)\s*font-size\s*:\s*([^;]+))");
  const std::string style = _attr(attrs, "style").value_or("");
  if (auto m = font_size.search(style)) {
    if (auto px = parse_px(m->str(1))) return px;
  }
  return std::nullopt;
}

std::optional<int64_t> _bg_color(const Attrs& attrs) {
  if (auto v = to_dec(_attr(attrs, "data-background"))) return v;
  if (auto v = to_dec(_attr(attrs, "data-bg"))) return v;
  static const Regex background(R"((?:^|;)\s*background(?:-color)?\s*:\s*([^;]+))");
  const std::string style = _attr(attrs, "style").value_or("");
  // A gradient is no colour: the declaration then answers absent.
  if (auto m = background.search(style)) return to_dec(text::strip(m->group(1)));
  return std::nullopt;
}

int64_t _bg_or(const Attrs& attrs, int64_t dflt) { return _bg_color(attrs).value_or(dflt); }

}  // namespace pagefold
