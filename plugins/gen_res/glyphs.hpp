// Named glyph icons, drawn from the icon font that Debian ships
// (fonts-material-design-icons-iconfont) with its map from names to code
// points, so that every name of the font works.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "freetype.hpp"
#include "pagefold/image.hpp"

namespace pagefold::genres {

class IconFont {
 public:
  // `font_path`: the TrueType font; `names_path`: its name map, lines of the
  // form `"name": e88a,`. Neither is read before it is needed.
  IconFont(FreeType& ft, std::string font_path, std::string names_path);
  ~IconFont();
  IconFont(const IconFont&) = delete;
  IconFont& operator=(const IconFont&) = delete;

  // The font's name for a `data-icon` value, or "" when no word of it names a
  // glyph. Accepts any case; prefixes such as "icon-", "fa-", "mdi-", "ic_";
  // hyphens or dots for underscores; size and style suffixes such as "_24dp"
  // or "_outline"; several words, the first known one winning; and common
  // short names ("back", "plus", "trash", ...). Never fails: without the name
  // map the spelling is still normalised, so that drawing reports the missing
  // font.
  std::string canonical(const std::string& glyph);

  // A few dozen common names, for messages that list what is available.
  static std::vector<std::string> common_names();

  // The short names and the font names they stand for.
  static std::vector<std::pair<std::string, std::string>> aliases();

  // The font's name map (loaded on first use; a failure names the file).
  const std::unordered_map<std::string, uint32_t>& names();

  // The glyph `gname` at `size` pixels per em, in colour `rgb`, centred on a
  // `cw` by `ch` canvas. `pressed` draws the pressed state of the same icon:
  // the glyph darker, on a faint disc of its colour.
  Image render(const std::string& gname, int size, const std::array<uint8_t, 3>& rgb, bool pressed,
               int cw, int ch);

 private:
  std::optional<std::string> lookup(const std::string& word);
  FT_Face face();

  FreeType& ft_;
  std::string font_path_, names_path_;
  bool names_loaded_ = false;
  std::unordered_map<std::string, uint32_t> names_;
  std::unordered_map<uint32_t, std::string> by_code_;
  FT_Face face_ = nullptr;
};

}  // namespace pagefold::genres
