// Colour emoji from the colour bitmap font that Debian ships
// (fonts-noto-color-emoji). Text is shaped first, so that a sequence the font
// draws as one picture (a flag, a skin tone, a family joined by zero-width
// joiners) comes out as that one picture.
#pragma once

#include <string>

#include "freetype.hpp"
#include "pagefold/image.hpp"

struct hb_blob_t;
struct hb_face_t;
struct hb_font_t;

namespace pagefold::genres {

class EmojiFont {
 public:
  EmojiFont(FreeType& ft, std::string path);
  ~EmojiFont();
  EmojiFont(const EmojiFont&) = delete;
  EmojiFont& operator=(const EmojiFont&) = delete;

  // The emoji of `text` scaled smoothly to fit a `w` by `h` box, keeping its
  // proportions, centred, on a transparent ground. Fails for text the font
  // cannot draw.
  Image render(const std::string& text, int w, int h);

  // The number of glyphs that `text` shapes to (1 for a sequence the font
  // draws as one picture).
  size_t glyph_count(const std::string& text);

 private:
  void open();
  std::vector<unsigned> shape(const std::string& text);

  FreeType& ft_;
  std::string path_;
  FT_Face face_ = nullptr;
  hb_blob_t* blob_ = nullptr;
  hb_face_t* hb_face_ = nullptr;
  hb_font_t* hb_font_ = nullptr;
};

}  // namespace pagefold::genres
