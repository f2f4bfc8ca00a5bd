// The pagefold command as users run it, with a plug-in beside it.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "testkit.hpp"

namespace pagefold {
namespace {

namespace fs = std::filesystem;

// Runs `cmd` through the shell; answers its exit status and standard output.
std::pair<int, std::string> run(const std::string& cmd) {
  std::string out;
  FILE* p = popen(cmd.c_str(), "r");
  if (!p) return {-1, out};
  char buf[4096];
  while (size_t n = fread(buf, 1, sizeof buf, p)) out.append(buf, n);
  const int status = pclose(p);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), out};
}

// The command carries its own C++ runtime and the plug-in the shared one: an
// exception thrown in the plug-in must still reach the command's handler and
// become the warning, for every button of the page, without ending the run.
TEST(Command, APlugInsExceptionBecomesTheWarning) {
  testkit::TempDir dir;
  fs::copy_file(PAGEFOLD_COMMAND, dir.path() / "pagefold");
  fs::copy_file(PAGEFOLD_THROWING_PLUGIN, dir.path() / "libpagefold_ui_emit.so");
  const std::string html = dir.write("p.html", R"(<div class="screen" data-page="p">
  <div class="btn" data-x="0" data-y="0" data-w="80" data-h="40">A</div>
  <div class="text" data-x="0" data-y="50" data-w="80" data-h="40">B</div>
  <div class="btn" data-x="0" data-y="100" data-w="80" data-h="40">C</div>
</div>)");
  const auto [status, out] =
      run((dir.path() / "pagefold").string() + " " + html + " " + dir.str() + "/out");
  ASSERT_EQ(status, 0) << out;
  const std::string warning =
      "必填键补全未走共享发射层（ui_emit 不可用：no table for buttons）→ 本页可能缺必填键";
  const size_t at = out.find(warning);
  EXPECT_NE(at, std::string::npos) << out;
  EXPECT_EQ(out.find(warning, at + 1), std::string::npos) << "said once per page";
  const std::string page = testkit::read_file(dir.str() + "/out/p.json");
  EXPECT_NE(page.find("\"required\": true"), std::string::npos) << page;
}

}  // namespace
}  // namespace pagefold
