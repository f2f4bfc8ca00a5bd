// Gradients, background specs, the fill/track split and progress values.
#include "front/backgrounds.hpp"

#include <gtest/gtest.h>

#include "pagefold/error.hpp"

namespace pagefold {
namespace {

using std::nullopt;

const Color WHITE = Color::rgba(255, 255, 255, 255);
const Color BLACK = Color::rgba(0, 0, 0, 255);
const Color RED = Color::rgb(255, 0, 0);
const Color BLUE = Color::rgb(0, 0, 255);

std::vector<std::optional<double>> positions(const Gradient& g) {
  std::vector<std::optional<double>> out;
  for (const auto& s : g.stops) out.push_back(s.pos);
  return out;
}

TEST(ParseGradient, DirectionDecidesTheAxis) {
  const std::vector<std::pair<std::string, bool>> cases = {
      {"90deg, #fff, #000", true},     {"#fff, #000", false},
      {"to right, #fff, #000", true},  {"to left, #fff, #000", true},
      {"270deg, #fff, #000", true},    {"900deg, #fff, #000", true},
      {"0deg, #fff, #000", false},     {"180deg, #fff, #000", false},
      {"45deg, #fff, #000", false},    {"to top, #fff, #000", false},
      {"to Right, #fff, #000", false}, {" \n to\tright ,\n#fff, #000", true},
  };
  for (const auto& [expr, hz] : cases) EXPECT_EQ(_parse_gradient(expr).horizontal, hz) << expr;
}

TEST(ParseGradient, Stops) {
  Gradient g = _parse_gradient("90deg, #fff, #000");
  EXPECT_EQ(g.stops, (std::vector<Stop>{{0.0, WHITE}, {1.0, BLACK}}));
  // One given position leaves the others absent.
  g = _parse_gradient("to right, red 20%, blue");
  EXPECT_EQ(g.stops, (std::vector<Stop>{{0.2, RED}, {nullopt, BLUE}}));
  EXPECT_EQ(positions(_parse_gradient("to right, red, blue, lime")),
            (std::vector<std::optional<double>>{0.0, 0.5, 1.0}));
  EXPECT_EQ(_parse_gradient("to right, red").stops, (std::vector<Stop>{{nullopt, RED}}));
  // Unsupported directions stand with the stops and are skipped as no colour.
  g = _parse_gradient("to bottom right, red, blue");
  EXPECT_FALSE(g.horizontal);
  EXPECT_EQ(positions(g), (std::vector<std::optional<double>>{0.0, 1.0}));
  // A comma inside brackets does not separate stops.
  EXPECT_EQ(_parse_gradient("rgba(1,2,3,1), #000").stops.size(), 2u);
  EXPECT_TRUE(_parse_gradient(nullopt).stops.empty());
}

TEST(ParseGradientDual, DoublePositionsAndBareFractions) {
  Gradient g = _parse_gradient_dual("to right, #0f0 0% 40%, #333 40% 100%");
  EXPECT_TRUE(g.horizontal);
  EXPECT_EQ(positions(g), (std::vector<std::optional<double>>{0.0, 0.4, 0.4, 1.0}));
  g = _parse_gradient_dual("to right, red 0.25 10px, blue");
  EXPECT_EQ(positions(g), (std::vector<std::optional<double>>{0.25, nullopt}));
  g = _parse_gradient_dual("to right, 30% red, nothing 50%, blue");
  EXPECT_EQ(g.stops, (std::vector<Stop>{{0.3, RED}, {nullopt, BLUE}}));
}

TEST(SegStyle, OneColourOrRenormalisedGradient) {
  const Color a = Color::rgba(0, 255, 0, 10), b = Color::rgba(0x33, 0x33, 0x33, 255);
  EXPECT_EQ(_seg_style({{0.0, a}, {0.4, a}}, false), "background:#00FF00");
  EXPECT_EQ(_seg_style({{0.0, a}, {0.5, b}}, false),
            "background:linear-gradient(to right, #00FF00 0.0000, #333333 0.5000)");
  EXPECT_EQ(_seg_style({{0.0, a}, {0.5, b}}, true),
            "background:linear-gradient(to right, #00FF00 0.0000, #333333 1.0000)");
  EXPECT_EQ(_seg_style({{0.5, a}, {0.5, b}, {nullopt, a}}, true),
            "background:linear-gradient(to right, #00FF00 0.0000, #333333 0.0000, #00FF00)");
  EXPECT_EQ(_seg_style({{0.0, Color::rgb(300, -5, 1)}}, false), "background:#12C-501");
}

TEST(ReplaceBg, NewBackgroundFirst) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"background:red;color:#fff", "background:#000;color:#fff"},
      {"background:red", "background:#000"},
      {"border:0;background-image:url(a);", "background:#000;border:0"},
      {"color:red; background-color : blue;;background:x;width:1",
       "background:#000;color:red;width:1"},
      {"", "background:#000"},
  };
  for (const auto& [in, want] : cases) EXPECT_EQ(_replace_bg(in, "background:#000"), want) << in;
  EXPECT_EQ(_replace_bg(nullopt, "background:#000"), "background:#000");
}

