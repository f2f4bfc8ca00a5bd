// Attribute, number and colour readers: absent, zero and empty kept apart.
#include "front/readers.hpp"

#include <gtest/gtest.h>

#include "front/checked.hpp"
#include "pagefold/error.hpp"
#include "util/num.hpp"
#include "util/regex.hpp"
#include "util/text.hpp"

namespace pagefold {
namespace {

using std::nullopt;
using OptInt = std::optional<int64_t>;

TEST(ToDec, HashHexPrefixAndDecimal) {
  // "#fff" is not expanded: it is the integer 0xFFF. Black is 0, a value.
  // clang-format off
  const std::pair<OptStr, OptInt> cases[] = {
      {"#000000", 0}, {"#FF0000", 0xFF0000}, {"#fff", 0xFFF}, {"  #ff  ", 255}, {"0X1f", 31},
      {"#0x10", 16}, {"-1", -1}, {"1_000", 1000}, {"１２", 12}, {"red", nullopt},
      {"rgb(0,0,0)", nullopt}, {"12.5", nullopt}, {"   ", nullopt}, {nullopt, nullopt},
      {"#", nullopt}, {"-0x1f", nullopt}, {"99999999999999999999", nullopt}};
  // clang-format on
  for (const auto& [in, want] : cases) EXPECT_EQ(to_dec(in), want) << in.value_or("<absent>");
}

TEST(ParsePx, TruncatesAndRefusesSignsAndPercent) {
  // clang-format off
  const std::pair<OptStr, OptInt> cases[] = {
      {"10", 10},         {"10px", 10},      {"10p", 10},       {"10.7", 10},
      {" 10.7px ", 10},   {"１２px", 12},    {"-5", nullopt},   {"-5px", nullopt},
      {"50%", nullopt},   {"auto", nullopt}, {"", nullopt},     {nullopt, nullopt},
      {"10 px", nullopt}, {"10em", nullopt}, {"1e400", nullopt}};
  // clang-format on
  for (const auto& [in, want] : cases) EXPECT_EQ(parse_px(in), want) << in.value_or("<absent>");
  // Digits and dots that are no number stop the conversion.
  for (const char* bad : {".", "1..px"}) EXPECT_THROW(parse_px(std::string(bad)), Failure) << bad;
  try {
    parse_px("1.2.3px");
    ADD_FAILURE() << "no failure";
  } catch (const Failure& f) {
    EXPECT_EQ(f.type() + ": " + f.message(),
              "ValueError: could not convert string to float: '1.2.3'");
  }
}

TEST(Num, KeepsIntegersRealsAndDefaultApart) {
  const Value five(int64_t{5});
  // clang-format off
  const std::pair<Value, std::string> cases[] = {
      {_num("12"), "12"}, {_num("12.0"), "12"}, {_num("12.5px"), "12.5"}, {_num("-3"), "-3"},
      {_num("abc"), "0"}, {_num("abc", five), "5"}, {_num(nullopt, five), "5"},
      {_num("1.2.3", five), "5"}, {_num("x", Value(10.0)), "10.0"}, {_num("１.５"), "1.5"},
      {_num("100000000000000000000", five), "5"}};
  // clang-format on
  for (const auto& [got, want] : cases) EXPECT_EQ(dump(got, 0), want);
}

TEST(PxNum, AcceptsUnitsButNoLeadingDot) {
  // clang-format off
  const std::pair<OptStr, std::optional<double>> cases[] = {
      {"  -2.50 px ", -2.5}, {"2em", 2.0},       {"2rem", 2.0},   {"2pt", 2.0},
      {"2%", 2.0},           {"0.5", 0.5},       {".5", nullopt}, {"1e3", nullopt},
      {"2 vh", nullopt},     {nullopt, nullopt}, {"2px\n", 2.0}};
  // clang-format on
  for (const auto& [in, want] : cases) EXPECT_EQ(_px_num(in), want) << in.value_or("<absent>");
}

TEST(StyleReaders, PropertyPatternLengthsAndPositions) {
  EXPECT_EQ(style_prop("color:#000;color:#fff", "color"), "#000");  // the first wins
  EXPECT_EQ(style_prop("border-width:3px", "width"), nullopt);      // anchored
  EXPECT_EQ(style_prop("color:red", "colou?r"), "red");             // the key is a pattern
  // clang-format off
  const std::pair<std::string, OptInt> lens[] = {
      {"width:12.5px", 12}, {"width:13.5px", 14}, {"width:50%", nullopt}, {"width:auto", nullopt},
      {"width:AUTO", nullopt}, {"width:abc", nullopt}, {"width: 2em ;x:1", 2}};
  // clang-format on
  for (const auto& [in, want] : lens) EXPECT_EQ(_style_len(in, "width"), want) << in;
  EXPECT_EQ(_style_len_ref("width:50%", "width", 200), 100);
  EXPECT_EQ(_style_len_ref("width:12.5%", "width", 20), 2);  // 2.5 rounds to even
  EXPECT_EQ(_style_len_ref("width:x%", "width", 200), nullopt);
  EXPECT_EQ(_style_len_ref("width:inherit", "width", 200), nullopt);
  EXPECT_EQ(dump(_style_pos("left:10px;top:-4px;width:50%;height:auto"), 0), "{\n\"left\": 10\n}");
}

// The readers scan style strings and pixel values by hand; the patterns they
// stand for decide. Every case is compared with the pattern's own answer.
TEST(StyleReaders, ScannersAgreeWithThePatterns) {
  const std::string styles[] = {"width:10px",
                                "width :10px",
                                " width: 10px",
                                ";width:1",
                                ";;width:2;",
                                "x:1;width:3",
                                "border-width:3px;width:4",
                                "width-x:1;width:5",
                                "width",
                                "width:",
                                "width:;width:6",
                                "width: ",
                                "width:  ;x:1",
                                "width:\u3000",
                                "width:\u3000\u3000;",
                                "width:\u00a0 7 ",
                                "\u3000width\u3000:\u30008",
                                "widthx:1",
                                "WIDTH:9",
                                "x:1;\u00a0width:\t10\n",
                                "",
                                "a:b;width:中文;",
                                "width:\x1c",
                                "width:\xc2\x85;"};
  const Regex pattern(R"((?:^|;)\s*width\s*:\s*([^;]+))");
  for (const std::string& style : styles) {
    auto m = pattern.search(style);
    const OptStr want = m ? OptStr(m->str(1)) : nullopt;
    EXPECT_EQ(style_prop(style, "width"), want) << style;
  }
  EXPECT_EQ(style_prop(nullopt, "width"), nullopt);
  // The background reader tries "background-color" before "background" at
  // each place, and a gradient is no colour.
  const std::pair<std::string, OptInt> backgrounds[] = {
      {"background:#102030", 0x102030},
      {"background-color:#0a0b0c", 0x0a0b0c},
      {"background-colour:#1;background:#2", 2},
      {"background :  #ff ", 255},
      {"background:linear-gradient(#000,#fff)", nullopt},
      {"color:#1", nullopt}};
  for (const auto& [style, want] : backgrounds)
    EXPECT_EQ(_bg_color({{"style", style}}), want) << style;
  EXPECT_EQ(_font_size({{"style", "color:#1; font-size : 18px"}}), 18);
  EXPECT_EQ(_font_size({{"style", "font-size:\u3000"}}), nullopt);
}

// Both readers, the copying one and the one that reads in place.
TEST(ParsePx, ScannerAgreesWithThePattern) {
  const Regex pattern(R"(^([\d.]+)(?:px?)?$)");
  const std::string values[] = {"0", "12", "12px", "12p", "12pxx", "12x", "px", "p", ".", "1.2",
                                "1.2.3", "..", "12 px", "1２", "１.５px", "12PX", "12\npx", "",
                                // Around the 15 digits read as an integer
                                // directly, and past 64 bits.
                                "999999999999999", "9999999999999999", "000000000000012px",
                                "9007199254740993", "9223372036854775807", "99999999999999999999",
                                // Stripped in place, or not ASCII.
                                " \t12px\x1c", "\u00a012px\u3000"};
  for (const std::string& v : values) {
    OptInt want;
    bool raised = false;
    try {
      const std::string t = text::strip(v);
      if (auto m = pattern.match(t)) want = checked::trunc(num::to_real(m->group(1)));
    } catch (const Failure&) {
      raised = true;
    }
    if (raised) {
      EXPECT_THROW(parse_px(v), Failure) << v;
      EXPECT_THROW(parse_px_in(v), Failure) << v;
    } else {
      EXPECT_EQ(parse_px(v), want) << v;
      EXPECT_EQ(parse_px_in(v), want) << v;
    }
  }
}

TEST(Attributes, HasClassAgreesWithTheClassSet) {
  const OptStr values[] = {"screen",  " screen ",      "a screen b",    "screens",
                           "xscreen", "a\u3000screen", "screen\u00a0x", "Screen",
                           "",        "\t\nscreen\r",  nullopt};
  for (const OptStr& v : values) {
    const Attrs attrs = {{"id", "screen"}, {"CLASS", v}, {"class", "screen"}};
    EXPECT_EQ(has_class(attrs, "screen"), _classes(attrs).count("screen") == 1)
        << v.value_or("<absent>");
  }
  EXPECT_FALSE(has_class({}, "screen"));
}

TEST(Attributes, NamesCompareWithoutCaseAsciiOrNot) {
  const Attrs attrs = {{"data-fontsize", "1"}, {"data-é", "2"}, {"k", "3"}, {"data-x", "4"}};
  EXPECT_EQ(_attr(attrs, "data-fontSize"), "1");
  EXPECT_EQ(_attr(attrs, "DATA-É"), "2");
  EXPECT_EQ(_attr(attrs, "\u212a"), "3");  // KELVIN SIGN lower-cases to "k"
  EXPECT_EQ(_attr(attrs, "data-x"), "4");
  EXPECT_EQ(_attr(attrs, "data-"), nullopt);
  EXPECT_EQ(_attr(attrs, "data-xy"), nullopt);
  EXPECT_EQ(_attr(attrs, "data-x\u00e9"), nullopt);
}

TEST(Attributes, FirstPairAnyCaseValuelessAbsentAndGlyphs) {
  const Attrs attrs = {{"class", "a b"}, {"checked", nullopt}, {"class", "c"}, {"data-x", ""}};
  EXPECT_EQ(_attr(attrs, "CLASS"), "a b");
  EXPECT_EQ(_attr(attrs, "checked", "dflt"), nullopt);
  EXPECT_EQ(_attr(attrs, "data-x", "dflt"), "");
  EXPECT_EQ(_classes(attrs), (std::set<std::string>{"a", "b"}));
  EXPECT_TRUE(_classes({{"class", nullopt}}).empty());
  EXPECT_EQ(first_nonempty(attrs, {"data-x", "checked", "class"}), "a b");
  // data-icon first; then, of two icon- classes, the first by code point.
  EXPECT_EQ(_glyph_from_attrs({{"data-icon", " home "}, {"class", "icon-x"}}), "home");
  EXPECT_EQ(_glyph_from_attrs({{"data-icon", "  "}, {"class", "icon-x"}}), "x");
  EXPECT_EQ(_glyph_from_attrs({{"class", "icon-wifi btn icon-back"}}), "back");
  EXPECT_EQ(_glyph_from_attrs({{"class", "icon- btn"}}), nullopt);
}

TEST(CssColor, Forms) {
  // Names give three members; zero alpha is still a colour, unlike "transparent".
  // clang-format off
  const std::pair<std::string, Color> colours[] = {
      {"#F00", Color::rgba(255, 0, 0, 255)}, {"red", Color::rgb(255, 0, 0)},
      {" GREY ", Color::rgb(128, 128, 128)}, {"#11223380", Color::rgba(0x11, 0x22, 0x33, 0x80)},
      {"#-1-1-1", Color::rgba(-1, -1, -1, 255)},  // each pair is an integer text
      {"rgba(1,2,3)", Color::rgba(1, 2, 3, 255)}, {"rgba(0,0,0,0.5)", Color::rgba(0, 0, 0, 127)},
      {"rgba(0,0,0,2)", Color::rgba(0, 0, 0, 510)}, {"rgb(300,0,0)", Color::rgba(300, 0, 0, 255)},
      {"rgb( 1.9 , 2 , 3 ) x", Color::rgba(1, 2, 3, 255)},
      {"rgba(0,0,0,0)", Color::rgba(0, 0, 0, 0)}};
  // clang-format on
  for (const auto& [in, want] : colours) EXPECT_EQ(_css_color(in), want) << in;
  for (const char* in :
       {"transparent", "#12345", "#1234", "#ggg", "rgb(255 0 0)", "rgb(50%,0,0)", "rgba(0,0,0,50%)",
        "rgb(1,2)", "navy", "red !important", "", "rgb(1e30,0,0)", "rgb(nan,0,0)"})
    EXPECT_EQ(_css_color(std::string(in)), nullopt) << in;
  EXPECT_EQ(_color_int_rgba(0), Color::rgba(0, 0, 0, 255));
  EXPECT_EQ(_color_int_rgba(-1), nullopt);
  EXPECT_EQ(_color_int_rgba(0x1000000, Color::rgb(1, 2, 3)), Color::rgb(1, 2, 3));
}

TEST(AttributeValues, ColourBoolFlagAndImagePath) {
  const Attrs attrs = {{"data-a", "  "},     {"data-b", "red"}, {"data-c", "#000000"},
                       {"checked", nullopt}, {"e", ""},         {"f", " Off "},
                       {"g", "N"},           {"h", "yes"}};
  EXPECT_EQ(_color_explicit(attrs, {"data-a", "data-b", "data-c"}, 7), 0);  // black counts
  EXPECT_EQ(_color_explicit(attrs, {"data-a", "data-b", "checked"}, 7), 7);
  // clang-format off
  const std::pair<const char*, std::optional<bool>> bools[] = {
      {"checked", nullopt}, {"missing", nullopt}, {"e", true},
      {"f", false},         {"g", false},         {"h", true}};
  // clang-format on
  for (const auto& [name, want] : bools) EXPECT_EQ(_bool_attr(attrs, name), want) << name;
  EXPECT_EQ(std::vector<bool>({flag(" 1 "), flag("true"), flag("True"), flag(nullopt)}),
            std::vector<bool>({true, true, false, false}));
  EXPECT_EQ(image_path("a.png") + " " + image_path("res/a.png"), "images/a.png res/a.png");
}

}  // namespace
}  // namespace pagefold
