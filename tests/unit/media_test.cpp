// Value and media controls end to end: a small prototype in, the whole page
// and its warnings out. Covers seek bars, circle bars, pointers, clocks,
// animations, sliding text, camera and video views, painters, QR codes,
// icons and the record of last resort.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "leaf_pages.hpp"

namespace pagefold {
namespace {

using namespace leafpages;
using testkit::J;
using testkit::pretty;

const std::vector<std::string> ONLY_EMIT = {EMIT_MISSING};

TEST(SeekBar, ZeroNeverOverridesAndThumbSizeOrders) {
  Converted p =
      convert(R"(<input type="range" data-max="0" data-value="30" data-thumb-size="30">)"
              R"(<div class="bar" data-track="t.png" data-fill="x/f.png" data-orientation="0"
           data-thumb="k.png" data-thumb-pressed="kp.png" data-max="50"></div>)"
              R"(<div class="slider" data-value="0" data-visible="off">text is dropped</div>)");
  EXPECT_EQ(p.json, page(R"(
    "seekbar__1": {"backgroundColor": -1, "caption": "SeekBar1", "defProgress": 30,
      "id": 91001, "max": 100, "orientation": 0, "position": )" +
                         POS + R"(,
      "touchable": true, "visible": true, "thumb": {"size": {"height": 30, "width": 30}}},
    "seekbar__2": {"backgroundColor": -1, "caption": "SeekBar2", "defProgress": 0,
      "id": 91002, "max": 50, "orientation": 0, "position": )" +
                         POS + R"(,
      "touchable": true, "visible": true, "backgroundPic": "images/t.png",
      "progressPic": "x/f.png", "thumb": {"size": {"height": 24, "width": 24},
        "normalPic": "images/k.png", "pressedPic": "images/kp.png"}},
    "seekbar__3": {"backgroundColor": -1, "caption": "SeekBar3", "defProgress": 0,
      "id": 91003, "max": 100, "orientation": 0, "position": )" +
                         POS + R"(,
      "touchable": false, "visible": false,
      "thumb": {"size": {"width": 0, "height": 0}, "normalPic": "", "pressedPic": ""}})"));
  EXPECT_EQ(p.warnings, ONLY_EMIT);
}

TEST(CircleBar, ReadsTruncatedNumbersAndSkipsColourBackground) {
  Converted p = convert(
      R"(<div class="ring" data-max="0" data-max-angle="270.9" data-start-angle="-90"
           data-clockwise="false" data-bg="#223344" data-fill="p.png" data-text-color="#000000"
           data-text-size="14" data-text-type="2.7" data-unit="%" data-touch-range="10, 20.5"
           data-thumb-size="12"></div>)"
      R"(<div class="circular" data-touch-range="30" data-text-type="x" data-bgpic="b.png"
           data-thumb="t.png"></div>)");
  EXPECT_EQ(p.json, page(R"(
    "circlebar__1": {"backgroundColor": -1, "caption": "Circlebar1", "clockwise": false,
      "id": 130001, "max": 100, "maxAngle": 270,
      "progressPicPos": {"left": 0, "top": 0, "width": 100, "height": 40},
      "position": )" + POS +
                         R"(, "startAngle": -90, "touchable": true,
      "touchRange": {"lower": 10, "upper": 20.5}, "visible": true,
      "progressPic": "images/p.png", "textSize": 14, "textType": 2, "unit": "%",
      "thumb": {"size": {"width": 12, "height": 12}}},
    "circlebar__2": {"backgroundColor": -1, "caption": "Circlebar2", "clockwise": true,
      "id": 130002, "max": 100, "maxAngle": 360,
      "progressPicPos": {"left": 0, "top": 0, "width": 0, "height": 0},
      "position": )" + POS +
                         R"(, "startAngle": 0, "touchable": true,
      "touchRange": {"lower": 0, "upper": 0}, "visible": true,
      "backgroundPic": "images/b.png",
      "thumb": {"size": {"width": 0, "height": 0}, "normalPic": "images/t.png"}})"));
  EXPECT_EQ(p.warnings, ONLY_EMIT);
}

TEST(Pointer, UnreadableValuesKeepTheTable) {
  Converted p = convert(
      R"(<div class="gauge" data-start-angle="-45.5" data-rotate-speed="x" data-clockwise="0"
           data-fixed-point="1.2.3,4" data-rotation-point="5, 6px" data-pointer-w="10"
           data-pointer-pic="n.png"></div>)"
      R"(<div class="dial" data-bgpic="d.png" data-pointer-w="10" data-pointer-h="80"
           data-rotate-speed="2.0" data-animatable="true" data-fixed-point="1,2,3"></div>)");
  EXPECT_EQ(p.json, page(R"(
    "pointer__1": {"backgroundColor": -1, "caption": "Pointer1", "id": 90001,
      "rotateSpeed": 1, "startAngle": -45.5, "position": )" +
                         POS + R"(,
      "touchable": false, "visible": true, "pointerPic": "images/n.png", "clockwise": false,
      "animatable": true, "rotationPoint": {"x": 5, "y": 6}},
    "pointer__2": {"backgroundColor": -1, "caption": "Pointer2", "id": 90002,
      "rotateSpeed": 2, "startAngle": 0, "position": )" +
                         POS + R"(,
      "touchable": false, "visible": true, "backgroundPic": "images/d.png",
      "pointerSize": {"width": 10, "height": 80}, "clockwise": true, "animatable": true})"));
  EXPECT_EQ(p.warnings, ONLY_EMIT);
}

