// Text as the device draws it: one font file, one glyph per character with
// the font's own advances (no shaping, no fallback font), so that a character
// the font lacks shows as the font's empty box, as it does on the device.
#pragma once

#include <cairo.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace pagefold::preview {

// Where Debian's fonts-noto-cjk puts the CJK font the previewer uses when no
// device font is given, and the face of the collection it takes.
inline constexpr const char* DEFAULT_FONT =
    "/usr/share/fonts/opentype/noto/NotoSansCJK-Regular.ttc";
inline constexpr const char* DEFAULT_BOLD_FONT =
    "/usr/share/fonts/opentype/noto/NotoSansCJK-Bold.ttc";
inline constexpr const char* DEFAULT_FAMILY = "Noto Sans CJK SC";

// The code points of UTF-8 text; a malformed sequence reads as U+FFFD.
std::u32string decode_utf8(std::string_view s);
std::string encode_utf8(char32_t c);

// The runtime's alignment codes of text controls.
enum Align : int64_t { ALIGN_LEFT = 36, ALIGN_CENTER = 37, ALIGN_RIGHT = 38 };

struct TextStyle {
  double size = 16;
  uint32_t rgb = 0xFFFFFF;
  bool bold = false;
  bool italic = false;
  int64_t align = ALIGN_LEFT;
};

class TextEngine {
 public:
  // With an empty `font_file` the Debian CJK font above, else the given
  // TTF/OTF file (face 0 of a collection). Answers null with `error` set
  // when the font cannot be opened.
  static std::unique_ptr<TextEngine> open(const std::string& font_file, std::string& error);
  ~TextEngine();
  TextEngine(const TextEngine&) = delete;
  TextEngine& operator=(const TextEngine&) = delete;

  // The font file in use and its family name.
  const std::string& file() const { return file_; }
  const std::string& family() const { return family_; }
  // True when the font was given with --font, that is, it is the device's.
  bool is_device_font() const { return device_; }

  // The characters of `text` the font has no glyph for, each once, in order
  // of first appearance. Line breaks and other control characters are not
  // drawn and not counted.
  std::u32string missing(std::string_view text) const;

  // Draws `text` into the box (x, y, w, h): one line per line break, each
  // line placed by `style.align`, the block centred vertically. The caller
  // sets the clip.
  void draw(cairo_t* cr, std::string_view text, double x, double y, double w, double h,
            const TextStyle& style) const;

  // Width in pixels of one line of text.
  double line_width(std::u32string_view line, const TextStyle& style) const;

 private:
  struct Faces;
  TextEngine() = default;
  cairo_scaled_font_t* scaled(const TextStyle& style) const;

  std::string file_, family_;
  bool device_ = false;
  std::unique_ptr<Faces> faces_;
};

}  // namespace pagefold::preview
