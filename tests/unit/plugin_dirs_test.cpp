// Where the plug-ins are looked for, for a program and for a shared library
// (such as the Python module) that holds the conversion code.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "driver/plugin_dirs.hpp"

namespace fs = std::filesystem;

namespace {

std::vector<std::string> dirs(const std::string& program, const std::string& code) {
  std::vector<std::string> out;
  for (const fs::path& p : pagefold::plugin_search_dirs(program, code)) out.push_back(p.string());
  return out;
}

TEST(PluginDirs, SearchOrderForProgramsAndLibraries) {
  struct Case {
    std::string program, code;
    std::vector<std::string> want;
  };
  const std::vector<Case> cases = {
      // The command in a build tree and in an installed tree.
      {"/src/build/pagefold", "", {"/src/build", "/src/lib/pagefold"}},
      {"/usr/bin/pagefold", "/usr/bin/pagefold", {"/usr/bin", "/usr/lib/pagefold"}},
      // The Python module installed for the system's Python, and for a local
      // prefix: the plug-ins of its own prefix come before the program's.
      {"/usr/bin/python3",
       "/usr/local/lib/python3.11/dist-packages/pagefold.so",
       {"/usr/local/lib/python3.11/dist-packages", "/usr/local/lib/pagefold", "/usr/bin",
        "/usr/lib/pagefold"}},
      {"/usr/bin/python3",
       "/usr/lib/python3/dist-packages/pagefold.so",
       {"/usr/lib/python3/dist-packages", "/usr/lib/pagefold", "/usr/bin"}},
      // A library living in a lib directory itself; the nearest lib wins.
      {"/opt/app/bin/app",
       "/opt/p/lib/libglue.so",
       {"/opt/p/lib", "/opt/p/lib/pagefold", "/opt/app/bin", "/opt/app/lib/pagefold"}},
      {"", "/a/lib/b/lib/c/m.so", {"/a/lib/b/lib/c", "/a/lib/b/lib/pagefold"}},
      // No lib ancestor (a build tree): beside the module only; "library" and
      // "libs" are no lib directories.
      {"", "/home/u/build/m.so", {"/home/u/build"}},
      {"", "/x/library/libs/m.so", {"/x/library/libs"}},
      // A relative module path stops at its first component.
      {"", "build/lib/m.so", {"build/lib", "build/lib/pagefold"}},
      {"", "", {}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(dirs(c.program, c.code), c.want) << c.program << " | " << c.code;
  }
}

}  // namespace
