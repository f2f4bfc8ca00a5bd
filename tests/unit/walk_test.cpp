// Type detection: the glyph rule, the class table in row order, then the tag.
// The walk itself is covered end to end by the controls_walk_branches golden
// case.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "controls/tables.hpp"
#include "front/readers.hpp"
#include "testkit.hpp"

namespace pagefold {
namespace {

struct DetectCase {
  std::string tag;
  Attrs attrs;
  std::string want;
};

TEST(DetectType, GlyphThenClassTableThenTag) {
  const std::vector<DetectCase> cases = {
      // A glyph only promotes elements that are buttons or icons.
      {"div", {{"class", "label"}, {"data-icon", "home"}}, "textview"},
      {"div", {{"class", "label icon"}, {"data-icon", "home"}}, "icon"},
      {"div", {{"class", "label icon-home"}}, "icon"},
      {"button", {{"class", "icon"}, {"data-icon", "home"}}, "button"},
      {"div", {{"class", "text b"}, {"data-icon", "home"}}, "button"},
      {"div", {{"class", "label icon"}}, "textview"},
      // Table rows are tried in order, whatever the class order.
      {"div", {{"class", "btn text"}}, "textview"},
      {"div", {{"class", "gauge card"}}, "window"},
      {"div", {{"class", "modal btn"}}, "button"},
      {"span", {{"class", "qr"}}, "qrcode"},
      // Tags, once no class decides.
      {"input", {{"type", " RANGE "}}, "seekbar"},
      {"input", {}, "edittext"},
      {"input", {{"type", "checkbox"}}, "edittext"},
      {"input", {{"type", "range"}, {"class", "cb"}}, "checkbox"},
      {"input", {{"type", std::nullopt}}, "edittext"},
      {"button", {}, "button"},
      {"img", {}, "icon"},
      {"ol", {}, "listview"},
      {"ul", {}, "listview"},
      {"li", {}, "textview"},
      {"section", {{"class", "modal"}}, "modal"},
      {"style", {}, "textview"},
      {"h3", {}, "textview"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(_detect_type(c.tag, _classes(c.attrs), &c.attrs), c.want)
        << "<" << c.tag << " " << (c.attrs.empty() ? "" : c.attrs[0].value.value_or("")) << ">";
  }
  // Without attributes there is no glyph rule and no input type.
  EXPECT_EQ(_detect_type("div", {"label", "icon"}, nullptr), "textview");
  EXPECT_EQ(_detect_type("input", {}, nullptr), "edittext");
}

TEST(DetectType, TablesHaveTheirRows) {
  EXPECT_EQ(ID_BASE.size(), 23u);
  EXPECT_EQ(CLASS_MAP.size(), 23u);
  EXPECT_EQ(CLASS_MAP[5].first, "modal");
  EXPECT_EQ(CTRL_CLASSES.size(), 72u);
  EXPECT_TRUE(CTRL_CLASSES.count("iconfont"));
  EXPECT_FALSE(CTRL_CLASSES.count("item"));
  EXPECT_EQ(align_code("c"), 37);
  EXPECT_EQ(align_code("middle"), std::nullopt);
}

}  // namespace
}  // namespace pagefold
