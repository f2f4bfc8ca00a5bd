// The part of the picture module that draws with fonts and writes GIF files:
// glyph icons, colour emoji and the loading spinner. It needs FreeType,
// HarfBuzz and giflib, whose loading costs more than converting a small page,
// so the plug-in keeps it in a module file of its own and opens that file
// when a page first asks for such a picture.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "pagefold/image.hpp"
#include "raster.hpp"

namespace pagefold::genres {

// Where the fonts are: the files of Debian's packages by default.
struct FontPaths {
  std::string icon_font =
      "/usr/share/fonts/truetype/material-design-icons-iconfont/MaterialIcons-Regular.ttf";
  std::string icon_names = "/usr/share/fonts-material-design-icons-iconfont/scss/_variables.scss";
  std::string emoji_font = "/usr/share/fonts/truetype/noto/NotoColorEmoji.ttf";
};

class GlyphKit {
 public:
  virtual ~GlyphKit() = default;
  // The font's name for a `data-icon` value ("" when none), as IconFont.
  virtual std::string canonical(const std::string& glyph) = 0;
  virtual std::vector<std::string> common_names() = 0;
  virtual Image icon(const std::string& gname, int size, const std::array<uint8_t, 3>& rgb,
                     bool pressed, int cw, int ch) = 0;
  virtual Image emoji(const std::string& text, int w, int h) = 0;
  virtual size_t emoji_glyph_count(const std::string& text) = 0;
  virtual Plane spinner_frame(int size, int i, int n) = 0;
  virtual std::string spinner_gif(int size, int n, const Rgba& color) = 0;
};

// Makes the kit; nothing is opened before it is used.
using GlyphKitFactory = std::function<std::unique_ptr<GlyphKit>(const FontPaths&)>;

// The kit linked in directly (tests, and the kit's own module file).
std::unique_ptr<GlyphKit> make_glyph_kit(const FontPaths& paths);

// The kit's module file, beside the picture plug-in, and its entry point
// (C linkage): a new kit owned by the caller, for the three font paths.
inline constexpr const char* GLYPH_KIT_LIBRARY = "libpagefold_gen_res_glyphs.so";
inline constexpr const char* GLYPH_KIT_FACTORY = "pagefold_gen_res_glyphs_create";
using GlyphKitEntry = GlyphKit* (*)(const char* icon_font, const char* icon_names,
                                    const char* emoji_font);

}  // namespace pagefold::genres
