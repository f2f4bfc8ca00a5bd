// The FreeType library of the picture plug-in, started on first use (a
// conversion without icons or emoji never pays for it).
#pragma once

#include <ft2build.h>
#include FT_FREETYPE_H

#include <string>

namespace pagefold::genres {

class FreeType {
 public:
  FreeType() = default;
  ~FreeType();
  FreeType(const FreeType&) = delete;
  FreeType& operator=(const FreeType&) = delete;

  FT_Library get();
  // Opens the font file at `path`; a missing or unreadable file is a failure
  // naming the file and what it is for.
  FT_Face open_face(const std::string& path, const char* what);

 private:
  FT_Library lib_ = nullptr;
};

// FreeType's message for an error code.
std::string ft_error(FT_Error err);

}  // namespace pagefold::genres
