#include "render.hpp"

#include "canvas.hpp"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <map>

namespace pagefold::preview {

namespace {

constexpr uint32_t HATCH_BASE = 0xE6E6E6, HATCH_LINE = 0xD32F2F, HATCH_TEXT = 0x202020;
constexpr uint32_t RESIDUE_DARK = 0x5A5A5A, RESIDUE_LIGHT = 0x7A7A7A;
constexpr int64_t DEFAULT_FONT_SIZE = 16;
constexpr int64_t MAX_FONT_SIZE = 1000;

std::string text_of(const Value& v) { return v.is_string() ? v.as_string() : std::string(); }

bool ends_with_nine_patch(const std::string& ref) {
  std::string lower = ref;
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return char(std::tolower(c)); });
  return lower.size() >= 6 && lower.compare(lower.size() - 6, 6, ".9.png") == 0;
}

// Floor division, for offsets that may be negative (a knob wider than its
// bar); C++ division truncates toward zero.
int64_t floor_div(int64_t a, int64_t b) {
  int64_t q = a / b;
  return (a % b != 0 && ((a < 0) != (b < 0))) ? q - 1 : q;
}

enum class Fit { OwnSize, Stretch };

class Painter {
 public:
  Painter(int w, int h, const TextEngine& text, PictureStore& pictures, PageRender& out)
      : text_(text), pictures_(pictures), out_(out) {
    surface_ = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
    cr_ = cairo_create(surface_);
  }
  ~Painter() {
    for (auto& [r, s] : surfaces_) cairo_surface_destroy(s);
    cairo_destroy(cr_);
    cairo_surface_destroy(surface_);
  }
  Painter(const Painter&) = delete;
  Painter& operator=(const Painter&) = delete;

  void page(const Value& root, const RenderOptions& options) {
    const Layout& lay = out_.layout;
    Box screen = lay.page;
    Value root_bg = root.get("backgroundColor");
    std::optional<uint32_t> bg = colour_value(root_bg);
    if (!bg && !root_bg.is_null())
      out_.not_drawn.push_back({"", "", "backgroundColor: the value is no colour"});
    if (bg) {
      if (!(lay.root == screen)) residue(screen);
      fill(lay.root, screen, *bg);
    } else {
      residue(screen);
      out_.approximated.push_back(
          {"", "",
           "the page has no backgroundColor: the device does not clear the screen and shows "
           "what was there before; drawn as a grey checkerboard"});
    }
    if (!(lay.root == screen))
      out_.approximated.push_back(
          {"", "", "the page has a position of its own: controls are placed inside it"});
    // Records that could not be placed count as controls not drawn.
    out_.controls = int(lay.problems.size());
    for (const Item& it : lay.items) {
      if (it.is_control) ++out_.controls;
      if (it.hidden && !options.show_hidden) {
        if (it.hides)
          out_.hidden.push_back(
              {it.path, it.caption, "visible is false: not drawn, nor anything inside it"});
        continue;
      }
      if (it.hides)
        out_.approximated.push_back(
            {it.path, it.caption, "visible is false: drawn anyway (--show-hidden)"});
      if (it.is_control) ++out_.drawn;
      draw(it);
    }
  }

  Raster result() { return from_surface(surface_); }

 private:
  // ---- notes ----

  void not_drawn(const Item& it, std::string what) {
    out_.not_drawn.push_back({it.path, it.caption, std::move(what)});
  }
  void approximated(const Item& it, std::string what) {
    out_.approximated.push_back({it.path, it.caption, std::move(what)});
  }

  // ---- primitives ----

  static std::optional<uint32_t> colour_value(const Value& v) {
    if (!v.is_int() || v.as_int() < 0 || v.as_int() > 0xFFFFFF) return std::nullopt;
    return uint32_t(v.as_int());
  }

  // A colour key of a record: a colour integer, -1 or absent for none; any
  // other value is noted and counts as none.
  std::optional<uint32_t> colour(const Item& it, const Value& v, const std::string& what) {
    if (v.is_null() || (v.is_int() && v.as_int() == -1)) return std::nullopt;
    std::optional<uint32_t> c = colour_value(v);
    if (!c)
      not_drawn(it, what + ": " + (v.is_int() ? std::to_string(v.as_int()) : std::string("value")) +
                        " is no colour");
    return c;
  }

