// The comparison with the prototype, end to end in a real headless Chromium:
// a prototype the device draws faithfully scores high, and the same
// prototype with an effect the device drops scores lower.
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "cli.hpp"
#include "pagefold/pagefold.hpp"
#include "preview_kit.hpp"

namespace pagefold::preview {
namespace {

using testing::read_text;
using testing::ScratchDir;
using testing::write_text;

bool on_path(const std::string& program) {
  const char* path = std::getenv("PATH");
  std::stringstream dirs(path ? path : "");
  std::string dir;
  while (std::getline(dirs, dir, ':'))
    if (!dir.empty() && access((dir + "/" + program).c_str(), X_OK) == 0) return true;
  return false;
}

// One screen: a light card with a title on a dark page. The card's colour is
// given twice, as CSS for the browser and as data-bg for the device.
const char* PROTOTYPE = R"(<!DOCTYPE html>
<html><head><meta charset="UTF-8"><style>
body { margin: 0; background: #203040; }
.card { background: #F0F0F0; }
.title { color: #102030; font-size: 20px; }
</style></head><body>
<div class="screen" data-page="card" data-bg="#203040" data-width="320" data-height="200">
  <div class="window card" data-caption="card" data-x="20" data-y="20" data-w="280" data-h="160" data-bg="#F0F0F0">
    <div class="text title" data-x="20" data-y="20" data-w="200" data-h="30" data-color="#102030" data-fs="20">温度 Ok</div>
  </div>
</div>
</body></html>
)";

struct Compared {
  int status;
  std::string err;
  std::string report;
};

// Converts `html` with the converter (with the plug-ins built beside the
// command when `pictures`), then previews its page against it.
Compared compare(const ScratchDir& dir, const std::string& name, const std::string& html,
                 bool pictures = false) {
  std::string proto = dir / (name + ".html");
  write_text(proto, html);
  const Modules modules = pictures ? Modules::load_from({PAGEFOLD_BINARY_DIR}) : Modules::none();
  Value r = pagefold::pagefold(proto, dir / name, std::nullopt, std::nullopt, false, modules);
  EXPECT_TRUE(r.get("success").truthy()) << dump(r, 1);
  std::ostringstream out, err;
  int status = run({dir / name, "--against", proto, "-o", dir / (name + "-out")}, out, err);
  return {status, err.str(), read_text(dir / (name + "-out/preview-report.json"))};
}

double score_of(const std::string& report) {
  size_t at = report.find("\"score\": ");
  return at == std::string::npos ? -1 : std::stod(report.substr(at + 9));
}

TEST(AgainstChromium, FaithfulPrototypeScoresHighAndADroppedEffectLowersIt) {
  if (!on_path("chromium"))
    GTEST_SKIP() << "chromium is not installed (scripts/test.sh installs it)";
  ScratchDir dir;
  Compared plain = compare(dir, "plain", PROTOTYPE);
  ASSERT_EQ(plain.status, 0) << plain.err;
  double plain_score = score_of(plain.report);
  // The two sides differ only in how their renderers draw the text.
  EXPECT_GE(plain_score, 0.97);
  EXPECT_LE(plain_score, 1.0);
  EXPECT_NE(plain.report.find("\"worstControls\": [\n"), std::string::npos);

  // The device has no radial gradients: it draws the card in its data-bg.
  std::string dropped = PROTOTYPE;
  dropped.replace(dropped.find(".card { background: #F0F0F0; }"), 30,
                  ".card { background: radial-gradient(circle, #F0F0F0, #3060C0); }");
  Compared effect = compare(dir, "effect", dropped);
  ASSERT_EQ(effect.status, 0) << effect.err;
  double effect_score = score_of(effect.report);
  // The page around the card, 30% of it, still matches; the card does not.
  EXPECT_GE(effect_score, 0.25);
  EXPECT_LE(effect_score, 0.45);
  EXPECT_LE(effect_score, plain_score - 0.5);
  // Both controls lie on the gradient: the title (whose text differs too)
  // first, then the card.
  size_t worst = effect.report.find("\"worstControls\": [");
  ASSERT_NE(worst, std::string::npos);
  size_t first = effect.report.find("\"control\": ", worst);
  EXPECT_EQ(effect.report.find("\"control\": \"window__1/textview__2\"", worst), first);
  EXPECT_LT(effect.report.find("\"control\": \"window__1\"", worst), std::string::npos);
  EXPECT_EQ(effect.report.find("\"control\": ", first + 1),
            effect.report.find("\"control\": \"window__1\"", worst));

  std::string error;
  std::optional<Raster> sheet = load_picture(dir / "effect-out/card.compare.png", error);
  ASSERT_TRUE(sheet) << error;
  // Three panels of 320 by 200, with gaps of 16 and a 28 high caption row.
  EXPECT_EQ(sheet->w, 3 * 320 + 4 * 16);
  EXPECT_EQ(sheet->h, 200 + 28 + 2 * 16);
}

// A card with a shadow is drawn on the device as a picture of the card and its
// shadow, in a box grown by the shadow's reach; the browser draws the shadow
// outside the element, so it gets the box the prototype gives, and the two
// sides line up.
TEST(AgainstChromium, AShadowCardLinesUpWithItsGrownBox) {
  if (!on_path("chromium"))
    GTEST_SKIP() << "chromium is not installed (scripts/test.sh installs it)";
  ScratchDir dir;
  std::string shadowed = PROTOTYPE;
  shadowed.replace(shadowed.find(".card { background: #F0F0F0; }"), 30,
                   ".card { background: #F0F0F0; border-radius: 8px; "
                   "box-shadow: 0 4px 12px rgba(0, 0, 0, 0.6); }");
  Compared card = compare(dir, "shadow", shadowed, true);
  ASSERT_EQ(card.status, 0) << card.err;
  ASSERT_NE(read_text(dir / "shadow/card.json").find("images/shadow_card_"), std::string::npos);
  EXPECT_GE(score_of(card.report), 0.95);
}

TEST(AgainstChromium, PagesWithoutAScreenAreReported) {
  if (!on_path("chromium"))
    GTEST_SKIP() << "chromium is not installed (scripts/test.sh installs it)";
  ScratchDir dir;
  std::string two = PROTOTYPE;
  two.replace(two.find("</body>"), 7,
              "<div class=\"screen\" data-page=\"other\"><div class=\"text\">x</div></div></body>");
  write_text(dir / "two.html", two);
  std::filesystem::create_directories(dir / "pages");
  write_text(dir / "pages/stray.json",
             R"({"resolution": {"height": 20, "width": 20}, "backgroundColor": 0})");
  std::ostringstream out, err;
  int status = run({dir / "pages", "--against", dir / "two.html"}, out, err);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(err.str(), "[X] stray: --against: no screen of the prototype has the page id stray\n");
  EXPECT_TRUE(std::filesystem::exists(dir / "pages/preview/stray.preview.png"));

  std::ostringstream out2, err2;
  EXPECT_EQ(run({dir / "pages", "--against", dir / "none.html"}, out2, err2), 1);
  EXPECT_EQ(err2.str(), "[X] --against: no such prototype file: " + dir / "none.html" + "\n");
}

TEST(AgainstChromium, MergedPagesAreNotCompared) {
  ScratchDir dir;
  std::string two = PROTOTYPE;
  two.replace(two.find("</body>"), 7,
              "<div class=\"screen\" data-page=\"other\"><div class=\"text\">x</div></div></body>");
  write_text(dir / "two.html", two);
  Value r = pagefold::pagefold(dir / "two.html", dir / "pages", std::nullopt, std::nullopt, true);
  ASSERT_TRUE(r.get("success").truthy());
  std::ostringstream out, err;
  EXPECT_EQ(run({dir / "pages", "--against", dir / "two.html"}, out, err), 1);
  EXPECT_EQ(err.str(),
            "[X] card: --against: the page holds several screens as windows (--merge-windows); "
            "it is not compared with one screen\n");
}

TEST(AgainstChromium, AMissingBrowserIsAnError) {
  ScratchDir dir;
  write_text(dir / "p.html", PROTOTYPE);
  Value r = pagefold::pagefold(dir / "p.html", dir / "pages");
  ASSERT_TRUE(r.get("success").truthy());
  std::ostringstream out, err;
  int status =
      run({dir / "pages", "--against", dir / "p.html", "--browser", dir / "no-browser"}, out, err);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(err.str(), "[X] card: --against: cannot run " + dir / "no-browser" +
                           ": install Debian's chromium (apt-get install chromium) or name a "
                           "browser with --browser\n");
}

}  // namespace
}  // namespace pagefold::preview
