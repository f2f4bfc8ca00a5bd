// The JSON value: maps and lists shared by handle, the page-file writer and a
// strict reader for JSON held in attributes.
#include "pagefold/json.hpp"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "pagefold/error.hpp"
#include "util/text.hpp"

namespace pagefold {

// ---------------------------------------------------------------- Value

Value Value::object() { return Value(std::make_shared<Object>()); }

Value Value::array() { return Value(std::make_shared<Array>()); }

Value Value::object(std::initializer_list<std::pair<std::string_view, Value>> items) {
  Value v = object();
  Object& o = v.as_object();
  for (const auto& [k, x] : items) o.set(k, x);
  return v;
}

bool Value::truthy() const {
  switch (kind()) {
    case Kind::Null:
      return false;
    case Kind::Bool:
      return as_bool();
    case Kind::Int:
      return as_int() != 0;
    case Kind::Real:
      return as_real() != 0.0;  // NaN is truthy
    case Kind::String:
      return !as_string().empty();
    case Kind::Object:
      return !as_object().empty();
    case Kind::Array:
      return !as_array().empty();
  }
  return false;
}

Value& Value::operator[](std::string_view key) const {
  if (!is_object())
    throw TypeError("'" + std::string(key) + "' looked up in a value that is no map");
  return as_object()[key];
}

Value Value::get(std::string_view key) const {
  if (!is_object()) return Value();
  return as_object().get(key);
}

bool Value::contains(std::string_view key) const {
  return is_object() && as_object().contains(key);
}

bool Value::same(const Value& other) const {
  if (is_object() && other.is_object()) return object_ptr() == other.object_ptr();
  if (is_array() && other.is_array())
    return std::get<std::shared_ptr<Array>>(v_) == std::get<std::shared_ptr<Array>>(other.v_);
  if (is_object() || is_array() || other.is_object() || other.is_array()) return false;
  return *this == other;
}

namespace {

// True and false count as 1 and 0 among numbers: `true == 1` holds.
bool numeric(const Value& v) { return v.is_int() || v.is_real() || v.is_bool(); }

bool numbers_equal(const Value& a, const Value& b) {
  auto as_i = [](const Value& v) -> int64_t {
    return v.is_bool() ? int64_t(v.as_bool()) : v.as_int();
  };
  if (!a.is_real() && !b.is_real()) return as_i(a) == as_i(b);
  if (a.is_real() && b.is_real()) return a.as_real() == b.as_real();
  // One integer, one real: exact comparison without rounding the integer.
  const double d = a.is_real() ? a.as_real() : b.as_real();
  const int64_t i = a.is_real() ? as_i(b) : as_i(a);
  if (!std::isfinite(d) || d != std::trunc(d)) return false;
  if (d < -9223372036854775808.0 || d >= 9223372036854775808.0) return false;
  return static_cast<int64_t>(d) == i;
}

}  // namespace

bool operator==(const Value& a, const Value& b) {
  if (numeric(a) && numeric(b)) return numbers_equal(a, b);
  if (a.kind() != b.kind()) return false;
  switch (a.kind()) {
    case Value::Kind::Null:
      return true;
    case Value::Kind::String:
      return a.as_string() == b.as_string();
    case Value::Kind::Object: {
      const Object& x = a.as_object();
      const Object& y = b.as_object();
      if (&x == &y) return true;
      if (x.size() != y.size()) return false;
      for (const auto& [k, v] : x) {
        const Value* w = y.find(k);
        if (!w || !(v == *w)) return false;
      }
      return true;
    }
    case Value::Kind::Array: {
      const Array& x = a.as_array();
      const Array& y = b.as_array();
      if (&x == &y) return true;
      if (x.size() != y.size()) return false;
      for (size_t i = 0; i < x.size(); ++i)
        if (!(x[i] == y[i])) return false;
      return true;
    }
    default:
      return false;  // numbers handled above
  }
}

// ---------------------------------------------------------------- Object

Value* Object::find(std::string_view key) {
  for (auto& it : items_)
    if (it.first == key) return &it.second;
  return nullptr;
}

const Value* Object::find(std::string_view key) const {
  for (const auto& it : items_)
    if (it.first == key) return &it.second;
  return nullptr;
}

void Object::set(std::string_view key, Value v) {
  if (Value* p = find(key)) {
    *p = std::move(v);
    return;
  }
  items_.emplace_back(std::string(key), std::move(v));
}

Value& Object::operator[](std::string_view key) {
  if (Value* p = find(key)) return *p;
  items_.emplace_back(std::string(key), Value());
  return items_.back().second;
}

Value Object::get(std::string_view key) const {
  const Value* p = find(key);
  return p ? *p : Value();
}

bool Object::erase(std::string_view key) {
  for (auto it = items_.begin(); it != items_.end(); ++it) {
    if (it->first == key) {
      items_.erase(it);
      return true;
    }
  }
  return false;
}

void Object::setdefault(std::string_view key, Value v) {
  if (!find(key)) items_.emplace_back(std::string(key), std::move(v));
}

Value deep_copy(const Value& v) {
  if (v.is_object()) {
    Value out = Value::object();
    Object& o = out.as_object();
    for (const auto& [k, x] : v.as_object()) o.set(k, deep_copy(x));
    return out;
  }
  if (v.is_array()) {
    Value out = Value::array();
    Array& a = out.as_array();
    a.reserve(v.as_array().size());
    for (const auto& x : v.as_array()) a.push_back(deep_copy(x));
    return out;
  }
  return v;
}

// ---------------------------------------------------------------- writer

std::string real_repr(double d) {
  if (std::isnan(d)) return "nan";
  if (std::isinf(d)) return d > 0 ? "inf" : "-inf";
  // Shortest round-trip digits in scientific form, e.g. "-1.2345e+02".
  char buf[64];
  auto res = std::to_chars(buf, buf + sizeof buf, d, std::chars_format::scientific);
  std::string_view sci(buf, res.ptr - buf);
  std::string out;
  if (sci.front() == '-') {
    out.push_back('-');
    sci.remove_prefix(1);
  }
  const size_t e = sci.find('e');
  std::string digits;
  for (char c : sci.substr(0, e))
    if (c != '.') digits.push_back(c);
  int exp = 0;
  std::from_chars(sci.data() + e + 1 + (sci[e + 1] == '+'), sci.data() + sci.size(), exp);

  if (exp < -4 || exp >= 16) {
    out.push_back(digits[0]);
    if (digits.size() > 1) {
      out.push_back('.');
      out.append(digits, 1);
    }
    out.push_back('e');
    out.push_back(exp < 0 ? '-' : '+');
    const int mag = exp < 0 ? -exp : exp;
    if (mag < 10) out.push_back('0');
    out += std::to_string(mag);
    return out;
  }
  const int point = exp + 1;  // digits before the decimal point
  const int n = static_cast<int>(digits.size());
  if (point <= 0) {
    out += "0.";
    out.append(static_cast<size_t>(-point), '0');
    out += digits;
  } else if (point >= n) {
    out += digits;
    out.append(static_cast<size_t>(point - n), '0');
    out += ".0";
  } else {
    out.append(digits, 0, point);
    out.push_back('.');
    out.append(digits, point);
  }
  return out;
}

namespace {

void write_string(std::string& out, std::string_view s) {
  static const char* hex = "0123456789abcdef";
  out.push_back('"');
  for (unsigned char c : s) {
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      case '\b':
        out += "\\b";
        break;
      case '\f':
        out += "\\f";
        break;
      default:
        if (c < 0x20) {
          out += "\\u00";
          out.push_back(hex[c >> 4]);
          out.push_back(hex[c & 15]);
        } else {
          out.push_back(static_cast<char>(c));
        }
    }
  }
  out.push_back('"');
}

void write_real(std::string& out, double d) {
  if (std::isnan(d))
    out += "NaN";
  else if (std::isinf(d))
    out += d > 0 ? "Infinity" : "-Infinity";
  else
    out += real_repr(d);
}

void write_value(std::string& out, const Value& v, int indent, int level) {
  auto newline = [&](int lvl) {
    out.push_back('\n');
    out.append(static_cast<size_t>(indent) * lvl, ' ');
  };
  switch (v.kind()) {
    case Value::Kind::Null:
      out += "null";
      break;
    case Value::Kind::Bool:
      out += v.as_bool() ? "true" : "false";
      break;
    case Value::Kind::Int:
      out += std::to_string(v.as_int());
      break;
    case Value::Kind::Real:
      write_real(out, v.as_real());
      break;
    case Value::Kind::String:
      write_string(out, v.as_string());
      break;
    case Value::Kind::Object: {
      const Object& o = v.as_object();
      if (o.empty()) {
        out += "{}";
        break;
      }
      out.push_back('{');
      bool first = true;
      for (const auto& [k, x] : o) {
        if (!first) out.push_back(',');
        first = false;
        newline(level + 1);
        write_string(out, k);
        out += ": ";
        write_value(out, x, indent, level + 1);
      }
      newline(level);
      out.push_back('}');
      break;
    }
    case Value::Kind::Array: {
      const Array& a = v.as_array();
      if (a.empty()) {
        out += "[]";
        break;
      }
      out.push_back('[');
      bool first = true;
      for (const auto& x : a) {
        if (!first) out.push_back(',');
        first = false;
        newline(level + 1);
        write_value(out, x, indent, level + 1);
      }
      newline(level);
      out.push_back(']');
      break;
    }
  }
}

}  // namespace

