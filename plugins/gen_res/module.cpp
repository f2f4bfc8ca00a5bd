// The picture module: argument checks, then drawing, then writing.
#include "module.hpp"

#include <cmath>
#include <cstdio>

#include "files.hpp"
#include "limits.hpp"
#include "pagefold/error.hpp"
#include "pictures.hpp"
#include "raster.hpp"

namespace pagefold::genres {
namespace {

// The spinner's colour when the prototype's cannot be read.
Color spinner_default() { return Color::rgba(66, 201, 255, 255); }

// Refuses a side outside 1..MAX_SIDE; `what` names the argument.
void check_side(int64_t v, const char* what) {
  if (v < 1 || v > MAX_SIDE)
    throw ValueError(std::string(what) + " must be 1 to " + std::to_string(MAX_SIDE) +
                     " pixels, not " + std::to_string(v));
}

// Refuses a sampling factor outside 1..MAX_SS.
void check_ss(int64_t ss) {
  if (ss < 1 || ss > MAX_SS)
    throw ValueError("ss must be 1 to " + std::to_string(MAX_SS) + ", not " + std::to_string(ss));
}

void check_radius(double r) {
  if (!std::isfinite(r) || r < 0)
    throw ValueError("radius must be a number of pixels, 0 or more, not " + std::to_string(r));
}

void check_frames(int64_t n) {
  if (n < 1 || n > MAX_FRAMES)
    throw ValueError("a spinner has 1 to " + std::to_string(MAX_FRAMES) + " frames, not " +
                     std::to_string(n));
}

// Offsets and blur beyond any canvas would only overflow the arithmetic.
void check_shadow(const ShadowSpec& s) {
  if (s.blur < 0)
    throw ValueError("shadow blur must not be negative, not " + std::to_string(s.blur));
  for (int64_t v : {s.ox, s.oy, s.blur})
    if (v < -MAX_SIDE || v > MAX_SIDE)
      throw ValueError("shadow offset or blur of " + std::to_string(v) + " pixels is too large");
}

std::array<uint8_t, 3> rgb_of(const Color& c) {
  const Rgba v = rgba_of(c);
  return {to8(v.r), to8(v.g), to8(v.b)};
}

std::string save(const std::string& d, const std::string& name, const Image& img) {
  const std::string path = target_path(d, name);
  write_file_atomic(path, encode_png(img));
  return path;
}

}  // namespace

std::string frame_name(const std::string& base, int64_t i) {
  char num[32];
  std::snprintf(num, sizeof num, "_%02lld.png", static_cast<long long>(i));
  return base + num;
}

GenResModule::GenResModule(FontPaths paths, GlyphKitFactory make_kit)
    : paths_(std::move(paths)), make_kit_(std::move(make_kit)) {}

GenResModule::~GenResModule() = default;

// Made once, by whichever conversion first draws a glyph, an emoji or a
// spinner; a kit that cannot be made is tried again next time.
GlyphKit& GenResModule::kit() {
  std::lock_guard<std::mutex> lock(kit_mutex_);
  if (!kit_) kit_ = make_kit_(paths_);
  return *kit_;
}

GlyphKit* GenResModule::kit_if_any() {
  try {
    return &kit();
  } catch (const std::exception&) {
    return nullptr;
  }
}

std::optional<int64_t> GenResModule::SS_DEFAULT() const { return genres::SS_DEFAULT; }

std::optional<int64_t> GenResModule::COV_SS() const { return genres::COV_SS; }

std::string GenResModule::gen_gradient_stops(const std::string& d, const std::string& name,
                                             int64_t w, int64_t h, const std::vector<Stop>& stops,
                                             bool horizontal, int64_t radius, int64_t ss) {
  check_side(w, "width");
  check_side(h, "height");
  check_radius(double(radius));
  check_ss(ss);
  if (stops.empty()) throw ValueError("a gradient needs at least one stop");
  for (const Stop& s : stops)
    if (s.pos && !std::isfinite(*s.pos)) throw ValueError("gradient stop position is no number");
  return save(d, name,
              gradient_picture(int(w), int(h), stops, horizontal, double(radius), int(ss)));
}

std::string GenResModule::gen_shadow_card(const std::string& d, const std::string& name, int64_t w,
                                          int64_t h, int64_t radius,
                                          const std::optional<Color>& fill,
                                          const ShadowSpec& shadow, bool crop, int64_t ss) {
  check_side(w, "width");
  check_side(h, "height");
  check_radius(double(radius));
  check_ss(ss);
  check_shadow(shadow);
  const int64_t pad = shadow_pad(shadow.ox, shadow.oy, shadow.blur);
  if (!crop) {
    check_side(w + 2 * pad, "shadow card width");
    check_side(h + 2 * pad, "shadow card height");
  }
  return save(d, name, shadow_card(int(w), int(h), double(radius), fill, shadow, crop, int(ss)));
}

Image GenResModule::ss_shape_mask(int64_t w, int64_t h, int64_t radius, int64_t ss) {
  check_side(w, "width");
  check_side(h, "height");
  check_radius(double(radius));
  check_ss(ss);
  return coverage_mask8(int(w), int(h), RoundRect{0, 0, double(w), double(h), double(radius)},
                        int(ss));
}

Image GenResModule::coverage_mask(int64_t w, int64_t h, double radius,
                                  const std::optional<std::vector<int64_t>>& rect) {
  check_side(w, "width");
  check_side(h, "height");
  check_radius(radius);
  RoundRect shape{0, 0, double(w), double(h), radius};
  if (rect) {
    const std::vector<int64_t>& r = *rect;
    if (r.size() != 4) throw ValueError("rect must hold x0, y0, x1, y1");
    if (r[0] > r[2] || r[1] > r[3])
      throw ValueError("rect (" + std::to_string(r[0]) + ", " + std::to_string(r[1]) + ", " +
                       std::to_string(r[2]) + ", " + std::to_string(r[3]) + ") is empty");
    // Inclusive pixel bounds: the last pixel is covered whole.
    shape = RoundRect{double(r[0]), double(r[1]), double(r[2] + 1), double(r[3] + 1), radius};
  }
  return coverage_mask8(int(w), int(h), shape, int(genres::COV_SS));
}

Image GenResModule::rounded_rect_cov(int64_t w, int64_t h, double radius, const Color& fill) {
  check_side(w, "width");
  check_side(h, "height");
  check_radius(radius);
  return rounded_rect(int(w), int(h), radius, fill, int(genres::COV_SS));
}

std::string GenResModule::to_9patch(const Image& img, int64_t radius, const std::string& d,
                                    const std::string& name) {
  check_side(img.w, "width");
  check_side(img.h, "height");
  check_radius(double(radius));
  if (img.channels != 4 || img.px.size() != size_t(img.w) * size_t(img.h) * 4)
    throw ValueError("a nine-patch is made of an RGBA picture");
  return save(d, name, nine_patch(img, radius));
}

// Neither fails: without the glyph kit's module file a name stays as it is
// written, so that drawing it reports the missing file.
std::string GenResModule::glyph_canonical(const std::string& glyph) {
  GlyphKit* k = kit_if_any();
  return k ? k->canonical(glyph) : glyph;
}

std::vector<std::string> GenResModule::glyph_list() {
  GlyphKit* k = kit_if_any();
  return k ? k->common_names() : std::vector<std::string>{};
}

std::string GenResModule::glyph_icon(const std::string& d, const std::string& name,
                                     const std::string& gname, int64_t size, const Color& color,
                                     bool pressed, std::pair<int64_t, int64_t> canvas) {
  check_side(size, "glyph size");
  // A canvas without a size is the glyph's own square.
  auto [cw, ch] = canvas;
  if (cw <= 0 || ch <= 0) cw = ch = size;
  check_side(cw, "canvas width");
  check_side(ch, "canvas height");
  return save(d, name, kit().icon(gname, int(size), rgb_of(color), pressed, int(cw), int(ch)));
}

std::string GenResModule::emoji_icon_box(const std::string& d, const std::string& name, int64_t w,
                                         int64_t h, const std::string& ch) {
  check_side(w, "width");
  check_side(h, "height");
  if (ch.empty()) throw ValueError("no emoji to draw");
  return save(d, name, kit().emoji(ch, int(w), int(h)));
}

std::string GenResModule::emoji_icon(const std::string& d, const std::string& name, int64_t size,
                                     const std::string& ch) {
  return emoji_icon_box(d, name, size, size, ch);
}

std::string GenResModule::frames_loading_gif(const std::string& d, const std::string& name,
                                             int64_t size, const std::optional<Color>& color,
                                             int64_t n) {
  check_side(size, "spinner size");
  check_frames(n);
  const std::string path = target_path(d, name);
  write_file_atomic(
      path, kit().spinner_gif(int(size), int(n), rgba_of(color.value_or(spinner_default()))));
  return path;
}

void GenResModule::frames_loading(const std::string& d, const std::string& base, int64_t size,
                                  const std::optional<Color>& color, int64_t n) {
  check_side(size, "spinner size");
  check_frames(n);
  const Rgba c = rgba_of(color.value_or(spinner_default()));
  GlyphKit& k = kit();
  std::vector<std::pair<std::string, std::string>> files;
  for (int64_t i = 0; i < n; ++i)
    files.emplace_back(target_path(d, frame_name(base, i)),
                       encode_png(tint(k.spinner_frame(int(size), int(i), int(n)),
                                       {to8(c.r), to8(c.g), to8(c.b)}, c.a)));
  write_files_atomic(files);
}

size_t GenResModule::emoji_glyph_count(const std::string& text) {
  return kit().emoji_glyph_count(text);
}

}  // namespace pagefold::genres
