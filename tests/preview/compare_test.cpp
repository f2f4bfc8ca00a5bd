// The similarity score, the marking of the prototype's elements, and the
// nine-patch arithmetic.
#include <gtest/gtest.h>

#include "browser.hpp"
#include "compare.hpp"
#include "preview_kit.hpp"
#include "sheet.hpp"

namespace pagefold::preview {
namespace {

using testing::rgb_at;
using testing::solid;

// A picture whose columns left of `edge` are `left` and the rest `right`.
Raster split(int w, int h, int edge, uint32_t left, uint32_t right) {
  Raster r = solid(w, h, right);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < edge; ++x) {
      uint8_t* p = r.at(x, y);
      p[0] = uint8_t(left >> 16);
      p[1] = uint8_t(left >> 8);
      p[2] = uint8_t(left);
    }
  return r;
}

uint32_t grey(int g) { return uint32_t(g) * 0x010101; }

TEST(Similarity, SameAndOpposite) {
  Raster a = solid(20, 10, 0x336699);
  EXPECT_EQ(compare_pictures(a, a).score, 1.0);
  EXPECT_EQ(compare_pictures(a, solid(20, 10, 0xFFFFFF)).score, 0.0);
}

TEST(Similarity, ToleranceIsDeltaETen) {
  // Greys 128 and 103 differ by delta E 9.98, 128 and 154 by 10.02.
  Raster base = solid(8, 8, grey(128));
  EXPECT_EQ(compare_pictures(base, solid(8, 8, grey(103))).score, 1.0);
  EXPECT_EQ(compare_pictures(base, solid(8, 8, grey(154))).score, 0.0);
}

TEST(Similarity, OnePixelOfDisplacementIsForgiven) {
  Raster a = split(40, 4, 10, 0x000000, 0xFFFFFF);
  EXPECT_EQ(compare_pictures(a, split(40, 4, 11, 0x000000, 0xFFFFFF)).score, 1.0);
  EXPECT_EQ(compare_pictures(a, split(40, 4, 9, 0x000000, 0xFFFFFF)).score, 1.0);
  // Two pixels are not: the two columns between the edges differ.
  Similarity two = compare_pictures(a, split(40, 4, 12, 0x000000, 0xFFFFFF));
  EXPECT_DOUBLE_EQ(two.score, 38.0 / 40.0);
  EXPECT_EQ(two.match[9], 1);
  EXPECT_EQ(two.match[10], 0);
  EXPECT_EQ(two.match[11], 0);
  EXPECT_EQ(two.match[12], 1);
}

TEST(Similarity, BoxScoresAndTheHeatMap) {
  Raster a = split(10, 10, 5, 0x000000, 0xFFFFFF);
  Raster b = solid(10, 10, 0x000000);
  Similarity s = compare_pictures(a, b);
  // Columns 0 to 4 match; column 5 is white, and black one pixel away does
  // not excuse it, since the black picture has no white near it.
  EXPECT_DOUBLE_EQ(box_score(s, Box{0, 0, 5, 10}), 1.0);
  EXPECT_DOUBLE_EQ(box_score(s, Box{5, 0, 5, 10}), 0.0);
  EXPECT_DOUBLE_EQ(box_score(s, Box{4, 0, 4, 10}), 0.25);
  // Cut to the picture; a box wholly outside it scores 1.
  EXPECT_DOUBLE_EQ(box_score(s, Box{8, 0, 100, 10}), 0.0);
  EXPECT_DOUBLE_EQ(box_score(s, Box{10, 0, 5, 5}), 1.0);
  EXPECT_DOUBLE_EQ(box_score(s, Box{-5, -5, 5, 5}), 1.0);

  Raster heat = heat_map(s, a);
  EXPECT_EQ(rgb_at(heat, 0, 0), 0u);         // black matches: dim grey of black
  EXPECT_EQ(rgb_at(heat, 9, 9), 0xFFFF00u);  // white against black: far beyond 4 x 10
  Raster near = solid(10, 10, grey(128));
  Similarity ns = compare_pictures(near, solid(10, 10, grey(154)));
  EXPECT_EQ(rgb_at(heat_map(ns, near), 0, 0), 0xFF0000u);  // just beyond the tolerance
  EXPECT_EQ(rgb_at(heat_map(compare_pictures(near, near), near), 0, 0), grey(44));
}

TEST(Similarity, ScoresAreRoundedToFourDecimals) {
  EXPECT_EQ(rounded_score(0.123449), 0.1234);
  EXPECT_EQ(rounded_score(0.12345), 0.1235);
  EXPECT_EQ(rounded_score(1.0), 1.0);
}

TEST(MarkElements, EveryStartTagGetsItsNumberFirst) {
  const std::string html =
      "<!DOCTYPE html>\n<HTML lang=\"zh\"><head><!-- <div> in a comment -->"
      "<style>.a > b { }</style><script>if (a<b) document.write('<div>');</SCRIPT></head>"
      "<body><div class=\"screen\" data-caption=\"mine\"><br/><img src=a.png>"
      "<p title='x > y'>a < b</p></div><style/><i>t</i></body></HTML>";
  size_t count = 0;
  EXPECT_EQ(mark_elements(html, "data-pf", "", &count),
            "<!DOCTYPE html>\n<HTML data-pf=\"0\" lang=\"zh\"><head data-pf=\"1\">"
            "<!-- <div> in a comment -->"
            "<style data-pf=\"2\">.a > b { }</style><script data-pf=\"3\">if (a<b) "
            "document.write('<div>');</SCRIPT></head>"
            "<body data-pf=\"4\"><div data-pf=\"5\" class=\"screen\" data-caption=\"mine\">"
            "<br data-pf=\"6\"/><img data-pf=\"7\" src=a.png>"
            "<p data-pf=\"8\" title='x > y'>a < b</p></div><style data-pf=\"9\"/>"
            "<i data-pf=\"10\">t</i></body></HTML>");
  EXPECT_EQ(count, 11u);
  EXPECT_EQ(mark_elements("<div", "data-caption", "pf"), "<div data-caption=\"pf0\"");
  EXPECT_EQ(mark_elements("", "x", ""), "");
}

TEST(MarkElements, CaptionsNameTheirElements) {
  EXPECT_EQ(element_of_caption("pf0"), 0);
  EXPECT_EQ(element_of_caption("pf12"), 12);
  EXPECT_EQ(element_of_caption("pf12Rad"), 12);
  EXPECT_EQ(element_of_caption("pf"), -1);
  EXPECT_EQ(element_of_caption("pfRad"), -1);
  EXPECT_EQ(element_of_caption("pf1x"), -1);
  EXPECT_EQ(element_of_caption("TextView1"), -1);
  EXPECT_EQ(element_of_caption("pf12Radx"), -1);
}

TEST(BrowserCopy, BaseAddressGoesBehindTheDocumentType) {
  Placement p;
  p.screen = 1;
  p.width = 320;
  p.height = 200;
  p.boxes[3] = Box{10, 20, 30, 40};
  p.hidden.insert(7);
  std::string copy = browser_copy("\xEF\xBB\xBF <!doctype html><html></html>", "/a b/c", p);
  EXPECT_EQ(copy.substr(0, copy.find("<style>")),
            "\xEF\xBB\xBF <!doctype html><base href=\"file:///a%20b/c/\"><html></html>\n");
  EXPECT_NE(copy.find(R"(var cfg = {"screen": 1,"width": 320,"height": 200,)"
                      R"("boxes": {"3": [10,20,30,40]},"hidden": [7]};)"),
            std::string::npos)
      << copy;
  EXPECT_EQ(copy.substr(copy.size() - 10), "</script>\n");
  std::string plain = browser_copy("<html>", "/d", p);
  EXPECT_EQ(plain.substr(0, plain.find("<style>")), "<base href=\"file:///d/\"><html>\n");
}

TEST(BrowserCopy, FileUrlsEscapeWhatIsNotPlain) {
  EXPECT_EQ(file_url("/tmp/x-1_2.~/a.html"), "file:///tmp/x-1_2.~/a.html");
  EXPECT_EQ(file_url("/tmp/页 #?%.html"), "file:///tmp/%E9%A1%B5%20%23%3F%25.html");
}

TEST(NinePatch, RunsStretchByTheirShare) {
  using R = NinePatch::Run;
  std::vector<R> runs = {{0, 4, false}, {4, 2, true}, {6, 4, false}, {10, 6, true}};
  // 8 fixed pixels; 24 - 8 = 16 to share 2:6.
  EXPECT_EQ(stretch_runs(runs, 24), (std::vector<int>{4, 4, 4, 12}));
  // Exactly the fixed size: stretchable runs vanish.
  EXPECT_EQ(stretch_runs(runs, 8), (std::vector<int>{4, 0, 4, 0}));
  // One pixel more goes to the stretchable runs, by cumulative rounding.
  EXPECT_EQ(stretch_runs(runs, 9), (std::vector<int>{4, 0, 4, 1}));
  // Smaller than the fixed runs: they shrink in proportion.
  EXPECT_EQ(stretch_runs(runs, 7), (std::vector<int>{3, 0, 4, 0}));
  EXPECT_EQ(stretch_runs(runs, 0), (std::vector<int>{0, 0, 0, 0}));
  // No stretchable run at all: everything scales.
  EXPECT_EQ(stretch_runs({{0, 2, false}, {2, 2, false}}, 8), (std::vector<int>{4, 4}));
}

TEST(NinePatch, FrameMarksAreRead) {
  Raster framed(6, 5);  // transparent frame, 4x3 picture
  for (int y = 1; y < 4; ++y)
    for (int x = 1; x < 5; ++x) framed.at(x, y)[3] = 255;
  auto mark = [&](int x, int y) { framed.at(x, y)[3] = 255; };
  mark(2, 0);
  mark(3, 0);
  mark(0, 3);
  mark(5, 2);  // content padding on the right edge: allowed, not read
  std::string error;
  std::optional<NinePatch> np = read_nine_patch(framed, error);
  ASSERT_TRUE(np) << error;
  EXPECT_EQ(np->image.w, 4);
  EXPECT_EQ(np->image.h, 3);
  ASSERT_EQ(np->xs.size(), 3u);
  EXPECT_EQ(np->xs[0].length, 1);
  EXPECT_FALSE(np->xs[0].stretch);
  EXPECT_EQ(np->xs[1].start, 1);
  EXPECT_EQ(np->xs[1].length, 2);
  EXPECT_TRUE(np->xs[1].stretch);
  ASSERT_EQ(np->ys.size(), 2u);
  EXPECT_EQ(np->ys[1].start, 2);
  EXPECT_TRUE(np->ys[1].stretch);

  framed.at(0, 3)[3] = 0;  // no mark left on the left edge
  EXPECT_FALSE(read_nine_patch(framed, error));
  EXPECT_EQ(error, "nine-patch without stretch marks on its top or left edge");
  EXPECT_FALSE(read_nine_patch(Raster(2, 5), error));
}

TEST(ContactSheet, GridStaysWithinItsLimit) {
  auto grid = [](size_t n) {
    SheetGrid g = sheet_grid(n);
    return std::make_pair(g.columns, g.cell);
  };
  EXPECT_EQ(grid(1), std::make_pair(1, 480));
  EXPECT_EQ(grid(3), std::make_pair(3, 480));
  EXPECT_EQ(grid(4), std::make_pair(3, 480));
  EXPECT_EQ(grid(9), std::make_pair(3, 480));
  // Ten pages: four columns, and four rows still fit cells of 480.
  EXPECT_EQ(grid(10), std::make_pair(4, 480));
  // A hundred: ten rows of (4096 - 16) / 10 - 16 - 28 high cells.
  EXPECT_EQ(grid(100), std::make_pair(10, 364));
  // Eighty-one: nine rows of 4080 / 9 - 16 - 28 = 409.
  EXPECT_EQ(grid(81), std::make_pair(9, 409));

  std::string error;
  std::unique_ptr<TextEngine> text = TextEngine::open("", error);
  ASSERT_TRUE(text) << error;
  Raster page = solid(800, 480, 0x336699);
  std::vector<SheetEntry> many(100, SheetEntry{"p", &page});
  Raster sheet = contact_sheet(many, *text);
  EXPECT_LE(sheet.w, MAX_SHEET_SIDE);
  EXPECT_LE(sheet.h, MAX_SHEET_SIDE);
  // Cells of 364: an 800 by 480 page becomes 364 by 218, the first one at
  // (16, 16 + 28).
  EXPECT_EQ(rgb_at(sheet, 16, 44), 0x336699u);
  EXPECT_EQ(rgb_at(sheet, 16 + 363, 44 + 217), 0x336699u);
  EXPECT_NE(rgb_at(sheet, 16 + 364, 44), 0x336699u);
}

}  // namespace
}  // namespace pagefold::preview
