// Finding the sibling plug-ins. They are shared libraries with fixed names,
// looked for beside the code that converts (the program, or the shared library
// that holds the code) and in the plug-in directory of an installed tree; a
// plug-in that is missing or broken is simply absent, with the message a
// missing module gives.
#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "driver/plugin_dirs.hpp"
#include "pagefold/modules.hpp"

namespace pagefold {

namespace fs = std::filesystem;

std::vector<fs::path> plugin_search_dirs(const fs::path& program, const fs::path& code_file) {
  std::vector<fs::path> dirs;
  auto add = [&dirs](const fs::path& d) {
    if (d.empty()) return;
    fs::path n = d.lexically_normal();
    if (std::find(dirs.begin(), dirs.end(), n) == dirs.end()) dirs.push_back(n);
  };
  if (!code_file.empty() && code_file != program) {
    const fs::path here = code_file.parent_path();
    add(here);
    for (fs::path p = here; !p.empty(); p = p.parent_path()) {
      if (p.filename() == "lib") {
        add(p / "pagefold");
        break;
      }
      if (p == p.parent_path()) break;
    }
  }
  if (!program.empty()) {
    add(program.parent_path());
    add(program.parent_path().parent_path() / "lib" / "pagefold");
  }
  return dirs;
}

namespace {

// The shared library this code was loaded from, when a library (not the
// program) linked the conversion in; empty for the program itself or when the
// loader cannot say. The program is told by its empty name in the link map:
// the file name dladdr gives for it is only argv[0].
fs::path code_file() {
  Dl_info info{};
  link_map* map = nullptr;
  if (dladdr1(reinterpret_cast<void*>(&plugin_search_dirs), &info, reinterpret_cast<void**>(&map),
              RTLD_DL_LINKMAP) == 0 ||
      !map || !map->l_name || map->l_name[0] == '\0' || !info.dli_fname) {
    return {};
  }
  std::error_code ec;
  fs::path p = fs::canonical(info.dli_fname, ec);
  return ec ? fs::path() : p;
}

std::vector<fs::path> plugin_dirs() {
  std::error_code ec;
  fs::path exe = fs::read_symlink("/proc/self/exe", ec);
  if (ec) exe.clear();
  return plugin_search_dirs(exe, code_file());
}

// Opens the first library called `file` in `dirs` that exports `symbol`, and
// answers the factory; null when none does. Handles stay open for the life of
// the process, as the module objects they create do.
void* find_factory(const std::vector<fs::path>& dirs, const char* file, const char* symbol) {
  for (const fs::path& d : dirs) {
    std::error_code ec;
    fs::path p = d / file;
    if (!fs::is_regular_file(p, ec)) continue;
    void* handle = dlopen(p.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) continue;
    if (void* sym = dlsym(handle, symbol)) return sym;
    dlclose(handle);
  }
  return nullptr;
}

template <typename T, typename Factory>
std::shared_ptr<T> load(const std::vector<fs::path>& dirs, const char* file, const char* symbol) {
  void* sym = find_factory(dirs, file, symbol);
  if (!sym) return nullptr;
  try {
    T* made = reinterpret_cast<Factory>(sym)();
    return std::shared_ptr<T>(made);
  } catch (...) {
    // A plug-in that fails while starting up counts as not loadable.
    return nullptr;
  }
}

Modules load_dirs(const std::vector<fs::path>& dirs) {
  Modules m;
  m.ui_emit = load<UiEmit, UiEmitFactory>(dirs, UI_EMIT_LIBRARY, UI_EMIT_FACTORY);
  m.gen_res = load<GenRes, GenResFactory>(dirs, GEN_RES_LIBRARY, GEN_RES_FACTORY);
  return m;
}

}  // namespace

const Modules& Modules::system() {
  static const Modules modules = load_dirs(plugin_dirs());
  return modules;
}

Modules Modules::load_from(const std::vector<std::string>& dirs) {
  return load_dirs(std::vector<fs::path>(dirs.begin(), dirs.end()));
}

}  // namespace pagefold
