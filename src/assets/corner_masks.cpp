// Corner masks and slider bitmaps.
#include "assets/corner_masks.hpp"

#include <algorithm>
#include <vector>

#include "assets/image.hpp"
#include "assets/png_output.hpp"
#include "front/backgrounds.hpp"
#include "front/box_specs.hpp"
#include "util/num.hpp"

namespace pagefold {
namespace {

// A style without border-radius has square corners.
Radii radii_or_square(const std::string& style, double w, double h) {
  return _radius_corners(style, w, h).value_or(Radii{});
}

double min_radius(const Radii& r) { return std::min({r.tl, r.tr, r.br, r.bl}); }
double max_radius(const Radii& r) { return std::max({r.tl, r.tr, r.br, r.bl}); }

// The mask of a whole picture: the module's anti-aliased rounded rectangle
// when all four radii agree, else the local drawing.
Image shape_mask(const PictureTools& tools, int64_t w, int64_t h, const Radii& radii,
                 std::optional<int64_t> ss) {
  if (max_radius(radii) - min_radius(radii) < 1e-6 && tools.gen_res)
    return tools.gen_res->coverage_mask(w, h, radii[0], std::nullopt);
  return _corners_mask_local(tools, w, h, radii, ss);
}

Image opaque(int64_t w, int64_t h, const Color& c) {
  return img::new_rgba(static_cast<int>(w), static_cast<int>(h),
                       Color::rgba(c.r(), c.g(), c.b(), 255));
}

}  // namespace

Image _corners_mask_local(const PictureTools& tools, int64_t w, int64_t h, const Radii& radii,
                          std::optional<int64_t> ss) {
  int64_t s = (ss && *ss) ? *ss : tools.cov_ss;
  if (s == 0) s = 1;
  int W = static_cast<int>(std::max<int64_t>(w * s, 1));
  int H = static_cast<int>(std::max<int64_t>(h * s, 1));
  Image m = img::new_l(W, H, 0);
  img::rectangle(m, 0, 0, W - 1, H - 1, 255);

  struct Corner {
    int ax, ay, sx, sy, a0, a1;
  };
  const Corner corners[4] = {{0, 0, 1, 1, 180, 270},
                             {W - 1, 0, -1, 1, 270, 360},
                             {W - 1, H - 1, -1, -1, 0, 90},
                             {0, H - 1, 1, -1, 90, 180}};
  for (int i = 0; i < 4; ++i) {
    const Corner& c = corners[i];
    int64_t r = num::round_even(radii[i] * static_cast<double>(s));
    if (r <= 0) continue;
    int x0 = c.ax, x1 = static_cast<int>(c.ax + c.sx * 2 * r);
    int y0 = c.ay, y1 = static_cast<int>(c.ay + c.sy * 2 * r);
    if (x0 > x1) std::swap(x0, x1);
    if (y0 > y1) std::swap(y0, y1);
    // The rectangle clears the whole 2r box and the slice restores only the
    // quarter on the corner's side; the other three quarters of the box stay
    // clear. The masks on devices were tuned against exactly this drawing.
    img::rectangle(m, x0, y0, x1, y1, 0);
    img::pieslice(m, x0, y0, x1, y1, c.a0, c.a1, 255);
  }
  return img::resize_box(m, static_cast<int>(w), static_cast<int>(h));
}

Image _corners_mask(const PictureTools& tools, int64_t w, int64_t h, const Radii& radii,
                    std::optional<int64_t> ss, std::optional<Band> band) {
  int64_t y = band ? band->first : 0, bh = band ? band->second : h;
  if (y == 0 && bh >= h) return shape_mask(tools, w, h, radii, ss);
  Image inner = shape_mask(tools, w, bh, radii, ss);
  Image out = img::new_l(static_cast<int>(w), static_cast<int>(h), 0);
  img::paste(out, inner, 0, static_cast<int>(std::max<int64_t>(0, std::min(y, h - bh))));
  return out;
}

std::optional<std::string> _bar_pic(const PictureTools& tools, const std::string& out_dir,
                                    const std::string& name, int64_t w, int64_t h,
                                    const std::string& style, std::optional<Color> default_color,
                                    std::optional<Band> band) {
  if (!tools.gen_res) return std::nullopt;
  std::optional<BgSpec> spec = _bg_spec(style);
  if (!spec) {
    if (!default_color) return std::nullopt;
    spec = BgSpec{"color", {}, *default_color};
  }
  // A percentage radius refers to the visible band, not to the picture.
  Radii radii = radii_or_square(style, double(w), double(band ? band->second : h));
  if (spec->kind == "gradient") {
    std::string p = tools.gen_res->gen_gradient_stops(out_dir, name, w, h, spec->gradient.stops,
                                                      spec->gradient.horizontal, 0, tools.css_ss);
    if (p.empty()) return std::nullopt;
    Image im = I_open(p);
    img::putalpha(im, _corners_mask(tools, w, h, radii, std::nullopt, band));
    return _save_css_png(im, out_dir, name, *tools.png_log);
  }
  // The colour's own alpha is dropped: the bar is drawn opaque.
  Image im = opaque(w, h, spec->color);
  img::putalpha(im, _corners_mask(tools, w, h, radii, std::nullopt, band));
  return _save_css_png(im, out_dir, name, *tools.png_log);
}

Image _bordered_thumb(const PictureTools& tools, int64_t w, int64_t h, double radius,
                      const Color& fill, const std::optional<Color>& border, int64_t border_w) {
  Image outer = tools.gen_res->coverage_mask(w, h, radius, std::nullopt);
  int64_t bw = border_w;
  bool ring = border && bw > 0;
  Image im = opaque(w, h, ring ? *border : fill);
  if (ring) {
    std::vector<int64_t> rect = {bw, bw, std::max(w - 1 - bw, bw), std::max(h - 1 - bw, bw)};
    Image inner = tools.gen_res->coverage_mask(w, h, std::max(radius - double(bw), 0.0), rect);
    img::paste(im, opaque(w, h, fill), 0, 0, &inner);
  }
  img::putalpha(im, outer);
  return im;
}

std::optional<std::string> _thumb_pic(const PictureTools& tools, const std::string& out_dir,
                                      const std::string& name, int64_t tw, int64_t th,
                                      const std::string& style, const std::string& default_box) {
  if (!tools.gen_res) return std::nullopt;
  auto [W, H, bw] = _thumb_outer_size(style, tw, th, default_box);
  double r = min_radius(radii_or_square(style, double(W), double(H)));
  std::optional<Color> bcol;
  if (auto b = _border_spec(style)) bcol = b->color;
  std::optional<BgSpec> spec = _bg_spec(style);
  Color fill = Color::rgba(232, 241, 255, 255);
  if (spec && spec->kind == "color") fill = spec->color;
  // A gradient knob is drawn flat in the colour of its first stop.
  if (spec && spec->kind == "gradient") fill = spec->gradient.stops.at(0).color;
  Image im = (bcol && bw) ? _bordered_thumb(tools, W, H, r, fill, bcol, bw)
                          : tools.gen_res->rounded_rect_cov(W, H, r, fill);
  return _save_css_png(im, out_dir, name, *tools.png_log);
}

}  // namespace pagefold
