#include "text.hpp"

#include <cairo-ft.h>
#include <ft2build.h>
#include FT_FREETYPE_H

#include <cmath>
#include <filesystem>
#include <map>

namespace pagefold::preview {

namespace {

// One FreeType library for the process. Cairo may keep a font face (and with
// it the FreeType face) cached after the engine that made it is gone, so the
// library that owns the faces must outlive every engine.
FT_Library library() {
  static FT_Library lib = [] {
    FT_Library l = nullptr;
    return FT_Init_FreeType(&l) == 0 ? l : nullptr;
  }();
  return lib;
}

const cairo_user_data_key_t ft_face_key{};

void done_face(void* face) { FT_Done_Face(static_cast<FT_Face>(face)); }

FT_Face open_face(const std::string& file, long index, std::string& error) {
  FT_Face face = nullptr;
  if (!library()) {
    error = "FreeType could not start";
    return nullptr;
  }
  if (FT_New_Face(library(), file.c_str(), index, &face) != 0) {
    error = "cannot open font " + file;
    return nullptr;
  }
  if (!face->charmap) {
    FT_Done_Face(face);
    error = "font " + file + " has no Unicode character map";
    return nullptr;
  }
  return face;
}

// The index of the face of `family` in a font collection, or -1.
long find_family(const std::string& file, const std::string& family) {
  std::string error;
  FT_Face first = open_face(file, 0, error);
  if (!first) return -1;
  long n = first->num_faces, found = -1;
  FT_Done_Face(first);
  for (long i = 0; i < n && found < 0; ++i) {
    FT_Face f = open_face(file, i, error);
    if (!f) continue;
    if (f->family_name && family == f->family_name) found = i;
    FT_Done_Face(f);
  }
  return found;
}

}  // namespace

std::u32string decode_utf8(std::string_view s) {
  std::u32string out;
  size_t i = 0;
  while (i < s.size()) {
    unsigned char c = static_cast<unsigned char>(s[i]);
    int len = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
    char32_t cp = len == 1 ? c : len == 2 ? (c & 0x1F) : len == 3 ? (c & 0x0F) : (c & 0x07);
    bool ok = len > 0 && i + size_t(len) <= s.size();
    for (int k = 1; ok && k < len; ++k) {
      unsigned char cc = static_cast<unsigned char>(s[i + size_t(k)]);
      ok = (cc >> 6) == 2;
      cp = (cp << 6) | (cc & 0x3F);
    }
    static const char32_t min_of[] = {0, 0, 0x80, 0x800, 0x10000};
    if (ok && (cp < min_of[len] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))) ok = false;
    out.push_back(ok ? cp : U'\uFFFD');
    i += ok ? size_t(len) : 1;
  }
  return out;
}

std::string encode_utf8(char32_t c) {
  std::string s;
  if (c < 0x80) {
    s += char(c);
  } else if (c < 0x800) {
    s += char(0xC0 | (c >> 6));
    s += char(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    s += char(0xE0 | (c >> 12));
    s += char(0x80 | ((c >> 6) & 0x3F));
    s += char(0x80 | (c & 0x3F));
  } else {
    s += char(0xF0 | (c >> 18));
    s += char(0x80 | ((c >> 12) & 0x3F));
    s += char(0x80 | ((c >> 6) & 0x3F));
    s += char(0x80 | (c & 0x3F));
  }
  return s;
}

// The four variants (regular, italic, bold, bold italic) each get a FreeType
// face of their own: cairo shares one font face among all requests for the
// same FreeType face, so synthesised emboldening or slant set on one would
// leak into the others.
struct TextEngine::Faces {
  std::string regular_file, bold_file;
  long regular_index = 0, bold_index = 0;
  FT_Face ft[4] = {};
  cairo_font_face_t* cairo[4] = {};
  std::map<std::pair<int, double>, cairo_scaled_font_t*> scaled;
  cairo_font_options_t* options = nullptr;

  ~Faces() {
    for (auto& [key, sf] : scaled) cairo_scaled_font_destroy(sf);
    for (cairo_font_face_t* f : cairo)
      if (f) cairo_font_face_destroy(f);
    if (options) cairo_font_options_destroy(options);
  }

  bool make(int v, std::string& error) {
    if (cairo[v]) return true;
    bool bold = v & 2, italic = v & 1, real_bold = bold && !bold_file.empty();
    FT_Face f = real_bold ? open_face(bold_file, bold_index, error)
                          : open_face(regular_file, regular_index, error);
    if (!f) return false;
    cairo_font_face_t* cf = cairo_ft_font_face_create_for_ft_face(f, 0);
    if (cairo_font_face_set_user_data(cf, &ft_face_key, f, done_face) != CAIRO_STATUS_SUCCESS) {
      cairo_font_face_destroy(cf);
      FT_Done_Face(f);
      error = "cannot use font " + regular_file;
      return false;
    }
    unsigned synth = (bold && !real_bold ? unsigned(CAIRO_FT_SYNTHESIZE_BOLD) : 0u) |
                     (italic ? unsigned(CAIRO_FT_SYNTHESIZE_OBLIQUE) : 0u);
    if (synth) cairo_ft_font_face_set_synthesize(cf, synth);
    ft[v] = f;
    cairo[v] = cf;
    return true;
  }
};

std::unique_ptr<TextEngine> TextEngine::open(const std::string& font_file, std::string& error) {
  std::unique_ptr<TextEngine> e(new TextEngine());
  e->faces_ = std::make_unique<Faces>();
  Faces& f = *e->faces_;
  if (font_file.empty()) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(DEFAULT_FONT, ec)) {
      error = std::string("the default font ") + DEFAULT_FONT +
              " is missing (install fonts-noto-cjk) and no --font was given";
      return nullptr;
    }
    f.regular_file = DEFAULT_FONT;
    f.regular_index = std::max(find_family(DEFAULT_FONT, DEFAULT_FAMILY), 0L);
    if (std::filesystem::is_regular_file(DEFAULT_BOLD_FONT, ec)) {
      long bi = find_family(DEFAULT_BOLD_FONT, DEFAULT_FAMILY);
      if (bi >= 0) {
        f.bold_file = DEFAULT_BOLD_FONT;
        f.bold_index = bi;
      }
    }
  } else {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(font_file, ec)) {
      error = "font file not found: " + font_file;
      return nullptr;
    }
    f.regular_file = font_file;
    e->device_ = true;
  }
  if (!f.make(0, error)) return nullptr;
  e->file_ = f.regular_file;
  e->family_ = f.ft[0]->family_name ? f.ft[0]->family_name : "";
  f.options = cairo_font_options_create();
  cairo_font_options_set_antialias(f.options, CAIRO_ANTIALIAS_GRAY);
  cairo_font_options_set_hint_style(f.options, CAIRO_HINT_STYLE_SLIGHT);
  cairo_font_options_set_hint_metrics(f.options, CAIRO_HINT_METRICS_ON);
  return e;
}

