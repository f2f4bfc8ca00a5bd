// Shadow, radius, border and box-sizing readers, the in-place growth of a
// shared position record, and the canvas colour with its required failure.
#include "front/box_specs.hpp"

#include <gtest/gtest.h>

#include "pagefold/error.hpp"

namespace pagefold {
namespace {

using std::nullopt;

std::string shadow(const std::optional<std::string>& style) {
  auto s = _shadow_spec(style);
  if (!s) return "absent";
  std::string out =
      std::to_string(s->ox) + " " + std::to_string(s->oy) + " " + std::to_string(s->blur) + " (";
  for (int i = 0; i < s->color.size(); ++i) out += (i ? "," : "") + std::to_string(s->color.at(i));
  return out + ")";
}

TEST(ShadowSpec, Table) {
  const std::vector<std::pair<std::optional<std::string>, std::string>> cases = {
      {"box-shadow:0 2px 4px rgba(0,0,0,.5)", "0 2 4 (0,0,0,127)"},
      {"box-shadow:0 2px 4px rgba(0, 0, 0, .5);", "0 2 4 (0,0,0,80)"},  // split: no colour
      {"box-shadow:0 2px 4px #00000080", "0 2 4 (0,0,0,128)"},
      {"box-shadow:0 2px 4px", "0 2 4 (0,0,0,80)"},
      {"box-shadow:0 0 -3px red", "0 0 3 (255,0,0)"},
      {"box-shadow:2.9px -2.9px 0 red", "2 -2 0 (255,0,0)"},
      {"box-shadow:inset 1px 2px 3px 4px blue", "1 2 3 (0,0,255)"},  // spread passed over
      // "#000," is no colour; the scan goes on into the second shadow.
      {"box-shadow:1px 2px 3px #000, 4px 5px 6px red", "1 2 3 (255,0,0)"},
      {"box-shadow:1px 2px 3px #000, 4px 5px 6px", "1 2 3 (0,0,0,80)"},
      {"-webkit-box-shadow:1px 1px 1px red;box-shadow:2px 2px 2px blue", "1 1 1 (255,0,0)"},
      {"box-shadow:red 1px 2px 3px", "absent"},
      {"box-shadow:1px 2px", "absent"},
      {"box-shadow:None", "absent"},
      {"box-shadow: ", "absent"},
      {"color:red", "absent"},
      {nullopt, "absent"},
  };
  for (const auto& [style, want] : cases) EXPECT_EQ(shadow(style), want) << style.value_or("");
}

TEST(ShadowPad, BlurPlusLargerOffsetAtLeastTwo) {
  EXPECT_EQ(_shadow_pad(0, 0, 0), 2);
  EXPECT_EQ(_shadow_pad(-3, 1, 4), 7);
  EXPECT_EQ(_shadow_pad(1.9, -2.9, 0.5), 2);
}

std::string entries(const Value& map) {
  std::string out;
  for (const auto& [k, v] : map.as_object()) out += k + "=" + real_repr(v.as_number()) + " ";
  return out;
}

TEST(Grow, ChangesTheSharedRecordInPlace) {
  Value pos = Value::object({{"height", 40}, {"left", 5}, {"top", 6}, {"width", 100}});
  Value holder = Value::object({{"position", pos}});
  _grow(pos, 3.7);
  EXPECT_EQ(entries(holder["position"]), "height=46.0 left=2.0 top=3.0 width=106.0 ");
  EXPECT_TRUE(pos["left"].is_int());
  // Missing keys read as the defaults and are added in order left, top, width, height.
  Value part = Value::object({{"top", 1.5}});
  _grow(part, 2);
  EXPECT_EQ(entries(part), "top=-0.5 left=-2.0 width=104.0 height=44.0 ");
  EXPECT_TRUE(part["top"].is_real());
}

TEST(RadiusPx, FirstCornerClampedToHalfTheShorterSide) {
  EXPECT_EQ(_radius_px("", 100, 40), 0);
  EXPECT_EQ(_radius_px("", 100, 40, 6), 6);
  EXPECT_EQ(_radius_px(nullopt, 100, 40, 99), 99);  // the default is not clamped
  EXPECT_EQ(_radius_px("border-radius:50%", 100, 40), 20);
  EXPECT_EQ(_radius_px("border-radius:9999px", 100, 40), 20);
  EXPECT_EQ(_radius_px("border-radius:9999px", 101, 41), 20);
  EXPECT_EQ(_radius_px("border-radius:4px 12px", 100, 40), 4);
  EXPECT_EQ(_radius_px("border-radius:2.5px", 100, 40), 2);
  EXPECT_EQ(_radius_px("border-radius:-3px", 100, 40), 0);
  EXPECT_EQ(_radius_px("border-radius:x%", 100, 40, 7), 7);
  EXPECT_EQ(_radius_px("border-radius:auto", 100, 40, 7), 7);
  EXPECT_EQ(_radius_px("border-radius:  ;", 100, 40, 7), 7);
  EXPECT_EQ(_radius_px("-webkit-border-radius:8px", 100, 40), 8);
}

TEST(RadiusCorners, ShorthandExpansion) {
  auto corners = [](const std::string& style, double w, double h) {
    auto r = _radius_corners(style, w, h);
    return r ? std::vector<double>{r->tl, r->tr, r->br, r->bl} : std::vector<double>{};
  };
  using V = std::vector<double>;
  EXPECT_EQ(corners("border-radius:4px 8px", 100, 100), (V{4, 8, 4, 8}));
  EXPECT_EQ(corners("border-radius:10px / 5px", 100, 100), (V{10, 10, 10, 10}));
  EXPECT_EQ(corners("border-radius:999px", 100, 40), (V{20, 20, 20, 20}));
  EXPECT_EQ(corners("border-radius:1px 2px 3px", 100, 100), (V{1, 2, 3, 2}));
  EXPECT_EQ(corners("border-radius:1px 2px 3px 4px 5px", 100, 100), (V{1, 2, 3, 4}));
  EXPECT_EQ(corners("border-radius:10% x -4px 2.5px", 100, 40), (V{4, 0, 0, 2.5}));
  EXPECT_EQ(corners("border-radius:/ 5px", 100, 40), (V{0, 0, 0, 0}));
  EXPECT_EQ(corners("color:red", 100, 40), V{});
}

TEST(BorderSpec, ShorthandOnly) {
  auto border = [](const std::string& style) -> std::string {
    auto b = _border_spec(style);
    if (!b) return "absent";
    std::string out = std::to_string(b->w) + " (";
    for (int i = 0; i < b->color.size(); ++i)
      out += (i ? "," : "") + std::to_string(b->color.at(i));
    return out + ")";
  };
  EXPECT_EQ(border("border:1px solid #333"), "1 (51,51,51,255)");
  EXPECT_EQ(border("border:2px solid"), "2 (0,0,0,255)");
  EXPECT_EQ(border("border:solid 3px red"), "3 (255,0,0)");
  EXPECT_EQ(border("border:2.5px 4px solid blue"), "2 (0,0,255)");
  EXPECT_EQ(border("border:0.4px solid red"), "absent");
  EXPECT_EQ(border("border:none"), "absent");
  EXPECT_EQ(border("border:0"), "absent");
  EXPECT_EQ(border("border:solid red"), "absent");
  EXPECT_EQ(border("border-width:2px;border-color:red"), "absent");
  EXPECT_EQ(border("x:1; border : 1px red;border:5px blue"), "1 (255,0,0)");
}

TEST(BoxSizing, AndThumbOuterSize) {
  EXPECT_EQ(_box_sizing("box-sizing: Content-Box", "x"), "x");  // the pattern is lower case
  EXPECT_EQ(_box_sizing("box-sizing:content-box", "x"), "content-box");
  EXPECT_EQ(_box_sizing("box-sizing:padding-box", "x"), "x");
  EXPECT_EQ(_box_sizing(nullopt, "border-box"), "border-box");
  using T = std::tuple<int64_t, int64_t, int64_t>;
  EXPECT_EQ(_thumb_outer_size("border:2px solid red;box-sizing:content-box", 20, 20),
            (T{24, 24, 2}));
  EXPECT_EQ(_thumb_outer_size("border:2px solid red", 20, 20, "content-box"), (T{24, 24, 2}));
  EXPECT_EQ(_thumb_outer_size("border:2px solid red", 20, 18), (T{20, 18, 2}));
  EXPECT_EQ(_thumb_outer_size("box-sizing:content-box", 20, 18), (T{20, 18, 0}));
}

struct Doc {
  Node html, head, body, inner;
  Doc(std::optional<std::string> body_style, std::optional<std::string> html_style) {
    html.tag = "html";
    head.tag = "head";
    body.tag = "body";
    inner.tag = "body";
    html.children = {&head, &body};
    body.children = {&inner};
    inner.attrs = {{"style", "background:#123456"}};
    if (body_style) body.attrs = {{"style", body_style}};
    if (html_style) html.attrs = {{"style", html_style}};
  }
};

TEST(CanvasBg, BodyThenHtml) {
  EXPECT_EQ(_canvas_bg(Doc("background:#fff", "background:#000").html), 0xFFFFFF);
  EXPECT_EQ(_canvas_bg(Doc("background:rgb(0,0,1)", nullopt).html), 1);
  // A gradient or a colour of zero alpha falls through to html.
  EXPECT_EQ(_canvas_bg(Doc("background:linear-gradient(#fff,#000)", "background:#000").html), 0);
  EXPECT_EQ(_canvas_bg(Doc("background:rgba(1,1,1,0)", "background:#0000ff").html), 0xFF);
  EXPECT_EQ(_canvas_bg(Doc(nullopt, nullopt).html), nullopt);
  // The first body in document order is the one read, not a nested one.
  EXPECT_EQ(_canvas_bg(Doc("color:red", nullopt).html), nullopt);
}

TEST(CanvasBg, NamedColourHasNoAlphaAndFails) {
  try {
    _canvas_bg(Doc("background:white", nullopt).html);
    FAIL() << "no failure";
  } catch (const Failure& f) {
    EXPECT_EQ(f.type(), "IndexError");
    EXPECT_EQ(f.message(), "tuple index out of range");
  }
}

}  // namespace
}  // namespace pagefold