  // The entry `color<state>` of a colour table, or `color0` when the state has
  // none.
  std::optional<uint32_t> tab_colour(const Item& it, const char* tab, int state) {
    Value t = it.rec.get(tab);
    if (!t.is_object()) return std::nullopt;
    std::string key = "color" + std::to_string(state);
    if (!t.contains(key)) key = "color0";
    return colour(it, t.get(key), std::string(tab) + "." + key);
  }

  void set_rgb(uint32_t rgb) {
    cairo_set_source_rgb(cr_, ((rgb >> 16) & 255) / 255.0, ((rgb >> 8) & 255) / 255.0,
                         (rgb & 255) / 255.0);
  }

  void with_clip(const Box& clip, const std::function<void()>& f) {
    if (clip.empty()) return;
    cairo_save(cr_);
    cairo_rectangle(cr_, double(clip.x), double(clip.y), double(clip.w), double(clip.h));
    cairo_clip(cr_);
    f();
    cairo_restore(cr_);
  }

  void fill(const Box& area, const Box& clip, uint32_t rgb) {
    with_clip(intersect(area, clip), [&] {
      set_rgb(rgb);
      cairo_paint(cr_);
    });
  }

  void residue(const Box& area) {
    with_clip(area, [&] {
      for (int64_t y = 0; y < area.h; y += 16)
        for (int64_t x = 0; x < area.w; x += 16) {
          set_rgb(((x + y) / 16) % 2 ? RESIDUE_LIGHT : RESIDUE_DARK);
          cairo_rectangle(cr_, double(area.x + x), double(area.y + y), 16, 16);
          cairo_fill(cr_);
        }
    });
  }

  // A picture that is not there: a hatched box with the picture's name, so
  // that nothing the page refers to is silently invisible.
  void hatch(const Box& area, const Box& clip, const std::string& name) {
    with_clip(intersect(area, clip), [&] {
      set_rgb(HATCH_BASE);
      cairo_paint(cr_);
      set_rgb(HATCH_LINE);
      cairo_set_line_width(cr_, 2);
      for (int64_t d = -area.h; d < area.w; d += 10) {
        cairo_move_to(cr_, double(area.x + d), double(area.y + area.h));
        cairo_line_to(cr_, double(area.x + d + area.h), double(area.y));
      }
      cairo_stroke(cr_);
      cairo_rectangle(cr_, double(area.x) + 1, double(area.y) + 1, double(area.w) - 2,
                      double(area.h) - 2);
      cairo_stroke(cr_);
      TextStyle s;
      s.size = 11;
      s.rgb = HATCH_TEXT;
      double tw = text_.line_width(decode_utf8(name), s) + 4;
      set_rgb(HATCH_BASE);
      cairo_rectangle(cr_, double(area.x) + 2, double(area.y) + 2, tw, 15);
      cairo_fill(cr_);
      text_.draw(cr_, name, double(area.x) + 4, double(area.y) + 2, double(area.w), 15, s);
    });
  }

  cairo_surface_t* surface_of(const Raster& r) {
    auto it = surfaces_.find(&r);
    if (it != surfaces_.end()) return it->second;
    return surfaces_.emplace(&r, to_surface(r)).first->second;
  }

  // Paints `s` (of size sw by sh) scaled onto `dst`.
  void paint_scaled(cairo_surface_t* s, int sw, int sh, const Box& dst, const Box& clip) {
    if (sw <= 0 || sh <= 0 || dst.empty()) return;
    with_clip(intersect(dst, clip), [&] {
      cairo_translate(cr_, double(dst.x), double(dst.y));
      cairo_scale(cr_, double(dst.w) / sw, double(dst.h) / sh);
      cairo_set_source_surface(cr_, s, 0, 0);
      cairo_pattern_t* p = cairo_get_source(cr_);
      cairo_pattern_set_extend(p, CAIRO_EXTEND_PAD);
      cairo_pattern_set_filter(
          p, sw == dst.w && sh == dst.h ? CAIRO_FILTER_NEAREST : CAIRO_FILTER_BILINEAR);
      cairo_paint(cr_);
    });
  }

