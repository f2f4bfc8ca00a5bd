// Shared helpers for the test suites.
#include "testkit.hpp"

#include <spng.h>
#include <stdlib.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "controls/tables.hpp"
#include "pagefold/error.hpp"
#include "pagefold/pagefold.hpp"

namespace pagefold::testkit {

namespace fs = std::filesystem;

// ---------------------------------------------------------------- files

TempDir::TempDir() {
  std::string templ = (fs::temp_directory_path() / "pagefold-test-XXXXXX").string();
  if (!mkdtemp(templ.data())) throw std::runtime_error("cannot create a temporary directory");
  path_ = templ;
}

TempDir::~TempDir() {
  std::error_code ec;
  fs::remove_all(path_, ec);
}

std::string TempDir::write(const std::string& name, const std::string& content) const {
  const fs::path p = path_ / name;
  if (p.has_parent_path()) fs::create_directories(p.parent_path());
  std::ofstream out(p, std::ios::binary);
  out << content;
  if (!out) throw std::runtime_error("cannot write " + p.string());
  return p.string();
}

std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path);
  std::ostringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

void write_png(const std::string& path, int w, int h, uint32_t rgba) {
  // A PNG has at least one pixel each way.
  w = std::max(w, 1);
  h = std::max(h, 1);
  std::vector<uint8_t> px(size_t(w) * h * 4);
  for (size_t i = 0; i < px.size(); i += 4) {
    px[i] = uint8_t(rgba >> 24);
    px[i + 1] = uint8_t(rgba >> 16);
    px[i + 2] = uint8_t(rgba >> 8);
    px[i + 3] = uint8_t(rgba);
  }
  spng_ctx* ctx = spng_ctx_new(SPNG_CTX_ENCODER);
  spng_set_option(ctx, SPNG_ENCODE_TO_BUFFER, 1);
  spng_ihdr ihdr{};
  ihdr.width = uint32_t(w);
  ihdr.height = uint32_t(h);
  ihdr.bit_depth = 8;
  ihdr.color_type = SPNG_COLOR_TYPE_TRUECOLOR_ALPHA;
  spng_set_ihdr(ctx, &ihdr);
  int rc = spng_encode_image(ctx, px.data(), px.size(), SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE);
  size_t len = 0;
  void* buf = rc == 0 ? spng_get_png_buffer(ctx, &len, &rc) : nullptr;
  spng_ctx_free(ctx);
  if (!buf) throw std::runtime_error(std::string("cannot encode PNG: ") + spng_strerror(rc));
  std::ofstream out(path, std::ios::binary);
  out.write(static_cast<const char*>(buf), std::streamsize(len));
  free(buf);
  if (!out) throw std::runtime_error("cannot write " + path);
}

// ---------------------------------------------------------------- modules

std::pair<Value, Value> FakeUiEmit::fill_required(const std::string& typ, Value ctrl) {
  {
    std::lock_guard<std::mutex> lock(seen_mu_);
    seen.push_back(typ);
  }
  ctrl["emitted"] = true;
  Value missing = Value::array();
  if (std::find(unfilled.begin(), unfilled.end(), typ) != unfilled.end())
    missing.as_array().push_back("k");
  return {ctrl, missing};
}

namespace {

void maybe_fail(const std::vector<std::string>& failing, const std::string& fn) {
  if (std::find(failing.begin(), failing.end(), fn) != failing.end())
    throw Failure("RuntimeError", "boom");
}

Image filled(int64_t w, int64_t h, int channels, std::initializer_list<uint8_t> px) {
  Image img(int(std::max<int64_t>(w, 0)), int(std::max<int64_t>(h, 0)), channels);
  for (size_t i = 0; i < img.px.size(); i += channels) std::copy(px.begin(), px.end(), &img.px[i]);
  return img;
}

std::string size_text(int64_t w, int64_t h) { return std::to_string(w) + "x" + std::to_string(h); }

}  // namespace

void FakeGenRes::record(std::string call) {
  std::lock_guard<std::mutex> lock(calls_mu_);
  calls.push_back(std::move(call));
}

std::string FakeGenRes::touch(const std::string& fn, const std::string& d, const std::string& name,
                              int64_t w, int64_t h) {
  record(fn + " " + name);
  maybe_fail(failing, fn);
  // Like the real module, which makes its directory on first use.
  fs::create_directories(d);
  const std::string path = (fs::path(d) / name).string();
  write_png(path, int(w), int(h));
  return path;
}

std::string FakeGenRes::gen_gradient_stops(const std::string& d, const std::string& name, int64_t w,
                                           int64_t h, const std::vector<Stop>&, bool, int64_t,
                                           int64_t) {
  return touch("gen_gradient_stops", d, name, w, h);
}

std::string FakeGenRes::gen_shadow_card(const std::string& d, const std::string& name, int64_t w,
                                        int64_t h, int64_t, const std::optional<Color>&,
                                        const ShadowSpec&, bool, int64_t) {
  return touch("gen_shadow_card", d, name, w, h);
}

Image FakeGenRes::ss_shape_mask(int64_t w, int64_t h, int64_t, int64_t) {
  record("ss_shape_mask " + size_text(w, h));
  maybe_fail(failing, "ss_shape_mask");
  return filled(w, h, 1, {255});
}

