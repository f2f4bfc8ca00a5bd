// Code-point text: whitespace set, stripping and splitting, lower-casing,
// slicing, digits and the quoted display form.
#include <gtest/gtest.h>
#include <utf8proc.h>

#include "pagefold/error.hpp"
#include "util/text.hpp"

namespace pagefold::text {
namespace {

TEST(TextSpace, ExactlyTheUnicodeWhitespaceSet) {
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
  EXPECT_EQ(strip("\u200bx\u200b"), "\u200bx\u200b");  // zero width space is no space
  EXPECT_EQ(split_ws("  a\u3000b\x1f\x1f c  "), (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_TRUE(split_ws(" \u00a0 ").empty());
  EXPECT_EQ(split("a,,b,", ","), (std::vector<std::string>{"a", "", "b", ""}));
  EXPECT_THROW(split("a", ""), Failure);
  EXPECT_EQ(rstrip_chars("1.500", "0."), "1.5");
}

TEST(TextCase, LowerIsPerCodePointUnicode) {
  EXPECT_EQ(lower("ÀÉ ΣΑΣ Ω İ ABC"), "àé σας ω i\u0307 abc");
  EXPECT_EQ(length(lower("İ")), 2u);
}

TEST(TextCodePoints, LengthAndSliceCountCodePoints) {
  const std::string s = "中文😀a̐b";  // a + combining mark counts as two
  EXPECT_EQ(length(s), 6u);
  EXPECT_EQ(slice(s, 0, 2), "中文");
  EXPECT_EQ(slice(s, 2, 1), "😀");
  EXPECT_EQ(slice(s, 3), "a̐b");
  EXPECT_EQ(slice(s, 5, 10), "b");
  EXPECT_EQ(to_utf8(to_u32(s)), s);
  EXPECT_TRUE(valid_utf8(s));
  for (const char* bad : {"\xff", "\xc0\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xe4\xb8"})
    EXPECT_FALSE(valid_utf8(bad)) << bad;  // stray, overlong, surrogate, too big, cut short
}

TEST(TextQuoted, DisplayFormOfOneCharacter) {
  // clang-format off
  const std::pair<char32_t, const char*> cases[] = {
      {U'★', "'★'"},       {U' ', "' '"},        {0x200D, "'\\u200d'"}, {0xE0001, "'\\U000e0001'"},
      {0x1FB00, "'🬀'"}, {0x0085, "'\\x85'"},  {0x00A0, "'\\xa0'"},   {0x3000, "'\\u3000'"},
      {0x7F, "'\\x7f'"},   {U'\n', "'\\n'"},     {U'\\', "'\\\\'"},     {U'\'', "\"'\""},
      {U'"', "'\"'"},      {0xD800, "'\\ud800'"}};
  // clang-format on
  for (const auto& [c, want] : cases) EXPECT_EQ(quoted(c), want) << std::hex << uint32_t(c);
  EXPECT_EQ(repr("it's"), "\"it's\"");
  EXPECT_EQ(repr("a'b\"c"), "'a\\'b\"c'");
}

}  // namespace
}  // namespace pagefold::text