  void paint_nine_patch(const NinePatch& np, const Box& dst, const Box& clip) {
    cairo_surface_t* s = surface_of(np.image);
    std::vector<int> xs = stretch_runs(np.xs, int(std::min<int64_t>(dst.w, MAX_PICTURE_SIDE * 4)));
    std::vector<int> ys = stretch_runs(np.ys, int(std::min<int64_t>(dst.h, MAX_PICTURE_SIDE * 4)));
    int64_t dy = dst.y;
    for (size_t j = 0; j < np.ys.size(); ++j) {
      int64_t dx = dst.x;
      for (size_t i = 0; i < np.xs.size(); ++i) {
        const auto& rx = np.xs[i];
        const auto& ry = np.ys[j];
        if (xs[i] > 0 && ys[j] > 0) {
          cairo_surface_t* part =
              cairo_surface_create_for_rectangle(s, rx.start, ry.start, rx.length, ry.length);
          paint_scaled(part, rx.length, ry.length, Box{dx, dy, xs[i], ys[j]}, clip);
          cairo_surface_destroy(part);
        }
        dx += xs[i];
      }
      dy += ys[j];
    }
  }

  // Draws the picture `ref` (the record's key `key`) onto `target`: a
  // nine-patch stretched by its marks, otherwise at its own size at the
  // target's top left, or stretched to the target. A picture that cannot be
  // drawn becomes a hatched box over `target`. Answers the picture drawn.
  const Raster* picture(const Item& it, const std::string& key, const Value& ref, const Box& target,
                        Fit fit, const Box& clip) {
    if (ref.is_null()) return nullptr;
    if (!ref.is_string()) {
      not_drawn(it, key + ": the value is no picture reference");
      return nullptr;
    }
    const std::string& name = ref.as_string();
    if (name.empty()) return nullptr;
    std::string error;
    const Raster* r = pictures_.get(name, error);
    if (!r) {
      hatch(target, clip, std::filesystem::path(name).filename().string());
      not_drawn(it, key + " " + name + ": " + error + " (" + pictures_.resolve(name) +
                        "); drawn as a hatched box");
      return nullptr;
    }
    if (ends_with_nine_patch(name)) {
      std::optional<NinePatch> np = read_nine_patch(*r, error);
      if (np) {
        paint_nine_patch(*np, target, clip);
        return r;
      }
      approximated(it, key + " " + name + ": " + error + "; drawn as a plain picture");
    }
    Box own{target.x, target.y, r->w, r->h};
    paint_scaled(surface_of(*r), r->w, r->h, fit == Fit::Stretch ? target : own, clip);
    return r;
  }

  // The text style of a record in state `state` (0 normal, 2 checked).
  std::optional<TextStyle> style_of(const Item& it, int state, const char* colour_tab = "colorTab",
                                    bool default_size_ok = true) {
    TextStyle s;
    Value fs = it.rec.get("fontSize");
    std::optional<int64_t> size = int_of(fs);
    if (!size || *size <= 0) {
      if (!default_size_ok || !fs.is_null())
        approximated(it, "no usable fontSize: text drawn at " + std::to_string(DEFAULT_FONT_SIZE) +
                             " px, the runtime's own default is not known here");
      size = DEFAULT_FONT_SIZE;
    } else if (*size > MAX_FONT_SIZE) {
      approximated(
          it, "fontSize " + std::to_string(*size) + " drawn at " + std::to_string(MAX_FONT_SIZE));
      size = MAX_FONT_SIZE;
    }
    s.size = double(*size);
    Value b = it.rec.get("bold"), i = it.rec.get("italic");
    s.bold = b.is_bool() && b.as_bool();
    s.italic = i.is_bool() && i.as_bool();
    Value al = it.rec.get("alignment");
    s.align = ALIGN_LEFT;
    if (al.is_int() &&
        (al.as_int() == ALIGN_LEFT || al.as_int() == ALIGN_CENTER || al.as_int() == ALIGN_RIGHT))
      s.align = al.as_int();
    else if (!al.is_null())
      approximated(it, "alignment " + (al.is_int() ? std::to_string(al.as_int()) : "value") +
                           " is not one of 36, 37, 38: text drawn left-aligned");
    std::optional<uint32_t> c = tab_colour(it, colour_tab, state);
    if (!c) return std::nullopt;
    s.rgb = *c;
    return s;
  }

