// The drawing rules, each on a tiny hand-written page, checked by pixel
// probes at known coordinates.
#include <gif_lib.h>
#include <gtest/gtest.h>

#include "preview_kit.hpp"
#include "render.hpp"

namespace pagefold::preview {
namespace {

using testing::rgb_at;
using testing::save_png;
using testing::ScratchDir;
using testing::solid;

constexpr uint32_t PAGE = 0x102030, RED = 0xFF0000, GREEN = 0x00FF00, BLUE = 0x0000FF,
                   WHITE = 0xFFFFFF;

class RenderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string error;
    text_ = TextEngine::open("", error);
    ASSERT_TRUE(text_) << error;
  }

  // Draws a page of `w` by `h` whose root has the page colour and holds the
  // controls given as JSON members.
  PageRender draw(const std::string& controls, int w = 100, int h = 60, bool show_hidden = false) {
    std::string json = R"({"resolution": {"height": )" + std::to_string(h) + R"(, "width": )" +
                       std::to_string(w) + R"(}, "backgroundColor": 1056816)" +
                       (controls.empty() ? "" : ", ") + controls + "}";
    PictureStore pictures(dir_.path());
    RenderOptions o;
    o.show_hidden = show_hidden;
    return render_page(parse_json(json), w, h, *text_, pictures, o);
  }

  std::string asset(const std::string& name, const Raster& r) {
    save_png(dir_ / name, r);
    return name;
  }

  ScratchDir dir_;
  std::unique_ptr<TextEngine> text_;
};

std::string box(int left, int top, int width, int height) {
  return R"("position": {"height": )" + std::to_string(height) + R"(, "left": )" +
         std::to_string(left) + R"(, "top": )" + std::to_string(top) + R"(, "width": )" +
         std::to_string(width) + "}";
}

std::string window(int n, int l, int t, int w, int h, uint32_t bg, const std::string& inner = "") {
  return R"("window__)" + std::to_string(n) + R"(": {"backgroundColor": )" + std::to_string(bg) +
         ", " + box(l, t, w, h) + (inner.empty() ? "" : ", " + inner) + "}";
}

std::string what_of(const std::vector<Note>& notes) {
  std::string s;
  for (const Note& n : notes) s += n.control + ": " + n.what + "\n";
  return s;
}

TEST_F(RenderTest, PageColourAndItsAbsence) {
  PageRender r = draw("");
  EXPECT_EQ(rgb_at(r.image, 0, 0), PAGE);
  EXPECT_EQ(rgb_at(r.image, 99, 59), PAGE);
  EXPECT_TRUE(r.approximated.empty());

  PictureStore pictures(dir_.path());
  PageRender bare = render_page(parse_json(R"({"resolution": {"height": 40, "width": 40}})"), 40,
                                40, *text_, pictures);
  // The device does not clear the screen: a checkerboard of 16-pixel squares.
  EXPECT_EQ(rgb_at(bare.image, 0, 0), 0x5A5A5Au);
  EXPECT_EQ(rgb_at(bare.image, 15, 15), 0x5A5A5Au);
  EXPECT_EQ(rgb_at(bare.image, 16, 0), 0x7A7A7Au);
  EXPECT_EQ(rgb_at(bare.image, 16, 16), 0x5A5A5Au);
  ASSERT_EQ(bare.approximated.size(), 1u);
}

TEST_F(RenderTest, ColourFillsTheBoxExactly) {
  PageRender r = draw(window(1, 10, 20, 30, 15, RED));
  EXPECT_EQ(rgb_at(r.image, 10, 20), RED);
  EXPECT_EQ(rgb_at(r.image, 39, 34), RED);
  EXPECT_EQ(rgb_at(r.image, 9, 20), PAGE);
  EXPECT_EQ(rgb_at(r.image, 40, 20), PAGE);
  EXPECT_EQ(rgb_at(r.image, 10, 19), PAGE);
  EXPECT_EQ(rgb_at(r.image, 10, 35), PAGE);
  EXPECT_EQ(r.controls, 1);
  EXPECT_EQ(r.drawn, 1);
}

TEST_F(RenderTest, MinusOneIsNoColour) {
  PageRender r = draw(window(1, 0, 0, 50, 50, 0xFFFFFFFF) + ", " +
                      R"("window__2": {"backgroundColor": -1, )" + box(0, 0, 50, 50) + "}");
  // 0xFFFFFFFF is no colour integer: noted, and nothing filled.
  EXPECT_EQ(rgb_at(r.image, 5, 5), PAGE);
  EXPECT_EQ(what_of(r.not_drawn), "window__1: backgroundColor: 4294967295 is no colour\n");
}