std::string dump(const Value& v, int indent) {
  std::string out;
  write_value(out, v, indent, 0);
  return out;
}

// ---------------------------------------------------------------- reader

namespace {

class Reader {
 public:
  explicit Reader(std::string_view s) : s_(s) {}

  Value document() {
    skip_ws();
    Value v = value();
    skip_ws();
    if (i_ != s_.size()) fail("Extra data");
    return v;
  }

 private:
  std::string_view s_;
  size_t i_ = 0;
  int depth_ = 0;

  [[noreturn]] void fail(const std::string& what) const { fail_at(what, i_); }

  [[noreturn]] void fail_at(const std::string& what, size_t at) const {
    size_t line = 1, col = 1, chars = 0;
    for (size_t k = 0; k < at && k < s_.size(); ++k) {
      const unsigned char c = static_cast<unsigned char>(s_[k]);
      if ((c & 0xC0) == 0x80) continue;  // continuation bytes are no characters
      ++chars;
      if (c == '\n') {
        ++line;
        col = 1;
      } else {
        ++col;
      }
    }
    throw ValueError(what + ": line " + std::to_string(line) + " column " + std::to_string(col) +
                     " (char " + std::to_string(chars) + ")");
  }

  void skip_ws() {
    while (i_ < s_.size() && (s_[i_] == ' ' || s_[i_] == '\t' || s_[i_] == '\n' || s_[i_] == '\r'))
      ++i_;
  }