  void text(const Item& it, const std::string& s, const Box& area, const TextStyle& style,
            const Box& clip) {
    if (s.empty()) return;
    std::u32string gaps = text_.missing(s);
    if (!gaps.empty()) {
      if (out_.missing_glyphs.empty() || out_.missing_glyphs.back().control != it.path)
        out_.missing_glyphs.push_back({it.path, it.caption, {}});
      std::u32string& have = out_.missing_glyphs.back().missing;
      for (char32_t c : gaps)
        if (have.find(c) == std::u32string::npos) have.push_back(c);
    }
    with_clip(intersect(area, clip), [&] {
      text_.draw(cr_, s, double(area.x), double(area.y), double(area.w), double(area.h), style);
    });
  }

  // The record's `text` in its own style; `what` names the text in notes.
  void record_text(const Item& it, const Box& area, const Box& clip, int state = 0,
                   bool default_size_ok = true) {
    Value t = it.rec.get("text");
    if (t.is_null()) return;
    if (!t.is_string()) {
      not_drawn(it, "text: the value is no text");
      return;
    }
    if (t.as_string().empty()) return;
    std::optional<TextStyle> s = style_of(it, state, "colorTab", default_size_ok);
    if (!s) {
      not_drawn(it, "text: no text colour in colorTab");
      return;
    }
    text(it, t.as_string(), area, *s, clip);
  }

  // A sub-rectangle of the control given by a map such as `iconPosition`.
  std::optional<Box> sub_box(const Item& it, const char* key) {
    Value p = it.rec.get(key);
    if (!p.is_object()) return std::nullopt;
    Box b{it.box.x + int_of(p.get("left")).value_or(0), it.box.y + int_of(p.get("top")).value_or(0),
          std::max<int64_t>(0, int_of(p.get("width")).value_or(0)),
          std::max<int64_t>(0, int_of(p.get("height")).value_or(0))};
    return b;
  }

  void background(const Item& it, const Box& clip) {
    if (auto c = colour(it, it.rec.get("backgroundColor"), "backgroundColor"))
      fill(it.box, clip, *c);
  }

  // ---- controls ----

