// Number parsing and formatting, exact to the digit. Four
// roundings are kept apart: truncation toward zero, ties-to-even rounding,
// floor division, and printf-style formatting of the binary value.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace pagefold::num {

// Integer text: surrounding whitespace, a sign, Unicode decimal digits with
// single underscores between them; base 16 also takes "0x"/"0X". Absent on
// anything else, including a value beyond 64 bits.
std::optional<int64_t> parse_int(std::string_view s, int base = 10);
// Real text: as above plus a fraction, an exponent, and inf/infinity/nan in
// any case. A text with two dots is not a number.
std::optional<double> parse_real(std::string_view s);
// parse_int/parse_real that raise ValueError with the conventional message
// ("invalid literal for int() with base 10: '24px'",
// "could not convert string to float: '1.2.3'").
int64_t to_int(std::string_view s, int base = 10);
double to_real(std::string_view s);

// Truncation toward zero of a real; raises ValueError on NaN and
// OverflowError beyond 64 bits.
int64_t trunc(double d);
// Nearest integer, ties to even (2.5 -> 2, 3.5 -> 4).
int64_t round_even(double d);
// Floor division and modulo, rounding toward minus infinity.
int64_t floordiv(int64_t a, int64_t b);

// Shortest round-trip text of a real (same as the JSON writer).
std::string real_text(double d);
// printf-style formatting of one value ("%.1f", "%.4f", "%.0f", "%g", "%+d").
std::string fmt(const char* format, double d);
std::string fmt(const char* format, int64_t i);
// "%0<width>X" / "%0<width>x" where a negative number is a minus sign and its
// magnitude, zero-padded so that the whole text has `width` characters.
std::string hex(int64_t v, int width, bool upper = true);

}  // namespace pagefold::num