TEST(DigitalClock, ColourAliasesAndDefaultSize) {
  Converted p = convert(
      R"(<div class="clock" data-fs="0" data-beat="true" data-color="bad"
           data-clock-color="#ff0000" data-bg="#010203" data-format="HH:MM:SS">12:00</div>)");
  EXPECT_EQ(p.json, page(R"(
    "digitalclock__1": {"backgroundColor": -1, "beat": true, "caption": "Digitalclock1",
      "clockColor": 16711680, "format": "HH:MM:SS", "fontSize": 32, "id": 93001,
      "touchable": false, "visible": true, "position": )" +
                         POS + R"(,
      "bgColorTab": {"color0": 66051}})"));
}

TEST(ImageAnim, PlayFileLoopAndInterval) {
  Converted p = convert(
      R"(<div class="anim" data-src="a.gif" data-loop="0" data-interval="0"></div>)"
      R"(<div class="gif" data-play-file="x/b.gif" data-interval="40.7" data-loop="-1"></div>)");
  EXPECT_EQ(p.json, page(R"(
    "imageanim__1": {"caption": "Imageanim1", "id": 160001, "loopCount": 0,
      "position": )" + POS +
                         R"(, "playFile": "image/a.gif"},
    "imageanim__2": {"caption": "Imageanim2", "id": 160002, "loopCount": -1,
      "position": )" + POS +
                         R"(, "playFile": "x/b.gif", "frameInterval": 40})"));
}

TEST(SlideText, OptionalKeysAndAppendedVisibility) {
  Converted p = convert(
      R"(<div class="cand" data-fs="18" data-text-bg="#000000" data-color="#0000ff"
           data-italic="1" data-visible="0">abc</div>)"
      R"(<div class="slidetext"></div>)");
  EXPECT_EQ(p.json, page(R"(
    "slidetext__1": {"caption": "Slidetext1", "id": 98001, "touchable": false,
      "position": )" + POS +
                         R"(, "fontSize": 18, "textBgColor": 0,
      "colorTab": {"color0": 255}, "text": "abc", "italic": true, "visible": false},
    "slidetext__2": {"caption": "Slidetext2", "id": 98002, "touchable": false,
      "position": )" + POS +
                         "}"));
}

TEST(CameraAndVideo, FlagsAndSizes) {
  Converted p =
      convert(R"(<div class="camera" data-format-w="320" data-cvbs="1" data-mirror="1.5"></div>)"
              R"(<div class="cameraview" data-auto-preview="0" data-format-w="320"
           data-format-h="240"></div>)"
              R"(<div class="video" data-volume="0" data-loop="1" data-rotation="90px"></div>)"
              R"(<div class="videoview" data-loop=""></div>)");
  const std::string camera = R"({"backgroundColor": 0, "caption": "Cameraview%N",
      "cvbs": %C, "formatSize": %F, "id": 9700%N, "mirror": %M, "position": )" +
                             POS + R"(, "touchable": false, "visible": true,
      "autoPreview": %A})";
  auto cam = [&](const std::string& n, const std::string& cvbs, const std::string& fmt,
                 const std::string& mirror, const std::string& preview) {
    std::string s = camera;
    for (const auto& [k, v] : std::vector<std::pair<std::string, std::string>>{
             {"%N", n}, {"%N", n}, {"%C", cvbs}, {"%F", fmt}, {"%M", mirror}, {"%A", preview}})
      s.replace(s.find(k), 2, v);
    return s;
  };
  EXPECT_EQ(p.json, page(R"("cameraview__1": )" +
                         cam("1", "true", R"({"width": 640, "height": 480})", "1", "true") +
                         R"(, "cameraview__2": )" +
                         cam("2", "false", R"({"width": 320, "height": 240})", "0", "false") +
                         R"(,
    "videoview__3": {"backgroundColor": 0, "caption": "Videoview1", "defaultVolume": 0,
      "id": 95001, "loopPlayback": true, "rotation": 90, "position": )" +
                         POS + R"(, "touchable": true, "visible": true},
    "videoview__4": {"backgroundColor": 0, "caption": "Videoview2", "defaultVolume": 5,
      "id": 95002, "loopPlayback": false, "rotation": 0, "position": )" +
                         POS + R"(, "touchable": true, "visible": true})"));
}

