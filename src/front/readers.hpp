// The small readers from which the whole converter is built: attributes,
// numbers, positions and colours. Each answers a value or absent; none warns.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "pagefold/json.hpp"
#include "pagefold/node.hpp"
#include "pagefold/style_types.hpp"

namespace pagefold {

using OptStr = std::optional<std::string>;

// The colour names this converter knows; "transparent" maps to absent.
struct NamedColor {
  const char* name;
  std::optional<Color> color;
};
extern const std::vector<NamedColor> CSS_COLOR_NAMES;

// The text form of an absent value, which simply fails numeric patterns.
inline std::string text_form(const OptStr& v) { return v ? *v : std::string("None"); }

std::optional<int64_t> to_dec(const OptStr& color);
// Raises ValueError for a group of digits and dots that is no number.
std::optional<int64_t> parse_px(const OptStr& v);
// parse_px of a value that is given, read in place without a copy.
std::optional<int64_t> parse_px_in(std::string_view v);
// Integer or real from "12", "12.5px", "-3"; `dflt` when unusable.
Value _num(const OptStr& v, const Value& dflt = Value(int64_t{0}));
std::optional<double> _px_num(const OptStr& v);
// left/top/width/height that could be read from a style string.
Value _style_pos(const OptStr& style);
// First attribute named `name` (any case): its value, absent when written
// without one; `dflt` when there is no such attribute.
OptStr _attr(const Attrs& attrs, std::string_view name, const OptStr& dflt = std::nullopt);
// The first attribute named `name` (any case), or null: `_attr` without a
// copy of the value, for readers that only look at it.
const Attr* find_attr(const Attrs& attrs, std::string_view name);
// The value of the first attribute named `name`, as a view into `attrs`;
// empty when there is none or it has no value.
std::string_view attr_view(const Attrs& attrs, std::string_view name);
// Group 1 of the property pattern for `key` in `style`, as a view into it
// (`style_prop` without the copy); `key` holds no pattern characters.
std::optional<std::string_view> style_value(std::string_view style, std::string_view key);
// `_style_pos` of a style string that is given (an absent one reads as "").
Value style_pos_in(std::string_view style);
std::set<std::string> _classes(const Attrs& attrs);
// Whether `name` is one of the classes: `_classes(attrs).count(name)`
// without building the set.
bool has_class(const Attrs& attrs, std::string_view name);
OptStr _glyph_from_attrs(const Attrs& attrs);
std::optional<Color> _color_int_rgba(std::optional<int64_t> cint,
                                     std::optional<Color> dflt = std::nullopt);
std::optional<Color> _css_color(const OptStr& s);
std::optional<int64_t> _style_len(const OptStr& style, std::string_view key);
std::optional<int64_t> _style_len_ref(const OptStr& style, std::string_view key, double ref);
std::optional<int64_t> _color_explicit(const Attrs& attrs,
                                       std::initializer_list<std::string_view> names,
                                       std::optional<int64_t> dflt);
std::optional<bool> _bool_attr(const Attrs& attrs, std::string_view name);

// Alignment word (lower case: "left"/"l", "center"/"c", "right"/"r") to the
// runtime's alignment code 36, 37 or 38.
extern const std::vector<std::pair<std::string, int64_t>> ALIGN;
std::optional<int64_t> align_code(std::string_view word);

// Font-size attribute aliases, tried in order.
extern const std::vector<std::string> FS_ATTRS;
// The control's font size: the first usable alias, else `font-size` of the
// style; absent when none is usable.
std::optional<int64_t> _font_size(const Attrs& attrs);
// The control's own background colour: data-background, data-bg, then the
// style's background or background-color (a gradient there reads as absent).
std::optional<int64_t> _bg_color(const Attrs& attrs);
int64_t _bg_or(const Attrs& attrs, int64_t dflt);

// Searches the property pattern "(?:^|;)\s*<key>\s*:\s*([^;]+)" in `style`
// and answers group 1 (untrimmed) of the first occurrence.
std::optional<std::string> style_prop(const OptStr& style, std::string_view key);

// Truthiness of an optional text (absent and "" are falsy) and of an
// optional integer (absent and 0 are falsy).
inline bool truthy(const OptStr& v) { return v && !v->empty(); }
inline bool truthy(const std::optional<int64_t>& v) { return v && *v != 0; }

// The flag rule: the text, stripped, is exactly "1" or "true".
bool flag(const OptStr& v);
// The image path rule: kept when it contains "/", else "images/" in front.
std::string image_path(const std::string& v);
// The attribute's value when non-empty, else absent: both a missing
// attribute and one written without a value or as "" count as not given.
OptStr nonempty_attr(const Attrs& attrs, std::string_view name);
// The first non-empty of several attributes.
OptStr first_nonempty(const Attrs& attrs, std::initializer_list<std::string_view> names);

}  // namespace pagefold