TEST_F(RenderTest, ChildrenAreRelativeToTheirContainerAndClippedToIt) {
  std::string child =
      R"("textview__2": {"bgColorTab": {"color0": 65280}, )" + box(5, 5, 100, 100) + "}";
  PageRender r = draw(window(1, 10, 10, 40, 30, RED, child));
  EXPECT_EQ(rgb_at(r.image, 14, 14), RED);    // the window's own margin
  EXPECT_EQ(rgb_at(r.image, 15, 15), GREEN);  // child at window + (5, 5)
  EXPECT_EQ(rgb_at(r.image, 49, 39), GREEN);  // last pixel inside the window
  EXPECT_EQ(rgb_at(r.image, 50, 39), PAGE);   // one past the window's right edge
  EXPECT_EQ(rgb_at(r.image, 49, 40), PAGE);   // one past its bottom edge
}

TEST_F(RenderTest, NestedContainersAddTheirOffsets) {
  std::string inner = window(3, 7, 3, 4, 4, BLUE);
  PageRender r = draw(window(1, 10, 10, 60, 40, RED, window(2, 20, 10, 30, 20, GREEN, inner)));
  EXPECT_EQ(rgb_at(r.image, 37, 23), BLUE);
  EXPECT_EQ(rgb_at(r.image, 40, 26), BLUE);
  EXPECT_EQ(rgb_at(r.image, 36, 23), GREEN);
  EXPECT_EQ(rgb_at(r.image, 41, 26), GREEN);
}

TEST_F(RenderTest, LaterControlsCoverEarlierOnes) {
  PageRender r = draw(window(1, 0, 0, 30, 30, RED) + ", " + window(2, 20, 20, 30, 30, BLUE));
  EXPECT_EQ(rgb_at(r.image, 19, 19), RED);
  EXPECT_EQ(rgb_at(r.image, 25, 25), BLUE);
  EXPECT_EQ(rgb_at(r.image, 45, 45), BLUE);
}

TEST_F(RenderTest, HiddenWindowsAndTheirChildrenAreNotDrawn) {
  std::string child =
      R"("textview__2": {"bgColorTab": {"color0": 65280}, )" + box(0, 0, 10, 10) + "}";
  std::string hidden = R"("window__1": {"backgroundColor": 16711680, "modal": true, )" +
                       box(0, 0, 40, 40) + R"(, "visible": false, )" + child + "}";
  PageRender r = draw(hidden);
  EXPECT_EQ(rgb_at(r.image, 5, 5), PAGE);
  EXPECT_EQ(rgb_at(r.image, 20, 20), PAGE);
  EXPECT_EQ(r.controls, 2);
  EXPECT_EQ(r.drawn, 0);
  EXPECT_EQ(what_of(r.hidden), "window__1: visible is false: not drawn, nor anything inside it\n");

  PageRender shown = draw(hidden, 100, 60, true);
  EXPECT_EQ(rgb_at(shown.image, 5, 5), GREEN);
  EXPECT_EQ(rgb_at(shown.image, 20, 20), RED);
  EXPECT_EQ(shown.drawn, 2);
  EXPECT_TRUE(shown.hidden.empty());
}

TEST_F(RenderTest, OtherPicturesAtTheirOwnSizeAtTheTopLeft) {
  asset("sq.png", solid(10, 6, BLUE));
  PageRender r =
      draw(R"("textview__1": {"backgroundPic": "images/sq.png", )" + box(20, 20, 40, 30) + "}");
  EXPECT_EQ(rgb_at(r.image, 20, 20), BLUE);
  EXPECT_EQ(rgb_at(r.image, 29, 25), BLUE);
  EXPECT_EQ(rgb_at(r.image, 30, 25), PAGE);
  EXPECT_EQ(rgb_at(r.image, 29, 26), PAGE);
  EXPECT_TRUE(r.not_drawn.empty());
}

TEST_F(RenderTest, PicturesLargerThanTheirBoxAreCut) {
  asset("big.png", solid(50, 50, BLUE));
  PageRender r =
      draw(R"("textview__1": {"backgroundPic": "images/big.png", )" + box(0, 0, 20, 10) + "}");
  EXPECT_EQ(rgb_at(r.image, 19, 9), BLUE);
  EXPECT_EQ(rgb_at(r.image, 20, 9), PAGE);
  EXPECT_EQ(rgb_at(r.image, 19, 10), PAGE);
}