  void draw(const Item& it) {
    Box clip = intersect(it.clip, it.box);
    if (it.box.empty()) {
      if (it.is_control) not_drawn(it, "its box is empty");
      return;
    }
    if (clip.empty()) {
      if (it.is_control) not_drawn(it, "outside its container or the screen: nothing of it shows");
      return;
    }
    const std::string& t = it.type;
    const Value& r = it.rec;
    if (t == "window" || t == "scrollwindow" || t == "pagewindow" || t == "listview" ||
        t == "slidewindow" || t == "diagram" || t == "radiogroup") {
      background(it, clip);
      picture(it, "backgroundPic", r.get("backgroundPic"), it.box, Fit::OwnSize, clip);
      if (t == "diagram") {
        Value infos = r.get("infos");
        if (infos.is_array() && !infos.as_array().empty())
          not_drawn(it, std::to_string(infos.as_array().size()) +
                            " wave(s): their data is set at run time");
      }
      if (t == "listview" && !r.get("item").get("subItem").truthy())
        approximated(it, "the list has no sub-items; its rows are filled at run time");
    } else if (t == "listrow") {
      background(it, clip);
      if (auto c = tab_colour(it, "bgColorTab", 0)) fill(it.box, clip, *c);
      picture(it, "item.backgroundPic", r.get("backgroundPic"), it.box, Fit::OwnSize, clip);
      record_text(it, it.box, clip);
    } else if (t == "textview" || t == "subitem" || t == "slidetext") {
      background(it, clip);
      if (auto c = tab_colour(it, "bgColorTab", 0)) fill(it.box, clip, *c);
      if (t == "slidetext")
        if (auto c = colour(it, r.get("textBgColor"), "textBgColor")) fill(it.box, clip, *c);
      picture(it, "backgroundPic", r.get("backgroundPic"), it.box, Fit::OwnSize, clip);
      record_text(it, it.box, clip);
      if (r.get("rollEnable").truthy()) approximated(it, "rolling text drawn at rest");
    } else if (t == "button") {
      button(it, clip);
    } else if (t == "edittext") {
      edit(it, clip);
    } else if (t == "checkbox" || t == "radiobutton") {
      check(it, clip);
    } else if (t == "seekbar") {
      seekbar(it, clip);
    } else if (t == "circlebar" || t == "pointer") {
      background(it, clip);
      picture(it, "backgroundPic", r.get("backgroundPic"), it.box, Fit::OwnSize, clip);
      if (t == "circlebar")
        not_drawn(it,
                  "progress picture, knob and value text: drawn at run time from the value the "
                  "code sets");
      else if (r.get("pointerPic").truthy())
        not_drawn(it, "needle pointerPic: its angle and pivot are set at run time");
    } else if (t == "digitalclock") {
      clock(it, clip);
    } else if (t == "imageanim") {
      if (picture(it, "playFile", r.get("playFile"), it.box, Fit::OwnSize, clip))
        approximated(it, "the animation's first frame is shown");
    } else if (t == "slideitem") {
      slide_item(it, clip);
    } else if (t == "painter") {
      not_drawn(it,
                "drawn at run time by code (a rounded button: the code in radButtonGlue of the "
                "conversion's result)");
    } else if (t == "qrcode") {
      qrcode(it, clip);
    } else if (t == "videoview" || t == "cameraview") {
      background(it, clip);
      not_drawn(it, t == "videoview" ? "the video is shown at run time"
                                     : "the camera picture is shown at run time");
    } else {
      not_drawn(it, "unknown control type " + t);
    }
  }

  void button(const Item& it, const Box& clip) {
    const Value& r = it.rec;
    if (auto c = tab_colour(it, "bgColorTab", 0)) fill(it.box, clip, *c);
    picture(it, "backgroundPic", r.get("backgroundPic"), it.box, Fit::OwnSize, clip);
    Box icon = sub_box(it, "iconPosition").value_or(it.box);
    picture(it, "picTab.pic0", r.get("picTab").get("pic0"), icon, Fit::OwnSize, clip);
    record_text(it, it.box, clip, 0, false);
  }

  void edit(const Item& it, const Box& clip) {
    const Value& r = it.rec;
    if (auto c = tab_colour(it, "bgColorTab", 0)) fill(it.box, clip, *c);
    std::string s = text_of(r.get("text"));
    if (!s.empty()) {
      if (r.get("isPassword").truthy()) {
        std::u32string mask = decode_utf8(text_of(r.get("passwordChar")));
        std::string ch = encode_utf8(mask.empty() ? U'*' : mask[0]);
        size_t n = decode_utf8(s).size();
        s.clear();
        for (size_t i = 0; i < n; ++i) s += ch;
      }
      if (auto st = style_of(it, 0)) text(it, s, it.box, *st, clip);
      return;
    }
    std::string hint = text_of(r.get("hintText"));
    if (hint.empty()) return;
    std::optional<TextStyle> st = style_of(it, 0);
    std::optional<uint32_t> hc = colour(it, r.get("hintTextColor"), "hintTextColor");
    if (!st || !hc) {
      not_drawn(it, "hintText: no hint colour");
      return;
    }
    st->rgb = *hc;
    text(it, hint, it.box, *st, clip);
  }

