// Golden prototypes: each folder under tests/golden holds `input.html`, an
// optional `args` line (--merge-windows, --res=WxH, --assets), the expected
// console record `record.json` and the expected page files under `pages/`.
// A failing case writes what it produced to `actual/` beside the expected
// files, so the difference can be read with any diff tool.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "pagefold/json.hpp"
#include "pagefold/pagefold.hpp"
#include "testkit.hpp"
#include "util/text.hpp"

namespace fs = std::filesystem;
using namespace pagefold;

namespace {

const fs::path kGoldenDir = fs::path(PAGEFOLD_SOURCE_DIR) / "tests" / "golden";

std::vector<std::string> golden_cases() {
  std::vector<std::string> names;
  if (!fs::exists(kGoldenDir)) return names;
  for (const auto& e : fs::directory_iterator(kGoldenDir))
    if (e.is_directory() && fs::exists(e.path() / "input.html"))
      names.push_back(e.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

std::string slurp(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

void spill(const fs::path& p, const std::string& s) {
  fs::create_directories(p.parent_path());
  std::ofstream(p, std::ios::binary) << s;
}

// Paths in the record name the temporary directory; the expected files name
// it "<tmp>" so that they are stable.
std::string neutral(std::string s, const std::string& tmp) {
  return text::replace_all(s, tmp, "<tmp>");
}

class Golden : public ::testing::TestWithParam<std::string> {};

TEST_P(Golden, ConvertsToExpectedFiles) {
  const fs::path dir = kGoldenDir / GetParam();
  testkit::TempDir tmp;
  const std::string input = tmp.write("input.html", slurp(dir / "input.html"));

  bool merge = false, assets = false;
  std::optional<std::string> res;
  if (fs::exists(dir / "args")) {
    std::istringstream args(slurp(dir / "args"));
    for (std::string a; args >> a;) {
      if (a == "--merge-windows") merge = true;
      if (a == "--assets") assets = true;
      if (a.rfind("--res=", 0) == 0) res = a.substr(6);
    }
  }
  auto gen = std::make_shared<testkit::FakeGenRes>();
  const Modules modules = assets ? testkit::fake_modules(nullptr, gen) : testkit::no_modules();
  const std::string out = (tmp.path() / "out").string();
  const std::optional<std::string> asset_dir =
      assets ? std::optional<std::string>((tmp.path() / "assets").string()) : std::nullopt;

  const Value record = pagefold::pagefold(input, out, res, asset_dir, merge, modules);
  const std::string got_record = neutral(dump(record, 1), tmp.str()) + "\n";

  bool ok = true;
  const std::string want_record = slurp(dir / "record.json");
  if (got_record != want_record) ok = false;
  EXPECT_EQ(want_record, got_record) << "record of " << GetParam();

  std::vector<std::pair<std::string, std::string>> got_pages;
  if (fs::exists(out))
    for (const auto& e : fs::directory_iterator(out))
      if (e.path().extension() == ".json")
        got_pages.emplace_back(e.path().filename().string(), slurp(e.path()));
  std::sort(got_pages.begin(), got_pages.end());

  std::vector<std::string> want_names;
  if (fs::exists(dir / "pages"))
    for (const auto& e : fs::directory_iterator(dir / "pages"))
      want_names.push_back(e.path().filename().string());
  std::sort(want_names.begin(), want_names.end());

  std::vector<std::string> got_names;
  for (const auto& [name, body] : got_pages) got_names.push_back(name);
  if (got_names != want_names) ok = false;
  EXPECT_EQ(want_names, got_names) << "page files of " << GetParam();

  for (const auto& [name, body] : got_pages) {
    const fs::path want_path = dir / "pages" / name;
    if (!fs::exists(want_path)) continue;
    const std::string want = slurp(want_path);
    if (want != body) ok = false;
    EXPECT_EQ(want, body) << "page " << name << " of " << GetParam();
  }

  const fs::path actual = dir / "actual";
  fs::remove_all(actual);
  if (!ok) {
    spill(actual / "record.json", got_record);
    for (const auto& [name, body] : got_pages) spill(actual / "pages" / name, body);
  }
}

INSTANTIATE_TEST_SUITE_P(Prototypes, Golden, ::testing::ValuesIn(golden_cases()),
                         [](const auto& info) {
                           std::string n = info.param;
                           for (char& c : n)
                             if (!isalnum(static_cast<unsigned char>(c))) c = '_';
                           return n;
                         });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(Golden);

}  // namespace
