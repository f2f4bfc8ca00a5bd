// The picture gate, the effect pictures and the picture operations below
// them. Whole pages with pictures are golden cases (assets_*); these are the
// rules that a page shows poorly: counting, naming, failures, pixels.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "assets/corner_masks.hpp"
#include "assets/image.hpp"
#include "driver/converter.hpp"
#include "pagefold/error.hpp"
#include "testkit.hpp"

namespace pagefold {
namespace {

using testkit::FakeGenRes;
using Strings = std::vector<std::string>;
using Px = std::vector<uint8_t>;

// The asset stage with the stand-in picture module (or none), writing into a
// temporary directory, with a page context in place.
struct Rig {
  std::shared_ptr<FakeGenRes> gen = std::make_shared<FakeGenRes>();
  Modules modules;
  testkit::TempDir dir;
  testkit::Stages stages;
  Assets& assets = stages.assets;
  Ctx& ctx = stages.ctx;

  explicit Rig(bool with_gen = true)
      : modules(with_gen ? testkit::fake_modules(nullptr, gen) : testkit::no_modules()),
        stages(&modules, dir.str()) {}
  EffectAssets effects(const std::string& style, const std::string& cap = "Card",
                       const std::string& text = "", const std::string& cls = "") {
    Node n;
    n.attrs = {{"style", style}, {"class", cls}};
    n.text = text;
    return assets._effect_assets(ctx, n, 120, 48, cap);
  }
};

Px pixel(const Image& im, int x, int y) { return Px(im.at(x, y), im.at(x, y) + im.channels); }

TEST(GenAsset, NothingWithoutModuleOrDirectory) {
  for (int k = 0; k < 3; ++k) {
    Rig rig(k != 0);
    if (k == 1) rig.assets.asset_dir = std::nullopt;
    if (k == 2) rig.assets.asset_dir = "";
    bool called = false;
    EXPECT_FALSE(rig.assets._gen_asset(rig.ctx, [&](const std::string&) {
      called = true;
      return std::string("/tmp/x.png");
    }));
    EXPECT_FALSE(called);
    EXPECT_EQ(rig.assets.gen_count, 0);
    EXPECT_TRUE(rig.ctx.warnings.empty());
  }
}

TEST(GenAsset, KeepsTheBaseNameCountsAndAnEmptyPathIsNoPicture) {
  Rig rig;
  auto pic =
      rig.assets._gen_asset(rig.ctx, [&](const std::string& d) { return d + "/deep/dir/pic.png"; });
  EXPECT_EQ(pic, "images/pic.png");
  EXPECT_FALSE(rig.assets._gen_asset(rig.ctx, [](const std::string&) { return std::string(); }));
  EXPECT_EQ(rig.assets.gen_count, 1);
  EXPECT_TRUE(rig.ctx.warnings.empty());
}

TEST(GenAsset, FailureIsOneWarningAndTheNumberIsReused) {
  Rig rig;
  rig.gen->failing = {"gen_gradient_stops"};
  const std::string grad = "background:linear-gradient(90deg,#ff0000,#0000ff)";
  EXPECT_FALSE(rig.effects(grad).backgroundPic);
  EXPECT_FALSE(rig.assets._gen_asset(
      rig.ctx, [](const std::string&) -> std::string { throw std::runtime_error("disk full"); }));
  EXPECT_EQ(rig.ctx.warnings, (Strings{"自动转图失败: boom", "自动转图失败: disk full"}));
  rig.gen->failing.clear();
  EXPECT_EQ(rig.effects(grad).backgroundPic, "images/grad_Card_0.png");
}

TEST(EffectAssets, NothingWithoutPictureModule) {
  Rig rig(false);
  EffectAssets e = rig.effects("background:linear-gradient(#fff,#000);box-shadow:0 2px 4px #000",
                               "Card", "😀", "loading");
  EXPECT_FALSE(e.backgroundPic || e.pad || e.imageanim || e.use_emoji);
  EXPECT_TRUE(rig.ctx.warnings.empty());
}

TEST(EffectAssets, OneStopIsNoGradientAndAnEmptyCaptionTakesThePageNumber) {
  Rig rig;
  rig.ctx.n = 7;
  EffectAssets e =
      rig.effects("background:linear-gradient(#ff0000);box-shadow:3px -5px 6px #000", "");
  EXPECT_EQ(e.backgroundPic, "images/shadow_7_0.png");
  EXPECT_EQ(e.pad, 11);
  EXPECT_EQ(rig.gen->calls, (Strings{"gen_shadow_card shadow_7_0.png"}));
}

TEST(EffectAssets, EmojiReplacesTheShadowPictureButKeepsItsPad) {
  Rig rig;
  EffectAssets e = rig.effects("box-shadow:0 0 4px #000", "Face", " \t😀 ");
  EXPECT_EQ(e.backgroundPic, "images/emoji_Face_1.png");
  EXPECT_TRUE(e.use_emoji);
  EXPECT_EQ(e.pad, 4);
  EXPECT_FALSE(rig.effects("", "Face", "Hi 😀").use_emoji);  // letters stay text
}

TEST(EffectAssets, SpinnerWordsAndTheSilentFrameSequence) {
  Rig rig;
  rig.gen->failing = {"frames_loading"};
  EffectAssets e = rig.effects("animation:spin 1s linear infinite", "Wait");
  EXPECT_TRUE(e.imageanim);
  EXPECT_EQ(e.anim_file, "images/loading_Wait.gif");
  EXPECT_TRUE(rig.ctx.warnings.empty());
  EXPECT_EQ(rig.assets.gen_count, 1);
  EXPECT_FALSE(rig.effects("animation:pulse 1s").imageanim);
}

TEST(IconPng, WithoutModuleAndAnEmptyCanvas) {
  Rig none(false);
  EXPECT_FALSE(none.assets._icon_png(none.ctx, "home", 24, 24));
  EXPECT_EQ(none.ctx.warnings,
            (Strings{"data-icon=\"home\" 自动转图不可用（缺 gen_res/Pillow 或未指定 "
                     "asset_dir），请给 data-pic 自备图"}));
  Rig rig;
  EXPECT_EQ(rig.assets._icon_png(rig.ctx, "home", 0, 0), "images/icon_home_0x0_D8E2F0.png");
  EXPECT_EQ(rig.assets._icon_color({{"data-color", "#00FF00"}}), 0x00FF00);
}

TEST(CornerMasks, EqualRadiiGoToTheModuleDifferentOnesAreDrawnHere) {
  Rig rig;
  _corners_mask(rig.assets.tools(), 20, 10, Radii{4, 4, 4, 4.0000001});
  Image m = _corners_mask(rig.assets.tools(), 40, 40, Radii{4, 4.5, 4, 4});
  EXPECT_EQ(rig.gen->calls, (Strings{"coverage_mask 20x10"}));
  EXPECT_LT(*m.at(0, 0), 64);     // the corner is cut away
  EXPECT_EQ(*m.at(3, 3), 255);    // the rounded quarter is restored
  EXPECT_EQ(*m.at(20, 20), 255);  // outside every corner box
  EXPECT_EQ(*m.at(6, 6), 0);      // the rest of the corner box stays clear
  Image square = _corners_mask(rig.assets.tools(), 16, 16, Radii{0, 6, 6, 6});
  EXPECT_EQ(*square.at(0, 0), 255);
  EXPECT_LT(*square.at(15, 0), 64);
}

TEST(CornerMasks, BandFillsOnlyTheBand) {
  Rig rig;
  Image m = _corners_mask(rig.assets.tools(), 10, 32, Radii{}, std::nullopt, Band{14, 4});
  for (int y = 0; y < 32; ++y) EXPECT_EQ(*m.at(5, y), (y >= 14 && y < 18) ? 255 : 0) << y;
  // A band taller than the picture is clamped to the top; one of the whole
  // height is no band.
  EXPECT_EQ(*_corners_mask(rig.assets.tools(), 4, 8, Radii{}, std::nullopt, Band{3, 12}).at(0, 0),
            255);
  _corners_mask(rig.assets.tools(), 4, 8, Radii{}, std::nullopt, Band{0, 8});
  EXPECT_EQ(rig.gen->calls,
            (Strings{"coverage_mask 10x4", "coverage_mask 4x12", "coverage_mask 4x8"}));
}

TEST(CornerMasks, BorderedThumbRingAndOpaqueFill) {
  Rig rig;
  Image t = _bordered_thumb(rig.assets.tools(), 10, 10, 5.0, Color::rgb(1, 2, 3),
                            Color::rgba(9, 8, 7, 50), 2);
  EXPECT_EQ(pixel(t, 0, 0), (Px{9, 8, 7, 255}));
  EXPECT_EQ(pixel(t, 5, 5), (Px{1, 2, 3, 255}));
}

TEST(ImageOps, BoxDownscaleAveragesEachPassToEightBits) {
  Image m = img::new_l(3, 1, 0);
  *m.at(2, 0) = 255;
  EXPECT_EQ(*img::resize_box(m, 1, 1).at(0, 0), 85);
  Image half = img::new_l(32, 32, 0);
  img::rectangle(half, 0, 0, 15, 31, 255);
  EXPECT_EQ(img::resize_box(half, 2, 2).px, (Px{255, 0, 255, 0}));
}

TEST(ImageOps, BlurKeepsStraightAlphaChannelsApart) {
  // A red that is fully transparent stays red: no premultiplication.
  Image im = img::new_rgba(9, 9, Color::rgba(255, 0, 0, 0));
  im.at(4, 4)[3] = 255;
  Image b = img::gaussian_blur(im, 2);
  EXPECT_EQ(b.at(0, 0)[0], 255);
  EXPECT_GT(b.at(4, 4)[3], b.at(4, 2)[3]);
  EXPECT_EQ(b.at(4, 2)[3], b.at(2, 4)[3]);  // the same both ways
  EXPECT_EQ(b.at(3, 4)[3], b.at(5, 4)[3]);  // and symmetric
  Image flat = img::new_rgba(5, 5, Color::rgba(10, 20, 30, 40));
  EXPECT_EQ(img::gaussian_blur(flat, 3).px, flat.px);
}

TEST(ImageOps, MultiplyPasteComposite) {
  Image a = img::new_l(2, 1, 255), b = img::new_l(2, 1, 128);
  *a.at(1, 0) = 100;
  EXPECT_EQ(img::multiply(a, b).px, (Px{128, 50}));
  Image dst = img::new_rgba(1, 1, Color::rgba(0, 0, 0, 255));
  Image mask = img::new_l(1, 1, 128);
  img::paste(dst, img::new_rgba(1, 1, Color::rgba(255, 255, 255, 255)), 0, 0, &mask);
  EXPECT_EQ(dst.px, (Px{128, 128, 128, 255}));
  img::alpha_composite(dst, img::new_rgba(1, 1, Color::rgba(255, 0, 0, 128)));
  EXPECT_EQ(dst.px, (Px{192, 64, 64, 255}));
  EXPECT_THROW(img::putalpha(dst, img::new_l(2, 2, 0)), Failure);
}

}  // namespace
}  // namespace pagefold