  // Check boxes and radio buttons: state 2 when checked. Without a picture the
  // state's background colour fills the icon box (the whole box when there is
  // none); the text goes in textPosition, or the whole box.
  void check(const Item& it, const Box& clip) {
    const Value& r = it.rec;
    Value checked = r.get("checked");
    int state = checked.is_bool() && checked.as_bool() ? 2 : 0;
    background(it, clip);
    Box icon = sub_box(it, "iconPosition").value_or(it.box);
    Value pics = r.get("picTab");
    std::string key = "pic" + std::to_string(state);
    if (!pics.contains(key)) key = "pic0";
    Value pic = pics.get(key);
    if (pic.truthy()) {
      if (auto c = tab_colour(it, "bgColorTab", state)) fill(it.box, clip, *c);
      picture(it, "picTab." + key, pic, icon, Fit::OwnSize, clip);
    } else if (auto c = tab_colour(it, "bgColorTab", state)) {
      fill(icon, clip, *c);
    }
    Box text_box = sub_box(it, "textPosition").value_or(it.box);
    record_text(it, text_box, clip, state);
  }

  // A bar as the device draws it: the track stretched to the box, the fill
  // 1:1 and cut at floor(width x progress / max), the knob at its own size,
  // its left edge at floor((width - knob width) x progress / max), centred
  // vertically and cut by the box.
  void seekbar(const Item& it, const Box& clip) {
    const Value& r = it.rec;
    background(it, clip);
    int64_t mx = int_of(r.get("max")).value_or(100);
    int64_t p = int_of(r.get("defProgress")).value_or(0);
    if (mx <= 0) {
      approximated(it, "max " + std::to_string(mx) + " is not positive: drawn with max 100");
      mx = 100;
    }
    p = std::clamp<int64_t>(p, 0, mx);
    Value ori = r.get("orientation");
    bool vertical = ori.is_int() && ori.as_int() == 1;
    if (vertical)
      approximated(it, "orientation 1 drawn as a vertical bar filling from the bottom");
    else if (ori.is_int() && ori.as_int() != 0)
      approximated(it, "orientation " + std::to_string(ori.as_int()) + " drawn as horizontal");
    const Box& b = it.box;
    bool any = false;
    if (r.get("backgroundPic").truthy()) {
      any = true;
      picture(it, "backgroundPic", r.get("backgroundPic"), b, Fit::Stretch, clip);
    }
    if (r.get("progressPic").truthy()) {
      any = true;
      int64_t shown = (vertical ? b.h : b.w) * p / mx;
      Box cut = vertical ? Box{b.x, b.y + b.h - shown, b.w, shown} : Box{b.x, b.y, shown, b.h};
      picture(it, "progressPic", r.get("progressPic"), b, Fit::OwnSize, intersect(clip, cut));
    }
    Value thumb = r.get("thumb");
    if (thumb.get("normalPic").truthy()) {
      any = true;
      std::string error;
      Value ref = thumb.get("normalPic");
      const Raster* knob = ref.is_string() ? pictures_.get(ref.as_string(), error) : nullptr;
      // A knob whose picture is missing is hatched at its declared size.
      Value size = thumb.get("size");
      int64_t tw = knob ? knob->w : int_of(size.get("width")).value_or(0);
      int64_t th = knob ? knob->h : int_of(size.get("height")).value_or(0);
      Box at = b;
      if (tw > 0 && th > 0)
        at = vertical
                 ? Box{b.x + floor_div(b.w - tw, 2), b.y + floor_div((b.h - th) * (mx - p), mx), tw,
                       th}
                 : Box{b.x + floor_div((b.w - tw) * p, mx), b.y + floor_div(b.h - th, 2), tw, th};
      picture(it, "thumb.normalPic", ref, at, Fit::OwnSize, clip);
    }
    if (!any)
      not_drawn(it,
                "the bar has no pictures: the runtime's own look of a bare bar is not known "
                "here");
  }

  void clock(const Item& it, const Box& clip) {
    const Value& r = it.rec;
    background(it, clip);
    if (auto c = tab_colour(it, "bgColorTab", 0)) fill(it.box, clip, *c);
    std::string fmt = text_of(r.get("format"));
    if (fmt.empty()) fmt = "HH:MM";
    for (char& c : fmt)
      if (std::isalpha(static_cast<unsigned char>(c))) c = '0';
    std::optional<TextStyle> st = style_of(it, 0);
    std::optional<uint32_t> cc = colour(it, r.get("clockColor"), "clockColor");
    if (!cc) {
      not_drawn(it, "the time: no clockColor");
      return;
    }
    TextStyle s = st.value_or(TextStyle{});
    if (!st) {
      std::optional<int64_t> fs = int_of(r.get("fontSize"));
      s.size = double(std::clamp<int64_t>(fs.value_or(DEFAULT_FONT_SIZE), 1, MAX_FONT_SIZE));
    }
    s.rgb = *cc;
    approximated(it, "the time is shown at run time: drawn as " + fmt + ", left-aligned");
    text(it, fmt, it.box, s, clip);
  }

