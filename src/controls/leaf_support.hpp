// Small helpers shared by the control builders: attribute text with its usual
// fallbacks and the integer conversions the builders apply to attribute
// text. The helpers of record values are in util/record_values.hpp.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "controls/tables.hpp"
#include "front/readers.hpp"
#include "pagefold/json.hpp"
#include "pagefold/node.hpp"
#include "util/num.hpp"
#include "util/record_values.hpp"
#include "util/text.hpp"

namespace pagefold::leafs {

// The text colour of text, icon and list-item records unless data-color
// says otherwise.
constexpr int64_t TEXT_COLOR = 15659766;  // 0xEEF2F6

// The attribute's value, or "" when it is absent or written without one.
inline std::string attr_or_empty(const Attrs& attrs, std::string_view name) {
  OptStr v = _attr(attrs, name);
  return v ? *v : std::string();
}

// The flag rule on the attribute, with `dflt` standing in for an empty or
// absent value ("" for flag-or-empty, "1" for a flag that defaults to true).
inline bool flag_or(const Attrs& attrs, std::string_view name, const char* dflt) {
  OptStr v = _attr(attrs, name);
  return flag((v && !v->empty()) ? v : OptStr(dflt));
}

// `_num` of a value with no default: null when absent or unreadable, so that
// the caller keeps its own default and a written 0 still counts.
inline Value num_or_null(const OptStr& v) { return _num(v, Value()); }

// `_num` of an attribute with its default: an integer or a real.
inline Value num_attr(const Attrs& attrs, std::string_view name, const Value& dflt) {
  return _num(_attr(attrs, name), dflt);
}

// `_num` of an attribute with its default, truncated toward zero.
inline Value int_attr(const Attrs& attrs, std::string_view name, int64_t dflt) {
  return Value(int_of(num_attr(attrs, name, Value(dflt))));
}

// The integer of an attribute's text, or of `fallback` when the text is empty
// or absent. The text is converted without a guard: "24px" raises ValueError.
inline int64_t int_attr_or(const Attrs& attrs, std::string_view name, const Value& fallback) {
  OptStr v = _attr(attrs, name);
  if (v && !v->empty()) return num::to_int(*v);
  return int_of(fallback);
}

// The alignment code of `data-align` (lower-cased), or of `dflt_word` when the
// attribute is empty or absent; an unknown word gives `unknown`.
inline int64_t alignment(const Attrs& attrs, std::string_view dflt_word, int64_t unknown) {
  OptStr v = _attr(attrs, "data-align");
  std::string word = (v && !v->empty()) ? text::lower(*v) : std::string(dflt_word);
  return align_code(word).value_or(unknown);
}

// A record that opens, as most value and media records do, with its
// background colour and then its caption; `rest` follows in its order.
inline Value headed(int64_t bg, const std::string& cap,
                    std::initializer_list<std::pair<std::string_view, Value>> rest) {
  Value c = Value::object({{"backgroundColor", bg}, {"caption", cap}});
  for (const auto& [key, v] : rest) c.as_object().set(key, v);
  return c;
}

// A font size that counts only when truthy, else the builder's default.
inline int64_t size_or_default(const std::optional<int64_t>& fs, int64_t dflt) {
  return fs.value_or(0) ? *fs : dflt;
}

}  // namespace pagefold::leafs
