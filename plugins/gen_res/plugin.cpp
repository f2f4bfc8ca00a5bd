// The shared library the converter loads by name: it exports only the
// factory, which creates the module without opening anything. The glyph kit
// is a second module file beside this one, opened by the first page that
// draws a glyph, an emoji or a spinner, so that every other conversion starts
// without loading FreeType, HarfBuzz, giflib and what they pull in.
#include <dlfcn.h>

#include <string>

#include "module.hpp"
#include "pagefold/error.hpp"

namespace pagefold::genres {
namespace {

// The directory this library was loaded from, with its final slash.
std::string own_dir() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&own_dir), &info) == 0 || !info.dli_fname) return "";
  const std::string file = info.dli_fname;
  const size_t slash = file.rfind('/');
  return slash == std::string::npos ? "" : file.substr(0, slash + 1);
}

// Opens the kit's module file (once per process: the loader counts repeated
// opens of one file) and makes a kit of it. A missing or broken file is a
// failure naming it, reported like any failure to draw.
std::unique_ptr<GlyphKit> load_glyph_kit(const FontPaths& paths) {
  const std::string path = own_dir() + GLYPH_KIT_LIBRARY;
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    const char* why = dlerror();
    throw Failure("RuntimeError",
                  "cannot load the glyph module '" + path + "': " + (why ? why : "unknown error"));
  }
  auto entry = reinterpret_cast<GlyphKitEntry>(dlsym(handle, GLYPH_KIT_FACTORY));
  if (!entry) throw Failure("RuntimeError", "'" + path + "' is no glyph module");
  return std::unique_ptr<GlyphKit>(
      entry(paths.icon_font.c_str(), paths.icon_names.c_str(), paths.emoji_font.c_str()));
}

}  // namespace
}  // namespace pagefold::genres

extern "C" __attribute__((visibility("default"))) pagefold::GenRes* pagefold_gen_res_create() {
  return new pagefold::genres::GenResModule(pagefold::genres::FontPaths{},
                                            pagefold::genres::load_glyph_kit);
}