TextEngine::~TextEngine() = default;

std::u32string TextEngine::missing(std::string_view text) const {
  std::u32string out;
  for (char32_t c : decode_utf8(text)) {
    if (c < 0x20 || c == 0x7F) continue;
    if (FT_Get_Char_Index(faces_->ft[0], c) == 0 && out.find(c) == std::u32string::npos)
      out.push_back(c);
  }
  return out;
}

cairo_scaled_font_t* TextEngine::scaled(const TextStyle& style) const {
  int v = (style.bold ? 2 : 0) | (style.italic ? 1 : 0);
  std::string error;
  if (!faces_->make(v, error)) v = 0;
  auto key = std::make_pair(v, style.size);
  auto it = faces_->scaled.find(key);
  if (it != faces_->scaled.end()) return it->second;
  cairo_matrix_t font_matrix, ctm;
  cairo_matrix_init_scale(&font_matrix, style.size, style.size);
  cairo_matrix_init_identity(&ctm);
  cairo_scaled_font_t* sf =
      cairo_scaled_font_create(faces_->cairo[v], &font_matrix, &ctm, faces_->options);
  faces_->scaled.emplace(key, sf);
  return sf;
}

double TextEngine::line_width(std::u32string_view line, const TextStyle& style) const {
  cairo_scaled_font_t* sf = scaled(style);
  int v = (style.bold ? 2 : 0) | (style.italic ? 1 : 0);
  FT_Face face = faces_->ft[v] ? faces_->ft[v] : faces_->ft[0];
  double w = 0;
  for (char32_t c : line) {
    cairo_glyph_t g{FT_Get_Char_Index(face, c), 0, 0};
    cairo_text_extents_t ext;
    cairo_scaled_font_glyph_extents(sf, &g, 1, &ext);
    w += ext.x_advance;
  }
  return w;
}

void TextEngine::draw(cairo_t* cr, std::string_view text, double x, double y, double w, double h,
                      const TextStyle& style) const {
  std::vector<std::u32string> lines(1);
  for (char32_t c : decode_utf8(text)) {
    if (c == U'\n')
      lines.emplace_back();
    else if (c >= 0x20 && c != 0x7F)
      lines.back().push_back(c);
  }
  cairo_scaled_font_t* sf = scaled(style);
  int v = (style.bold ? 2 : 0) | (style.italic ? 1 : 0);
  FT_Face face = faces_->ft[v] ? faces_->ft[v] : faces_->ft[0];
  cairo_font_extents_t fe;
  cairo_scaled_font_extents(sf, &fe);
  double line_h = fe.ascent + fe.descent;
  double top = std::floor(y + (h - line_h * double(lines.size())) / 2);
  cairo_save(cr);
  cairo_set_scaled_font(cr, sf);
  cairo_set_source_rgb(cr, ((style.rgb >> 16) & 255) / 255.0, ((style.rgb >> 8) & 255) / 255.0,
                       (style.rgb & 255) / 255.0);
  for (size_t i = 0; i < lines.size(); ++i) {
    const std::u32string& line = lines[i];
    double lw = line_width(line, style);
    double lx = style.align == ALIGN_CENTER  ? std::floor(x + (w - lw) / 2)
                : style.align == ALIGN_RIGHT ? std::floor(x + w - lw)
                                             : x;
    double baseline = std::round(top + line_h * double(i) + fe.ascent);
    std::vector<cairo_glyph_t> glyphs;
    glyphs.reserve(line.size());
    double pen = lx;
    for (char32_t c : line) {
      cairo_glyph_t g{FT_Get_Char_Index(face, c), pen, baseline};
      cairo_text_extents_t ext;
      cairo_scaled_font_glyph_extents(sf, &g, 1, &ext);
      glyphs.push_back(g);
      pen += ext.x_advance;
    }
    cairo_show_glyphs(cr, glyphs.data(), int(glyphs.size()));
  }
  cairo_restore(cr);
}

}  // namespace pagefold::preview
