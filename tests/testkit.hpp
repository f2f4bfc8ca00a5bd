// Shared helpers for the test suites: temporary directories, small files,
// conversions of inline prototypes, and stand-in sibling modules.
#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "assets/assets.hpp"
#include "controls/controls.hpp"
#include "driver/converter.hpp"
#include "pagefold/json.hpp"
#include "pagefold/modules.hpp"
#include "util/ctx.hpp"

namespace pagefold::testkit {

// A fresh directory under the system temp dir, removed with the object.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  const std::filesystem::path& path() const { return path_; }
  std::string str() const { return path_.string(); }
  // Writes `content` to `name` inside the directory and answers its path.
  std::string write(const std::string& name, const std::string& content) const;

 private:
  std::filesystem::path path_;
};

std::string read_file(const std::string& path);

// A ui_emit stand-in: adds `"emitted": true` to every record and reports the
// types listed in `unfilled` as missing ["k"].
class FakeUiEmit : public UiEmit {
 public:
  std::vector<std::string> unfilled;
  std::vector<std::string> seen;  // types in call order
  std::pair<Value, Value> fill_required(const std::string& typ, Value ctrl) override;

 private:
  std::mutex seen_mu_;  // conversions on two threads may share one stand-in
};

// A gen_res stand-in that writes small, valid PNG files (solid colour of the
// requested size) and records each call as "<function> <file name>".
class FakeGenRes : public GenRes {
 public:
  std::vector<std::string> calls;
  std::vector<std::string> glyphs = {"home", "back", "wifi"};
  // Function names that throw a Failure("RuntimeError", "boom") when called.
  std::vector<std::string> failing;

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
  void frames_loading(const std::string& d, const std::string& base, int64_t size,
                      const std::optional<Color>& color, int64_t n) override;

 private:
  // Conversions on two threads may share one stand-in.
  void record(std::string call);
  std::string touch(const std::string& fn, const std::string& d, const std::string& name, int64_t w,
                    int64_t h);
  std::mutex calls_mu_;
};

// Writes a PNG of `w` by `h` pixels of one colour.
void write_png(const std::string& path, int w, int h, uint32_t rgba = 0xff0000ff);

// Modules with neither plug-in, or with the stand-ins.
Modules no_modules();
Modules fake_modules(std::shared_ptr<FakeUiEmit> ui = nullptr,
                     std::shared_ptr<FakeGenRes> gen = nullptr);

// Converts an inline prototype through the public function: the text is
// written to `<dir>/in.html` and converted with output into `<dir>/out`.
struct Run {
  Value record;
  std::vector<std::string> written;  // contents of jsonPaths, in order
};
Run run_pagefold(const TempDir& dir, const std::string& html, const Modules& modules,
                 std::optional<std::string> output = std::string("out"),
                 std::optional<std::string> res = std::nullopt,
                 std::optional<std::string> asset_dir = std::nullopt, bool merge = false);

// Converts an inline prototype with one converter and answers its result.
ConvertResult convert_html(const std::string& html, const Modules& modules,
                           std::optional<std::string> asset_dir = std::nullopt, bool merge = false);

// A page context with the control vocabulary's tables, as the converter
// makes one for each page.
Ctx page_ctx(const Modules* modules = nullptr);

// The control and asset stages of one conversion, set up as `convert` sets
// them up, with a page context, for tests of single operations.
struct Stages {
  PseudoTable pseudo_css;
  Assets assets;
  Controls controls;
  Ctx ctx;
  explicit Stages(const Modules* modules, std::optional<std::string> asset_dir = std::nullopt,
                  std::optional<std::string> res = std::nullopt, std::string css_text = "");
};

// The page file layout of a value (indent 2).
std::string pretty(const Value& v);
// Parses expected JSON written in a test (strict JSON, order kept).
Value J(const std::string& json_text);

}  // namespace pagefold::testkit
