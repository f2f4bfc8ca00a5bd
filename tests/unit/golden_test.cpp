// Golden prototypes: each folder under tests/golden holds `input.html`, an
// optional `args` line (--merge-windows, --res=WxH, --assets, --plugins), the
// expected console record `record.json` and the expected page files under
// `pages/`. `--assets` converts with the stand-in modules; `--plugins` with
// the real plug-ins of the build directory, and then `pictures.json` lists
// every file written to the asset directory with its size, mode and SHA-256,
// so that each picture is compared to the last pixel.
// A failing case writes what it produced to `actual/` beside the expected
// files, so the difference can be read with any diff tool.
#include <gif_lib.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>

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

std::string sha256_hex(const std::string& bytes) {
  unsigned char md[EVP_MAX_MD_SIZE];
  unsigned len = 0;
  EVP_Digest(bytes.data(), bytes.size(), md, &len, EVP_sha256(), nullptr);
  static const char* hex = "0123456789abcdef";
  std::string out;
  for (unsigned i = 0; i < len; ++i) {
    out.push_back(hex[md[i] >> 4]);
    out.push_back(hex[md[i] & 15]);
  }
  return out;
}

uint32_t be32(const std::string& s, size_t i) {
  return (uint32_t(uint8_t(s[i])) << 24) | (uint32_t(uint8_t(s[i + 1])) << 16) |
         (uint32_t(uint8_t(s[i + 2])) << 8) | uint32_t(uint8_t(s[i + 3]));
}

// What a picture file is: size and mode from its header (and the frame count
// of a GIF), plus a checksum of its bytes, which pins every pixel.
Value picture_entry(const fs::path& p) {
  const std::string bytes = slurp(p);
  Value e = Value::object();
  e["file"] = p.filename().string();
  if (bytes.size() >= 29 && bytes.compare(1, 3, "PNG") == 0) {
    static const char* modes[] = {"L", "?", "RGB", "P", "LA", "?", "RGBA"};
    const uint8_t type = uint8_t(bytes[25]);
    e["width"] = int64_t(be32(bytes, 16));
    e["height"] = int64_t(be32(bytes, 20));
    e["mode"] = type <= 6 ? modes[type] : "?";
  } else if (bytes.size() >= 10 && bytes.compare(0, 3, "GIF") == 0) {
    e["width"] = int64_t(uint8_t(bytes[6]) | (uint8_t(bytes[7]) << 8));
    e["height"] = int64_t(uint8_t(bytes[8]) | (uint8_t(bytes[9]) << 8));
    e["mode"] = "P";
    int err = 0;
    if (GifFileType* gif = DGifOpenFileName(p.c_str(), &err)) {
      if (DGifSlurp(gif) == GIF_OK) e["frames"] = int64_t(gif->ImageCount);
      DGifCloseFile(gif, &err);
    }
  }
  e["sha256"] = sha256_hex(bytes);
  return e;
}

// Every file of the asset directory, by name.
std::string picture_list(const fs::path& dir) {
  std::vector<fs::path> files;
  if (fs::exists(dir))
    for (const auto& f : fs::directory_iterator(dir))
      if (f.is_regular_file()) files.push_back(f.path());
  std::sort(files.begin(), files.end());
  Value list = Value::array();
  for (const fs::path& f : files) list.as_array().push_back(picture_entry(f));
  return dump(list, 1) + "\n";
}

class Golden : public ::testing::TestWithParam<std::string> {};

TEST_P(Golden, ConvertsToExpectedFiles) {
  const fs::path dir = kGoldenDir / GetParam();
  testkit::TempDir tmp;
  const std::string input = tmp.write("input.html", slurp(dir / "input.html"));

  bool merge = false, assets = false, plugins = false;
  std::optional<std::string> res;
  if (fs::exists(dir / "args")) {
    std::istringstream args(slurp(dir / "args"));
    for (std::string a; args >> a;) {
      if (a == "--merge-windows") merge = true;
      if (a == "--assets") assets = true;
      if (a == "--plugins") plugins = true;
      if (a.rfind("--res=", 0) == 0) res = a.substr(6);
    }
  }
  auto gen = std::make_shared<testkit::FakeGenRes>();
  const Modules modules = plugins  ? Modules::load_from({PAGEFOLD_PLUGIN_DIR})
                          : assets ? testkit::fake_modules(nullptr, gen)
                                   : testkit::no_modules();
  const std::string out = (tmp.path() / "out").string();
  const std::optional<std::string> asset_dir =
      assets || plugins ? std::optional<std::string>((tmp.path() / "assets").string())
                        : std::nullopt;

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

  std::string got_pictures;
  if (plugins) {
    got_pictures = picture_list(*asset_dir);
    const std::string want_pictures = slurp(dir / "pictures.json");
    if (got_pictures != want_pictures) ok = false;
    EXPECT_EQ(want_pictures, got_pictures) << "pictures of " << GetParam();
  }

  const fs::path actual = dir / "actual";
  fs::remove_all(actual);
  if (!ok) {
    spill(actual / "record.json", got_record);
    for (const auto& [name, body] : got_pages) spill(actual / "pages" / name, body);
    if (plugins) {
      spill(actual / "pictures.json", got_pictures);
      // The pictures themselves, to look at beside the expected list.
      fs::create_directories(actual / "pictures");
      for (const auto& f : fs::directory_iterator(*asset_dir))
        fs::copy_file(f.path(), actual / "pictures" / f.path().filename(),
                      fs::copy_options::overwrite_existing);
    }
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