TEST_F(RenderTest, MissingPictureIsAHatchedBoxWithItsName) {
  PageRender r = draw(R"("textview__1": {"caption": "logo", "backgroundPic": "images/nope.png", )" +
                      box(10, 10, 60, 40) + "}");
  // The hatch's frame is drawn one pixel inside the box.
  EXPECT_EQ(rgb_at(r.image, 11, 40), 0xD32F2Fu);
  EXPECT_EQ(rgb_at(r.image, 9, 40), PAGE);
  ASSERT_EQ(r.not_drawn.size(), 1u);
  EXPECT_EQ(r.not_drawn[0].caption, "logo");
  EXPECT_EQ(r.not_drawn[0].what, "backgroundPic images/nope.png: file not found (" + dir_.path() +
                                     "/nope.png); drawn as a hatched box");
}

TEST_F(RenderTest, UnreadablePictureIsHatchedWithTheReason) {
  testing::write_text(dir_ / "bad.png", "not a picture at all");
  PageRender r =
      draw(R"("textview__1": {"backgroundPic": "images/bad.png", )" + box(0, 0, 30, 30) + "}");
  ASSERT_EQ(r.not_drawn.size(), 1u);
  EXPECT_NE(r.not_drawn[0].what.find("not a PNG or GIF picture"), std::string::npos);
  EXPECT_EQ(rgb_at(r.image, 1, 15), 0xD32F2Fu);
}

// A seek bar 100 wide: track 4x1 (red left half, green right half) stretched,
// fill of blue at the box's size cut at floor(100 * progress / max).
class SeekbarTest : public RenderTest {
 protected:
  void SetUp() override {
    RenderTest::SetUp();
    Raster track = solid(4, 1, RED);
    for (int x = 2; x < 4; ++x) {
      track.at(x, 0)[0] = 0;
      track.at(x, 0)[1] = 255;
    }
    asset("track.png", track);
    asset("fill.png", solid(100, 10, BLUE));
    asset("knob.png", solid(10, 30, WHITE));
  }
  PageRender bar(int progress, int max, const std::string& extra = "", int width = 100) {
    return draw(R"("seekbar__1": {"backgroundColor": -1, "defProgress": )" +
                    std::to_string(progress) + R"(, "max": )" + std::to_string(max) + ", " +
                    box(0, 20, width, 20) +
                    R"(, "backgroundPic": "images/track.png", "progressPic": "images/fill.png")" +
                    extra + "}",
                120, 60);
  }
};

TEST_F(SeekbarTest, TrackIsStretchedToTheBox) {
  PageRender r = bar(0, 100);
  EXPECT_EQ(rgb_at(r.image, 0, 20), RED);
  EXPECT_EQ(rgb_at(r.image, 10, 39), RED);
  EXPECT_EQ(rgb_at(r.image, 90, 20), GREEN);
  EXPECT_EQ(rgb_at(r.image, 99, 39), GREEN);
  EXPECT_EQ(rgb_at(r.image, 100, 30), PAGE);
  EXPECT_EQ(rgb_at(r.image, 50, 19), PAGE);
}

TEST_F(SeekbarTest, FillIsCutAtTheProgressColumn) {
  PageRender r = bar(37, 100);
  EXPECT_EQ(rgb_at(r.image, 0, 25), BLUE);
  EXPECT_EQ(rgb_at(r.image, 36, 25), BLUE);
  EXPECT_EQ(rgb_at(r.image, 37, 25), RED);
  // The fill is 10 high and drawn 1:1, not stretched to the box's 20.
  EXPECT_EQ(rgb_at(r.image, 10, 29), BLUE);
  EXPECT_EQ(rgb_at(r.image, 10, 30), RED);
}

TEST_F(SeekbarTest, CutColumnIsFloored) {
  // 100 x 1 / 3 = 33.3: 33 columns.
  PageRender third = bar(1, 3);
  EXPECT_EQ(rgb_at(third.image, 32, 25), BLUE);
  EXPECT_EQ(rgb_at(third.image, 33, 25), RED);
  // 100 x 2 / 3 = 66.7: 66 columns, not 67.
  PageRender two_thirds = bar(2, 3);
  EXPECT_EQ(rgb_at(two_thirds.image, 65, 25), BLUE);
  EXPECT_EQ(rgb_at(two_thirds.image, 66, 25), GREEN);
}