TEST(PainterAndQrCode, FixedRecordsAndCode) {
  Converted p = convert(R"(<div class="canvas" data-visible="no" data-bg="#ffffff">x</div>)"
                        R"(<div class="qr" data-code="hello" data-bg="#000000"></div>)"
                        R"(<div class="qrcode" data-bg="white"></div>)");
  EXPECT_EQ(p.json, page(R"(
    "painter__1": {"backgroundColor": -1, "caption": "Painter1", "id": 52001,
      "position": )" + POS +
                         R"(, "touchable": false, "visible": false},
    "qrcode__2": {"backgroundColor": 0, "caption": "Qrcode1", "id": 92001, "padding": 10,
      "touchable": true, "visible": true, "position": )" +
                         POS + R"(, "codeStr": "hello"},
    "qrcode__3": {"backgroundColor": 16777215, "caption": "Qrcode2", "id": 92002,
      "padding": 10, "touchable": true, "visible": true, "position": )" +
                         POS + "}"));
}

TEST(Icon, PictureOrNothingAndLastResortRecord) {
  Converted p = convert(R"(<img src="a.png"><div class="icon">OK</div>)"
                        R"(<section class="modal" data-color="#ff0000" data-fs="12">Hi</section>)");
  const std::string icon_head = R"({"alignment": 36, "caption": "ImageView%N",
      "colorTab": {"color0": 15659766}, "fontSize": 16, "id": 5000%N, "position": )";
  auto head = [&](const char* n) {
    std::string s = icon_head;
    s.replace(s.find("%N"), 2, n);
    s.replace(s.find("%N"), 2, n);
    return s;
  };
  EXPECT_EQ(p.json, page(R"("textview__1": )" + head("1") + POS +
                         R"(, "touchable": false, "backgroundPic": "images/a.png"},
    "textview__2": )" + head("2") +
                         POS + R"(, "touchable": false},
    "textview__3": {"alignment": 36, "caption": "Modal1", "colorTab": {"color0": 15659766},
      "fontSize": 12, "id": 50003, "position": )" +
                         POS + R"(, "touchable": false})"));
  EXPECT_EQ(p.warnings, ONLY_EMIT);
}

// The PNG's width and height from its header.
std::pair<int, int> png_size(const std::string& path) {
  std::string b = testkit::read_file(path);
  auto be32 = [&](size_t at) {
    return (uint8_t(b[at]) << 24) | (uint8_t(b[at + 1]) << 16) | (uint8_t(b[at + 2]) << 8) |
           uint8_t(b[at + 3]);
  };
  return b.size() < 24 ? std::pair{0, 0} : std::pair{int(be32(16)), int(be32(20))};
}

TEST(Icon, GlyphAndEmojiBecomePictures) {
  auto gen = std::make_shared<testkit::FakeGenRes>();
  testkit::TempDir dir;
  Converted p =
      convert(R"(<i class="icon-home" data-color="#102030"></i>)"
              R"(<div class="icon" data-caption="star" data-w="48" data-h="64"> ⭐ </div>)",
              gen_only(gen), dir.str());
  EXPECT_EQ(p.json, page(R"(
    "textview__1": {"alignment": 36, "caption": "ImageView1", "colorTab": {"color0": 1056816},
      "fontSize": 16, "id": 50001, "position": )" +
                         POS + R"(, "touchable": false,
      "backgroundPic": "images/icon_home_100x40_102030.png"},
    "textview__2": {"alignment": 36, "caption": "star", "colorTab": {"color0": 15659766},
      "fontSize": 16, "id": 50002,
      "position": {"height": 64, "left": 0, "top": 0, "width": 48}, "touchable": false,
      "backgroundPic": "images/emoji_star_1.png"})"));
  EXPECT_EQ(p.warnings,
            (std::vector<std::string>{EMIT_MISSING,
                                      "文本字符被丢弃（emoji）：'⭐'（设备裁剪字库无该字形 → "
                                      "整字消失）  @star —— 改用图片素材或换字符（铁律 1）"}));
  EXPECT_EQ(gen->calls, (std::vector<std::string>{"glyph_icon icon_home_100x40_102030.png",
                                                  "emoji_icon emoji_star_1.png"}));
  // The emoji is drawn square, at the larger side of the box.
  EXPECT_EQ(png_size(dir.str() + "/emoji_star_1.png"), (std::pair{64, 64}));
}

TEST(Icon, EmojiNeedsThePictureModule) {
  Converted p = convert(R"(<div class="icon">😀</div>)");
  EXPECT_EQ(p.json, page(R"("textview__1": {"alignment": 36, "caption": "ImageView1",
      "colorTab": {"color0": 15659766}, "fontSize": 16, "id": 50001, "position": )" +
                         POS + R"(, "touchable": false})"));
}

}  // namespace
}  // namespace pagefold
