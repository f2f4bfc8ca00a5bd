// The text forms in which warnings and messages show a JSON value: `value_str`
// gives a text as it is and anything else as `value_repr` shows it (None,
// True, 12, 1.5, ['48x48', 1], {'k': 2}).
#pragma once

#include <string>

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

}  // namespace pagefold
