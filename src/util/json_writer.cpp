// The page-file writer: the layout of page files and of the console record,
// escapes, and reals in their shortest round-trip form.
#include "pagefold/json.hpp"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>

namespace pagefold {

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

// Escapes the characters that need it; everything else, multi-byte UTF-8
// included, is copied in runs.
// Bytes that a JSON string cannot hold as they are: control characters, the
// quote and the backslash.
constexpr std::array<bool, 256> kEscaped = [] {
  std::array<bool, 256> t{};
  for (int c = 0; c < 0x20; ++c) t[c] = true;
  t['"'] = t['\\'] = true;
  return t;
}();

// Whether any of the eight bytes of `w` must be escaped: one below 0x20, a
// quote or a backslash. Page files are mostly long runs of plain text, which
// this passes over a word at a time (exact for presence: the classic
// "has a byte less than n" and "has a zero byte" tests).
bool word_needs_escape(uint64_t w) {
  constexpr uint64_t ones = 0x0101010101010101u, highs = 0x8080808080808080u;
  const auto has_zero = [&](uint64_t x) { return ((x - ones) & ~x & highs) != 0; };
  return ((w - ones * 0x20) & ~w & highs) != 0 || has_zero(w ^ (ones * '"')) ||
         has_zero(w ^ (ones * '\\'));
}

uint64_t load64(const char* p) {
  uint64_t w;
  std::memcpy(&w, p, 8);
  return w;
}

uint32_t load32(const char* p) {
  uint32_t w;
  std::memcpy(&w, p, 4);
  return w;
}

// Whether any byte of `s` must be escaped. Most texts of a page are keys and
// short words: from four bytes on they are tested as whole words, the last
// one overlapping the one before, without a loop over bytes.
bool needs_escape(std::string_view s) {
  const char* p = s.data();
  const size_t n = s.size();
  if (n >= 8) {
    size_t i = 0;
    for (; i + 8 <= n; i += 8)
      if (word_needs_escape(load64(p + i))) return true;
    return i < n && word_needs_escape(load64(p + n - 8));
  }
  if (n >= 4) return word_needs_escape(load32(p) | (uint64_t(load32(p + n - 4)) << 32));
  for (size_t i = 0; i < n; ++i)
    if (kEscaped[static_cast<unsigned char>(p[i])]) return true;
  return false;
}

void write_string(std::string& out, std::string_view s) {
  static const char* hex = "0123456789abcdef";
  out.push_back('"');
  if (!needs_escape(s)) {
    out.append(s);
    out.push_back('"');
    return;
  }
  size_t run = 0;  // start of the pending run of plain bytes
  for (size_t i = 0; i < s.size();) {
    uint64_t w;
    if (i + 8 <= s.size() && (std::memcpy(&w, s.data() + i, 8), !word_needs_escape(w))) {
      i += 8;
      continue;
    }
    const auto c = static_cast<unsigned char>(s[i++]);
    if (!kEscaped[c]) continue;
    out.append(s.data() + run, i - 1 - run);
    run = i;
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
        out += "\\u00";
        out.push_back(hex[c >> 4]);
        out.push_back(hex[c & 15]);
    }
  }
  out.append(s.data() + run, s.size() - run);
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

// Hands the text written so far to a stream once it passes a bound, so that a
// file of any size goes through one small buffer. Without a stream the whole
// text stays in `out`.
struct Spill {
  const std::function<void(std::string_view)>* stream = nullptr;
  static constexpr size_t BOUND = size_t{64} << 10;

  void operator()(std::string& out) const {
    if (stream && out.size() >= BOUND) {
      (*stream)(out);
      out.clear();
    }
  }
};

void write_value(std::string& out, const Value& v, int indent, int level, const Spill& spill) {
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
    case Value::Kind::Int: {
      char buf[24];
      const auto res = std::to_chars(buf, buf + sizeof buf, v.as_int());
      out.append(buf, res.ptr);
      break;
    }
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
        write_value(out, x, indent, level + 1, spill);
        spill(out);
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
        write_value(out, x, indent, level + 1, spill);
        spill(out);
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
  write_value(out, v, indent, 0, Spill{});
  return out;
}

void dump_to(const Value& v, int indent, const std::function<void(std::string_view)>& stream) {
  std::string out;
  out.reserve(Spill::BOUND + (Spill::BOUND >> 2));
  write_value(out, v, indent, 0, Spill{&stream});
  if (!out.empty()) stream(out);
}

}  // namespace pagefold