TEST_F(SeekbarTest, ProgressAtBothEndsAndBeyond) {
  EXPECT_EQ(rgb_at(bar(0, 100).image, 0, 25), RED);
  EXPECT_EQ(rgb_at(bar(100, 100).image, 99, 25), BLUE);
  // Beyond max and below 0 the value is held to its range.
  EXPECT_EQ(rgb_at(bar(101, 100).image, 99, 25), BLUE);
  EXPECT_EQ(rgb_at(bar(-1, 100).image, 0, 25), RED);
}

TEST_F(SeekbarTest, KnobAtItsOwnSizeCentredAndCutByTheBox) {
  std::string knob =
      R"(, "thumb": {"size": {"height": 30, "width": 10}, "normalPic": "images/knob.png"})";
  // floor((100 - 10) x 50 / 100) = 45.
  PageRender mid = bar(50, 100, knob);
  EXPECT_EQ(rgb_at(mid.image, 44, 25), BLUE);
  EXPECT_EQ(rgb_at(mid.image, 45, 25), WHITE);
  EXPECT_EQ(rgb_at(mid.image, 54, 25), WHITE);
  EXPECT_NE(rgb_at(mid.image, 55, 25), WHITE);
  // 30 high in a 20 high box: centred, so it fills the box and no more.
  EXPECT_EQ(rgb_at(mid.image, 50, 20), WHITE);
  EXPECT_EQ(rgb_at(mid.image, 50, 39), WHITE);
  EXPECT_EQ(rgb_at(mid.image, 50, 19), PAGE);
  EXPECT_EQ(rgb_at(mid.image, 50, 40), PAGE);

  PageRender start = bar(0, 100, knob);
  EXPECT_EQ(rgb_at(start.image, 0, 30), WHITE);
  EXPECT_EQ(rgb_at(start.image, 9, 30), WHITE);
  EXPECT_EQ(rgb_at(start.image, 10, 30), RED);
  PageRender end = bar(100, 100, knob);
  EXPECT_EQ(rgb_at(end.image, 89, 25), BLUE);
  EXPECT_EQ(rgb_at(end.image, 90, 30), WHITE);
  EXPECT_EQ(rgb_at(end.image, 99, 30), WHITE);
}

TEST_F(SeekbarTest, VerticalBarsFillFromTheBottom) {
  // A 20 wide, 40 high bar at 25 of 100: the bottom floor(40 x 25 / 100) = 10
  // rows of the fill show; the knob's top is at floor((40 - 4) x 75 / 100) = 27.
  asset("tall.png", solid(20, 40, BLUE));
  asset("dot.png", solid(6, 4, WHITE));
  PageRender r = draw(
      R"("seekbar__1": {"defProgress": 25, "max": 100, "orientation": 1, )" + box(10, 10, 20, 40) +
          R"(, "progressPic": "images/tall.png", "thumb": {"normalPic": "images/dot.png"}})",
      60, 60);
  EXPECT_EQ(rgb_at(r.image, 10, 39), PAGE);
  EXPECT_EQ(rgb_at(r.image, 10, 40), BLUE);
  EXPECT_EQ(rgb_at(r.image, 29, 49), BLUE);
  // The knob: columns 17 to 22, rows 37 to 40, over the fill's top row.
  EXPECT_EQ(rgb_at(r.image, 17, 36), PAGE);
  EXPECT_EQ(rgb_at(r.image, 17, 37), WHITE);
  EXPECT_EQ(rgb_at(r.image, 16, 37), PAGE);
  EXPECT_EQ(rgb_at(r.image, 22, 40), WHITE);
  EXPECT_EQ(rgb_at(r.image, 23, 40), BLUE);
  EXPECT_EQ(rgb_at(r.image, 20, 41), BLUE);
  EXPECT_EQ(what_of(r.approximated),
            "seekbar__1: orientation 1 drawn as a vertical bar filling from the bottom\n");
}

