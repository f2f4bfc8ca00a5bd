// Shadow, radius, border and box-sizing readers, the in-place growth of a
// shared position record, and the canvas colour with its required failure.
#include "front/box_specs.hpp"

#include <gtest/gtest.h>

#include "pagefold/error.hpp"

namespace pagefold {
namespace {

using std::nullopt;
using OptStr = std::optional<std::string>;

std::string members(const Color& c) {
  std::string out = "(";
  for (int i = 0; i < c.size(); ++i) out += (i ? "," : "") + std::to_string(c.at(i));
  return out + ")";
}

std::string shadow(const OptStr& style) {
  auto s = _shadow_spec(style);
  if (!s) return "absent";
  return std::to_string(s->ox) + " " + std::to_string(s->oy) + " " + std::to_string(s->blur) + " " +
         members(s->color);
}

TEST(ShadowSpec, Table) {
  // clang-format off
  const std::pair<OptStr, std::string> cases[] = {
      {"box-shadow:0 2px 4px rgba(0,0,0,.5)", "0 2 4 (0,0,0,127)"},
      {"box-shadow:0 2px 4px rgba(0, 0, 0, .5);", "0 2 4 (0,0,0,80)"},  // split: no colour
      {"box-shadow:0 2px 4px", "0 2 4 (0,0,0,80)"}, {"box-shadow:0 0 -3px red", "0 0 3 (255,0,0)"},
      {"box-shadow:2.9px -2.9px 0 red", "2 -2 0 (255,0,0)"},
      {"box-shadow:inset 1px 2px 3px 4px blue", "1 2 3 (0,0,255)"},  // spread passed over
      // "#000," is no colour; the scan goes on into the second shadow.
      {"box-shadow:1px 2px 3px #000, 4px 5px 6px red", "1 2 3 (255,0,0)"},
      {"-webkit-box-shadow:1px 1px 1px red;box-shadow:2px 2px 2px blue", "1 1 1 (255,0,0)"},
      {"box-shadow:red 1px 2px 3px", "absent"}, {"box-shadow:1px 2px", "absent"},
      {"box-shadow:None", "absent"}, {"box-shadow: ", "absent"}, {nullopt, "absent"}};
  // clang-format on
  for (const auto& [style, want] : cases) EXPECT_EQ(shadow(style), want) << style.value_or("");
  // At least 2; the blur plus the larger offset; each truncated first.
  EXPECT_EQ(std::vector<int64_t>(
                {_shadow_pad(0, 0, 0), _shadow_pad(-3, 1, 4), _shadow_pad(1.9, -2.9, 0.5)}),
            std::vector<int64_t>({2, 7, 2}));
}

TEST(Grow, ChangesTheSharedRecordInPlace) {
  Value pos = Value::object({{"height", 40}, {"left", 5}, {"top", 6}, {"width", 100}});
  Value holder = Value::object({{"position", pos}});
  _grow(pos, 3.7);
  EXPECT_EQ(dump(holder, 0),
            "{\n\"position\": {\n\"height\": 46,\n\"left\": 2,\n\"top\": 3,\n\"width\": 106\n}\n}");
  // Missing keys read as the defaults and are added in order; kinds are kept.
  Value part = Value::object({{"top", 1.5}});
  _grow(part, 2);
  EXPECT_EQ(dump(part, 0), "{\n\"top\": -0.5,\n\"left\": -2,\n\"width\": 104,\n\"height\": 44\n}");
}

TEST(Radius, FirstCornerOrAllFourClamped) {
  // clang-format off
  const std::pair<std::pair<const char*, int64_t>, int64_t> px[] = {
      {{"", 0}, 0}, {{"", 6}, 6}, {{"border-radius:50%", 0}, 20}, {{"border-radius:9999px", 0}, 20},
      {{"border-radius:4px 12px", 0}, 4}, {{"border-radius:2.5px", 0}, 2},
      {{"border-radius:-3px", 0}, 0}, {{"border-radius:x%", 7}, 7}, {{"border-radius:auto", 7}, 7},
      {{"border-radius:  ;", 7}, 7}, {{"-webkit-border-radius:8px", 0}, 8}};
  // clang-format on
  for (const auto& [in, want] : px)
    EXPECT_EQ(_radius_px(std::string(in.first), 100, 40, in.second), want) << in.first;
  EXPECT_EQ(_radius_px(nullopt, 100, 40, 99), 99);  // the default is not clamped
  EXPECT_EQ(_radius_px("border-radius:9999px", 101, 41), 20);

  auto corners = [](const std::string& style, double w, double h) {
    auto r = _radius_corners(style, w, h);
    return r ? std::vector<double>{r->tl, r->tr, r->br, r->bl} : std::vector<double>{};
  };
  using V = std::vector<double>;
  EXPECT_EQ(corners("border-radius:4px 8px", 100, 100), (V{4, 8, 4, 8}));
  EXPECT_EQ(corners("border-radius:10px / 5px", 100, 100), (V{10, 10, 10, 10}));
  EXPECT_EQ(corners("border-radius:999px", 100, 40), (V{20, 20, 20, 20}));
  EXPECT_EQ(corners("border-radius:1px 2px 3px", 100, 100), (V{1, 2, 3, 2}));
  EXPECT_EQ(corners("border-radius:10% x -4px 2.5px", 100, 40), (V{4, 0, 0, 2.5}));
  EXPECT_EQ(corners("border-radius:/ 5px", 100, 40), (V{0, 0, 0, 0}));
  EXPECT_EQ(corners("color:red", 100, 40), V{});
}

TEST(BorderSpec, ShorthandOnlyAndThumbSize) {
  // clang-format off
  const std::pair<const char*, std::string> cases[] = {
      {"border:1px solid #333", "1 (51,51,51,255)"}, {"border:2px solid", "2 (0,0,0,255)"},
      {"border:solid 3px red", "3 (255,0,0)"}, {"border:2.5px 4px solid blue", "2 (0,0,255)"},
      {"border:0.4px solid red", "absent"}, {"border:none", "absent"},
      {"border:solid red", "absent"}, {"border-width:2px;border-color:red", "absent"},
      {"x:1; border : 1px red;border:5px blue", "1 (255,0,0)"}};
  // clang-format on
  for (const auto& [style, want] : cases) {
    auto b = _border_spec(std::string(style));
    EXPECT_EQ(b ? std::to_string(b->w) + " " + members(b->color) : "absent", want) << style;
  }
  EXPECT_EQ(_box_sizing("box-sizing: Content-Box", "x"), "x");  // the pattern is lower case
  EXPECT_EQ(_box_sizing("box-sizing:content-box", "x"), "content-box");
  using T = std::tuple<int64_t, int64_t, int64_t>;
  EXPECT_EQ(_thumb_outer_size("border:2px solid red;box-sizing:content-box", 20, 20),
            (T{24, 24, 2}));
  EXPECT_EQ(_thumb_outer_size("border:2px solid red", 20, 20, "content-box"), (T{24, 24, 2}));
  EXPECT_EQ(_thumb_outer_size("box-sizing:content-box", 20, 18), (T{20, 18, 0}));
}

// html(head, body(body)) with the given styles on html and the outer body.
std::optional<int64_t> canvas(OptStr body_style, OptStr html_style) {
  Node html, head, body, inner;
  html.tag = "html";
  head.tag = "head";
  body.tag = inner.tag = "body";
  html.children = {&head, &body};
  body.children = {&inner};
  inner.attrs = {{"style", "background:#123456"}};
  if (body_style) body.attrs = {{"style", body_style}};
  if (html_style) html.attrs = {{"style", html_style}};
  return _canvas_bg(html);
}

TEST(CanvasBg, BodyThenHtml) {
  EXPECT_EQ(canvas("background:#fff", "background:#000"), 0xFFFFFF);
  EXPECT_EQ(canvas("background:rgb(0,0,1)", nullopt), 1);
  // A colour of zero alpha (or a gradient) falls through to html.
  EXPECT_EQ(canvas("background:rgba(1,1,1,0)", "background:#0000ff"), 0xFF);
  // The first body in document order is the one read, not a nested one.
  EXPECT_EQ(canvas("color:red", nullopt), nullopt);
  // A named colour has no alpha member: the conversion fails here.
  try {
    canvas("background:white", nullopt);
    FAIL() << "no failure";
  } catch (const Failure& f) {
    EXPECT_EQ(f.type() + ": " + f.message(), "IndexError: tuple index out of range");
  }
}

}  // namespace
}  // namespace pagefold
