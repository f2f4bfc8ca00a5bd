// Backgrounds of a style string: plain colours, linear gradients, and the
// two-colour hard-stop gradient with which a prototype paints the filled part
// of a progress bar on its track. The device draws fill and track as two
// pictures, so that gradient is split here into two style strings.
//
// The gradient finder stops at the first ")": a stop written with rgb() or
// rgba() cuts the gradient there and leaves it unreadable. Hexadecimal stops
// are the working form.
#include "front/backgrounds.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>

#include "front/checked.hpp"
#include "front/readers.hpp"
#include "pagefold/error.hpp"
#include "util/num.hpp"
#include "util/regex.hpp"
#include "util/text.hpp"

namespace pagefold {

namespace {

const Regex& gradient_finder() {
  static const Regex re(R"(linear-gradient\(([^)]+)\))");
  return re;
}

// Reads the optional direction in front of the stops: one direction word or
// a whole number of degrees. Answers the axis and leaves the stops in `expr`.
bool read_direction(std::string& expr) {
  static const Regex direction(R"(^\s*(to\s+\w+|\d+deg)\s*,\s*(.*)$)", Regex::DOTALL);
  auto m = direction.match(expr);
  if (!m) return false;
  const std::string dir = m->str(1);
  expr = m->str(2);
  return text::contains(dir, "right") || text::starts_with(dir, "90") ||
         text::contains(dir, "left") || text::starts_with(dir, "270");
}

// Comma-separated stop items; a comma inside brackets does not separate.
std::vector<std::string> stop_items(const std::string& expr) {
  std::vector<std::string> out;
  for (const auto& part : _split_stops(expr)) {
    std::string p = text::strip(part);
    if (!p.empty()) out.push_back(std::move(p));
  }
  return out;
}

// Spreads positions evenly when no stop gave one.
void fill_positions(std::vector<Stop>& stops) {
  if (stops.size() < 2) return;
  for (const auto& s : stops)
    if (s.pos) return;
  const double last = static_cast<double>(stops.size()) - 1.0;
  for (size_t i = 0; i < stops.size(); ++i) stops[i].pos = static_cast<double>(i) / last;
}

// The frame both gradient readers share: the direction, then each stop item
// handed to `read_stop`, then positions spread when no stop gave one (one
// given position leaves every other stop without one).
template <typename ReadStop>
Gradient gradient_of(const std::optional<std::string>& expr0, ReadStop read_stop) {
  Gradient g;
  std::string expr = text::strip(expr0.value_or(""));
  g.horizontal = read_direction(expr);
  for (const auto& part : stop_items(expr)) read_stop(part, g.stops);
  fill_positions(g.stops);
  return g;
}

std::string hex2(int64_t v) { return num::hex(v, 2, true); }

std::string rgb_hex(const Color& c) { return hex2(c.r()) + hex2(c.g()) + hex2(c.b()); }

// `a - b` of two stop positions, failing like arithmetic on a missing value.
double pos_diff(const std::optional<double>& a, const std::optional<double>& b) {
  if (!a || !b)
    throw TypeError(std::string("unsupported operand type(s) for -: '") +
                    (a ? "float" : "NoneType") + "' and '" + (b ? "float" : "NoneType") + "'");
  return *a - *b;
}

}  // namespace

// A comma separates unless a ")" comes after it before the next "(": the
// comma then stands inside brackets. One scan from the end knows at every
// position which bracket comes next, so the cost grows with the length of
// the list alone; trying every comma forward, as a pattern with lookahead
// does, grows with its square.
std::vector<std::string> _split_stops(std::string_view expr) {
  std::vector<size_t> cuts;  // right to left
  char next_bracket = 0;
  for (size_t i = expr.size(); i-- > 0;) {
    const char c = expr[i];
    if (c == '(' || c == ')') {
      next_bracket = c;
    } else if (c == ',' && next_bracket != ')') {
      cuts.push_back(i);
    }
  }
  std::vector<std::string> out;
  size_t from = 0;
  for (auto it = cuts.rbegin(); it != cuts.rend(); ++it) {
    out.emplace_back(expr.substr(from, *it - from));
    from = *it + 1;
  }
  out.emplace_back(expr.substr(from));
  return out;
}

Gradient _parse_gradient(const std::optional<std::string>& expr) {
  static const Regex positioned(R"(^(.*?)\s*(\d+(?:\.\d+)?)%\s*$)");
  return gradient_of(expr, [](const std::string& part, std::vector<Stop>& stops) {
    if (auto m = positioned.match(part)) {
      if (auto c = _css_color(text::strip(m->group(1))))
        stops.push_back(Stop{num::to_real(m->group(2)) / 100.0, *c});
    } else if (auto c = _css_color(part)) {
      stops.push_back(Stop{std::nullopt, *c});
    }
  });
}

Gradient _parse_gradient_dual(const std::optional<std::string>& expr) {
  static const Regex number(R"(^(-?\d+(?:\.\d+)?)\s*(%?)$)");
  return gradient_of(expr, [](const std::string& part, std::vector<Stop>& stops) {
    std::optional<Color> col;
    std::vector<double> nums;
    for (const auto& tok : text::split_ws(part)) {
      if (!col) {
        if (auto c = _css_color(tok)) {
          col = c;
          continue;
        }
      }
      // A number without "%" is already a fraction, as _seg_style writes it.
      if (auto m = number.match(tok)) {
        double v = num::to_real(m->group(1));
        nums.push_back(m->group(2) == "%" ? v / 100.0 : v);
      }
    }
    if (!col) return;
    if (nums.empty()) stops.push_back(Stop{std::nullopt, *col});
    for (size_t i = 0; i < nums.size() && i < 2; ++i) stops.push_back(Stop{nums[i], *col});
  });
}

std::string _seg_style(const std::vector<Stop>& stops, bool renorm) {
  std::set<std::array<int64_t, 3>> cols;
  for (const auto& s : stops)
    cols.insert(std::array<int64_t, 3>{s.color.r(), s.color.g(), s.color.b()});
  if (cols.size() == 1) {
    const auto& c = *cols.begin();
    return "background:#" + hex2(c[0]) + hex2(c[1]) + hex2(c[2]);
  }
  double lo = 0.0, span = 1.0;
  if (renorm) {
    std::vector<double> pos;
    for (const auto& s : stops)
      if (s.pos) pos.push_back(*s.pos);
    if (pos.empty()) throw ValueError("min() arg is an empty sequence");
    lo = *std::min_element(pos.begin(), pos.end());
    const double hi = *std::max_element(pos.begin(), pos.end());
    span = hi - lo > 1e-06 ? hi - lo : 1e-06;
  }
  std::string body;
  for (size_t i = 0; i < stops.size(); ++i) {
    if (i) body += ", ";
    body += "#" + rgb_hex(stops[i].color);
    if (stops[i].pos) {
      const double p = renorm ? (*stops[i].pos - lo) / span : *stops[i].pos;
      body += " " + num::fmt("%.4f", p);
    }
  }
  return "background:linear-gradient(to right, " + body + ")";
}

std::string _replace_bg(const std::optional<std::string>& style, const std::string& bg) {
  static const Regex background(R"((?:^|;)\s*background(?:-color|-image)?\s*:\s*[^;]+)");
  static const Regex semicolons(R"(;{2,})");
  std::string rest = background.sub("", style.value_or(""));
  rest = text::strip_chars(semicolons.sub(";", rest), "; ");
  // The new background comes first, so it wins.
  return rest.empty() ? bg : bg + ";" + rest;
}

std::optional<FillTrack> _split_fill_track(const std::optional<std::string>& style) {
  const std::string s = style.value_or("");
  auto m = gradient_finder().search(s);
  if (!m) return std::nullopt;
  Gradient g = _parse_gradient_dual(m->str(1));
  if (g.stops.size() < 2 || !g.horizontal) return std::nullopt;
  const auto& st = g.stops;
  for (size_t i = 0; i + 1 < st.size(); ++i) {
    // A list mixing stops with and without positions fails here.
    if (!(std::fabs(pos_diff(st[i].pos, st[i + 1].pos)) < 1e-6)) continue;
    if (st[i].color.same_rgb(st[i + 1].color)) continue;
    const double p0 = *st[i].pos;
    if (!(p0 > 0.0 && p0 < 1.0)) continue;
    // The fill keeps the frame of the whole bar (it is cut at run time); the
    // track is renormalised to 0..1.
    std::vector<Stop> fill(st.begin(), st.begin() + static_cast<long>(i) + 1);
    std::vector<Stop> track(st.begin() + static_cast<long>(i) + 1, st.end());
    return FillTrack{_seg_style(fill, false), _seg_style(track, true), p0};
  }
  return std::nullopt;
}

std::optional<BgSpec> _bg_spec(const std::optional<std::string>& style) {
  static const Regex background(R"(background(?:-color)?\s*:\s*([^;]+))");
  const std::string s = style.value_or("");
  if (auto m = gradient_finder().search(s)) {
    Gradient g = _parse_gradient(m->str(1));
    if (g.stops.size() >= 2) return BgSpec{"gradient", std::move(g), Color{}};
  }
  if (auto m = background.search(s)) {
    // A colour anywhere in a shorthand: "url(x.png) no-repeat #333".
    for (const auto& tok : text::split_ws(text::strip(m->group(1))))
      if (auto c = _css_color(tok)) return BgSpec{"color", Gradient{}, *c};
  }
  return std::nullopt;
}

std::pair<std::optional<int64_t>, std::optional<std::string>> _css_progress(
    const std::optional<std::string>& style, double maxv) {
  static const Regex value(R"(--value\s*:\s*([\d.]+)\s*(%?))");
  static const Regex width(R"((?:^|;)\s*width\s*:\s*([\d.]+)\s*%)");
  const std::string s = style.value_or("");
  // Not caught on purpose: a group such as "1.2.3" raises ValueError.
  if (auto m = value.search(s)) {
    const double v = num::to_real(m->group(1));
    const bool pct = m->group(2) == "%";
    if (auto r = checked::round_even(pct ? v / 100.0 * maxv : v))
      return {*r, "--value:" + m->str(1) + (pct ? "%" : "")};
  }
  if (auto m = width.search(s)) {
    const double v = num::to_real(m->group(1));
    if (auto r = checked::round_even(v / 100.0 * maxv)) return {*r, "width:" + m->str(1) + "%"};
  }
  return {std::nullopt, std::nullopt};
}

}  // namespace pagefold
