// Gradients, background specs, the fill/track split and progress values.
#include "front/backgrounds.hpp"

#include <gtest/gtest.h>

#include <random>

#include "pagefold/error.hpp"
#include "util/regex.hpp"

namespace pagefold {
namespace {

using std::nullopt;
using Positions = std::vector<std::optional<double>>;
using OptStr = std::optional<std::string>;

const Color RED = Color::rgb(255, 0, 0);
const Color BLUE = Color::rgb(0, 0, 255);

Positions positions(const Gradient& g) {
  Positions out;
  for (const auto& s : g.stops) out.push_back(s.pos);
  return out;
}

// "Type: message" of the failure `fn` raises, "" when it raises none.
template <typename F>
std::string failure_of(F fn) {
  try {
    fn();
  } catch (const Failure& f) {
    return f.type() + ": " + f.message();
  }
  return "";
}

TEST(ParseGradient, DirectionDecidesTheAxis) {
  for (const char* hz : {"90deg", "to right", "to left", "270deg", "900deg", " \n to\tright "})
    EXPECT_TRUE(_parse_gradient(std::string(hz) + ", #fff, #000").horizontal) << hz;
  for (const char* vt : {"", "0deg", "180deg", "45deg", "to top", "to Right", "-90deg", "2.5deg"})
    EXPECT_FALSE(_parse_gradient(std::string(vt) + ", #fff, #000").horizontal) << vt;
}

TEST(ParseGradient, Stops) {
  EXPECT_EQ(_parse_gradient("90deg, #fff, red").stops,
            (std::vector<Stop>{{0.0, Color::rgba(255, 255, 255, 255)}, {1.0, RED}}));
  // One given position leaves the others absent.
  EXPECT_EQ(_parse_gradient("to right, red 20%, blue").stops,
            (std::vector<Stop>{{0.2, RED}, {nullopt, BLUE}}));
  EXPECT_EQ(positions(_parse_gradient("to right, red, blue, lime")), (Positions{0.0, 0.5, 1.0}));
  EXPECT_EQ(positions(_parse_gradient("to right, red")), (Positions{nullopt}));
  // Unsupported directions stand with the stops and are skipped as no colour.
  EXPECT_EQ(positions(_parse_gradient("to bottom right, red, blue")), (Positions{0.0, 1.0}));
  EXPECT_EQ(_parse_gradient("rgba(1,2,3,1), #000").stops.size(), 2u);  // bracketed comma
  // Double positions; a number without "%" is already a fraction.
  EXPECT_EQ(positions(_parse_gradient_dual("to right, #0f0 0% 40%, #333 40% 100%")),
            (Positions{0.0, 0.4, 0.4, 1.0}));
  EXPECT_EQ(positions(_parse_gradient_dual("to right, red 0.25 10px, blue")),
            (Positions{0.25, nullopt}));
  EXPECT_EQ(_parse_gradient_dual("to right, 30% red, nothing 50%, blue").stops,
            (std::vector<Stop>{{0.3, RED}, {nullopt, BLUE}}));
}

TEST(SegStyle, OneColourOrRenormalisedGradient) {
  const Color a = Color::rgba(0, 255, 0, 10), b = Color::rgba(0x33, 0x33, 0x33, 255);
  EXPECT_EQ(_seg_style({{0.0, a}, {0.4, a}}, false), "background:#00FF00");
  EXPECT_EQ(_seg_style({{0.0, a}, {0.5, b}}, true),
            "background:linear-gradient(to right, #00FF00 0.0000, #333333 1.0000)");
  EXPECT_EQ(_seg_style({{0.5, a}, {0.5, b}, {nullopt, a}}, true),
            "background:linear-gradient(to right, #00FF00 0.0000, #333333 0.0000, #00FF00)");
  EXPECT_EQ(_seg_style({{0.0, Color::rgb(300, -5, 1)}}, false), "background:#12C-501");
}

TEST(ReplaceBg, NewBackgroundFirst) {
  const std::pair<OptStr, std::string> cases[] = {
      {"background:red;color:#fff", "background:#000;color:#fff"},
      {"background:red", "background:#000"},
      {"border:0;background-image:url(a);", "background:#000;border:0"},
      {"color:red; background-color : blue;;background:x;width:1",
       "background:#000;color:red;width:1"},
      {nullopt, "background:#000"}};
  for (const auto& [in, want] : cases) EXPECT_EQ(_replace_bg(in, "background:#000"), want);
}

TEST(SplitFillTrack, HardStopSplitsFillAndTrack) {
  auto r = _split_fill_track("background:linear-gradient(to right, #0f0 0% 40%, #333 40% 100%)");
  ASSERT_TRUE(r);
  EXPECT_EQ(r->fill + " " + r->track, "background:#00FF00 background:#333333");
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
  EXPECT_EQ(r.value().fill, "background:#FF0000");
  // No split at 0% or 100%, on a vertical axis, with one stop, or after rgb() cut the text.
  for (const char* g :
       {"to right, #0f0 0%, #333 0%", "to right, #0f0 100%, #333 100%",
        "#0f0 0% 40%, #333 40% 100%", "to right, #0f0", "to right, rgb(0,255,0) 40%, #333 40%"})
    EXPECT_FALSE(_split_fill_track("background:linear-gradient(" + std::string(g) + ")")) << g;
  // Stops with and without positions fail in the arithmetic, unless a split
  // is found before the first missing position.
  EXPECT_EQ(failure_of([] { _split_fill_track("linear-gradient(to right, #0f0 40%, #333)"); }),
            "TypeError: unsupported operand type(s) for -: 'float' and 'NoneType'");
  EXPECT_TRUE(_split_fill_track("linear-gradient(to right, #0f0 40%, #333 40%, #fff)"));
}

TEST(BgSpec, GradientThenColour) {
  EXPECT_EQ(_bg_spec("background:linear-gradient(90deg,#fff,#000)")->gradient.stops.size(), 2u);
  EXPECT_FALSE(_bg_spec("background:linear-gradient(90deg,rgba(0,0,0,.5),#000)"));
  auto s = _bg_spec("background:url(x.png) no-repeat #333");
  EXPECT_EQ(s->kind + " " + std::to_string(s->color.size()), "color 4");
  EXPECT_EQ(_bg_spec("background-color: white")->color, Color::rgb(255, 255, 255));
  EXPECT_FALSE(_bg_spec("background:transparent"));
  EXPECT_FALSE(_bg_spec(nullopt));
}

TEST(CssProgress, ValueThenWidthPercent) {
  using P = std::pair<std::optional<int64_t>, std::optional<std::string>>;
  // clang-format off
  const std::pair<std::pair<const char*, double>, P> cases[] = {
      {{"--value:30%", 200}, {60, "--value:30%"}}, {{"--value: 42.5", 200}, {42, "--value:42.5"}},
      {{"width:50%", 7}, {4, "width:50%"}},        {{"width:50%", 5}, {2, "width:50%"}},
      {{"max-width:50%", 7}, {nullopt, nullopt}},  {{"width:50px", 7}, {nullopt, nullopt}}};
  // clang-format on
  for (const auto& [in, want] : cases) EXPECT_EQ(_css_progress(in.first, in.second), want);
  EXPECT_EQ(failure_of([] { _css_progress("--value:1.2.3", 100); }),
            "ValueError: could not convert string to float: '1.2.3'");
}

// The stop list is cut where the pattern ",(?![^(]*\))" cuts it: a comma
// with no ")" ahead before the next "(". The pattern stays here as the
// reference for the linear scan.
TEST(SplitStops, CutsWhereTheLookaheadPatternCuts) {
  static const Regex reference(R"(,(?![^(]*\)))");
  // Hand-picked: brackets around, before and after commas, nesting, nothing.
  for (const char* list :
       {"", ",", "a,b", "rgb(1,2,3),#fff", "a,b)", "a,(b", "(a,b),c", "a),b", "((a,b),c),d",
        "#fff 10%, rgba(0,0,0,.5) 50%, #000", "a,\n)", ",,", "中,文(,)", ")(,"})
    EXPECT_EQ(_split_stops(list), reference.split(list)) << list;
  // Generated lists over the characters that matter, long ones included.
  const std::string alphabet[] = {",", "(", ")", "a", " ", "#0f0 40%", "\n", "中"};
  std::mt19937 rng(7);
  for (int n = 0; n < 3000; ++n) {
    std::string list;
    const int len = n < 2990 ? n % 40 : 2000;
    for (int i = 0; i < len; ++i) list += alphabet[rng() % std::size(alphabet)];
    ASSERT_EQ(_split_stops(list), reference.split(list)) << list;
  }
}

}  // namespace
}  // namespace pagefold
