// The picture gate and the effect pictures: when pictures are made, how they
// are named and counted, and what is said when they cannot be.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "assets/corner_masks.hpp"
#include "assets/image.hpp"
#include "pagefold/converter.hpp"
#include "pagefold/error.hpp"
#include "testkit.hpp"

namespace pagefold {
namespace {

using testkit::FakeGenRes;
using testkit::TempDir;
using Strings = std::vector<std::string>;

Node node_with(Attrs attrs, std::string text = "") {
  Node n;
  n.tag = "div";
  n.attrs = std::move(attrs);
  n.text = std::move(text);
  return n;
}

// A converter with the stand-in picture module (or none), writing into a
// temporary directory, with a page context in place.
struct Rig {
  std::shared_ptr<FakeGenRes> gen = std::make_shared<FakeGenRes>();
  Modules modules;
  TempDir dir;
  std::unique_ptr<PageFold> pf;
  Ctx ctx;

  explicit Rig(bool with_gen = true, std::optional<std::string> asset_dir = "")
      : modules(with_gen ? testkit::fake_modules(nullptr, gen) : testkit::no_modules()),
        ctx(&modules) {
    if (asset_dir && asset_dir->empty()) asset_dir = dir.str();
    pf = std::make_unique<PageFold>(std::nullopt, asset_dir, &modules);
    pf->ctx = &ctx;
  }
  EffectAssets effects(const std::string& style, const std::string& cap = "Card",
                       std::string text = "", const std::string& cls = "") {
    Attrs attrs = {{"style", style}};
    if (!cls.empty()) attrs.push_back({"class", cls});
    Node n = node_with(attrs, std::move(text));
    return pf->_effect_assets(ctx, n, 120, 48, cap);
  }
};

TEST(GenAsset, NothingIsMadeWithoutModuleOrDirectory) {
  for (auto& rig : {std::make_unique<Rig>(false), std::make_unique<Rig>(true, std::nullopt),
                    std::make_unique<Rig>(true, std::string("x"))}) {
    if (rig->pf->asset_dir && *rig->pf->asset_dir == "x") rig->pf->asset_dir = "";
    bool called = false;
    auto pic = rig->pf->_gen_asset([&](const std::string&) {
      called = true;
      return std::string("/tmp/x.png");
    });
    EXPECT_FALSE(pic);
    EXPECT_FALSE(called);
    EXPECT_EQ(rig->pf->gen_count, 0);
    EXPECT_TRUE(rig->ctx.warnings.empty());
  }
}

TEST(GenAsset, KeepsOnlyTheBaseNameAndCounts) {
  Rig rig;
  std::string seen_dir;
  auto pic = rig.pf->_gen_asset([&](const std::string& d) {
    seen_dir = d;
    return std::string("/deep/inside/some/dir/pic.png");
  });
  EXPECT_EQ(pic, "images/pic.png");
  EXPECT_EQ(seen_dir, rig.dir.str());
  EXPECT_EQ(rig.pf->gen_count, 1);
}

TEST(GenAsset, EmptyPathMeansNoPictureAndNoWord) {
  Rig rig;
  EXPECT_FALSE(rig.pf->_gen_asset([](const std::string&) { return std::string(); }));
  EXPECT_EQ(rig.pf->gen_count, 0);
  EXPECT_TRUE(rig.ctx.warnings.empty());
}

TEST(GenAsset, FailureIsOneWarningAndTheNumberIsReused) {
  Rig rig;
  rig.gen->failing = {"gen_gradient_stops"};
  const std::string grad = "background:linear-gradient(90deg,#ff0000,#0000ff)";
  EXPECT_FALSE(rig.effects(grad).backgroundPic);
  EXPECT_FALSE(rig.pf->_gen_asset(
      [](const std::string&) -> std::string { throw std::runtime_error("disk full"); }));
  EXPECT_EQ(rig.ctx.warnings, (Strings{"自动转图失败: boom", "自动转图失败: disk full"}));
  EXPECT_EQ(rig.pf->gen_count, 0);
  rig.gen->failing.clear();
  EXPECT_EQ(rig.effects(grad).backgroundPic, "images/grad_Card_0.png");
  EXPECT_EQ(rig.pf->gen_count, 1);
}

TEST(EffectAssets, NothingWithoutPictureModule) {
  Rig rig(false);
  EffectAssets e = rig.effects("background:linear-gradient(#fff,#000);box-shadow:0 2px 4px #000",
                               "Card", "", "loading");
  EXPECT_FALSE(e.backgroundPic || e.pad || e.imageanim || e.use_emoji);
  EXPECT_TRUE(rig.ctx.warnings.empty());
}

TEST(EffectAssets, GradientShadowAndBoth) {
  {
    Rig rig;
    EffectAssets e = rig.effects("background:linear-gradient(to right,#ff0000,#00ff00)");
    EXPECT_EQ(e.backgroundPic, "images/grad_Card_0.png");
    EXPECT_FALSE(e.pad);
    EXPECT_EQ(rig.gen->calls, (Strings{"gen_gradient_stops grad_Card_0.png"}));
  }
  {
    // One stop is no gradient; the shadow still comes.
    Rig rig;
    EffectAssets e =
        rig.effects("background:linear-gradient(#ff0000);box-shadow:3px -5px 6px #000");
    EXPECT_EQ(e.backgroundPic, "images/shadow_Card_0.png");
    EXPECT_EQ(e.pad, 11);
  }
  {
    // Both: the composite is written and counted, the control keeps the
    // plain gradient and is not grown.
    Rig rig;
    EffectAssets e = rig.effects(
        "background:linear-gradient(90deg,#ff0000,#0000ff);box-shadow:0 2px 4px #00000080");
    EXPECT_EQ(e.backgroundPic, "images/grad_Card_0.png");
    EXPECT_FALSE(e.pad);
    EXPECT_EQ(rig.pf->gen_count, 2);
    EXPECT_EQ(rig.gen->calls,
              (Strings{"gen_gradient_stops grad_Card_0.png",
                       "gen_gradient_stops gradshadow_Card_1.png", "ss_shape_mask 120x48"}));
    EXPECT_TRUE(std::filesystem::exists(rig.dir.path() / "gradshadow_Card_1.png"));
  }
}

TEST(EffectAssets, EmptyCaptionTakesThePageNumber) {
  Rig rig;
  rig.ctx.n = 7;
  EXPECT_EQ(rig.effects("box-shadow:0 0 4px #000", "").backgroundPic, "images/shadow_7_0.png");
}

TEST(EffectAssets, EmojiOnlyTextBecomesAPicture) {
  Rig rig;
  EffectAssets e = rig.effects("box-shadow:0 0 4px #000", "Face", " \t😀 ");
  EXPECT_EQ(e.backgroundPic, "images/emoji_Face_1.png");
  EXPECT_TRUE(e.use_emoji);
  EXPECT_EQ(e.pad, 4);  // the shadow's growth stays
  // Letters beside the emoji stay text.
  Rig other;
  EXPECT_FALSE(other.effects("", "Face", "Hi 😀").use_emoji);
}

TEST(EffectAssets, Spinners) {
  Rig rig;
  EffectAssets e = rig.effects("background-color:#123456", "Wait", "", "spinner");
  EXPECT_TRUE(e.imageanim);
  EXPECT_EQ(e.anim_file, "images/loading_Wait.gif");
  EXPECT_EQ(rig.pf->gen_count, 1);
  EXPECT_EQ(rig.gen->calls,
            (Strings{"frames_loading_gif loading_Wait.gif", "frames_loading loading_Wait"}));

  // The frame sequence failing is not worth a word.
  Rig quiet;
  quiet.gen->failing = {"frames_loading"};
  EXPECT_TRUE(quiet.effects("animation:spin 1s linear infinite").imageanim);
  EXPECT_TRUE(quiet.ctx.warnings.empty());

  Rig pulse;
  EXPECT_FALSE(pulse.effects("animation:pulse 1s").imageanim);
}

TEST(IconPng, NamesAndWarnings) {
  {
    Rig rig(false);
    EXPECT_FALSE(rig.pf->_icon_png(rig.ctx, "home", 24, 24));
    EXPECT_EQ(rig.ctx.warnings,
              (Strings{"data-icon=\"home\" 自动转图不可用（缺 gen_res/Pillow 或未指定 "
                       "asset_dir），请给 data-pic 自备图"}));
  }
  {
    Rig rig;
    EXPECT_FALSE(rig.pf->_icon_png(rig.ctx, "zzz", 24, 24));
    EXPECT_EQ(rig.ctx.warnings,
              (Strings{"图标 \"zzz\" 未收录（可用：home, back, wifi）；给 data-pic "
                       "自备图或换用列表内名字"}));
  }
  {
    Rig rig;
    EXPECT_EQ(rig.pf->_icon_png(rig.ctx, "home", 0, 0), "images/icon_home_0x0_D8E2F0.png");
    EXPECT_EQ(rig.pf->_icon_png(rig.ctx, "wifi", 32, 24, 0xFF0000, true),
              "images/icon_wifi_32x24_FF0000_p.png");
    EXPECT_EQ(rig.pf->gen_count, 2);
    EXPECT_TRUE(rig.ctx.warnings.empty());
  }
  {
    Rig rig;
    Attrs attrs = {{"data-color", "#00FF00"}};
    EXPECT_EQ(rig.pf->_icon_color(attrs), 0x00FF00);
    EXPECT_EQ(rig.pf->_icon_color({}), std::nullopt);
  }
}

// ---- corner masks and picture operations

TEST(CornerMasks, EqualRadiiGoToTheModuleDifferentOnesAreDrawnHere) {
  Rig rig;
  _corners_mask(*rig.pf, 20, 10, Radii{4, 4, 4, 4.0000001});
  EXPECT_EQ(rig.gen->calls, (Strings{"coverage_mask 20x10"}));
  Image m = _corners_mask(*rig.pf, 40, 40, Radii{4, 4.5, 4, 4});
  EXPECT_EQ(rig.gen->calls.size(), 1u);
  ASSERT_EQ(m.w, 40);
  ASSERT_EQ(m.h, 40);
  EXPECT_LT(*m.at(0, 0), 64);     // the corner is cut away
  EXPECT_EQ(*m.at(3, 3), 255);    // the rounded quarter is restored
  EXPECT_EQ(*m.at(20, 20), 255);  // outside every corner box
  // Inside a corner box, away from the corner's own quarter, the drawing
  // leaves the mask clear.
  EXPECT_EQ(*m.at(6, 6), 0);
}

TEST(CornerMasks, ZeroRadiusKeepsItsCornerSquare) {
  Rig rig(false);
  Image m = _corners_mask(*rig.pf, 16, 16, Radii{0, 6, 6, 6});
  EXPECT_EQ(*m.at(0, 0), 255);
  EXPECT_LT(*m.at(15, 0), 64);
}

TEST(CornerMasks, BandFillsOnlyTheBand) {
  Rig rig;
  Image m = _corners_mask(*rig.pf, 10, 32, Radii{}, std::nullopt, Band{14, 4});
  EXPECT_EQ(rig.gen->calls, (Strings{"coverage_mask 10x4"}));
  for (int y = 0; y < 32; ++y) EXPECT_EQ(*m.at(5, y), (y >= 14 && y < 18) ? 255 : 0) << y;
  // A band taller than the picture is clamped to the top.
  Image tall = _corners_mask(*rig.pf, 4, 8, Radii{}, std::nullopt, Band{3, 12});
  EXPECT_EQ(*tall.at(0, 0), 255);
  // A band of the whole height is no band.
  rig.gen->calls.clear();
  _corners_mask(*rig.pf, 4, 8, Radii{}, std::nullopt, Band{0, 8});
  EXPECT_EQ(rig.gen->calls, (Strings{"coverage_mask 4x8"}));
}

TEST(CornerMasks, BorderedThumbRingAndFill) {
  Rig rig;
  Image t = _bordered_thumb(*rig.pf, 10, 10, 5.0, Color::rgb(1, 2, 3), Color::rgba(9, 8, 7, 50), 2);
  EXPECT_EQ(std::vector<uint8_t>(t.at(0, 0), t.at(0, 0) + 4), (std::vector<uint8_t>{9, 8, 7, 255}));
  EXPECT_EQ(std::vector<uint8_t>(t.at(5, 5), t.at(5, 5) + 4), (std::vector<uint8_t>{1, 2, 3, 255}));
}

TEST(ImageOps, BoxDownscaleAveragesEachPassToEightBits) {
  Image m = img::new_l(3, 1, 0);
  *m.at(2, 0) = 255;
  EXPECT_EQ(*img::resize_box(m, 1, 1).at(0, 0), 85);
  Image half = img::new_l(32, 32, 0);
  img::rectangle(half, 0, 0, 15, 31, 255);
  Image small = img::resize_box(half, 2, 2);
  EXPECT_EQ(small.px, (std::vector<uint8_t>{255, 0, 255, 0}));
}

TEST(ImageOps, BlurKeepsStraightAlphaChannelsApart) {
  // A red that is fully transparent stays red: no premultiplication.
  Image im = img::new_rgba(9, 9, Color::rgba(255, 0, 0, 0));
  *im.at(4, 4) = 255;
  im.at(4, 4)[3] = 255;
  Image b = img::gaussian_blur(im, 2);
  EXPECT_EQ(b.at(0, 0)[0], 255);
  EXPECT_LT(b.at(4, 4)[3], 255);
  EXPECT_GT(b.at(4, 4)[3], b.at(4, 2)[3]);
  EXPECT_EQ(b.at(4, 2)[3], b.at(2, 4)[3]);  // the same both ways
  EXPECT_EQ(b.at(3, 4)[3], b.at(5, 4)[3]);  // and symmetric
  Image flat = img::new_rgba(5, 5, Color::rgba(10, 20, 30, 40));
  EXPECT_EQ(img::gaussian_blur(flat, 3).px, flat.px);
}

TEST(ImageOps, MultiplyPasteComposite) {
  Image a = img::new_l(2, 1, 255), b = img::new_l(2, 1, 128);
  *a.at(1, 0) = 100;
  EXPECT_EQ(img::multiply(a, b).px, (std::vector<uint8_t>{128, 50}));
  Image dst = img::new_rgba(1, 1, Color::rgba(0, 0, 0, 255));
  Image mask = img::new_l(1, 1, 128);
  img::paste(dst, img::new_rgba(1, 1, Color::rgba(255, 255, 255, 255)), 0, 0, &mask);
  EXPECT_EQ(dst.px, (std::vector<uint8_t>{128, 128, 128, 255}));
  Image over = img::new_rgba(1, 1, Color::rgba(255, 0, 0, 128));
  img::alpha_composite(dst, over);
  EXPECT_EQ(dst.at(0, 0)[3], 255);
  EXPECT_EQ(dst.at(0, 0)[0], 192);
  Image wrong = img::new_l(2, 2, 0);
  EXPECT_THROW(img::putalpha(dst, wrong), Failure);
}

}  // namespace
}  // namespace pagefold
