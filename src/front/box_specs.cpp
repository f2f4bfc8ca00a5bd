// Box decoration as small numeric specs: shadows, corner radii, borders, box
// sizing, and the canvas colour. All are pure readers except _grow, which
// changes the position record it is given (every holder of that record sees
// the change). None of them warns.
#include "front/box_specs.hpp"

#include <algorithm>
#include <cmath>

#include "front/backgrounds.hpp"
#include "front/checked.hpp"
#include "front/readers.hpp"
#include "pagefold/error.hpp"
#include "util/num.hpp"
#include "util/regex.hpp"
#include "util/text.hpp"

namespace pagefold {

std::optional<ShadowSpec> _shadow_spec(const std::optional<std::string>& style) {
  // Not anchored: "-webkit-box-shadow" is read too, whichever comes first.
  static const Regex shadow(R"(box-shadow\s*:\s*([^;]+))");
  if (!style || !text::contains(*style, "box-shadow")) return std::nullopt;
  const std::string& s = *style;
  auto m = shadow.search(s);
  if (!m) return std::nullopt;
  const std::string raw = text::strip(m->group(1));
  if (raw.empty() || text::starts_with(text::lower(raw), "none")) return std::nullopt;

  // An inset shadow reads like an outer one; the effect audit finds it itself.
  std::vector<std::string> toks;
  for (auto& t : text::split_ws(raw)) {
    const std::string l = text::lower(t);
    if (l != "inset" && l != "outset") toks.push_back(std::move(t));
  }
  std::vector<double> nums;
  for (const auto& t : toks) {
    if (nums.size() == 3) break;
    auto v = _px_num(t);
    if (!v) break;
    nums.push_back(*v);
  }
  // A leading colour, or only two lengths, is no shadow. A spread length is
  // just one more token that is no colour.
  if (nums.size() < 3) return std::nullopt;
  Color color = Color::rgba(0, 0, 0, 80);
  for (size_t i = nums.size(); i < toks.size(); ++i) {
    if (auto c = _css_color(toks[i])) {
      color = *c;
      break;
    }
  }
  auto ox = checked::trunc(nums[0]), oy = checked::trunc(nums[1]);
  auto blur = checked::trunc(std::fabs(nums[2]));
  if (!ox || !oy || !blur) return std::nullopt;
  return ShadowSpec{*ox, *oy, *blur, color};
}

int64_t _shadow_pad(double ox, double oy, double blur) {
  const int64_t x = num::trunc(ox), y = num::trunc(oy), b = num::trunc(blur);
  return std::max<int64_t>(2, b + std::max(std::abs(x), std::abs(y)));
}

namespace {

// `held - pad` / `held + pad` on a position member, keeping its kind.
Value shifted(const Value& held, int64_t delta, const char* op) {
  if (held.is_int()) return Value(held.as_int() + delta);
  if (held.is_real()) return Value(held.as_real() + static_cast<double>(delta));
  if (held.is_bool()) return Value(static_cast<int64_t>(held.as_bool()) + delta);
  throw TypeError(std::string("unsupported operand type(s) for ") + op + ": '" +
                  (held.is_null()     ? "NoneType"
                   : held.is_string() ? "str"
                                      : "dict") +
                  "' and 'int'");
}

}  // namespace

void _grow(const Value& pos, double pad) {
  const int64_t p = num::trunc(pad);
  Object& o = pos.as_object();
  auto read = [&o](const char* k, int64_t dflt) {
    const Value* v = o.find(k);
    return v ? *v : Value(dflt);
  };
  o.set("left", shifted(read("left", 0), -p, "-"));
  o.set("top", shifted(read("top", 0), -p, "-"));
  o.set("width", shifted(read("width", 100), 2 * p, "+"));
  o.set("height", shifted(read("height", 40), 2 * p, "+"));
}

namespace {

const Regex& radius_re() {
  // Not anchored, like the shadow pattern.
  static const Regex re(R"(border-radius\s*:\s*([^;]+))");
  return re;
}

// "<number>%" of `ref`; absent when the text before "%" is no number.
std::optional<double> percent_of(const std::string& t, double ref) {
  auto f = num::parse_real(std::string_view(t).substr(0, t.size() - 1));
  if (!f) return std::nullopt;
  return *f / 100.0 * ref;
}

}  // namespace

int64_t _radius_px(const std::optional<std::string>& style, double w, double h, int64_t dflt) {
  if (!style || !text::contains(*style, "border-radius")) return dflt;
  const std::string& s = *style;
  auto m = radius_re().search(s);
  if (!m) return dflt;
  auto toks = text::split_ws(m->group(1));
  if (toks.empty()) return dflt;
  const std::string& raw = toks[0];
  const double side = std::min(w, h);
  // Only the first corner of a shorthand counts.
  auto v = text::ends_with(raw, "%") ? percent_of(raw, side) : _px_num(raw);
  if (!v) return dflt;
  auto r = checked::round_even(*v);
  if (!r) return dflt;
  const int64_t cap = static_cast<int64_t>(std::floor(side / 2.0));
  return std::max<int64_t>(0, std::min(*r, cap));
}

std::optional<Radii> _radius_corners(const std::optional<std::string>& style, double w, double h) {
  // Most styles have no radius: the pattern's literal decides that faster.
  if (!style || !text::contains(*style, "border-radius")) return std::nullopt;
  const std::string& s = *style;
  auto m = radius_re().search(s);
  if (!m) return std::nullopt;
  const double ref = std::min(w, h);
  auto one = [ref](const std::string& t) -> double {
    auto v = text::ends_with(t, "%") ? percent_of(t, ref) : _px_num(t);
    return v.value_or(0.0);
  };
  // Elliptical second radii after "/" are ignored.
  const std::string_view g = m->group(1);
  std::vector<double> vals;
  for (const auto& t : text::split_ws(g.substr(0, g.find('/')))) vals.push_back(one(t));
  double c[4] = {0.0, 0.0, 0.0, 0.0};
  switch (vals.size()) {
    case 0:
      break;
    case 1:
      c[0] = c[1] = c[2] = c[3] = vals[0];
      break;
    case 2:
      c[0] = c[2] = vals[0];
      c[1] = c[3] = vals[1];
      break;
    case 3:
      c[0] = vals[0];
      c[1] = c[3] = vals[1];
      c[2] = vals[2];
      break;
    default:
      std::copy(vals.begin(), vals.begin() + 4, c);
  }
  const double lim = ref / 2.0;
  for (double& v : c) v = std::max(0.0, std::min(v, lim));
  return Radii{c[0], c[1], c[2], c[3]};
}

std::optional<BorderSpec> _border_spec(const std::optional<std::string>& style) {
  // Only the shorthand: border-width, border-color, border-left are not read.
  static const Regex border(R"((?:^|;)\s*border\s*:\s*([^;]+))");
  const std::string s = style.value_or("");
  auto m = border.search(s);
  if (!m) return std::nullopt;
  std::optional<int64_t> w;
  std::optional<Color> col;
  for (const auto& tok : text::split_ws(m->group(1))) {
    auto v = _px_num(tok);
    if (!w && v) {
      w = checked::round_even(*v);
      if (!w) return std::nullopt;
      continue;
    }
    if (!col) col = _css_color(tok);
  }
  // "border:none", "border:0" and "border:solid red" are no border.
  if (!w || *w <= 0) return std::nullopt;
  return BorderSpec{*w, col.value_or(Color::rgba(0, 0, 0, 255))};
}

std::string _box_sizing(const std::optional<std::string>& style, const std::string& dflt) {
  static const Regex sizing(R"(box-sizing\s*:\s*([a-z-]+))");
  const std::string s = style.value_or("");
  auto m = sizing.search(s);
  const std::string v = m ? text::lower(text::strip(m->group(1))) : std::string();
  return v == "content-box" || v == "border-box" ? v : dflt;
}

std::tuple<int64_t, int64_t, int64_t> _thumb_outer_size(const std::optional<std::string>& style,
                                                        int64_t tw, int64_t th,
                                                        const std::string& default_box) {
  auto b = _border_spec(style);
  const int64_t bw = b ? b->w : 0;
  if (bw == 0) return {tw, th, 0};
  if (_box_sizing(style, default_box) == "content-box") return {tw + 2 * bw, th + 2 * bw, bw};
  return {tw, th, bw};
}

namespace {

// Depth-first search in document order.
const Node* find_tag(const Node& root, const std::string& tag) {
  std::vector<const Node*> todo{&root};
  while (!todo.empty()) {
    const Node* n = todo.back();
    todo.pop_back();
    if (n->tag == tag) return n;
    for (auto it = n->children.rbegin(); it != n->children.rend(); ++it) todo.push_back(*it);
  }
  return nullptr;
}

}  // namespace

std::optional<int64_t> _canvas_bg(const Node& root) {
  for (const char* tag : {"body", "html"}) {
    const Node* n = find_tag(root, tag);
    if (!n) continue;
    auto spec = _bg_spec(_attr(n->attrs, "style").value_or(""));
    // The alpha member is read unchecked: a named colour has only three
    // members, so "background:white" on body fails here with IndexError.
    if (spec && spec->kind == "color" && spec->color.at(3) > 0) {
      const Color& c = spec->color;
      return (c.r() << 16) | (c.g() << 8) | c.b();
    }
  }
  return std::nullopt;
}

}  // namespace pagefold
