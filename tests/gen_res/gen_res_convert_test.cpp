// Conversions with the picture plug-in loaded by name from the build
// directory, as the command loads it, and without it.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "files.hpp"
#include "pagefold/modules.hpp"
#include "support.hpp"
#include "testkit.hpp"

using namespace pagefold;
using gen_res_test::files_in;

namespace {

const char* kPage = R"html(<div class="screen" data-page="p" data-bg="#101820">
  <div class="window" data-caption="hero" data-x="0" data-y="0" data-w="200" data-h="40"
       style="background:linear-gradient(to right,#2563EB,#7C3AED)"></div>
  <div class="window" data-caption="card" data-x="20" data-y="60" data-w="100" data-h="50"
       style="background:#ffffff;border-radius:8px;box-shadow:0 3px 6px #000000"></div>
  <div class="btn" data-caption="home" data-icon="fa-home" data-color="#ffffff"
       data-x="140" data-y="60" data-w="40" data-h="36"></div>
  <div class="text" data-caption="smile" data-x="20" data-y="130" data-w="32" data-h="32">😀</div>
  <div class="loading" data-caption="busy" data-x="60" data-y="130" data-w="40" data-h="30"></div>
  <div class="text" data-caption="odd" data-x="120" data-y="130" data-w="32" data-h="32">℃</div>
  <div class="btn" data-caption="what" data-icon="no-such-icon" data-x="160" data-y="130"
       data-w="32" data-h="32"></div>
</div>)html";

std::vector<std::string> warnings_with(const Value& record, const std::string& part) {
  std::vector<std::string> out;
  for (const Value& w : record.get("warnings").as_array())
    if (w.as_string().find(part) != std::string::npos) out.push_back(w.as_string());
  return out;
}

TEST(Convert, ThePluginLoadedByNameDrawsEveryPicture) {
  const Modules m = Modules::load_from({PAGEFOLD_PLUGIN_DIR});
  ASSERT_NE(nullptr, m.gen_res);
  EXPECT_EQ(4, m.gen_res->SS_DEFAULT());
  EXPECT_EQ(16, m.gen_res->COV_SS());

  testkit::TempDir tmp;
  const auto run =
      testkit::run_pagefold(tmp, kPage, m, std::string("out"), std::nullopt, std::string("assets"));
  ASSERT_TRUE(run.record.get("success").truthy());
  const std::string assets = tmp.str() + "/assets";
  std::vector<std::string> sizes;
  for (const std::string& f : files_in(assets)) {
    if (f.size() > 4 && f.substr(f.size() - 4) == ".gif") {
      sizes.push_back(f);
      continue;
    }
    const Image img = genres::read_png(assets + "/" + f);
    sizes.push_back(f + " " + std::to_string(img.w) + "x" + std::to_string(img.h));
  }
  // The shadow card is the card grown by its pad (3 + 6 = 9) on every side;
  // the icon is its button's size; the spinner the larger side of its box.
  std::vector<std::string> want = {"emoji_smile_4.png 32x32", "grad_hero_0.png 200x40",
                                   "icon_home_40x36_FFFFFF.png 40x36",
                                   "icon_home_40x36_FFFFFF_p.png 40x36", "loading_busy.gif"};
  for (int i = 0; i < 12; ++i)
    want.push_back("loading_busy_" + std::string(i < 10 ? "0" : "") + std::to_string(i) +
                   ".png 40x40");
  want.push_back("shadow_card_1.png 118x68");
  EXPECT_EQ(want, sizes);
  EXPECT_EQ(6, run.record.get("generatedAssets").as_int());

  // The plug-in's failures reach the record as the converter's warnings.
  EXPECT_EQ(std::vector<std::string>{"自动转图失败: emoji font cannot draw U+2103"},
            warnings_with(run.record, "自动转图失败"));
  const auto unknown = warnings_with(run.record, "未收录");
  ASSERT_EQ(2u, unknown.size());  // normal and pressed state
  EXPECT_EQ(0u, unknown[0].find("图标 \"no-such-icon\" 未收录（可用：back, forward, up, down, "));
}

TEST(Convert, WithoutThePluginTheConversionStillWorks) {
  testkit::TempDir tmp;
  const Modules none = Modules::load_from({tmp.str()});
  ASSERT_EQ(nullptr, none.gen_res);
  const auto run = testkit::run_pagefold(tmp, kPage, none, std::string("out"), std::nullopt,
                                         std::string("assets"));
  ASSERT_TRUE(run.record.get("success").truthy());
  EXPECT_EQ(0, run.record.get("generatedAssets").as_int());
  EXPECT_EQ(std::vector<std::string>{}, files_in(tmp.str() + "/assets"));
  // Each icon button asks twice: for its normal and its pressed picture.
  const std::string no =
      " 自动转图不可用（缺 gen_res/Pillow 或未指定 asset_dir），请给 data-pic 自备图";
  EXPECT_EQ(std::vector<std::string>({"data-icon=\"fa-home\"" + no, "data-icon=\"fa-home\"" + no,
                                      "data-icon=\"no-such-icon\"" + no,
                                      "data-icon=\"no-such-icon\"" + no}),
            warnings_with(run.record, "自动转图不可用"));
}

// Glyphs, emoji and spinners come from a second module file beside the
// plug-in. A plug-in copied without it still draws its shapes exactly as the
// whole plug-in does, and each picture that needs the missing file fails with
// a warning naming it.
TEST(Convert, ThePluginWithoutItsGlyphModuleDrawsShapesAndNamesTheMissingFile) {
  testkit::TempDir whole_dir, alone_dir;
  const std::filesystem::path alone = alone_dir.path() / "plugin";
  std::filesystem::create_directories(alone);
  std::filesystem::copy_file(std::filesystem::path(PAGEFOLD_PLUGIN_DIR) / GEN_RES_LIBRARY,
                             alone / GEN_RES_LIBRARY);
  const Modules m = Modules::load_from({alone.string()});
  ASSERT_NE(nullptr, m.gen_res);
  const auto run = testkit::run_pagefold(alone_dir, kPage, m, std::string("out"), std::nullopt,
                                         std::string("assets"));
  const auto whole =
      testkit::run_pagefold(whole_dir, kPage, Modules::load_from({PAGEFOLD_PLUGIN_DIR}),
                            std::string("out"), std::nullopt, std::string("assets"));
  ASSERT_TRUE(run.record.get("success").truthy());

  for (const std::string f : {"grad_hero_0.png", "shadow_card_1.png"})
    EXPECT_EQ(testkit::read_file(whole_dir.str() + "/assets/" + f),
              testkit::read_file(alone_dir.str() + "/assets/" + f))
        << f;
  EXPECT_EQ(std::vector<std::string>({"grad_hero_0.png", "shadow_card_1.png"}),
            files_in(alone_dir.str() + "/assets"));
  // Two icon states each for two icons, two emoji and one spinner.
  const std::string lib = (alone / "libpagefold_gen_res_glyphs.so").string();
  const std::string failed = "自动转图失败: cannot load the glyph module '" + lib + "': " + lib +
                             ": cannot open shared object file: No such file or directory";
  EXPECT_EQ(std::vector<std::string>(7, failed), warnings_with(run.record, "自动转图失败"));
}

}  // namespace
