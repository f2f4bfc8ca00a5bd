// Text cleaning: characters the device font lacks are removed and reported
// once per kind and character set.
#include "front/text_clean.hpp"

#include <gtest/gtest.h>

#include "pagefold/ctx.hpp"

namespace pagefold {
namespace {

using std::nullopt;

TEST(IsEmoji, RangesAndBlacklistOverlap) {
  for (char32_t c : {0x1F600, 0x2603, 0x2190, 0x25A0, 0x2460, 0x2103, 0x2B50, 0xFE0F, 0x200D})
    EXPECT_TRUE(_is_emoji(c)) << std::hex << static_cast<uint32_t>(c);
  for (char32_t c : {0x20E3, 0x2039, 0x2026, 0xFF0B, 0x41, 0x4E2D, 0x1FB00})
    EXPECT_FALSE(_is_emoji(c)) << std::hex << static_cast<uint32_t>(c);
  int in_ranges = 0;
  for (char32_t c : TEXT_BLACKLIST) in_ranges += _is_emoji(c);
  EXPECT_EQ(TEXT_BLACKLIST.size(), 15u);
  EXPECT_EQ(in_ranges, 10);
}

TEST(CleanText, WhitespaceAndEmptiness) {
  EXPECT_EQ(_clean_text(nullopt), nullopt);
  EXPECT_EQ(_clean_text(""), "");
  EXPECT_EQ(_clean_text("  a\t\tb\nc  "), "a b\nc");
  EXPECT_EQ(_clean_text("\n a \x0b\f b\r\n"), "a b");
  EXPECT_EQ(_clean_text("\xC2\xA0"
                        "a\xC2\xA0\xC2\xA0"
                        "b\xE3\x80\x80"),
            "a\xC2\xA0\xC2\xA0"
            "b");
  EXPECT_EQ(_clean_text("★●→"), "");
  // Keycap: the variation selector goes, the digit and U+20E3 stay.
  EXPECT_EQ(_clean_text("1\uFE0F\u20E3"), "1\u20E3");
  // A family emoji goes whole, joiners included.
  EXPECT_EQ(_clean_text("x\U0001F468\u200D\U0001F469y"), "xy");
}

TEST(CleanText, ReportsOncePerKindAndCharacters) {
  Ctx ctx;
  EXPECT_EQ(_clean_text("a ★ b", &ctx, "TextView1"), "a b");
  EXPECT_EQ(_clean_text("★★★", &ctx), "");  // same key: no second warning
  EXPECT_EQ(_clean_text("…★", &ctx), "");
  EXPECT_EQ(_clean_text("\U0001F468\u200D\U0001F469", &ctx, "w"), "");
  EXPECT_EQ(_clean_text("☃", nullptr), "");
  ASSERT_EQ(ctx.warnings.size(), 3u);
  EXPECT_EQ(ctx.warnings[0],
            "文本字符被丢弃（emoji）：'★'（设备裁剪字库无该字形 → 整字消失）  @TextView1"
            " —— 改用图片素材或换字符（铁律 1）");
  EXPECT_EQ(ctx.warnings[1],
            "文本字符被丢弃（黑名单特殊符号）：'…' '★'（设备裁剪字库无该字形 → 整字消失）"
            " —— 改用图片素材或换字符（铁律 1）");
  EXPECT_EQ(ctx.warnings[2],
            "文本字符被丢弃（emoji）：'\U0001F468' '\\u200d' '\U0001F469'"
            "（设备裁剪字库无该字形 → 整字消失）  @w —— 改用图片素材或换字符（铁律 1）");
  EXPECT_TRUE(ctx.warned.count("drop:emoji:★"));
  EXPECT_TRUE(ctx.warned.count("drop:黑名单特殊符号:…★"));
  EXPECT_TRUE(ctx.warned.count("drop:emoji:\u200D\U0001F468\U0001F469"));
}

}  // namespace
}  // namespace pagefold