TEST_F(SeekbarTest, KnobWiderThanTheBarStartsLeftOfIt) {
  // floor((6 - 10) x 1 / 3) = floor(-1.33) = -2: the knob starts two columns
  // before the box, so its two red columns are cut and the box shows white.
  Raster wide = solid(10, 4, WHITE);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 2; ++x) wide.at(x, y)[1] = wide.at(x, y)[2] = 0;
  asset("wide.png", wide);
  PageRender r = draw(R"("window__1": {"backgroundColor": 255, )" + box(10, 0, 30, 30) +
                          R"(, "seekbar__2": {"defProgress": 1, "max": 3, )" + box(4, 0, 6, 4) +
                          R"(, "thumb": {"normalPic": "images/wide.png"}}})",
                      60, 30);
  EXPECT_EQ(rgb_at(r.image, 13, 1), BLUE);
  EXPECT_EQ(rgb_at(r.image, 14, 1), WHITE);
  EXPECT_EQ(rgb_at(r.image, 19, 1), WHITE);
  EXPECT_EQ(rgb_at(r.image, 20, 1), BLUE);
}

TEST_F(RenderTest, NinePatchIsStretchedByItsMarks) {
  // 3x3 picture in a frame: corners red, edges green, centre blue; the middle
  // column and row are marked as stretching.
  Raster np(5, 5);
  auto put = [&](int x, int y, uint32_t rgb, uint8_t a = 255) {
    uint8_t* p = np.at(x, y);
    p[0] = uint8_t(rgb >> 16);
    p[1] = uint8_t(rgb >> 8);
    p[2] = uint8_t(rgb);
    p[3] = a;
  };
  put(2, 0, 0);
  put(0, 2, 0);
  for (int y = 1; y <= 3; ++y)
    for (int x = 1; x <= 3; ++x) {
      bool edge_x = x != 2, edge_y = y != 2;
      put(x, y, edge_x && edge_y ? RED : (edge_x || edge_y) ? GREEN : BLUE);
    }
  asset("card.9.png", np);
  PageRender r =
      draw(R"("window__1": {"backgroundPic": "images/card.9.png", )" + box(10, 10, 20, 10) + "}");
  EXPECT_EQ(rgb_at(r.image, 10, 10), RED);
  EXPECT_EQ(rgb_at(r.image, 29, 19), RED);
  EXPECT_EQ(rgb_at(r.image, 29, 10), RED);
  EXPECT_EQ(rgb_at(r.image, 11, 10), GREEN);
  EXPECT_EQ(rgb_at(r.image, 28, 19), GREEN);
  EXPECT_EQ(rgb_at(r.image, 10, 11), GREEN);
  EXPECT_EQ(rgb_at(r.image, 11, 11), BLUE);
  EXPECT_EQ(rgb_at(r.image, 28, 18), BLUE);
  EXPECT_EQ(rgb_at(r.image, 30, 15), PAGE);
  EXPECT_TRUE(r.approximated.empty()) << what_of(r.approximated);
}

TEST_F(RenderTest, NinePatchWithoutMarksIsAPlainPicture) {
  asset("flat.9.png", solid(6, 6, BLUE));
  PageRender r =
      draw(R"("window__1": {"backgroundPic": "images/flat.9.png", )" + box(0, 0, 20, 20) + "}");
  EXPECT_EQ(rgb_at(r.image, 5, 5), BLUE);
  EXPECT_EQ(rgb_at(r.image, 6, 6), PAGE);
  EXPECT_EQ(what_of(r.approximated),
            "window__1: backgroundPic images/flat.9.png: nine-patch frame holds a colour other "
            "than marks; drawn as a plain picture\n");
}

TEST_F(RenderTest, AnimationShowsTheFirstFrameOfItsGif) {
  // Two frames, red then blue, written frame by frame.
  std::string path = dir_ / "spin.gif";
  int err = 0;
  GifFileType* g = EGifOpenFileName(path.c_str(), false, &err);
  ASSERT_TRUE(g);
  GifColorType colours[2] = {{255, 0, 0}, {0, 0, 255}};
  ColorMapObject* map = GifMakeMapObject(2, colours);
  EGifPutScreenDesc(g, 8, 8, 1, 0, map);
  for (GifPixelType index : {GifPixelType(0), GifPixelType(1)}) {
    EGifPutImageDesc(g, 0, 0, 8, 8, false, nullptr);
    std::vector<GifPixelType> line(8, index);
    for (int y = 0; y < 8; ++y) EGifPutLine(g, line.data(), 8);
  }
  EGifCloseFile(g, &err);
  GifFreeMapObject(map);

  PageRender r = draw(R"("imageanim__1": {"loopCount": 0, )" + box(0, 0, 20, 20) +
                      R"(, "playFile": "image/spin.gif"})");
  EXPECT_EQ(rgb_at(r.image, 0, 0), RED);
  EXPECT_EQ(rgb_at(r.image, 7, 7), RED);
  EXPECT_EQ(rgb_at(r.image, 8, 8), PAGE);
  EXPECT_EQ(what_of(r.approximated), "imageanim__1: the animation's first frame is shown\n");
}

