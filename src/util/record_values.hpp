// Helpers for the values of control records, one per meaning: the integer
// of a number, a record's size with the builders' two ways of defaulting it,
// and the text forms in which warnings show a value (`value_str` gives a text
// as it is and anything else as `value_repr` shows it: None, True, 12, 1.5,
// ['48x48', 1], {'k': 2}).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "pagefold/json.hpp"
#include "util/num.hpp"
#include "util/text.hpp"

namespace pagefold {

inline std::string value_repr(const Value& v) {
  switch (v.kind()) {
    case Value::Kind::Null:
      return "None";
    case Value::Kind::Bool:
      return v.as_bool() ? "True" : "False";
    case Value::Kind::Int:
      return std::to_string(v.as_int());
    case Value::Kind::Real:
      return num::real_text(v.as_real());
    case Value::Kind::String:
      return text::repr(v.as_string());
    case Value::Kind::Array: {
      std::string out = "[";
      for (const Value& e : v.as_array()) {
        if (out.size() > 1) out += ", ";
        out += value_repr(e);
      }
      return out + "]";
    }
    case Value::Kind::Object: {
      std::string out = "{";
      for (const auto& [k, e] : v.as_object()) {
        if (out.size() > 1) out += ", ";
        out += text::repr(k) + ": " + value_repr(e);
      }
      return out + "}";
    }
  }
  return "";
}

inline std::string value_str(const Value& v) {
  return v.is_string() ? v.as_string() : value_repr(v);
}

// The integer of a number value: integers as they are, reals truncated
// toward zero.
inline int64_t int_of(const Value& v) {
  return v.is_int() ? v.as_int() : num::trunc(v.as_number());
}

// A record's size, "its value or `dflt`": the value when it is a truthy
// number, else `dflt`. A grown box may hold a real, which counts whole.
inline int64_t size_or(const Value& rec, std::string_view key, int64_t dflt) {
  Value v = rec.get(key);
  return v.truthy() && v.is_number() ? int_of(v) : dflt;
}

// A record's size, "its integer, or `dflt` when that is 0": `dflt` also for a
// missing key and for a real that truncates to 0.
inline int64_t size_nonzero_or(const Value& rec, std::string_view key, int64_t dflt) {
  Value v = rec.get(key);
  const int64_t n = v.is_number() ? int_of(v) : 0;
  return n ? n : dflt;
}

// A record's value when the key exists, else `dflt`.
inline Value size_of(const Value& rec, std::string_view key, int64_t dflt) {
  return rec.contains(key) ? rec.get(key) : Value(dflt);
}

// A number value as a real, `dflt` when it is no number or missing.
inline double number_or(const Value& v, double dflt) {
  return v.is_number() ? v.as_number() : dflt;
}

}  // namespace pagefold
