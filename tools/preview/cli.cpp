#include "cli.hpp"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <ostream>

#include "against.hpp"
#include "compare.hpp"
#include "pages.hpp"
#include "render.hpp"
#include "report.hpp"
#include "sheet.hpp"

namespace fs = std::filesystem;

namespace pagefold::preview {

namespace {

const char* USAGE =
    "usage: pagefold-preview <page.json | pages directory> [-o DIR] [--assets DIR]\n"
    "                        [--font FILE] [--against PROTOTYPE.html] [--browser FILE]\n"
    "                        [--show-hidden]\n";

const char* METRIC =
    "share of pixels whose colour is within CIE76 delta E 10 of a pixel at most one pixel away "
    "in the other picture, both ways";

std::string absolute(const std::string& p) { return fs::absolute(p).lexically_normal().string(); }

std::string score_text(double score) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.4f", score);
  return buf;
}

std::string control_label(const std::string& path, const std::string& caption) {
  return caption.empty() ? path : path + " (" + caption + ")";
}

Value comparison_json(const PageComparison& c) {
  Value worst = Value::array();
  for (const ControlScore& w : c.worst)
    worst.as_array().push_back(Value::object({{"control", w.control},
                                              {"caption", w.caption},
                                              {"box", box_json(w.box)},
                                              {"score", w.score}}));
  return Value::object(
      {{"png", c.png}, {"score", c.score}, {"metric", METRIC}, {"worstControls", worst}});
}

}  // namespace

std::optional<Options> parse_args(const std::vector<std::string>& args, std::string& error) {
  Options o;
  for (size_t i = 0; i < args.size(); ++i) {
    std::string a = args[i], value;
    bool has_value = false;
    size_t eq = a.find('=');
    if (a.rfind("--", 0) == 0 && eq != std::string::npos) {
      value = a.substr(eq + 1);
      a = a.substr(0, eq);
      has_value = true;
    }
    auto take = [&](std::string& into) {
      if (!has_value) {
        if (i + 1 >= args.size()) {
          error = a + " needs a value";
          return false;
        }
        value = args[++i];
      }
      if (value.empty()) {
        error = a + " needs a value";
        return false;
      }
      into = value;
      return true;
    };
    if (a == "-o" || a == "--out") {
      if (!take(o.out_dir)) return std::nullopt;
    } else if (a == "--assets") {
      if (!take(o.assets)) return std::nullopt;
    } else if (a == "--font") {
      if (!take(o.font)) return std::nullopt;
    } else if (a == "--against") {
      if (!take(o.against)) return std::nullopt;
    } else if (a == "--browser") {
      if (!take(o.browser)) return std::nullopt;
    } else if (a == "--show-hidden" && !has_value) {
      o.show_hidden = true;
    } else if (a.size() > 1 && a[0] == '-') {
      error = "unknown option " + args[i];
      return std::nullopt;
    } else if (o.input.empty()) {
      o.input = a;
    } else {
      error = "more than one input: " + o.input + " and " + a;
      return std::nullopt;
    }
  }
  if (o.input.empty()) {
    error = "no page file or directory given";
    return std::nullopt;
  }
  return o;
}

