// A strict reader for JSON held in attributes (data-charset): no NaN or
// Infinity, no lone surrogates, no integer beyond 64 bits.
#include "pagefold/json.hpp"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "pagefold/error.hpp"
#include "util/text.hpp"

namespace pagefold {

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
        // The plain run up to the next quote, backslash or control
        // character is copied at once.
        size_t end = i_ + 1;
        while (end < s_.size()) {
          const unsigned char d = static_cast<unsigned char>(s_[end]);
          if (d == '"' || d == '\\' || d < 0x20) break;
          ++end;
        }
        out.append(s_.data() + i_, end - i_);
        i_ = end;
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