TEST_F(RenderTest, CheckedStateTakesColourAndPictureTwo) {
  asset("off.png", solid(8, 8, RED));
  asset("on.png", solid(8, 8, GREEN));
  auto check = [&](bool checked, bool pictures) {
    return draw(
        std::string(R"("checkbox__1": {"checked": )") + (checked ? "true" : "false") +
        R"(, "bgColorTab": {"color0": 255, "color2": 16776960}, )" +
        R"("iconPosition": {"left": 0, "top": 0, "width": 10, "height": 10}, )" +
        box(0, 0, 50, 10) +
        (pictures ? R"(, "picTab": {"pic0": "images/off.png", "pic2": "images/on.png"})" : "") +
        "}");
  };
  // Without pictures the state's colour fills the icon box only.
  EXPECT_EQ(rgb_at(check(false, false).image, 9, 9), BLUE);
  EXPECT_EQ(rgb_at(check(false, false).image, 10, 9), PAGE);
  EXPECT_EQ(rgb_at(check(true, false).image, 9, 9), 0xFFFF00u);
  // With pictures: the state's picture, on the state's colour.
  EXPECT_EQ(rgb_at(check(false, true).image, 7, 7), RED);
  EXPECT_EQ(rgb_at(check(true, true).image, 7, 7), GREEN);
  EXPECT_EQ(rgb_at(check(true, true).image, 8, 8), 0xFFFF00u);
}

TEST_F(RenderTest, RadioButtonsArePlacedInTheirGroup) {
  PageRender r = draw(R"("radiogroup__1": {"backgroundColor": -1, )" + box(30, 10, 60, 40) +
                      R"(, "radiobuttons": [{"bgColorTab": {"color0": 255, "color2": 65280}, )" +
                      R"("checked": false, )" + box(0, 0, 10, 10) +
                      R"(}, {"bgColorTab": {"color0": 255, "color2": 65280}, "checked": true, )" +
                      box(20, 0, 10, 10) + "}]}");
  EXPECT_EQ(rgb_at(r.image, 30, 10), BLUE);
  EXPECT_EQ(rgb_at(r.image, 50, 10), GREEN);
  EXPECT_EQ(rgb_at(r.image, 45, 10), PAGE);
  EXPECT_EQ(r.controls, 3);
}

TEST_F(RenderTest, ListRowsHoldOneSubItemEach) {
  std::string sub = R"({"bgColorTab": {"color0": 255}, )" + box(2, 1, 10, 5) + "}";
  PageRender r =
      draw(R"("listview__1": {"cols": 1, "rows": 2, "rowSpacing": 2, )" + box(0, 0, 50, 40) +
           R"(, "item": {"backgroundColor": 16711680, "bgColorTab": {"color0": -1}, )" +
           R"("position": {"left": 0, "top": 0, "width": 40, "height": 10}, "subItem": [)" + sub +
           ", " + sub + ", " + sub + "]}}");
  EXPECT_EQ(rgb_at(r.image, 0, 0), RED);    // row 1
  EXPECT_EQ(rgb_at(r.image, 2, 1), BLUE);   // its sub-item
  EXPECT_EQ(rgb_at(r.image, 0, 10), PAGE);  // row spacing
  EXPECT_EQ(rgb_at(r.image, 0, 12), RED);   // row 2
  EXPECT_EQ(rgb_at(r.image, 2, 13), BLUE);
  EXPECT_EQ(rgb_at(r.image, 0, 24), PAGE);  // a third row is not shown
  EXPECT_EQ(what_of(r.not_drawn), "listview__1/subItem[2]: beyond the 2 rows the list shows\n");
}