int run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::string error;
  std::optional<Options> opt = parse_args(args, error);
  if (!opt) {
    err << "[X] " << error << "\n" << USAGE;
    return 2;
  }
  const Options& o = *opt;
  std::vector<std::string> files = page_files(o.input, error);
  if (files.empty()) {
    err << "[X] " << error << "\n";
    return 1;
  }
  std::error_code ec;
  std::string pages_dir =
      fs::is_directory(o.input, ec) ? o.input : fs::path(absolute(o.input)).parent_path().string();
  std::string asset_dir = absolute(o.assets.empty() ? default_asset_dir(pages_dir) : o.assets);
  std::string out_dir =
      absolute(o.out_dir.empty() ? (fs::path(pages_dir) / "preview").string() : o.out_dir);
  fs::create_directories(out_dir, ec);
  if (!fs::is_directory(out_dir, ec)) {
    err << "[X] cannot make the output directory " << out_dir << "\n";
    return 1;
  }
  std::unique_ptr<TextEngine> text = TextEngine::open(o.font, error);
  if (!text) {
    err << "[X] " << error << "\n";
    return 1;
  }
  if (text->is_device_font())
    out << "font: " << text->family() << " (" << text->file() << "), the device's font\n";
  else
    out << "font: " << text->family() << " (" << text->file()
        << "), a Debian CJK font, not the device's; --font FILE draws with the device's font "
           "and lists the characters it lacks\n";

  std::vector<std::string> errors;
  std::unique_ptr<Against> against;
  if (!o.against.empty()) {
    AgainstOptions ao{o.against, o.browser, out_dir, o.show_hidden};
    against = Against::open(ao, error);
    if (!against) errors.push_back(error);
  }

  PictureStore pictures(asset_dir);
  RenderOptions ro;
  ro.show_hidden = o.show_hidden;
  Value pages = Value::array();
  std::vector<std::pair<std::string, Raster>> drawn;
  for (const std::string& file : files) {
    std::optional<PageFile> page = read_page(file, error);
    if (!page) {
      errors.push_back(file + ": " + error);
      continue;
    }
    PageRender r = render_page(page->root, page->width, page->height, *text, pictures, ro);
    std::string png = (fs::path(out_dir) / (page->id + ".preview.png")).string();
    if (!write_png(png, r.image, true, error)) errors.push_back(error);
    Value pj = Value::object({{"page", page->id},
                              {"file", absolute(file)},
                              {"width", page->width},
                              {"height", page->height},
                              {"preview", png},
                              {"controls", r.controls},
                              {"drawn", r.drawn},
                              {"hidden", notes_json(r.hidden)},
                              {"notDrawn", notes_json(r.not_drawn)},
                              {"approximated", notes_json(r.approximated)},
                              {"missingGlyphs", glyph_gaps_json(r.missing_glyphs)}});
    out << page->id << ": " << page->width << "x" << page->height << ", " << r.drawn << " of "
        << r.controls << " controls drawn, " << r.hidden.size() << " hidden, " << r.not_drawn.size()
        << " not drawn, " << r.approximated.size() << " approximated -> " << png << "\n";
    for (const Note& n : r.not_drawn)
      out << "  not drawn: " << control_label(n.control, n.caption) << ": " << n.what << "\n";
    if (text->is_device_font())
      for (const GlyphGap& g : r.missing_glyphs) {
        out << "  missing in the font: " << control_label(g.control, g.caption) << ":";
        for (char32_t c : g.missing) out << " " << code_point_text(c) << " " << encode_utf8(c);
        out << "\n";
      }
    if (against) {
      PageComparison c;
      if (against->compare(*page, r, *text, c, error)) {
        pj["compare"] = comparison_json(c);
        out << page->id << ": similarity " << score_text(c.score)
            << " (share of pixels that look the same) -> " << c.png << "\n";
        for (const ControlScore& w : c.worst)
          out << "  differs: " << control_label(w.control, w.caption) << " " << score_text(w.score)
              << "\n";
      } else {
        pj["compare"] = Value::object({{"error", error}});
        errors.push_back(page->id + ": --against: " + error);
      }
    }
    pages.as_array().push_back(pj);
    drawn.emplace_back(page->id, std::move(r.image));
  }

  Value sheet_path;
  if (!drawn.empty()) {
    std::vector<SheetEntry> entries;
    for (const auto& [id, img] : drawn)
      entries.push_back({id + "  " + std::to_string(img.w) + "x" + std::to_string(img.h), &img});
    std::string sheet = (fs::path(out_dir) / "contact-sheet.png").string();
    if (write_png(sheet, contact_sheet(entries, *text), true, error)) {
      sheet_path = sheet;
      out << "contact sheet: " << sheet << "\n";
    } else {
      errors.push_back(error);
    }
  }

  Value errs = Value::array();
  for (const std::string& e : errors) errs.as_array().push_back(e);
  Value report =
      Value::object({{"font", Value::object({{"file", text->file()},
                                             {"family", text->family()},
                                             {"deviceFont", text->is_device_font()}})},
                     {"assetDir", asset_dir},
                     {"outputDir", out_dir},
                     {"against", o.against.empty() ? Value() : Value(absolute(o.against))},
                     {"pages", pages},
                     {"contactSheet", sheet_path},
                     {"errors", errs}});
  make_valid_utf8(report);
  std::string report_path = (fs::path(out_dir) / "preview-report.json").string();
  std::ofstream rep(report_path, std::ios::binary | std::ios::trunc);
  rep << dump(report, 2) << "\n";
  rep.close();
  if (!rep)
    errors.push_back("cannot write " + report_path);
  else
    out << "report: " << report_path << "\n";
  for (const std::string& e : errors) err << "[X] " << e << "\n";
  return errors.empty() ? 0 : 1;
}

}  // namespace pagefold::preview
