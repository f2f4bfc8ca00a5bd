// The command as shipped: alone it still converts, reporting the missing
// modules; installed, it finds the ui_emit plug-in and its key table in
// <prefix>/lib/pagefold.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "pagefold/json.hpp"
#include "pagefold/pagefold.hpp"
#include "testkit.hpp"
#include "util/text.hpp"

namespace fs = std::filesystem;
using namespace pagefold;

namespace {

const std::string kNoUiEmit =
    "必填键补全未走共享发射层（ui_emit 不可用：No module named 'ui_emit'）→ 本页可能缺必填键";

struct Process {
  int status;
  std::string out;
};

// Runs a shell command and answers its exit status and standard output.
Process run(const std::string& command) {
  Process r{-1, ""};
  FILE* p = popen(command.c_str(), "r");
  if (!p) return r;
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, p)) > 0) r.out.append(buf, n);
  const int st = pclose(p);
  r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
  return r;
}

std::string shell_quoted(const fs::path& p) { return "'" + p.string() + "'"; }

// The four shared sample prototypes, as the golden cases keep them.
std::vector<std::string> samples() {
  std::vector<std::string> found;
  for (const auto& e : fs::directory_iterator(fs::path(PAGEFOLD_SOURCE_DIR) / "tests" / "golden"))
    if (e.path().filename().string().rfind("sample_", 0) == 0)
      found.push_back((e.path() / "input.html").string());
  std::sort(found.begin(), found.end());
  return found;
}

// The page files in `dir`, by name.
std::vector<std::pair<std::string, std::string>> pages_in(const fs::path& dir) {
  std::vector<std::pair<std::string, std::string>> pages;
  for (const auto& e : fs::directory_iterator(dir))
    if (e.path().extension() == ".json")
      pages.emplace_back(e.path().filename().string(), testkit::read_file(e.path().string()));
  std::sort(pages.begin(), pages.end());
  return pages;
}

// Copied alone into a directory of its own (and with no lib/pagefold beside
// that), the command converts every sample exactly as the library does
// without modules: same record on standard output, same pages, and the
// missing layer reported once per page.
TEST(Shipping, TheCommandAloneConvertsWithoutPlugins) {
  testkit::TempDir tmp;
  const fs::path exe = tmp.path() / "bin" / "pagefold";
  fs::create_directories(exe.parent_path());
  fs::copy_file(PAGEFOLD_EXE, exe);
  const fs::path out = tmp.path() / "out";
  const std::vector<std::string> inputs = samples();
  ASSERT_EQ(inputs.size(), 4u);
  for (const std::string& input : inputs) {
    SCOPED_TRACE(input);
    fs::remove_all(out);
    const Process cli = run(shell_quoted(exe) + " " + shell_quoted(fs::path(input)) + " " +
                            shell_quoted(out) + "/");
    ASSERT_EQ(cli.status, 0) << cli.out;
    const auto cli_pages = pages_in(out);
    const Value record = testkit::J(cli.out);
    EXPECT_TRUE(record.get("success").truthy());
    ASSERT_GT(record.get("pagesProduced").as_int(), 0);
    EXPECT_EQ(cli_pages.size(), size_t(record.get("pagesProduced").as_int()));
    int64_t no_ui_emit = 0;
    for (const Value& w : record.get("warnings").as_array()) no_ui_emit += w == Value(kNoUiEmit);
    EXPECT_EQ(no_ui_emit, record.get("pagesProduced").as_int());

    fs::remove_all(out);
    const Value lib = pagefold::pagefold(input, out.string() + "/", std::nullopt, std::nullopt,
                                         false, testkit::no_modules());
    EXPECT_EQ(cli.out, dump(lib, 1) + "\n");
    EXPECT_EQ(cli_pages, pages_in(out));
  }
}

// `cmake --install` puts the command in bin/ and the plug-in with its table
// in lib/pagefold/, where the installed command finds both; without the
// table the plug-in names the file it looked for.
TEST(Shipping, TheInstalledCommandFindsThePluginAndItsTable) {
  testkit::TempDir tmp;
  const fs::path prefix = tmp.path() / "prefix";
  const Process install =
      run(shell_quoted(PAGEFOLD_CMAKE_COMMAND) + " --install " + shell_quoted(PAGEFOLD_BINARY_DIR) +
          " --prefix " + shell_quoted(prefix) + " 2>&1");
  ASSERT_EQ(install.status, 0) << install.out;
  const fs::path plugins = prefix / "lib" / "pagefold";
  EXPECT_TRUE(fs::is_regular_file(plugins / "libpagefold_ui_emit.so"));
  EXPECT_EQ(testkit::read_file((plugins / "ui_emit_keys.json").string()),
            testkit::read_file(PAGEFOLD_SOURCE_DIR "/plugins/ui_emit/ui_emit_keys.json"));

  const std::string input = samples().front();
  const std::string command = shell_quoted(prefix / "bin" / "pagefold") + " " +
                              shell_quoted(fs::path(input)) + " " +
                              shell_quoted(tmp.path() / "out");
  const Process with_table = run(command + "/a/");
  ASSERT_EQ(with_table.status, 0) << with_table.out;
  EXPECT_TRUE(testkit::J(with_table.out).get("success").truthy());
  EXPECT_EQ(with_table.out.find("必填键补全"), std::string::npos) << with_table.out;
  EXPECT_EQ(with_table.out.find("字段补全"), std::string::npos) << with_table.out;

  fs::remove(plugins / "ui_emit_keys.json");
  const Process without_table = run(command + "/b/");
  ASSERT_EQ(without_table.status, 0) << without_table.out;
  const std::string why = "必填键补全未走共享发射层（ui_emit 不可用：cannot read the key table '" +
                          (plugins / "ui_emit_keys.json").string() +
                          "': No such file or directory）→ 本页可能缺必填键";
  const Value record = testkit::J(without_table.out);
  bool reported = false;
  for (const Value& w : record.get("warnings").as_array()) reported = reported || w == Value(why);
  EXPECT_TRUE(reported) << why << "\n" << without_table.out;
}

}  // namespace
