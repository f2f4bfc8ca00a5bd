// Number texts in and out: Unicode digits, underscores between digits, and
// the four roundings kept apart.
#include "util/num.hpp"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "pagefold/error.hpp"
#include "pagefold/json.hpp"
#include "util/text.hpp"

namespace pagefold::num {

namespace {

// Digit value of `c` in `base` (Unicode decimal digits count as their value),
// or -1.
int digit_in(char32_t c, int base) {
  int v = text::digit_value(c);
  if (v < 0) {
    if (c >= 'a' && c <= 'z')
      v = static_cast<int>(c - 'a') + 10;
    else if (c >= 'A' && c <= 'Z')
      v = static_cast<int>(c - 'A') + 10;
  }
  return v >= 0 && v < base ? v : -1;
}

// Reads a run of digits with single underscores between them, from `i`.
// Answers the digits as ASCII ("" when none), or nullopt when an underscore
// is misplaced. `i` ends after the run.
std::optional<std::string> digit_run(const std::u32string& u, size_t& i, int base) {
  std::string out;
  while (i < u.size()) {
    if (u[i] == '_') {
      // Only between two digits.
      if (out.empty() || i + 1 >= u.size() || digit_in(u[i + 1], base) < 0) return std::nullopt;
      ++i;
      continue;
    }
    const int v = digit_in(u[i], base);
    if (v < 0) break;
    out.push_back("0123456789abcdefghijklmnopqrstuvwxyz"[v]);
    ++i;
  }
  return out;
}

bool iequals(const std::u32string& u, size_t from, std::string_view word) {
  if (u.size() - from != word.size()) return false;
  for (size_t k = 0; k < word.size(); ++k) {
    char32_t c = u[from + k];
    if (c >= 'A' && c <= 'Z') c += 32;
    if (c != static_cast<char32_t>(word[k])) return false;
  }
  return true;
}

// The display form of a value in a message, cut like the int() message is.
std::string shown(std::string_view s, size_t max_chars) {
  std::string r = text::repr(s);
  if (text::length(r) > max_chars) r = text::slice(r, 0, max_chars);
  return r;
}

// The parts of one printf conversion "%[flags][width][.precision]<conv>".
struct FormatSpec {
  std::string prefix, suffix;  // literal text around the conversion
  std::string flags;
  int width = -1;
  int precision = -1;
  char conv = 0;
};

FormatSpec parse_spec(const char* format) {
  FormatSpec sp;
  const std::string f(format);
  size_t i = 0;
  for (; i < f.size(); ++i) {
    if (f[i] != '%') {
      sp.prefix.push_back(f[i]);
    } else if (i + 1 < f.size() && f[i + 1] == '%') {
      sp.prefix.push_back('%');
      ++i;
    } else {
      break;
    }
  }
  if (i >= f.size()) throw TypeError("not enough arguments for format string");
  ++i;
  while (i < f.size() && std::string_view("-+ #0").find(f[i]) != std::string_view::npos)
    sp.flags.push_back(f[i++]);
  if (i < f.size() && f[i] >= '0' && f[i] <= '9') {
    sp.width = 0;
    while (i < f.size() && f[i] >= '0' && f[i] <= '9') sp.width = sp.width * 10 + (f[i++] - '0');
  }
  if (i < f.size() && f[i] == '.') {
    ++i;
    sp.precision = 0;
    while (i < f.size() && f[i] >= '0' && f[i] <= '9')
      sp.precision = sp.precision * 10 + (f[i++] - '0');
  }
  while (i < f.size() && (f[i] == 'l' || f[i] == 'h')) ++i;  // length modifiers
  if (i >= f.size()) throw ValueError("incomplete format");
  sp.conv = f[i++];
  for (; i < f.size(); ++i) {
    if (f[i] == '%' && i + 1 < f.size() && f[i + 1] == '%')
      ++i;
    else if (f[i] == '%')
      throw TypeError("not enough arguments for format string");
    sp.suffix.push_back(f[i]);
  }
  return sp;
}

std::string head(const FormatSpec& sp) {
  std::string h = "%" + sp.flags;
  if (sp.width >= 0) h += std::to_string(sp.width);
  if (sp.precision >= 0) h += "." + std::to_string(sp.precision);
  return h;
}

std::string print(const std::string& format, auto value) {
  const int n = std::snprintf(nullptr, 0, format.c_str(), value);
  std::string out(static_cast<size_t>(n), '\0');
  std::snprintf(out.data(), out.size() + 1, format.c_str(), value);
  return out;
}

// Pads `body` (sign first) to the format's width: zeros after the sign and any
// "0x" with the '0' flag, spaces otherwise.
std::string pad(const FormatSpec& sp, std::string body, size_t sign_len) {
  if (sp.width < 0 || body.size() >= static_cast<size_t>(sp.width)) return body;
  const size_t fill = static_cast<size_t>(sp.width) - body.size();
  if (sp.flags.find('-') != std::string::npos) return body + std::string(fill, ' ');
  if (sp.flags.find('0') != std::string::npos) return body.insert(sign_len, fill, '0');
  return std::string(fill, ' ') + body;
}

// A text conversion pads with spaces only.
FormatSpec text_spec(const FormatSpec& sp) {
  FormatSpec t = sp;
  t.flags = sp.flags.find('-') != std::string::npos ? "-" : "";
  return t;
}

std::string format_real(const FormatSpec& sp, double d) {
  switch (sp.conv) {
    case 'f':
    case 'F':
    case 'e':
    case 'E':
    case 'g':
    case 'G':
      // NaN shows no sign of its own.
      return print(head(sp) + sp.conv, std::isnan(d) ? std::fabs(d) : d);
    case 's':
    case 'r': {
      return pad(text_spec(sp), real_repr(d), 0);
    }
    default:
      throw ValueError(std::string("unsupported format character '") + sp.conv + "'");
  }
}

std::string format_int(const FormatSpec& sp, int64_t i) {
  switch (sp.conv) {
    case 'd':
    case 'i':
    case 'u':
      return print(head(sp) + "lld", static_cast<long long>(i));
    case 'x':
    case 'X':
    case 'o': {
      if (i >= 0) return print(head(sp) + "ll" + sp.conv, static_cast<unsigned long long>(i));
      // A minus sign and the magnitude, never the two's complement.
      const unsigned long long mag = 0ull - static_cast<unsigned long long>(i);
      const std::string prec = sp.precision >= 0 ? "." + std::to_string(sp.precision) : "";
      std::string prefix = "-";
      if (sp.flags.find('#') != std::string::npos)
        prefix += sp.conv == 'o' ? "0o" : sp.conv == 'x' ? "0x" : "0X";
      return pad(sp, prefix + print("%" + prec + "ll" + sp.conv, mag), prefix.size());
    }
    case 's':
    case 'r':
      return pad(text_spec(sp), std::to_string(i), 0);
    default:
      return format_real(sp, static_cast<double>(i));
  }
}

bool integer_conv(char c) {
  return c == 'd' || c == 'i' || c == 'u' || c == 'x' || c == 'X' || c == 'o';
}

}  // namespace

std::optional<int64_t> parse_int(std::string_view s, int base) {
  if (base < 2 || base > 36) return std::nullopt;
  const std::u32string u = text::to_u32(text::strip(s));
  size_t i = 0;
  bool neg = false;
  if (i < u.size() && (u[i] == '+' || u[i] == '-')) neg = u[i++] == '-';
  if (i + 1 < u.size() && u[i] == '0') {
    const char32_t p = u[i + 1];
    if ((base == 16 && (p == 'x' || p == 'X')) || (base == 8 && (p == 'o' || p == 'O')) ||
        (base == 2 && (p == 'b' || p == 'B'))) {
      i += 2;
      if (i < u.size() && u[i] == '_') ++i;  // "0x_1f" is allowed
    }
  }
  auto digits = digit_run(u, i, base);
  if (!digits || digits->empty() || i != u.size()) return std::nullopt;
  // Accumulate the magnitude in unsigned arithmetic; beyond 64 bits is no number.
  uint64_t mag = 0;
  const uint64_t limit = neg ? uint64_t(1) << 63 : (uint64_t(1) << 63) - 1;
  for (char d : *digits) {
    const int v = digit_in(static_cast<unsigned char>(d), base);
    if (mag > (limit - v) / base) return std::nullopt;
    mag = mag * base + v;
  }
  if (neg) return mag == (uint64_t(1) << 63) ? std::numeric_limits<int64_t>::min() : -int64_t(mag);
  return static_cast<int64_t>(mag);
}

std::optional<double> parse_real(std::string_view s) {
  const std::u32string u = text::to_u32(text::strip(s));
  size_t i = 0;
  bool neg = false;
  if (i < u.size() && (u[i] == '+' || u[i] == '-')) neg = u[i++] == '-';
  const double sign = neg ? -1.0 : 1.0;
  if (iequals(u, i, "inf") || iequals(u, i, "infinity"))
    return sign * std::numeric_limits<double>::infinity();
  if (iequals(u, i, "nan")) return std::copysign(std::numeric_limits<double>::quiet_NaN(), sign);

  auto whole = digit_run(u, i, 10);
  if (!whole) return std::nullopt;
  std::string frac;
  if (i < u.size() && u[i] == '.') {
    ++i;
    auto f = digit_run(u, i, 10);
    if (!f) return std::nullopt;
    frac = *f;
  }
  if (whole->empty() && frac.empty()) return std::nullopt;
  std::string exp;
  if (i < u.size() && (u[i] == 'e' || u[i] == 'E')) {
    ++i;
    std::string esign;
    if (i < u.size() && (u[i] == '+' || u[i] == '-')) esign = u[i++] == '-' ? "-" : "";
    auto e = digit_run(u, i, 10);
    if (!e || e->empty()) return std::nullopt;
    exp = "e" + esign + *e;
  }
  if (i != u.size()) return std::nullopt;

  std::string ascii = (neg ? "-" : "") + (whole->empty() ? std::string("0") : *whole);
  if (!frac.empty()) ascii += "." + frac;
  ascii += exp;
  double d = 0;
  auto r = std::from_chars(ascii.data(), ascii.data() + ascii.size(), d);
  if (r.ec == std::errc::result_out_of_range) {
    // Overflow reads as an infinity and underflow as zero or a subnormal.
    d = std::strtod(ascii.c_str(), nullptr);
  } else if (r.ec != std::errc()) {
    return std::nullopt;
  }
  return d;
}

int64_t to_int(std::string_view s, int base) {
  if (auto v = parse_int(s, base)) return *v;
  throw ValueError("invalid literal for int() with base " + std::to_string(base) + ": " +
                   shown(s, 200));
}

double to_real(std::string_view s) {
  if (auto v = parse_real(s)) return *v;
  throw ValueError("could not convert string to float: " + text::repr(s));
}

namespace {

// Refuses reals that have no 64-bit integer value.
void check_integral_range(double d) {
  if (std::isnan(d)) throw ValueError("cannot convert float NaN to integer");
  if (std::isinf(d)) throw Failure("OverflowError", "cannot convert float infinity to integer");
  if (d < -9223372036854775808.0 || d >= 9223372036854775808.0)
    throw Failure("OverflowError", "integer " + real_repr(d) + " beyond 64 bits");
}

}  // namespace

int64_t trunc(double d) {
  const double t = std::trunc(d);
  check_integral_range(t);
  return static_cast<int64_t>(t);
}

int64_t round_even(double d) {
  if (std::isnan(d) || std::isinf(d)) check_integral_range(d);
  double r = std::floor(d);
  const double diff = d - r;  // exact for doubles
  if (diff > 0.5 || (diff == 0.5 && std::fmod(r, 2.0) != 0.0)) r += 1.0;
  check_integral_range(r);
  return static_cast<int64_t>(r);
}

int64_t floordiv(int64_t a, int64_t b) {
  if (b == 0) throw Failure("ZeroDivisionError", "integer division or modulo by zero");
  if (a == std::numeric_limits<int64_t>::min() && b == -1)
    throw Failure("OverflowError", "integer beyond 64 bits");
  int64_t q = a / b;
  if ((a % b != 0) && ((a < 0) != (b < 0))) --q;
  return q;
}

std::string real_text(double d) { return real_repr(d); }

std::string fmt(const char* format, double d) {
  const FormatSpec sp = parse_spec(format);
  // An integer conversion of a real shows its truncation.
  const std::string body = integer_conv(sp.conv) ? format_int(sp, trunc(d)) : format_real(sp, d);
  return sp.prefix + body + sp.suffix;
}

std::string fmt(const char* format, int64_t i) {
  const FormatSpec sp = parse_spec(format);
  return sp.prefix + format_int(sp, i) + sp.suffix;
}

std::string hex(int64_t v, int width, bool upper) {
  FormatSpec sp;
  sp.flags = "0";
  sp.width = width;
  sp.conv = upper ? 'X' : 'x';
  return format_int(sp, v);
}

}  // namespace pagefold::num
