// Code-point text: whitespace set, stripping and splitting, lower-casing,
// slicing, digits and the quoted display form.
#include <gtest/gtest.h>
#include <utf8proc.h>

#include "pagefold/error.hpp"
#include "util/text.hpp"

namespace pagefold::text {
namespace {

TEST(TextSpace, ExactlyTheUnicodeWhitespaceSet) {
  for (char32_t c : {0x09, 0x0A, 0x0B,   0x0C,   0x0D,   0x1C,   0x1D,   0x1E,   0x1F,   0x20,
                     0x85, 0xA0, 0x1680, 0x2000, 0x200A, 0x2028, 0x2029, 0x202F, 0x205F, 0x3000})
    EXPECT_TRUE(is_space(c)) << std::hex << uint32_t(c);
  for (char32_t c : {0x08, 0x0E, 0x21, 0x180E, 0x200B, 0x200D, 0x2060, 0xFEFF, 0x3001})
    EXPECT_FALSE(is_space(c)) << std::hex << uint32_t(c);
  // The set equals "category Zs, or bidirectional class WS, B or S".
  int count = 0;
  for (char32_t c = 0; c <= 0x10FFFF; ++c) {
    const auto* p = utf8proc_get_property(static_cast<utf8proc_int32_t>(c));
    const bool want =
        p->category == UTF8PROC_CATEGORY_ZS || p->bidi_class == UTF8PROC_BIDI_CLASS_WS ||
        p->bidi_class == UTF8PROC_BIDI_CLASS_B || p->bidi_class == UTF8PROC_BIDI_CLASS_S;
    ASSERT_EQ(is_space(c), want) << std::hex << uint32_t(c);
    count += want;
  }
  EXPECT_EQ(count, 29);
}

TEST(TextSpace, StripAndSplitUseTheWholeSet) {
  EXPECT_EQ(strip("\u3000\u00a0 a b\x1c\u0085\n"), "a b");
  EXPECT_EQ(lstrip("\u2028x "), "x ");
  EXPECT_EQ(rstrip(" x\u202f"), " x");
  EXPECT_EQ(strip("\u200bx\u200b"), "\u200bx\u200b");  // zero width space is no space
  EXPECT_EQ(strip(" \t "), "");
  EXPECT_EQ(split_ws("  a\u3000b\x1f\x1f c  "), (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_TRUE(split_ws(" \u00a0 ").empty());
  EXPECT_EQ(split("a,,b,", ","), (std::vector<std::string>{"a", "", "b", ""}));
  EXPECT_EQ(split("", ";"), (std::vector<std::string>{""}));
  EXPECT_THROW(split("a", ""), Failure);
  EXPECT_EQ(strip_chars("##a#b##", "#"), "a#b");
  EXPECT_EQ(lstrip_chars("0012", "0"), "12");
  EXPECT_EQ(rstrip_chars("1.500", "0."), "1.5");
}

TEST(TextCase, LowerIsPerCodePointUnicode) {
  EXPECT_EQ(lower("ÀÉ ΣΑΣ Ω İ ABC"), "àé σας ω i\u0307 abc");
  EXPECT_EQ(length(lower("İ")), 2u);
  EXPECT_EQ(lower("Ａ"), "ａ");
  EXPECT_EQ(lower("中文"), "中文");
  EXPECT_EQ(ascii_lower("ÀBC"), "Àbc");
}

TEST(TextCodePoints, LengthAndSliceCountCodePoints) {
  const std::string s = "中文😀a̐b";  // a + combining mark counts as two
  EXPECT_EQ(length(s), 6u);
  EXPECT_EQ(slice(s, 0, 2), "中文");
  EXPECT_EQ(slice(s, 2, 1), "😀");
  EXPECT_EQ(slice(s, 3), "a̐b");
  EXPECT_EQ(slice(s, 5, 10), "b");
  EXPECT_EQ(slice(s, 9), "");
  EXPECT_EQ(to_utf8(to_u32(s)), s);
  EXPECT_EQ(to_u32("😀").size(), 1u);
}

TEST(TextCodePoints, Validation) {
  EXPECT_TRUE(valid_utf8("abc中😀"));
  EXPECT_FALSE(valid_utf8("\xff"));
  EXPECT_FALSE(valid_utf8("\xc0\xaf"));          // overlong
  EXPECT_FALSE(valid_utf8("\xed\xa0\x80"));      // surrogate
  EXPECT_FALSE(valid_utf8("\xf4\x90\x80\x80"));  // beyond U+10FFFF
  EXPECT_FALSE(valid_utf8("\xe4\xb8"));          // cut short
}

TEST(TextDigits, DecimalDigitsOfAnyScript) {
  EXPECT_EQ(digit_value(U'7'), 7);
  EXPECT_EQ(digit_value(U'１'), 1);
  EXPECT_EQ(digit_value(0x0663), 3);   // Arabic-Indic three
  EXPECT_EQ(digit_value(0x1D7D9), 1);  // mathematical double-struck one (second run)
  EXPECT_EQ(digit_value(U'²'), -1);    // superscript: a digit but not decimal
  EXPECT_EQ(digit_value(U'一'), -1);
  EXPECT_EQ(digit_value(U'a'), -1);
  EXPECT_STREQ(category(U'a'), "Ll");
  EXPECT_STREQ(category(0x200D), "Cf");
  EXPECT_STREQ(category(0xE0080), "Cn");
}

TEST(TextQuoted, DisplayFormOfOneCharacter) {
  const std::pair<char32_t, const char*> cases[] = {
      {U'★', "'★'"},
      {U'a', "'a'"},
      {U' ', "' '"},
      {0x200D, "'\\u200d'"},
      {0xE0001, "'\\U000e0001'"},
      {0xE0080, "'\\U000e0080'"},
      {0x1FB00, "'🬀'"},
      {0x0085, "'\\x85'"},
      {0x00A0, "'\\xa0'"},
      {0x3000, "'\\u3000'"},
      {0x2028, "'\\u2028'"},
      {0x7F, "'\\x7f'"},
      {0x01, "'\\x01'"},
      {U'\n', "'\\n'"},
      {U'\t', "'\\t'"},
      {U'\\', "'\\\\'"},
      {U'\'', "\"'\""},
      {U'"', "'\"'"},
      {0xE000, "'\\ue000'"},
      {0xD800, "'\\ud800'"},
  };
  for (const auto& [c, want] : cases) EXPECT_EQ(quoted(c), want) << std::hex << uint32_t(c);
  EXPECT_EQ(repr("it's"), "\"it's\"");
  EXPECT_EQ(repr("a'b\"c"), "'a\\'b\"c'");
  EXPECT_EQ(repr("24px"), "'24px'");
  EXPECT_EQ(repr("中\u200b"), "'中\\u200b'");
}

TEST(TextHelpers, ReplaceAndAffixes) {
  EXPECT_EQ(replace_all("a-b-c", "-", "--"), "a--b--c");
  EXPECT_EQ(replace_all("中文", "", "|"), "|中|文|");
  EXPECT_EQ(join({"a", "b", "c"}, ", "), "a, b, c");
  EXPECT_TRUE(starts_with("data-pic", "data-"));
  EXPECT_TRUE(ends_with("x.JSON", ".JSON"));
  EXPECT_FALSE(ends_with("n", "json"));
  EXPECT_TRUE(contains("abc", "bc"));
}

}  // namespace
}  // namespace pagefold::text
