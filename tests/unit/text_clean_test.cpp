// Text cleaning: characters the device font lacks are removed and reported
// once per kind and character set (the texts themselves are in the golden
// case front_cascade_text).
#include "front/text_clean.hpp"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace pagefold {
namespace {

using std::nullopt;

TEST(CleanText, Table) {
  // clang-format off
  const std::pair<std::optional<std::string>, std::optional<std::string>> cases[] = {
      {nullopt, nullopt}, {"", ""}, {"  a\t\tb\nc  ", "a b\nc"},  // line feeds stay inside, go at the ends
      {"\n a \x0b\f b\r\n", "a b"}, {"\u00a0a\u00a0\u00a0b\u3000", "a\u00a0\u00a0b"},  // only ASCII blanks close up
      {"★●→", ""}, {"1\uFE0F\u20E3", "1\u20E3"},  // keycap: the selector goes
      {"x\U0001F468\u200D\U0001F469y", "xy"},  // a family goes whole
      {"\u2039\uFF0D\uFF0B\u2013\u2026\u2603\u20AC", "\u20AC"}};
  // clang-format on
  for (const auto& [in, want] : cases) EXPECT_EQ(_clean_text(in), want) << in.value_or("");
  for (uint32_t c : {0x20E3, 0x2039, 0x2BFF + 1, 0x1FB00}) EXPECT_FALSE(_is_emoji(c)) << c;
  for (uint32_t c : {0x200D, 0xFE0F, 0x2100, 0x2BFF, 0x1FAFF}) EXPECT_TRUE(_is_emoji(c)) << c;
}

TEST(CleanText, ReportsOncePerKindAndCharacters) {
  // A page's warning entry point, de-duplicating by key as a page does.
  std::vector<std::string> warnings;
  std::map<std::string, int> keys;
  const WarnFn warn = [&](const std::string& msg, const std::string& key) {
    if (keys[key]++ == 0) warnings.push_back(msg);
  };
  EXPECT_EQ(_clean_text("a ★ b", &warn, "TextView1"), "a b");
  EXPECT_EQ(_clean_text("★★★", &warn), "");  // same key: no second warning
  EXPECT_EQ(_clean_text("\U0001F468\u200D\U0001F469", &warn, "w"), "");
  ASSERT_EQ(warnings.size(), 2u);
  EXPECT_EQ(warnings[1],
            "文本字符被丢弃（emoji）：'\U0001F468' '\\u200d' '\U0001F469'"
            "（设备裁剪字库无该字形 → 整字消失）  @w —— 改用图片素材或换字符（铁律 1）");
  EXPECT_EQ(keys.count("drop:emoji:\u200D\U0001F468\U0001F469"), 1u);  // by code point
}

}  // namespace
}  // namespace pagefold
