// Attribute, number and colour readers: absent, zero and empty kept apart.
#include "front/readers.hpp"

#include <gtest/gtest.h>

#include "pagefold/error.hpp"

namespace pagefold {
namespace {

using std::nullopt;
using OptInt = std::optional<int64_t>;

TEST(ToDec, ReadsHashHexPrefixAndDecimal) {
  // "#fff" is not expanded: it is the integer 0xFFF.
  const std::vector<std::pair<OptStr, OptInt>> cases = {
      {"#000000", 0},
      {"#FF0000", 0xFF0000},
      {"#fff", 0xFFF},
      {"  #ff  ", 255},
      {"0X1f", 31},
      {"16711680", 16711680},
      {"-1", -1},
      {"1_000", 1000},
      {"１２", 12},
      {"red", nullopt},
      {"rgb(0,0,0)", nullopt},
      {"12.5", nullopt},
      {"   ", nullopt},
      {nullopt, nullopt},
      {"#", nullopt},
      {"99999999999999999999", nullopt},
  };
  for (const auto& [in, want] : cases) EXPECT_EQ(to_dec(in), want) << in.value_or("<absent>");
}

TEST(ParsePx, TruncatesAndRefusesSignsAndPercent) {
  const std::vector<std::pair<OptStr, OptInt>> cases = {
      {"10", 10},     {"10px", 10},       {"10p", 10},        {"10.7", 10},      {" 10.7px ", 10},
      {"１２px", 12}, {"-5", nullopt},    {"-5px", nullopt},  {"50%", nullopt},  {"auto", nullopt},
      {"", nullopt},  {nullopt, nullopt}, {"10 px", nullopt}, {"10em", nullopt}, {"1e400", nullopt},
  };
  for (const auto& [in, want] : cases) EXPECT_EQ(parse_px(in), want) << in.value_or("<absent>");
}

TEST(ParsePx, DigitsAndDotsThatAreNoNumberRaise) {
  for (const char* bad : {"1.2.3", ".", "1..px"}) {
    try {
      parse_px(std::string(bad));
      ADD_FAILURE() << bad << " did not raise";
    } catch (const Failure& f) {
      EXPECT_EQ(f.type() + ": " + f.message(),
                "ValueError: could not convert string to float: '" +
                    std::string(bad).substr(0, std::string(bad).find('p')) + "'");
    }
  }
}

TEST(Num, KeepsIntegersAndRealsApart) {
  const Value five(int64_t{5});
  EXPECT_TRUE(_num("12").is_int());
  EXPECT_EQ(_num("12.0").as_int(), 12);
  EXPECT_EQ(_num("12.5px").as_real(), 12.5);
  EXPECT_EQ(_num("-3").as_int(), -3);
  EXPECT_EQ(_num("abc").as_int(), 0);
  EXPECT_EQ(_num("abc", five).as_int(), 5);
  EXPECT_EQ(_num(nullopt, five).as_int(), 5);
  EXPECT_EQ(_num("1.2.3", five).as_int(), 5);
  EXPECT_EQ(_num("3.0").as_int(), 3);
  EXPECT_TRUE(_num("x", Value(10.0)).is_real());
  // Whole but beyond 64 bits: unusable.
  EXPECT_EQ(_num("100000000000000000000", five).as_int(), 5);
}

TEST(PxNum, AcceptsUnitsButNoLeadingDot) {
  const std::vector<std::pair<OptStr, std::optional<double>>> cases = {
      {"  -2.50 px ", -2.5}, {"2em", 2.0},      {"2rem", 2.0},      {"2pt", 2.0},
      {"2%", 2.0},           {"2px", 2.0},      {"0.5", 0.5},       {".5", nullopt},
      {"1e3", nullopt},      {"2 vh", nullopt}, {nullopt, nullopt},
  };
  for (const auto& [in, want] : cases) EXPECT_EQ(_px_num(in), want) << in.value_or("<absent>");
}

TEST(StyleProp, FirstDeclarationWinsAndPatternIsAnchored) {
  EXPECT_EQ(style_prop("color:#000;color:#fff", "color"), "#000");
  EXPECT_EQ(style_prop("border-width:3px", "width"), nullopt);
  EXPECT_EQ(style_prop("max-width:3px;width: 4px ", "width"), "4px ");
  EXPECT_EQ(style_prop(nullopt, "width"), nullopt);
  // The key goes into the pattern as it is written.
  EXPECT_EQ(style_prop("color:red", "colou?r"), "red");
}

std::string entries(const Value& map) {
  std::string out;
  for (const auto& [k, v] : map.as_object()) out += k + "=" + std::to_string(v.as_int()) + " ";
  return out;
}

TEST(StylePos, KeepsOnlyReadableKeysInOrder) {
  EXPECT_EQ(entries(_style_pos("left:10px;top:-4px;width:50%;height:auto")), "left=10 ");
  EXPECT_EQ(entries(_style_pos("height:4px;width:3;top:2;left:1")),
            "left=1 top=2 width=3 height=4 ");
  EXPECT_TRUE(_style_pos(nullopt).as_object().empty());
}

TEST(Attr, FirstPairAnyCaseAndValuelessIsAbsent) {
  const Attrs attrs = {{"class", "a b"}, {"checked", nullopt}, {"class", "c"}, {"data-x", ""}};
  EXPECT_EQ(_attr(attrs, "CLASS"), "a b");
  EXPECT_EQ(_attr(attrs, "checked", "dflt"), nullopt);
  EXPECT_EQ(_attr(attrs, "missing", "dflt"), "dflt");
  EXPECT_EQ(_attr(attrs, "data-x", "dflt"), "");
  EXPECT_EQ(_classes(attrs), (std::set<std::string>{"a", "b"}));
  EXPECT_TRUE(_classes({{"class", nullopt}}).empty());
  EXPECT_EQ(nonempty_attr(attrs, "data-x"), nullopt);
  EXPECT_EQ(first_nonempty(attrs, {"data-x", "checked", "class"}), "a b");
}

TEST(GlyphFromAttrs, DataIconThenFirstIconClassByCodePoint) {
  EXPECT_EQ(_glyph_from_attrs({{"data-icon", " home "}, {"class", "icon-x"}}), "home");
  EXPECT_EQ(_glyph_from_attrs({{"data-icon", "  "}, {"class", "icon-x"}}), "x");
  EXPECT_EQ(_glyph_from_attrs({{"class", "icon-wifi btn icon-back"}}), "back");
  EXPECT_EQ(_glyph_from_attrs({{"class", "icon- btn"}}), nullopt);
  EXPECT_EQ(_glyph_from_attrs({{"data-icon", nullopt}}), nullopt);
}

TEST(ColorIntRgba, OnlyTheColourRange) {
  EXPECT_EQ(_color_int_rgba(0), Color::rgba(0, 0, 0, 255));
  EXPECT_EQ(_color_int_rgba(0x123456), Color::rgba(0x12, 0x34, 0x56, 255));
  EXPECT_EQ(_color_int_rgba(-1), nullopt);
  EXPECT_EQ(_color_int_rgba(0x1000000, Color::rgb(1, 2, 3)), Color::rgb(1, 2, 3));
  EXPECT_EQ(_color_int_rgba(nullopt), nullopt);
}

TEST(CssColor, Forms) {
  // Names give three members; zero alpha is still a colour, unlike "transparent".
  const std::vector<std::pair<std::string, Color>> colours = {
      {"#F00", Color::rgba(255, 0, 0, 255)},
      {"red", Color::rgb(255, 0, 0)},
      {" GREY ", Color::rgb(128, 128, 128)},
      {"#11223380", Color::rgba(0x11, 0x22, 0x33, 0x80)},
      {"rgba(1,2,3)", Color::rgba(1, 2, 3, 255)},
      {"rgba(0,0,0,0.5)", Color::rgba(0, 0, 0, 127)},
      {"rgba(0,0,0,2)", Color::rgba(0, 0, 0, 510)},
      {"rgb(300,0,0)", Color::rgba(300, 0, 0, 255)},
      {"rgb( 1.9 , 2 , 3 ) x", Color::rgba(1, 2, 3, 255)},
      {"rgba(0,0,0,0)", Color::rgba(0, 0, 0, 0)},
  };
  for (const auto& [in, want] : colours) EXPECT_EQ(_css_color(in), want) << in;
  for (const char* in :
       {"transparent", "#12345", "#1234", "#ggg", "rgb(255 0 0)", "rgb(50%,0,0)", "rgba(0,0,0,50%)",
        "rgb(1,2)", "navy", "red !important", "", "rgb(1e30,0,0)"})
    EXPECT_EQ(_css_color(std::string(in)), nullopt) << in;
  EXPECT_EQ(_css_color(nullopt), nullopt);
}

TEST(StyleLen, AbsoluteLengthsRoundedHalfEven) {
  const std::vector<std::pair<std::string, OptInt>> cases = {
      {"width:12.5px", 12},    {"width:13.5px", 14},    {"width:50%", nullopt},
      {"width:auto", nullopt}, {"width:AUTO", nullopt}, {"width:abc", nullopt},
      {"width: 2em ;x:1", 2},  {"height:3px", nullopt},
  };
  for (const auto& [in, want] : cases) EXPECT_EQ(_style_len(in, "width"), want) << in;
}

TEST(StyleLenRef, PercentResolvedAgainstReference) {
  EXPECT_EQ(_style_len_ref("width:50%", "width", 200), 100);
  EXPECT_EQ(_style_len_ref("width:12.5%", "width", 20), 2);  // 2.5 rounds to even
  EXPECT_EQ(_style_len_ref("width:7px", "width", 200), 7);
  EXPECT_EQ(_style_len_ref("width:x%", "width", 200), nullopt);
  EXPECT_EQ(_style_len_ref("width:inherit", "width", 200), nullopt);
  EXPECT_EQ(_style_len_ref(nullopt, "width", 200), nullopt);
}

TEST(ColorExplicit, BlackCountsAsGiven) {
  const Attrs attrs = {{"data-a", "  "}, {"data-b", "red"}, {"data-c", "#000000"}};
  EXPECT_EQ(_color_explicit(attrs, {"data-a", "data-b", "data-c"}, 7), 0);
  EXPECT_EQ(_color_explicit(attrs, {"data-a", "data-b"}, 7), 7);
  EXPECT_EQ(_color_explicit({{"x", nullopt}}, {"x"}, nullopt), nullopt);
}

TEST(BoolAttr, ValuelessIsAbsentEmptyIsTrue) {
  const Attrs attrs = {{"checked", nullopt}, {"a", ""}, {"b", " Off "}, {"c", "N"}, {"d", "yes"}};
  EXPECT_EQ(_bool_attr(attrs, "checked"), nullopt);
  EXPECT_EQ(_bool_attr(attrs, "missing"), nullopt);
  EXPECT_EQ(_bool_attr(attrs, "a"), true);
  EXPECT_EQ(_bool_attr(attrs, "b"), false);
  EXPECT_EQ(_bool_attr(attrs, "c"), false);
  EXPECT_EQ(_bool_attr(attrs, "d"), true);
}

TEST(Rules, FlagAndImagePath) {
  EXPECT_TRUE(flag(" 1 "));
  EXPECT_TRUE(flag("true"));
  EXPECT_FALSE(flag("True"));
  EXPECT_FALSE(flag("yes"));
  EXPECT_FALSE(flag(nullopt));
  EXPECT_EQ(image_path("a.png"), "images/a.png");
  EXPECT_EQ(image_path("res/a.png"), "res/a.png");
}

}  // namespace
}  // namespace pagefold
