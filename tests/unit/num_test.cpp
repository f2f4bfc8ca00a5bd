// Number texts: integer and real parsing, the four roundings, and printf-style
// formatting including negative hexadecimal.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "pagefold/error.hpp"
#include "pagefold/style_types.hpp"
#include "util/num.hpp"

namespace pagefold::num {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(NumParseInt, AcceptedAndRefusedTexts) {
  // clang-format off
  const std::pair<const char*, int64_t> ok[] = {
      {"1_000", 1000}, {" -5 ", -5}, {"１２", 12}, {"+7", 7}, {"\u30001\u3000", 1}, {"0_7", 7},
      {"٣", 3}, {"\U0001D7D9", 1}, {"9223372036854775807", std::numeric_limits<int64_t>::max()},
      {"-9223372036854775808", std::numeric_limits<int64_t>::min()}};
  // clang-format on
  for (const auto& [s, v] : ok) EXPECT_EQ(parse_int(s), v) << s;
  for (const char* s : {"1__0", "_1", "1_", "12px", "", " ", "1.0", "0x1F", "- 5", "1 2",
                        "9223372036854775808", "-9223372036854775809", "99999999999999999999"})
    EXPECT_FALSE(parse_int(s)) << s;
}

TEST(NumParseInt, Base16TakesPrefixAndLetters) {
  // clang-format off
  const std::pair<const char*, std::optional<int64_t>> cases[] = {
      {"0x1F", 31}, {"1f", 31}, {"0X_ff", 255}, {"-0x10", -16}, {"１f", 31}, {"0x", std::nullopt},
      {"ｆ", std::nullopt}, {"0g", std::nullopt}};  // full-width letters are no digits
  // clang-format on
  for (const auto& [s, v] : cases) EXPECT_EQ(parse_int(s, 16), v) << s;
}

TEST(NumParseReal, AcceptedAndRefusedTexts) {
  // clang-format off
  const std::pair<const char*, double> ok[] = {
      {"1e3", 1000.0}, {".5", 0.5},    {"5.", 5.0},    {"1_0.2_5", 10.25},
      {"1e+2", 100.0}, {"１.５", 1.5}, {" 2.5 ", 2.5}, {"+.5e-1", 0.05},
      {"1e-400", 0.0}, {"-0", -0.0},   {"0.1", 0.1},   {"12", 12.0},
      {"inf", kInf}, {"-Infinity", -kInf}, {"1e400", kInf}};
  // clang-format on
  for (const auto& [s, v] : ok) EXPECT_EQ(parse_real(s), v) << s;
  EXPECT_TRUE(std::isnan(*parse_real("NaN")));
  EXPECT_TRUE(std::signbit(*parse_real("-0")));
  for (const char* s :
       {"1.2.3", ".", "1e", "e1", "0x10", "1_.5", "1._5", "infinit", "", "5px", "1,5", "--1"})
    EXPECT_FALSE(parse_real(s)) << s;
}

TEST(NumFailures, TypeAndMessageNameTheValue) {
  // clang-format off
  const std::pair<std::function<void()>, std::string> cases[] = {
      {[] { to_int("24px"); }, "ValueError: invalid literal for int() with base 10: '24px'"},
      {[] { to_int("zz", 16); }, "ValueError: invalid literal for int() with base 16: 'zz'"},
      {[] { to_real("1.2.3"); }, "ValueError: could not convert string to float: '1.2.3'"},
      {[] { trunc(std::nan("")); }, "ValueError: cannot convert float NaN to integer"},
      {[] { round_even(kInf); }, "OverflowError: cannot convert float infinity to integer"},
      {[] { trunc(1e19); }, "OverflowError: integer 1e+19 beyond 64 bits"},
      {[] { floordiv(1, 0); }, "ZeroDivisionError: integer division or modulo by zero"},
      {[] { Color::rgb(1, 2, 3).at(3); }, "IndexError: tuple index out of range"}};
  // clang-format on
  for (const auto& [fn, want] : cases) {
    std::string got = "no failure";
    try {
      fn();
    } catch (const Failure& f) {
      got = f.type() + ": " + f.message();
    }
    EXPECT_EQ(got, want);
  }
}

TEST(NumRounding, FourRoundingsStayApart) {
  EXPECT_EQ(std::make_pair(trunc(2.7), trunc(-2.7)), std::make_pair(int64_t{2}, int64_t{-2}));
  // clang-format off
  const std::pair<double, int64_t> even[] = {
      {2.5, 2},  {3.5, 4}, {-2.5, -2},  {-3.5, -4}, {0.5, 0},
      {-0.5, 0}, {1.5, 2}, {2.4999, 2}, {-2.6, -3}, {1e15 + 0.5, 1000000000000000}};
  // clang-format on
  for (const auto& [d, v] : even) EXPECT_EQ(round_even(d), v) << d;
  EXPECT_EQ(
      std::vector<int64_t>({floordiv(-5, 2), floordiv(5, -2), floordiv(-6, 3), floordiv(7, 2)}),
      std::vector<int64_t>({-3, -3, -2, 3}));
}

TEST(NumFormat, PrintfOfTheBinaryValueAndNegativeHex) {
  // clang-format off
  const std::pair<std::string, const char*> cases[] = {
      {fmt("%.1f", 0.25), "0.2"}, {fmt("%.1f", 0.35), "0.3"}, {fmt("%.4f", 2.0 / 3), "0.6667"},
      {fmt("%.0f", 2.5), "2"}, {fmt("%g", 0.0001), "0.0001"}, {fmt("%g", 1234567.0), "1.23457e+06"},
      {fmt("%g", -std::nan("")), "nan"}, {fmt("%+d", int64_t(5)), "+5"}, {fmt("%d", -2.7), "-2"},
      {fmt("%06X", int64_t(-255)), "-000FF"}, {fmt("%02X", int64_t(255)), "FF"},
      {fmt("%.1f", int64_t(3)), "3.0"}, {fmt("w=%dpx", int64_t(4)), "w=4px"},
      {fmt("%d%%", int64_t(50)), "50%"}, {hex(-1, 6), "-00001"}, {hex(0xABCDEF, 2), "ABCDEF"},
      {hex(-255, 2, false), "-ff"}, {hex(10, 2, false), "0a"}, {real_text(1e16), "1e+16"}};
  // clang-format on
  for (const auto& [got, want] : cases) EXPECT_EQ(got, want);
}

}  // namespace
}  // namespace pagefold::num
