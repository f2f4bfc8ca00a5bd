// The picture module: the converter's picture interface (pagefold::GenRes)
// drawn with libspng, and through its glyph kit with FreeType, HarfBuzz and
// giflib. Creating it costs nothing; the glyph kit is made on first use, and
// fonts and name maps are opened when they are first needed.
//
// Every failure (a missing font, an unreadable file, a bad argument) is thrown
// as a pagefold::Failure with a clear message, which the converter reports as
// a warning. Files are written whole or not at all.
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "glyph_kit.hpp"
#include "pagefold/modules.hpp"

namespace pagefold::genres {

class GenResModule final : public GenRes {
 public:
  // `make_kit` makes the glyph kit when it is first needed: the kit linked in
  // by default, the kit's own module file in the plug-in.
  explicit GenResModule(FontPaths paths = FontPaths{}, GlyphKitFactory make_kit = make_glyph_kit);
  ~GenResModule() override;

  std::optional<int64_t> SS_DEFAULT() const override;
  std::optional<int64_t> COV_SS() const override;

  std::string gen_gradient_stops(const std::string& d, const std::string& name, int64_t w,
                                 int64_t h, const std::vector<Stop>& stops, bool horizontal,
                                 int64_t radius, int64_t ss) override;
  std::string gen_shadow_card(const std::string& d, const std::string& name, int64_t w, int64_t h,
                              int64_t radius, const std::optional<Color>& fill,
                              const ShadowSpec& shadow, bool crop, int64_t ss) override;
  Image ss_shape_mask(int64_t w, int64_t h, int64_t radius, int64_t ss) override;
  Image coverage_mask(int64_t w, int64_t h, double radius,
                      const std::optional<std::vector<int64_t>>& rect) override;
  Image rounded_rect_cov(int64_t w, int64_t h, double radius, const Color& fill) override;
  std::string to_9patch(const Image& img, int64_t radius, const std::string& d,
                        const std::string& name) override;
  std::string glyph_canonical(const std::string& glyph) override;
  std::vector<std::string> glyph_list() override;
  std::string glyph_icon(const std::string& d, const std::string& name, const std::string& gname,
                         int64_t size, const Color& color, bool pressed,
                         std::pair<int64_t, int64_t> canvas) override;
  std::string emoji_icon_box(const std::string& d, const std::string& name, int64_t w, int64_t h,
                             const std::string& ch) override;
  std::string emoji_icon(const std::string& d, const std::string& name, int64_t size,
                         const std::string& ch) override;
  std::string frames_loading_gif(const std::string& d, const std::string& name, int64_t size,
                                 const std::optional<Color>& color, int64_t n) override;
  // Frames are named `<base>_00.png`, `<base>_01.png`, ... in playing order.
  void frames_loading(const std::string& d, const std::string& base, int64_t size,
                      const std::optional<Color>& color, int64_t n) override;

  // The shapes of an emoji text (1 for a sequence drawn as one picture).
  size_t emoji_glyph_count(const std::string& text);

 private:
  GlyphKit& kit();
  GlyphKit* kit_if_any();

  FontPaths paths_;
  GlyphKitFactory make_kit_;
  std::mutex kit_mutex_;
  std::unique_ptr<GlyphKit> kit_;
};

// The name of frame `i` of a spinner whose files start with `base`.
std::string frame_name(const std::string& base, int64_t i);

}  // namespace pagefold::genres