TEST(SplitFillTrack, HardStopSplitsFillAndTrack) {
  auto r = _split_fill_track("background:linear-gradient(to right, #0f0 0% 40%, #333 40% 100%)");
  ASSERT_TRUE(r);
  EXPECT_EQ(r->fill, "background:#00FF00");
  EXPECT_EQ(r->track, "background:#333333");
  EXPECT_EQ(r->split, 0.4);
  // The fill keeps the frame of the whole bar; the track is renormalised.
  r = _split_fill_track(
      "background:linear-gradient(90deg, #f00 0%, #0f0 30%, #00f 30%, #fff 80%, #000 100%)");
  ASSERT_TRUE(r);
  EXPECT_EQ(r->fill, "background:linear-gradient(to right, #FF0000 0.0000, #00FF00 0.3000)");
  EXPECT_EQ(r->track,
            "background:linear-gradient(to right, #0000FF 0.0000, #FFFFFF 0.7143, #000000 1.0000)");
  // A repeated colour at the same position is no split; later pairs count.
  r = _split_fill_track("background:linear-gradient(to right, #f00 20%, #f00 20%, #00f 20%)");
  ASSERT_TRUE(r);
  EXPECT_EQ(r->fill, "background:#FF0000");
}

TEST(SplitFillTrack, NoSplit) {
  for (const char* style : {
           "background:linear-gradient(to right, #0f0 0%, #333 0%)",            // at the start
           "background:linear-gradient(to right, #0f0 100%, #333 100%)",        // at the end
           "background:linear-gradient(#0f0 0% 40%, #333 40% 100%)",            // vertical
           "background:linear-gradient(to right, #0f0)",                        // one stop
           "background:linear-gradient(to right, rgb(0,255,0) 40%, #333 40%)",  // cut at ")"
           "background:#0f0",
       })
    EXPECT_FALSE(_split_fill_track(std::string(style))) << style;
  EXPECT_FALSE(_split_fill_track(nullopt));
}

TEST(SplitFillTrack, MixedPositionsFailInTheArithmetic) {
  try {
    _split_fill_track("background:linear-gradient(to right, #0f0 40%, #333)");
    FAIL() << "no failure";
  } catch (const Failure& f) {
    EXPECT_EQ(f.type(), "TypeError");
    EXPECT_EQ(f.message(), "unsupported operand type(s) for -: 'float' and 'NoneType'");
  }
  // A split found before the first missing position ends the search first.
  EXPECT_TRUE(_split_fill_track("background:linear-gradient(to right, #0f0 40%, #333 40%, #fff)"));
}

TEST(BgSpec, GradientThenColour) {
  auto s = _bg_spec("background:linear-gradient(90deg,#fff,#000)");
  ASSERT_TRUE(s);
  EXPECT_EQ(s->kind, "gradient");
  EXPECT_TRUE(s->gradient.horizontal);
  EXPECT_EQ(s->gradient.stops.size(), 2u);
  EXPECT_FALSE(_bg_spec("background:linear-gradient(90deg,rgba(0,0,0,.5),#000)"));
  s = _bg_spec("background:url(x.png) no-repeat #333");
  ASSERT_TRUE(s);
  EXPECT_EQ(s->kind, "color");
  EXPECT_EQ(s->color, Color::rgba(0x33, 0x33, 0x33, 255));
  s = _bg_spec("background-color: white");
  ASSERT_TRUE(s);
  EXPECT_EQ(s->color, Color::rgb(255, 255, 255));
  EXPECT_FALSE(_bg_spec("background:transparent"));
  EXPECT_FALSE(_bg_spec("color:red"));
  EXPECT_FALSE(_bg_spec(nullopt));
}

TEST(CssProgress, ValueThenWidthPercent) {
  using P = std::pair<std::optional<int64_t>, std::optional<std::string>>;
  EXPECT_EQ(_css_progress("--value:30%", 200), (P{60, "--value:30%"}));
  EXPECT_EQ(_css_progress("--value: 42.5", 200), (P{42, "--value:42.5"}));
  EXPECT_EQ(_css_progress("width:50%", 7), (P{4, "width:50%"}));
  EXPECT_EQ(_css_progress("width:50%", 5), (P{2, "width:50%"}));
  EXPECT_EQ(_css_progress("max-width:50%", 7), (P{nullopt, nullopt}));
  EXPECT_EQ(_css_progress("width:50px", 7), (P{nullopt, nullopt}));
  EXPECT_EQ(_css_progress(nullopt, 7), (P{nullopt, nullopt}));
  for (const char* bad : {"--value:1.2.3", "width:1.2.3%"}) {
    try {
      _css_progress(std::string(bad), 100);
      ADD_FAILURE() << bad;
    } catch (const Failure& f) {
      EXPECT_EQ(f.type(), "ValueError");
    }
  }
}

}  // namespace
}  // namespace pagefold
