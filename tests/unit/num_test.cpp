// Number texts: integer and real parsing, the four roundings, and printf-style
// formatting including negative hexadecimal.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "pagefold/error.hpp"
#include "pagefold/style_types.hpp"
#include "util/num.hpp"

namespace pagefold::num {
namespace {

TEST(NumParseInt, AcceptedAndRefusedTexts) {
  const std::pair<const char*, int64_t> ok[] = {
      {"1_000", 1000},
      {" -5 ", -5},
      {"１２", 12},
      {"+7", 7},
      {"\u30001\u3000", 1},
      {"0_7", 7},
      {"٣", 3},
      {"9223372036854775807", std::numeric_limits<int64_t>::max()},
      {"-9223372036854775808", std::numeric_limits<int64_t>::min()},
  };
  for (const auto& [s, v] : ok) EXPECT_EQ(parse_int(s), v) << s;
  for (const char* s : {"1__0", "_1", "1_", "12px", "", " ", "1.0", "0x1F", "- 5", "1 2",
                        "9223372036854775808", "-9223372036854775809", "99999999999999999999"})
    EXPECT_FALSE(parse_int(s)) << s;
}

TEST(NumParseInt, Base16TakesPrefixAndLetters) {
  EXPECT_EQ(parse_int("0x1F", 16), 31);
  EXPECT_EQ(parse_int("1f", 16), 31);
  EXPECT_EQ(parse_int("0X_ff", 16), 255);
  EXPECT_EQ(parse_int("-0x10", 16), -16);
  EXPECT_EQ(parse_int("１f", 16), 31);
  EXPECT_FALSE(parse_int("0x", 16));
  EXPECT_FALSE(parse_int("ｆ", 16));  // full-width letters are no digits
  EXPECT_FALSE(parse_int("0g", 16));
}

TEST(NumParseReal, AcceptedAndRefusedTexts) {
  const std::pair<const char*, double> ok[] = {
      {"1e3", 1000.0}, {".5", 0.5},    {"5.", 5.0},    {"1_0.2_5", 10.25},
      {"1e+2", 100.0}, {"１.５", 1.5}, {" 2.5 ", 2.5}, {"+.5e-1", 0.05},
      {"1e-400", 0.0}, {"-0", -0.0},   {"0.1", 0.1},   {"12", 12.0},
  };
  for (const auto& [s, v] : ok) EXPECT_EQ(parse_real(s), v) << s;
  EXPECT_EQ(parse_real("inf"), std::numeric_limits<double>::infinity());
  EXPECT_EQ(parse_real("-Infinity"), -std::numeric_limits<double>::infinity());
  EXPECT_EQ(parse_real("1e400"), std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(*parse_real("NaN")));
  EXPECT_TRUE(std::signbit(*parse_real("-0")));
  for (const char* s :
       {"1.2.3", ".", "1e", "e1", "0x10", "1_.5", "1._5", "infinit", "", "5px", "1,5", "--1"})
    EXPECT_FALSE(parse_real(s)) << s;
}

TEST(NumParse, RaisingFormsNameTheText) {
  try {
    to_int("24px");
    FAIL();
  } catch (const Failure& f) {
    EXPECT_EQ(f.type(), "ValueError");
    EXPECT_STREQ(f.what(), "invalid literal for int() with base 10: '24px'");
  }
  try {
    to_int("zz", 16);
    FAIL();
  } catch (const Failure& f) {
    EXPECT_STREQ(f.what(), "invalid literal for int() with base 16: 'zz'");
  }
  try {
    to_real("1.2.3");
    FAIL();
  } catch (const Failure& f) {
    EXPECT_EQ(f.type(), "ValueError");
    EXPECT_STREQ(f.what(), "could not convert string to float: '1.2.3'");
  }
  EXPECT_EQ(to_int(" 8 "), 8);
  EXPECT_EQ(to_real("8"), 8.0);
}

TEST(NumRounding, FourRoundingsStayApart) {
  EXPECT_EQ(trunc(2.7), 2);
  EXPECT_EQ(trunc(-2.7), -2);
  EXPECT_THROW(trunc(std::nan("")), Failure);
  EXPECT_THROW(trunc(1e19), Failure);
  const std::pair<double, int64_t> even[] = {
      {2.5, 2},  {3.5, 4}, {-2.5, -2},  {-3.5, -4}, {0.5, 0},
      {-0.5, 0}, {1.5, 2}, {2.4999, 2}, {-2.6, -3}, {1e15 + 0.5, 1000000000000000}};
  for (const auto& [d, v] : even) EXPECT_EQ(round_even(d), v) << d;
  EXPECT_THROW(round_even(std::numeric_limits<double>::infinity()), Failure);
  EXPECT_EQ(floordiv(-5, 2), -3);
  EXPECT_EQ(floordiv(5, -2), -3);
  EXPECT_EQ(floordiv(-6, 3), -2);
  EXPECT_EQ(floordiv(7, 2), 3);
  EXPECT_THROW(floordiv(1, 0), Failure);
}

TEST(NumFormat, PrintfOfTheBinaryValue) {
  EXPECT_EQ(fmt("%.1f", 0.25), "0.2");
  EXPECT_EQ(fmt("%.1f", 0.35), "0.3");
  EXPECT_EQ(fmt("%.4f", 2.0 / 3), "0.6667");
  EXPECT_EQ(fmt("%.0f", 2.5), "2");
  EXPECT_EQ(fmt("%.0f", 3.5), "4");
  EXPECT_EQ(fmt("%g", 0.0001), "0.0001");
  EXPECT_EQ(fmt("%g", 1234567.0), "1.23457e+06");
  EXPECT_EQ(fmt("%g", -std::nan("")), "nan");
  EXPECT_EQ(fmt("%+d", int64_t(5)), "+5");
  EXPECT_EQ(fmt("%+d", int64_t(-5)), "-5");
  EXPECT_EQ(fmt("%d", -2.7), "-2");
  EXPECT_EQ(fmt("%02X", int64_t(255)), "FF");
  EXPECT_EQ(fmt("%06X", int64_t(-255)), "-000FF");
  EXPECT_EQ(fmt("%.1f", int64_t(3)), "3.0");
  EXPECT_EQ(fmt("w=%dpx", int64_t(4)), "w=4px");
  EXPECT_EQ(fmt("%d%%", int64_t(50)), "50%");
}

TEST(NumFormat, HexAndRealText) {
  EXPECT_EQ(hex(-1, 6), "-00001");
  EXPECT_EQ(hex(255, 6), "0000FF");
  EXPECT_EQ(hex(0xABCDEF, 2), "ABCDEF");
  EXPECT_EQ(hex(-255, 2, false), "-ff");
  EXPECT_EQ(hex(10, 2, false), "0a");
  EXPECT_EQ(real_text(10.0), "10.0");
  EXPECT_EQ(real_text(1e16), "1e+16");
}

TEST(ColorTuple, MissingMemberFailsLikeATuple) {
  const Color named = Color::rgb(1, 2, 3);
  EXPECT_EQ(named.at(2), 3);
  EXPECT_EQ(named.at(-1), 3);
  EXPECT_EQ(named.alpha_or_opaque(), 255);
  try {
    named.at(3);
    FAIL();
  } catch (const Failure& f) {
    EXPECT_EQ(f.type(), "IndexError");
    EXPECT_STREQ(f.what(), "tuple index out of range");
  }
  EXPECT_EQ(Color::rgba(1, 2, 3, 0).at(3), 0);
}

}  // namespace
}  // namespace pagefold::num
