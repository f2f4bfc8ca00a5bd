// The FreeType library of the picture plug-in.
#include "freetype.hpp"

#include <cerrno>
#include <cstdio>

#include "files.hpp"
#include "pagefold/error.hpp"

namespace pagefold::genres {

FreeType::~FreeType() {
  if (lib_) FT_Done_FreeType(lib_);
}

FT_Library FreeType::get() {
  if (!lib_) {
    FT_Error err = FT_Init_FreeType(&lib_);
    if (err) {
      lib_ = nullptr;
      throw Failure("RuntimeError", "cannot start FreeType: " + ft_error(err));
    }
  }
  return lib_;
}

FT_Face FreeType::open_face(const std::string& path, const char* what) {
  // A missing file gets the ordinary file-system message, which says more
  // than FreeType's "cannot open resource".
  if (std::FILE* f = std::fopen(path.c_str(), "rb")) {
    std::fclose(f);
  } else {
    int err = errno;
    try {
      raise_os_error(err, path);
    } catch (const Failure& e) {
      throw Failure(e.type(), std::string(what) + " unavailable: " + e.message());
    }
  }
  FT_Face face = nullptr;
  FT_Error err = FT_New_Face(get(), path.c_str(), 0, &face);
  if (err)
    throw Failure("OSError", std::string(what) + " unreadable: '" + path + "': " + ft_error(err));
  return face;
}

std::string ft_error(FT_Error err) {
  const char* s = FT_Error_String(err);
  return s ? s : "FreeType error " + std::to_string(err);
}

}  // namespace pagefold::genres
