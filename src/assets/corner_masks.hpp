// Masks with per-corner radii and the three slider bitmaps made from them:
// track and fill (`_bar_pic`) and the knob (`_thumb_pic`). Uniform radii are
// drawn by the picture module; pictures with differing radii, or any picture
// when the module lacks the shape, are drawn here.
//
// These run inside picture makers, so they report nothing: any failure
// becomes the one warning of the picture gate. They draw with the tools the
// maker captured: the module, its supersampling factors, the encoding log.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "assets/picture_tools.hpp"
#include "pagefold/image.hpp"
#include "pagefold/style_types.hpp"

namespace pagefold {

// A visible band (top, height) inside a taller picture.
using Band = std::pair<int64_t, int64_t>;

// "L" mask of `w` by `h`: the box with the four corners (top-left,
// top-right, bottom-right, bottom-left) rounded, drawn at `ss` samples per
// axis (the local default when absent or 0) and averaged down.
Image _corners_mask_local(const PictureTools& tools, int64_t w, int64_t h, const Radii& radii,
                          std::optional<int64_t> ss = std::nullopt);
// As above, from the picture module when the radii are equal; with a band,
// the shape fills only the band and the rest is transparent.
Image _corners_mask(const PictureTools& tools, int64_t w, int64_t h, const Radii& radii,
                    std::optional<int64_t> ss = std::nullopt,
                    std::optional<Band> band = std::nullopt);
// Track or fill picture of the background of `style`; absent when the style
// gives nothing to draw (and no default colour) or there is no module.
std::optional<std::string> _bar_pic(const PictureTools& tools, const std::string& out_dir,
                                    const std::string& name, int64_t w, int64_t h,
                                    const std::string& style,
                                    std::optional<Color> default_color = std::nullopt,
                                    std::optional<Band> band = std::nullopt);
// A knob of colour `fill` inside a border ring of `border_w` pixels.
Image _bordered_thumb(const PictureTools& tools, int64_t w, int64_t h, double radius,
                      const Color& fill, const std::optional<Color>& border, int64_t border_w);
// The knob picture; `tw`, `th` are the size the CSS gives, the outer size is
// worked out here.
std::optional<std::string> _thumb_pic(const PictureTools& tools, const std::string& out_dir,
                                      const std::string& name, int64_t tw, int64_t th,
                                      const std::string& style,
                                      const std::string& default_box = "border-box");

}  // namespace pagefold