TEST_F(RenderTest, TextTakesItsColourAndAlignment) {
  auto text = [&](int align) {
    return draw(R"("textview__1": {"alignment": )" + std::to_string(align) +
                    R"(, "colorTab": {"color0": 16777215}, "fontSize": 20, )" + box(0, 0, 300, 40) +
                    R"(, "text": "MM"})",
                300, 40);
  };
  auto ink = [](const PageRender& r, int x0, int x1) {
    int n = 0;
    for (int y = 0; y < 40; ++y)
      for (int x = x0; x < x1; ++x) n += rgb_at(r.image, x, y) == WHITE;
    return n;
  };
  PageRender left = text(36), centre = text(37), right = text(38);
  EXPECT_GT(ink(left, 0, 40), 0);
  EXPECT_EQ(ink(left, 100, 300), 0);
  EXPECT_EQ(ink(centre, 0, 120), 0);
  EXPECT_GT(ink(centre, 130, 170), 0);
  EXPECT_EQ(ink(centre, 180, 300), 0);
  EXPECT_EQ(ink(right, 0, 200), 0);
  EXPECT_GT(ink(right, 260, 300), 0);
  // Vertically centred: the top and bottom rows stay clear.
  EXPECT_EQ(ink(left, 0, 300) > 0 && rgb_at(left.image, 5, 0) == PAGE, true);
  EXPECT_TRUE(left.approximated.empty());
  PageRender odd = text(41);
  EXPECT_EQ(what_of(odd.approximated),
            "textview__1: alignment 41 is not one of 36, 37, 38: text drawn left-aligned\n");
}

TEST_F(RenderTest, TextIsClippedToItsBox) {
  PageRender r =
      draw(R"("textview__1": {"alignment": 36, "colorTab": {"color0": 16777215}, )" +
               std::string(R"("fontSize": 40, )") + box(10, 10, 12, 12) + R"(, "text": "WWWW"})",
           100, 60);
  int inside = 0, outside = 0;
  for (int y = 0; y < 60; ++y)
    for (int x = 0; x < 100; ++x) {
      bool in = x >= 10 && x < 22 && y >= 10 && y < 22;
      (in ? inside : outside) += rgb_at(r.image, x, y) != PAGE;
    }
  EXPECT_GT(inside, 0);
  EXPECT_EQ(outside, 0);
}

TEST_F(RenderTest, PasswordFieldsShowTheirMask) {
  auto field = [&](const std::string& extra) {
    return draw(R"("edittext__1": {"alignment": 37, "bgColorTab": {"color0": 0}, )"
                R"("colorTab": {"color0": 16777215}, "fontSize": 16, )" +
                    box(0, 0, 100, 30) + R"(, "text": "abc")" + extra + "}",
                100, 30);
  };
  PageRender plain = field(""), masked = field(R"(, "isPassword": true, "passwordChar": "#")");
  PageRender same = draw(R"("edittext__1": {"alignment": 37, "bgColorTab": {"color0": 0}, )"
                         R"("colorTab": {"color0": 16777215}, "fontSize": 16, )" +
                             box(0, 0, 100, 30) + R"(, "text": "###"})",
                         100, 30);
  EXPECT_NE(plain.image.px, masked.image.px);
  EXPECT_EQ(masked.image.px, same.image.px);
}

TEST_F(RenderTest, WhatTheRuntimeDrawsIsListed) {
  PageRender r = draw(R"("painter__1": {"caption": "okRad", )" + box(0, 0, 10, 10) +
                      R"(}, "videoview__2": {"backgroundColor": 0, )" + box(10, 0, 10, 10) +
                      R"(}, "gizmo__3": {)" + box(20, 0, 10, 10) + "}");
  EXPECT_EQ(rgb_at(r.image, 15, 5), 0u);
  EXPECT_EQ(what_of(r.not_drawn),
            "painter__1: drawn at run time by code (a rounded button: the code in radButtonGlue "
            "of the conversion's result)\n"
            "videoview__2: the video is shown at run time\n"
            "gizmo__3: unknown control type gizmo\n");
}

TEST_F(RenderTest, ControlsOutsideTheirContainerAreListed) {
  std::string child =
      R"("textview__2": {"bgColorTab": {"color0": 65280}, )" + box(50, 0, 10, 10) + "}";
  PageRender r =
      draw(window(1, 0, 0, 20, 20, RED, child) + R"(, "window__3": {)" + box(0, 0, 0, 10) + "}");
  EXPECT_EQ(what_of(r.not_drawn),
            "window__1/textview__2: outside its container or the screen: nothing of it shows\n"
            "window__3: its box is empty\n");
}

}  // namespace
}  // namespace pagefold::preview
