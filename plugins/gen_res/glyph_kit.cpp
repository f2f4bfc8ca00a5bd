// The glyph kit drawn with FreeType, HarfBuzz and giflib.
#include "glyph_kit.hpp"

#include <mutex>

#include "emoji.hpp"
#include "freetype.hpp"
#include "glyphs.hpp"
#include "spinner.hpp"

namespace pagefold::genres {
namespace {

// One kit serves every conversion of the process, and conversions may run on
// several threads. FreeType's library and faces (opened on first use, and
// loading each glyph into the face's one slot) are not safe to share, so the
// font calls take turns; spinners touch no font.
class FontGlyphKit final : public GlyphKit {
 public:
  explicit FontGlyphKit(const FontPaths& paths)
      : icons_(ft_, paths.icon_font, paths.icon_names), emoji_(ft_, paths.emoji_font) {}

  std::string canonical(const std::string& glyph) override {
    std::lock_guard<std::mutex> lock(fonts_);
    return icons_.canonical(glyph);
  }
  std::vector<std::string> common_names() override { return IconFont::common_names(); }
  Image icon(const std::string& gname, int size, const std::array<uint8_t, 3>& rgb, bool pressed,
             int cw, int ch) override {
    std::lock_guard<std::mutex> lock(fonts_);
    return icons_.render(gname, size, rgb, pressed, cw, ch);
  }
  Image emoji(const std::string& text, int w, int h) override {
    std::lock_guard<std::mutex> lock(fonts_);
    return emoji_.render(text, w, h);
  }
  size_t emoji_glyph_count(const std::string& text) override {
    std::lock_guard<std::mutex> lock(fonts_);
    return emoji_.glyph_count(text);
  }
  Plane spinner_frame(int size, int i, int n) override { return genres::spinner_frame(size, i, n); }
  std::string spinner_gif(int size, int n, const Rgba& color) override {
    return genres::spinner_gif(size, n, color);
  }

 private:
  std::mutex fonts_;
  // Declared before the fonts, so that the fonts opened with it are closed
  // before it.
  FreeType ft_;
  IconFont icons_;
  EmojiFont emoji_;
};

}  // namespace

std::unique_ptr<GlyphKit> make_glyph_kit(const FontPaths& paths) {
  return std::make_unique<FontGlyphKit>(paths);
}

}  // namespace pagefold::genres
