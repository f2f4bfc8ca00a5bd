// Finding the sibling plug-ins. They are shared libraries with fixed names,
// looked for beside the running program and beside an installed library; a
// plug-in that is missing or broken is simply absent, with the message a
// missing module gives.
#include <dlfcn.h>

#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "pagefold/modules.hpp"

namespace pagefold {
namespace {

namespace fs = std::filesystem;

// Directories to look in, in order: the program's own directory, then the
// plug-in directory of an installed tree (<prefix>/bin/../lib/pagefold).
std::vector<fs::path> plugin_dirs() {
  std::vector<fs::path> dirs;
  std::error_code ec;
  fs::path exe = fs::read_symlink("/proc/self/exe", ec);
  if (ec || exe.empty()) return dirs;
  fs::path here = exe.parent_path();
  dirs.push_back(here);
  dirs.push_back(here.parent_path() / "lib" / "pagefold");
  return dirs;
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