  bool literal(std::string_view word) {
    if (s_.substr(i_, word.size()) != word) return false;
    i_ += word.size();
    return true;
  }

  Value value() {
    if (i_ >= s_.size()) fail("Expecting value");
    const char c = s_[i_];
    if (c == '{') return object();
    if (c == '[') return array();
    if (c == '"') return Value(string());
    if (c == '-' || (c >= '0' && c <= '9')) return number();
    if (literal("true")) return Value(true);
    if (literal("false")) return Value(false);
    if (literal("null")) return Value();
    fail("Expecting value");
  }

  void enter() {
    if (++depth_ > 1000) fail("Nesting too deep");
  }

  Value object() {
    enter();
    ++i_;  // '{'
    Value v = Value::object();
    Object& o = v.as_object();
    skip_ws();
    if (i_ < s_.size() && s_[i_] == '}') {
      ++i_;
      --depth_;
      return v;
    }
    for (;;) {
      skip_ws();
      if (i_ >= s_.size() || s_[i_] != '"')
        fail("Expecting property name enclosed in double quotes");
      std::string key = string();
      skip_ws();
      if (i_ >= s_.size() || s_[i_] != ':') fail("Expecting ':' delimiter");
      ++i_;
      skip_ws();
      o.set(key, value());
      skip_ws();
      if (i_ < s_.size() && s_[i_] == ',') {
        ++i_;
        continue;
      }
      if (i_ < s_.size() && s_[i_] == '}') {
        ++i_;
        break;
      }
      fail("Expecting ',' delimiter");
    }
    --depth_;
    return v;
  }

  Value array() {
    enter();
    ++i_;  // '['
    Value v = Value::array();
    Array& a = v.as_array();
    skip_ws();
    if (i_ < s_.size() && s_[i_] == ']') {
      ++i_;
      --depth_;
      return v;
    }
    for (;;) {
      skip_ws();
      a.push_back(value());
      skip_ws();
      if (i_ < s_.size() && s_[i_] == ',') {
        ++i_;
        continue;
      }
      if (i_ < s_.size() && s_[i_] == ']') {
        ++i_;
        break;
      }
      fail("Expecting ',' delimiter");
    }
    --depth_;
    return v;
  }

