// What the page JSON cannot show of the media controls: the picture an emoji
// icon asks for. The records themselves are covered end to end by the
// controls_media_family and controls_with_pictures golden cases.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "testkit.hpp"

namespace pagefold {
namespace {

// The PNG's width and height from its header.
std::pair<int, int> png_size(const std::string& path) {
  std::string b = testkit::read_file(path);
  auto be32 = [&](size_t at) {
    return (uint8_t(b[at]) << 24) | (uint8_t(b[at + 1]) << 16) | (uint8_t(b[at + 2]) << 8) |
           uint8_t(b[at + 3]);
  };
  return b.size() < 24 ? std::pair{0, 0} : std::pair{int(be32(16)), int(be32(20))};
}

TEST(Icon, EmojiIsDrawnSquareAtTheLargerSideOfTheBox) {
  auto gen = std::make_shared<testkit::FakeGenRes>();
  testkit::TempDir dir;
  Modules modules;
  modules.gen_res = gen;
  ConvertResult r = testkit::convert_html(
      R"(<div class="screen" data-bg="#000000">
           <div class="icon" data-caption="star" data-w="48" data-h="64"> ⭐ </div>
           <div class="icon" data-w="30">😀 x</div>
           <div class="icon" data-w="0" data-h="0">&#x1F600;</div></div>)",
      modules, dir.str());
  ASSERT_TRUE(r.pages.has_value());
  // Text that keeps a letter after cleaning is no emoji icon.
  EXPECT_EQ(gen->calls, (std::vector<std::string>{"emoji_icon emoji_star_0.png",
                                                  "emoji_icon emoji_ImageView2_1.png"}));
  EXPECT_EQ(png_size(dir.str() + "/emoji_star_0.png"), (std::pair{64, 64}));
  // A written size of 0 is a size, not a missing one (the stand-in draws at
  // least one pixel each way).
  EXPECT_EQ(png_size(dir.str() + "/emoji_ImageView2_1.png"), (std::pair{1, 1}));
}

}  // namespace
}  // namespace pagefold
