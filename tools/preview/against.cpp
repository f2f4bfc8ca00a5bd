#include "against.hpp"

#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "browser.hpp"
#include "compare.hpp"
#include "pagefold/pagefold.hpp"
#include "sheet.hpp"

namespace fs = std::filesystem;

namespace pagefold::preview {

namespace {

struct Element {
  long number;
  std::string type;
  Box box;  // where the converter read the element to be
};

// Key number (or list place) of each control of a converted page, to the
// element its marked caption names and the box the converter read for it.
// The in-memory conversion makes no pictures, so its boxes are the ones the
// prototype gives: a shadow's growth of the box (and the shift of the
// children inside it) or a slider box raised for its thumb happen only where
// pictures are made, and the browser draws the shadow itself, outside the box.
std::map<std::string, Element> elements_of(const Value& root) {
  std::map<std::string, Element> out;
  Layout lay = lay_out(root, 1, 1);
  for (const Item& it : lay.items) {
    long n = element_of_caption(it.caption);
    if (it.is_control && n >= 0) out.emplace(it.id, Element{n, it.type, it.box});
  }
  return out;
}

// A converted text view that became an animation keeps its key number; any
// other change of type means the page was not converted from this prototype.
bool same_kind(const std::string& a, const std::string& b) {
  auto norm = [](const std::string& t) { return t == "imageanim" ? std::string("textview") : t; };
  return norm(a) == norm(b);
}

// A page of merged windows holds each screen as a top-level window whose
// caption is that screen's page id; its key numbers follow another count
// than a page of one screen.
bool merged(const Value& root, const std::vector<std::pair<std::string, Value>>& pages) {
  int screens = 0;
  for (const auto& [key, v] : root.as_object()) {
    if (key.rfind("window__", 0) != 0 || !v.get("caption").is_string()) continue;
    for (const auto& p : pages)
      if (p.first == v.get("caption").as_string()) ++screens;
  }
  return screens >= 2;
}

// The screenshot at the page's size: cut, or padded with black, should the
// browser have answered another size.
Raster fit_to(const Raster& r, int w, int h) {
  if (r.w == w && r.h == h) return r;
  Raster out(w, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      uint8_t* o = out.at(x, y);
      o[3] = 255;
      if (x < r.w && y < r.h) std::copy_n(r.at(x, y), 3, o);
    }
  return out;
}

}  // namespace

struct Against::State {
  AgainstOptions options;
  std::string marked;  // the prototype with data-pf numbers, for the browser
  std::string work_dir;
  bool keep_work_dir = false;
  std::vector<std::pair<std::string, Value>> pages;  // page id and converted root
};

std::unique_ptr<Against> Against::open(const AgainstOptions& options, std::string& error) {
  std::error_code ec;
  if (!fs::is_regular_file(options.prototype, ec)) {
    error = "--against: no such prototype file: " + options.prototype;
    return nullptr;
  }
  std::ifstream in(options.prototype, std::ios::binary);
  std::string html(std::istreambuf_iterator<char>(in), {});
  std::unique_ptr<Against> a(new Against());
  a->s_ = std::make_unique<State>();
  State& s = *a->s_;
  s.options = options;
  s.marked = mark_elements(html, "data-pf", "");
  Value record;
  try {
    record = convert_text(mark_elements(html, "data-caption", "pf"));
  } catch (const std::exception& e) {
    error = "--against: the prototype does not convert: " + std::string(e.what());
    return nullptr;
  }
  if (!record.get("success").truthy()) {
    error = "--against: the prototype does not convert: " +
            (record.get("error").is_string() ? record.get("error").as_string() : "");
    return nullptr;
  }
  for (const Value& p : record.get("pages").as_array())
    if (p.get("page").is_string()) s.pages.emplace_back(p.get("page").as_string(), p.get("data"));
  char tmpl[] = "/tmp/pagefold-preview-XXXXXX";
  if (!mkdtemp(tmpl)) {
    error = "--against: cannot make a working directory in /tmp";
    return nullptr;
  }
  s.work_dir = tmpl;
  return a;
}

Against::~Against() {
  if (s_ && !s_->work_dir.empty() && !s_->keep_work_dir) {
    std::error_code ec;
    fs::remove_all(s_->work_dir, ec);
  }
}

bool Against::compare(const PageFile& page, const PageRender& render, const TextEngine& text,
                      PageComparison& result, std::string& error) {
  State& s = *s_;
  // The screen of the page: the one of the same page id, or the only one.
  int screen = -1;
  for (size_t i = 0; i < s.pages.size(); ++i)
    if (s.pages[i].first == page.id) screen = int(i);
  if (screen < 0 && s.pages.size() == 1) screen = 0;
  if (screen < 0) {
    error = "no screen of the prototype has the page id " + page.id;
    return false;
  }
  if (merged(page.root, s.pages)) {
    error =
        "the page holds several screens as windows (--merge-windows); it is not compared "
        "with one screen";
    return false;
  }
  std::map<std::string, Element> elements = elements_of(s.pages[size_t(screen)].second);
  Placement place;
  place.screen = screen;
  place.width = page.width;
  place.height = page.height;
  for (const Item& it : render.layout.items) {
    auto e = elements.find(it.id);
    if (!it.is_control || e == elements.end()) continue;
    if (!same_kind(it.type, e->second.type)) {
      error = "the page file was not converted from this prototype: control " + it.path + " is a " +
              e->second.type + " there";
      return false;
    }
    place.boxes.emplace(e->second.number, e->second.box);
    if (it.hides && !s.options.show_hidden) place.hidden.insert(e->second.number);
  }
  std::string html_file = s.work_dir + "/" + std::to_string(screen) + ".html";
  std::string shot = s.work_dir + "/" + std::to_string(screen) + ".png";
  {
    std::ofstream out(html_file, std::ios::binary | std::ios::trunc);
    out << browser_copy(s.marked, fs::absolute(s.options.prototype).parent_path().string(), place);
    if (!out) {
      error = "cannot write " + html_file;
      return false;
    }
  }
  ShotResult r =
      screenshot(s.options.browser, html_file, page.width, page.height, shot, s.work_dir);
  if (!r.ok) {
    s.keep_work_dir = true;
    error = r.error;
    return false;
  }
  std::optional<Raster> browser = load_picture(shot, error);
  if (!browser) {
    s.keep_work_dir = true;
    error = "unreadable screenshot " + shot + ": " + error;
    return false;
  }
  Raster seen = fit_to(*browser, page.width, page.height);
  Similarity sim = compare_pictures(seen, render.image);
  result.score = rounded_score(sim.score);
  for (const Item& it : render.layout.items) {
    if (!it.is_control || it.hidden) continue;
    Box b = intersect(intersect(it.box, it.clip), render.layout.page);
    if (b.empty()) continue;
    result.worst.push_back({it.path, it.caption, it.box, rounded_score(box_score(sim, b))});
  }
  std::stable_sort(result.worst.begin(), result.worst.end(),
                   [](const ControlScore& a, const ControlScore& b) { return a.score < b.score; });
  if (result.worst.size() > WORST_CONTROLS) result.worst.resize(WORST_CONTROLS);
  Raster heat = heat_map(sim, render.image);
  Raster sheet =
      side_by_side({{"browser", &seen}, {"device", &render.image}, {"difference", &heat}}, text);
  result.png = (fs::path(s.options.out_dir) / (page.id + ".compare.png")).string();
  return write_png(result.png, sheet, true, error);
}

}  // namespace pagefold::preview