  Value number() {
    const size_t start = i_;
    auto digits = [&] {
      size_t n = 0;
      while (i_ < s_.size() && s_[i_] >= '0' && s_[i_] <= '9') ++i_, ++n;
      return n;
    };
    if (s_[i_] == '-') ++i_;
    if (i_ < s_.size() && s_[i_] == '0') {
      ++i_;
    } else if (digits() == 0) {
      i_ = start;
      fail("Expecting value");
    }
    bool real = false;
    if (i_ + 1 < s_.size() && s_[i_] == '.' && s_[i_ + 1] >= '0' && s_[i_ + 1] <= '9') {
      ++i_;
      digits();
      real = true;
    }
    if (i_ < s_.size() && (s_[i_] == 'e' || s_[i_] == 'E')) {
      const size_t mark = i_;
      ++i_;
      if (i_ < s_.size() && (s_[i_] == '+' || s_[i_] == '-')) ++i_;
      if (digits() == 0)
        i_ = mark;  // not an exponent: what follows is extra data
      else
        real = true;
    }
    const std::string_view text = s_.substr(start, i_ - start);
    if (real) {
      double d = 0;
      auto r = std::from_chars(text.data(), text.data() + text.size(), d);
      if (r.ec == std::errc::result_out_of_range) {
        // Overflow reads as an infinity and underflow as zero, as a reader of
        // doubles does; std::from_chars reports both as errors.
        d = std::strtod(std::string(text).c_str(), nullptr);
      }
      return Value(d);
    }
    int64_t n = 0;
    auto r = std::from_chars(text.data(), text.data() + text.size(), n);
    if (r.ec != std::errc()) fail_at("Integer out of 64-bit range", start);
    return Value(n);
  }

  unsigned hex4() {
    if (i_ + 4 > s_.size()) fail("Invalid \\uXXXX escape");
    unsigned v = 0;
    for (int k = 0; k < 4; ++k) {
      const char c = s_[i_ + k];
      v <<= 4;
      if (c >= '0' && c <= '9')
        v |= c - '0';
      else if (c >= 'a' && c <= 'f')
        v |= c - 'a' + 10;
      else if (c >= 'A' && c <= 'F')
        v |= c - 'A' + 10;
      else
        fail("Invalid \\uXXXX escape");
    }
    i_ += 4;
    return v;
  }

  std::string string() {
    const size_t start = i_;
    ++i_;  // opening quote
    std::string out;
    for (;;) {
      if (i_ >= s_.size()) fail_at("Unterminated string starting at", start);
      const unsigned char c = static_cast<unsigned char>(s_[i_]);
      if (c == '"') {
        ++i_;
        return out;
      }
      if (c < 0x20) fail("Invalid control character at");
      if (c != '\\') {
        out.push_back(static_cast<char>(c));
        ++i_;
        continue;
      }
      const size_t esc = i_;
      ++i_;
      if (i_ >= s_.size()) fail_at("Unterminated string starting at", start);
      const char e = s_[i_++];
      switch (e) {
        case '"':
          out.push_back('"');
          break;
        case '\\':
          out.push_back('\\');
          break;
        case '/':
          out.push_back('/');
          break;
        case 'b':
          out.push_back('\b');
          break;
        case 'f':
          out.push_back('\f');
          break;
        case 'n':
          out.push_back('\n');
          break;
        case 'r':
          out.push_back('\r');
          break;
        case 't':
          out.push_back('\t');
          break;
        case 'u': {
          char32_t cp = hex4();
          if (cp >= 0xD800 && cp <= 0xDBFF) {
            // A high surrogate must be followed by an escaped low one.
            if (s_.substr(i_, 2) != "\\u") fail_at("Lone surrogate", esc);
            i_ += 2;
            const unsigned lo = hex4();
            if (lo < 0xDC00 || lo > 0xDFFF) fail_at("Lone surrogate", esc);
            cp = 0x10000 + ((cp - 0xD800) << 10) + (lo - 0xDC00);
          } else if (cp >= 0xDC00 && cp <= 0xDFFF) {
            fail_at("Lone surrogate", esc);
          }
          text::append_utf8(out, cp);
          break;
        }
        default:
          fail_at("Invalid \\escape", esc);
      }
    }
  }
};

}  // namespace

Value parse_json(std::string_view text) { return Reader(text).document(); }

}  // namespace pagefold