  // An item of a slide window: its icon at its own size, centred at the top
  // of its cell, and its text centred below the icon, in the window's font
  // size.
  void slide_item(const Item& it, const Box& clip) {
    const Value& r = it.rec;
    std::string error;
    Value ref = r.get("picTab").get("pic0");
    const Raster* icon = ref.is_string() && !ref.as_string().empty()
                             ? pictures_.get(ref.as_string(), error)
                             : nullptr;
    int64_t iw = icon ? icon->w : 0, ih = icon ? icon->h : 0;
    Box at{it.box.x + (it.box.w - iw) / 2, it.box.y, iw, ih};
    if (!icon && ref.truthy()) {
      // A missing icon is hatched at the window's icon size.
      Value size = it.owner.get("iconSize");
      iw = std::clamp<int64_t>(int_of(size.get("width")).value_or(0), 0, it.box.w);
      ih = std::clamp<int64_t>(int_of(size.get("height")).value_or(0), 0, it.box.h);
      at = Box{it.box.x + (it.box.w - iw) / 2, it.box.y, iw, ih};
    }
    picture(it, "picTab.pic0", ref, at, Fit::OwnSize, clip);
    std::string s = text_of(r.get("text"));
    if (s.empty()) return;
    std::optional<uint32_t> c = tab_colour(it, "colorTab", 0);
    if (!c) {
      not_drawn(it, "text: no text colour in colorTab");
      return;
    }
    TextStyle st;
    st.rgb = *c;
    st.align = ALIGN_CENTER;
    st.size = double(std::clamp<int64_t>(
        int_of(it.owner.get("fontSize")).value_or(DEFAULT_FONT_SIZE), 1, MAX_FONT_SIZE));
    int64_t top = at.y + at.h;
    text(it, s, Box{it.box.x, top, it.box.w, std::max<int64_t>(0, it.box.y + it.box.h - top)}, st,
         clip);
  }

  void qrcode(const Item& it, const Box& clip) {
    background(it, clip);
    int64_t pad = std::clamp<int64_t>(int_of(it.rec.get("padding")).value_or(0), 0, 1000);
    Box inner{it.box.x + pad, it.box.y + pad, it.box.w - 2 * pad, it.box.h - 2 * pad};
    with_clip(intersect(inner, clip), [&] {
      set_rgb(0);
      int64_t cell = std::max<int64_t>(2, std::min(inner.w, inner.h) / 21);
      for (int64_t y = 0; y * cell < inner.h; ++y)
        for (int64_t x = 0; x * cell < inner.w; ++x)
          if (((x * 7) ^ (y * 13) ^ (x * y)) % 3 == 0)
            cairo_rectangle(cr_, double(inner.x + x * cell), double(inner.y + y * cell),
                            double(cell), double(cell));
      cairo_fill(cr_);
    });
    approximated(it, "the QR code of codeStr is drawn as a stand-in pattern");
  }

  const TextEngine& text_;
  PictureStore& pictures_;
  PageRender& out_;
  cairo_surface_t* surface_ = nullptr;
  cairo_t* cr_ = nullptr;
  std::map<const Raster*, cairo_surface_t*> surfaces_;
};

}  // namespace

PageRender render_page(const Value& root, int width, int height, const TextEngine& text,
                       PictureStore& pictures, const RenderOptions& options) {
  PageRender out;
  out.layout = lay_out(root, width, height);
  out.not_drawn = out.layout.problems;
  {
    Painter p(width, height, text, pictures, out);
    p.page(root, options);
    out.image = p.result();
  }
  return out;
}

}  // namespace pagefold::preview
