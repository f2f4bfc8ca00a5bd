// The glyph kit's module file, which the picture plug-in opens on first use:
// it exports only the entry point.
#include "glyph_kit.hpp"

extern "C" __attribute__((visibility("default"))) pagefold::genres::GlyphKit*
pagefold_gen_res_glyphs_create(const char* icon_font, const char* icon_names,
                               const char* emoji_font) {
  return pagefold::genres::make_glyph_kit({icon_font, icon_names, emoji_font}).release();
}
