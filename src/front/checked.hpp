// Real-to-integer conversions for readers that answer "absent" when a value
// cannot be read. Integers here are 64-bit: a real that does not fit (or is
// no number at all) is as unreadable as a malformed text.
#pragma once

#include <cmath>
#include <cstdint>
#include <optional>

namespace pagefold::checked {

// A whole real that converts to int64_t without overflow: [-2^63, 2^63).
inline std::optional<int64_t> to_int64(double whole) {
  if (!(whole >= -9223372036854775808.0 && whole < 9223372036854775808.0)) return std::nullopt;
  return static_cast<int64_t>(whole);
}

// Truncation toward zero, absent when out of range or no number.
inline std::optional<int64_t> trunc(double d) { return to_int64(std::trunc(d)); }

// Nearest integer with ties to the even one (the default rounding mode of
// nearbyint), absent when out of range or no number.
inline std::optional<int64_t> round_even(double d) { return to_int64(std::nearbyint(d)); }

}  // namespace pagefold::checked
