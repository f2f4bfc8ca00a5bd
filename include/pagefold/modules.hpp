// The two optional sibling modules and how they are found.
//
// `ui_emit` completes the keys that the runtime demands of each control type;
// `gen_res` draws pictures. Both are shared-library plug-ins found by name
// beside the executable (and beside an installed library). Without them
// conversion still works, with fewer pictures and more warnings. A caller of
// the library, tests above all, may choose the modules explicitly.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "pagefold/image.hpp"
#include "pagefold/json.hpp"
#include "pagefold/style_types.hpp"

namespace pagefold {

class UiEmit {
 public:
  virtual ~UiEmit() = default;
  // Completes `ctrl` in place with the keys the runtime demands of `typ`, and
  // answers (the same map, missing), `missing` being falsy when every required
  // key could be filled, else a value naming those that could not.
  virtual std::pair<Value, Value> fill_required(const std::string& typ, Value ctrl) = 0;
};

// Picture generation. Every path answered names a file inside the directory
// passed in; an empty path is a falsy answer. Failures are thrown.
class GenRes {
 public:
  virtual ~GenRes() = default;
  virtual std::optional<int64_t> SS_DEFAULT() const { return std::nullopt; }
  virtual std::optional<int64_t> COV_SS() const { return std::nullopt; }

  virtual std::string gen_gradient_stops(const std::string& d, const std::string& name, int64_t w,
                                         int64_t h, const std::vector<Stop>& stops, bool horizontal,
                                         int64_t radius, int64_t ss) = 0;
  virtual std::string gen_shadow_card(const std::string& d, const std::string& name, int64_t w,
                                      int64_t h, int64_t radius, const std::optional<Color>& fill,
                                      const ShadowSpec& shadow, bool crop, int64_t ss) = 0;
  virtual Image ss_shape_mask(int64_t w, int64_t h, int64_t radius, int64_t ss) = 0;
  // `rect`: inclusive pixel bounds (x0, y0, x1, y1) the shape fills, or none.
  virtual Image coverage_mask(int64_t w, int64_t h, double radius,
                              const std::optional<std::vector<int64_t>>& rect) = 0;
  virtual Image rounded_rect_cov(int64_t w, int64_t h, double radius, const Color& fill) = 0;
  virtual std::string to_9patch(const Image& img, int64_t radius, const std::string& d,
                                const std::string& name) = 0;
  virtual std::string glyph_canonical(const std::string& glyph) = 0;
  virtual std::vector<std::string> glyph_list() = 0;
  virtual std::string glyph_icon(const std::string& d, const std::string& name,
                                 const std::string& gname, int64_t size, const Color& color,
                                 bool pressed, std::pair<int64_t, int64_t> canvas) = 0;
  virtual std::string emoji_icon_box(const std::string& d, const std::string& name, int64_t w,
                                     int64_t h, const std::string& ch) = 0;
  virtual std::string emoji_icon(const std::string& d, const std::string& name, int64_t size,
                                 const std::string& ch) = 0;
  virtual std::string frames_loading_gif(const std::string& d, const std::string& name,
                                         int64_t size, const std::optional<Color>& color,
                                         int64_t n) = 0;
  virtual void frames_loading(const std::string& d, const std::string& base, int64_t size,
                              const std::optional<Color>& color, int64_t n) = 0;
};

// The modules of one conversion. A null pointer is a module that could not be
// loaded; its `*_error` holds the failure message of the load, such as
// "No module named 'ui_emit'".
struct Modules {
  std::shared_ptr<UiEmit> ui_emit;
  std::shared_ptr<GenRes> gen_res;
  std::string ui_emit_error = "No module named 'ui_emit'";
  std::string gen_res_error = "No module named 'gen_res'";

  // Neither module.
  static Modules none() { return Modules{}; }
  // The plug-ins found beside the running executable or the installed library,
  // loaded once per process.
  static const Modules& system();
  // The plug-ins found in `dirs`, looked for in order (the first directory
  // holding a loadable library of the module's name wins).
  static Modules load_from(const std::vector<std::string>& dirs);
};

// Entry points a plug-in library exports (C linkage, so they can be looked up
// by name): each returns a new module object owned by the caller.
using UiEmitFactory = UiEmit* (*)();
using GenResFactory = GenRes* (*)();
inline constexpr const char* UI_EMIT_FACTORY = "pagefold_ui_emit_create";
inline constexpr const char* GEN_RES_FACTORY = "pagefold_gen_res_create";
inline constexpr const char* UI_EMIT_LIBRARY = "libpagefold_ui_emit.so";
inline constexpr const char* GEN_RES_LIBRARY = "libpagefold_gen_res.so";

}  // namespace pagefold
