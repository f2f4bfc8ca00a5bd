// Rounded solid-colour controls: which controls take a route, and what the
// routes do without pictures or without a colour behind. The routes with
// pictures and glue are the golden case assets_rounded.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "testkit.hpp"

namespace pagefold {
namespace {

using testkit::pretty;

struct Converted {
  Value root;
  std::vector<std::string> warnings;
  Value glue;
  int64_t gen_count = 0;
  bool warned(const std::string& w) const {
    return std::find(warnings.begin(), warnings.end(), w) != warnings.end();
  }
};

// Converts one page holding `body`, with the stand-in picture module and an
// asset directory when `pictures` is set.
Converted convert(const std::string& body, bool pictures, const std::string& screen_attrs = "") {
  Modules modules;
  if (pictures) modules.gen_res = std::make_shared<testkit::FakeGenRes>();
  testkit::TempDir dir;
  PageFold pf(std::nullopt, dir.str(), &modules);
  ConvertResult r = pf.convert("<div class=\"screen\"" + screen_attrs + ">" + body + "</div>");
  Converted out;
  if (!r.pages || r.pages->size() != 1) {
    ADD_FAILURE() << "no single page; meta: " << pretty(r.meta);
    return out;
  }
  out.root = r.pages->front().second;
  out.warnings = r.warnings;
  out.glue = r.rad_glue;
  out.gen_count = r.gen_count;
  return out;
}

const std::string BUTTON =
    R"(<button data-caption="ok" style="border-radius:8px;background:#3366ff">OK</button>)";

TEST(RadButton, WithoutPicturesPainterButtonAndGlueStillCome) {
  Converted p = convert(BUTTON, false, " data-bg=\"#000000\"");
  EXPECT_EQ(p.root.get("painter__1").get("caption"), Value("okRad"));
  EXPECT_EQ(pretty(p.root.get("button__2").get("picTab")),
            pretty(testkit::J(R"({"pic0": "", "pic1": ""})")));
  ASSERT_EQ(p.glue.as_array().size(), 1u);
  EXPECT_EQ(p.glue.as_array()[0].get("bg"), Value("0x000000"));  // black is a colour
  EXPECT_EQ(p.gen_count, 0);
}

TEST(RadButton, NoRouteForSquarePaintedOrPicturedControls) {
  for (
      const char* body : {
          R"(<button style="border-radius:0;background:#3366ff">A</button>)",
          R"(<button style="border-radius:8px">A</button>)",
          R"x(<button style="border-radius:8px;background:linear-gradient(#fff,#000)">A</button>)x",
          R"x(<button style="border-radius:8px;background:#fff;box-shadow:0 1px 2px #000">A</button>)x",
          R"(<button style="border-radius:8px;background:#3366ff" data-pic0="a.png">A</button>)",
          R"(<button style="border-radius:8px;background:#3366ff" data-icon="home">A</button>)",
      }) {
    Converted p = convert(body, false);
    EXPECT_TRUE(p.glue.as_array().empty()) << body;
    EXPECT_FALSE(p.root.contains("painter__1")) << body;
  }
}

TEST(RadButton, UnknownColourBehindIsWhiteWithAWarningOnBothRoutes) {
  Converted p = convert(BUTTON + R"(<div class="text" data-caption="tag" )"
                                 R"(style="border-radius:6px;background:#ff0000">Hi</div>)",
                        true);
  ASSERT_EQ(p.glue.as_array().size(), 1u);
  EXPECT_EQ(p.glue.as_array()[0].get("bg"), Value("0xFFFFFF"));
  EXPECT_TRUE(p.warned(
      "ok：走 RadButton（纯色倒角）路线，但**背后底色**取不到（祖先容器与页面根都没底色）→ "
      "胶水里先按白 0xFFFFFF 兜底，请改成实际底色，否则倒角边缘会有一圈颜色不对的边"
      "（components/ui_v1/RadButton/README.md §8）"));
  EXPECT_TRUE(
      p.warned("tag：出 .9.png 倒角底图，但**背后底色**取不到（祖先容器与页面根都没底色）→ "
               "圆角外的方角会按引擎缺省（常是黑）渲染；请给页面/容器补底色（A6 口径）"));
  EXPECT_EQ(p.root.get("textview__3").get("backgroundPic"), Value("images/pill_tag.9.png"));
}

TEST(RadBox, NothingWithoutThePictureModule) {
  Converted p =
      convert(R"(<div class="window" style="border-radius:6px;background:#ff0000"></div>)"
              R"(<div class="text" style="border-radius:6px;background:#ff0000">Hi</div>)",
              false, " data-bg=\"#000000\"");
  EXPECT_FALSE(p.root.get("window__1").contains("backgroundPic"));
  EXPECT_EQ(p.root.get("window__1").get("backgroundColor"), Value(0xFF0000));
  EXPECT_FALSE(p.root.get("textview__2").contains("backgroundPic"));
}

}  // namespace
}  // namespace pagefold
