// Broken input must never crash the converter or escape as anything but a
// documented failure. Realistic prototypes are cut, spliced and salted with
// markup fragments (deterministically), then converted; the sanitizer build
// runs the same cases for memory errors.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "driver/converter.hpp"
#include "finish/finish.hpp"
#include "pagefold/error.hpp"
#include "testkit.hpp"

namespace fs = std::filesystem;
using namespace pagefold;

namespace {

std::vector<std::string> seeds() {
  std::vector<std::string> out;
  const fs::path golden = fs::path(PAGEFOLD_SOURCE_DIR) / "tests" / "golden";
  for (const auto& e : fs::directory_iterator(golden)) {
    std::ifstream in(e.path() / "input.html", std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    if (!ss.str().empty()) out.push_back(ss.str());
  }
  std::sort(out.begin(), out.end());
  return out;
}

// Fragments that stress the tokeniser, the cascade, the readers and the
// documented failure paths. All are valid UTF-8, as the converter's input is.
const std::vector<std::string> kFragments = {
    "<",
    ">",
    "</",
    "/>",
    "<div class=\"screen\">",
    "</div>",
    "<div class=\"window\">",
    "<ul class=\"list\">",
    "<div class=\"radio\">",
    "<div class=\"wave\">",
    "<div class=\"slide\">",
    "\"",
    "'",
    "=",
    "&",
    "&amp",
    "&#x",
    "&#1114112;",
    "<!--",
    "-->",
    "<style>",
    "</style>",
    ".btn{border-radius:9999px;background:#fff}",
    "{",
    "}",
    "@media x{",
    "::before",
    "style=\"box-shadow:1.2.3px 0 0\"",
    "data-x=\"1.2.3\"",
    "data-icon-w=\"24px\"",
    "data-charset=\"[NaN]\"",
    "style=\"background:linear-gradient(90deg,#f00 10%,#00f 10%)\"",
    "data-fs=\"99999999999999999999\"",
    "data-bg=\"#ffffffffffffffffffff\"",
    "★",
    "👨‍👩",
    "中文",
    "\u3000",
    "\r\n",
    "<br>",
    "data-res=\"0x0\"",
    "data-w=\"-5\"",
    "<input type=range>"};

std::string mutate(const std::string& base, std::mt19937& rng) {
  std::string s = base;
  auto pick = [&rng](size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(rng); };
  // Keep cuts on character boundaries so the text stays valid UTF-8.
  auto boundary = [&s](size_t i) {
    while (i < s.size() && (static_cast<unsigned char>(s[i]) & 0xC0) == 0x80) ++i;
    return i;
  };
  const int edits = 1 + static_cast<int>(pick(6));
  for (int e = 0; e < edits; ++e) {
    const size_t at = boundary(pick(s.size() + 1));
    switch (pick(3)) {
      case 0:
        s.insert(at, kFragments[pick(kFragments.size())]);
        break;
      case 1: {
        const size_t end = boundary(std::min(s.size(), at + pick(40)));
        s.erase(at, end - at);
        break;
      }
      default: {
        const size_t from = boundary(pick(s.size() + 1));
        const size_t end = boundary(std::min(s.size(), from + pick(80)));
        s.insert(at, s.substr(from, end - from));
      }
    }
  }
  return s;
}

TEST(Robustness, MutatedPrototypesConvertOrFailCleanly) {
  const std::vector<std::string> bases = seeds();
  ASSERT_FALSE(bases.empty());
  auto gen = std::make_shared<testkit::FakeGenRes>();
  const Modules with = testkit::fake_modules(std::make_shared<testkit::FakeUiEmit>(), gen);
  const Modules without = testkit::no_modules();
  testkit::TempDir assets;
  std::mt19937 rng(20261121);
  int failures = 0;
  for (int i = 0; i < 400; ++i) {
    const std::string html = mutate(bases[i % bases.size()], rng);
    const bool pictures = i % 2 == 0;
    PageFold conv(std::nullopt, pictures ? std::optional<std::string>(assets.str()) : std::nullopt,
                  pictures ? &with : &without);
    try {
      ConvertResult r = conv.convert(html, i % 3 == 0);
      std::vector<std::string> warnings = r.warnings;
      if (r.pages)
        for (auto& [pid, data] : *r.pages) {
          _finalize_layout(data, warnings);
          EXPECT_FALSE(dump(data, 2).empty());
        }
    } catch (const Failure&) {
      ++failures;  // a documented failure path, reported to the user
    }
  }
  // Most mutations still convert: the tree rules never reject markup.
  EXPECT_LT(failures, 200);
}

}  // namespace