Image FakeGenRes::coverage_mask(int64_t w, int64_t h, double,
                                const std::optional<std::vector<int64_t>>& rect) {
  record("coverage_mask " + size_text(w, h));
  maybe_fail(failing, "coverage_mask");
  Image img = filled(w, h, 1, {255});
  if (rect && rect->size() == 4) {
    const auto& r = *rect;
    for (int y = 0; y < img.h; ++y)
      for (int x = 0; x < img.w; ++x)
        if (x < r[0] || x > r[2] || y < r[1] || y > r[3]) *img.at(x, y) = 0;
  }
  return img;
}

Image FakeGenRes::rounded_rect_cov(int64_t w, int64_t h, double, const Color& fill) {
  record("rounded_rect_cov " + size_text(w, h));
  maybe_fail(failing, "rounded_rect_cov");
  return filled(
      w, h, 4,
      {uint8_t(fill.r()), uint8_t(fill.g()), uint8_t(fill.b()), uint8_t(fill.alpha_or_opaque())});
}

std::string FakeGenRes::to_9patch(const Image& img, int64_t, const std::string& d,
                                  const std::string& name) {
  return touch("to_9patch", d, name, img.w, img.h);
}

std::string FakeGenRes::glyph_canonical(const std::string& glyph) {
  maybe_fail(failing, "glyph_canonical");
  return std::find(glyphs.begin(), glyphs.end(), glyph) != glyphs.end() ? glyph : "";
}

std::vector<std::string> FakeGenRes::glyph_list() {
  maybe_fail(failing, "glyph_list");
  return glyphs;
}

std::string FakeGenRes::glyph_icon(const std::string& d, const std::string& name,
                                   const std::string&, int64_t size, const Color&, bool,
                                   std::pair<int64_t, int64_t> canvas) {
  const bool has_canvas = canvas.first > 0 && canvas.second > 0;
  return touch("glyph_icon", d, name, has_canvas ? canvas.first : size,
               has_canvas ? canvas.second : size);
}

std::string FakeGenRes::emoji_icon_box(const std::string& d, const std::string& name, int64_t w,
                                       int64_t h, const std::string&) {
  return touch("emoji_icon_box", d, name, w, h);
}

std::string FakeGenRes::emoji_icon(const std::string& d, const std::string& name, int64_t size,
                                   const std::string&) {
  return touch("emoji_icon", d, name, size, size);
}

std::string FakeGenRes::frames_loading_gif(const std::string& d, const std::string& name,
                                           int64_t size, const std::optional<Color>&, int64_t) {
  return touch("frames_loading_gif", d, name, size, size);
}

void FakeGenRes::frames_loading(const std::string& d, const std::string& base, int64_t size,
                                const std::optional<Color>&, int64_t n) {
  record("frames_loading " + base);
  maybe_fail(failing, "frames_loading");
  for (int64_t i = 0; i < n; ++i)
    write_png((fs::path(d) / (base + "_" + std::to_string(i) + ".png")).string(), int(size),
              int(size));
}

Modules no_modules() { return Modules::none(); }

Modules fake_modules(std::shared_ptr<FakeUiEmit> ui, std::shared_ptr<FakeGenRes> gen) {
  Modules m;
  m.ui_emit = ui ? std::move(ui) : std::make_shared<FakeUiEmit>();
  m.gen_res = gen ? std::move(gen) : std::make_shared<FakeGenRes>();
  return m;
}

// ---------------------------------------------------------------- conversions

Run run_pagefold(const TempDir& dir, const std::string& html, const Modules& modules,
                 std::optional<std::string> output, std::optional<std::string> res,
                 std::optional<std::string> asset_dir, bool merge) {
  const std::string input = dir.write("in.html", html);
  // Relative output and asset places are inside the directory.
  auto inside = [&](const std::optional<std::string>& p) -> std::optional<std::string> {
    if (!p) return std::nullopt;
    return (dir.path() / *p).string();
  };
  Run run;
  run.record = pagefold(input, inside(output), res, inside(asset_dir), merge, modules);
  const Value paths = run.record.get("jsonPaths");
  if (paths.is_array())
    for (const Value& p : paths.as_array())
      if (p.is_string()) run.written.push_back(read_file(p.as_string()));
  return run;
}

ConvertResult convert_html(const std::string& html, const Modules& modules,
                           std::optional<std::string> asset_dir, bool merge) {
  PageFold pf(std::nullopt, std::move(asset_dir), &modules);
  return pf.convert(html, merge);
}

std::string pretty(const Value& v) { return dump(v, 2); }

Value J(const std::string& json_text) { return parse_json(json_text); }

Ctx page_ctx(const Modules* modules) { return Ctx(ID_BASE, AUTO_NAME, modules); }

Stages::Stages(const Modules* modules, std::optional<std::string> asset_dir,
               std::optional<std::string> res, std::string css_text)
    : assets(std::move(asset_dir), modules ? modules->gen_res.get() : nullptr, std::move(css_text),
             pseudo_css),
      controls(std::move(res), std::nullopt, assets),
      ctx(page_ctx(modules)) {}

}  // namespace pagefold::testkit
