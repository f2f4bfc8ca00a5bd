// Slider styling: the cases a golden page shows poorly. Styled sliders with
// pictures and every device note are the golden case assets_slider.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "testkit.hpp"

namespace pagefold {
namespace {

// The first slider of a page holding `body`, converted with the stand-in
// picture module.
struct Slider {
  Value record;
  std::vector<std::string> warnings;
  std::shared_ptr<testkit::FakeGenRes> gen = std::make_shared<testkit::FakeGenRes>();

  explicit Slider(const std::string& body) {
    testkit::TempDir dir;
    ConvertResult r =
        testkit::convert_html(R"(<div class="screen" data-bg="#000000">)" + body + "</div>",
                              testkit::fake_modules(nullptr, gen), dir.str());
    if (!r.pages || r.pages->size() != 1) {
      ADD_FAILURE() << "no single page; meta: " << testkit::pretty(r.meta);
      return;
    }
    record = r.pages->front().second.get("seekbar__1");
    warnings = r.warnings;
  }
};

TEST(Slider, PlainSliderMakesNothing) {
  Slider s(R"(<div class="slider" data-value="30" style="height:8px"></div>)");
  EXPECT_TRUE(s.gen->calls.empty());
  EXPECT_FALSE(s.record.contains("backgroundPic"));
  EXPECT_EQ(s.record.get("defProgress"), Value(30));
}

TEST(Slider, ThumbSizeFromAttributeAndMaximumFromCss) {
  Slider s(R"(<div class="slider" data-caption="a" style="height:32px;background:#222;)"
           R"(--max: 2.5"><div class="thumb" data-thumb-size="20" style="background:#fff">)"
           R"(</div></div>)");
  EXPECT_EQ(testkit::pretty(s.record.get("thumb").get("size")),
            testkit::pretty(testkit::J(R"({"width": 20, "height": 20})")));
  EXPECT_EQ(s.record.get("max"), Value(2));  // rounded half to even
}

TEST(Slider, UnreadableThumbSizeIsReported) {
  Slider s(R"(<div class="slider" data-caption="b" style="height:32px;background:#222">)"
           R"(<div class="thumb" style="width:50%;background:#fff"></div></div>)");
  EXPECT_FALSE(s.record.get("thumb").get("normalPic").truthy());
  EXPECT_EQ(s.warnings.at(0),
            "b：.thumb 子元素 里读不到绝对像素宽高（缺 width/height 或写了 % / auto）—— "
            "滑块图未生成；请写 width:32px;height:32px（或 data-thumb-size=\"32\"）");
}

}  // namespace
}  // namespace pagefold
