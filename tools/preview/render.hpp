// Draws one page the way the runtime draws it. The rules, one line each,
// are listed in docs/preview.md; every rule there that is an assumption is
// marked so, and whatever cannot be drawn is returned as a note.
#pragma once

#include <string>
#include <vector>

#include "layout.hpp"
#include "picture.hpp"
#include "text.hpp"

namespace pagefold::preview {

struct RenderOptions {
  // Draw controls whose `visible` is false too (dialogs that start hidden).
  bool show_hidden = false;
};

// Characters a control's text needs that the font lacks.
struct GlyphGap {
  std::string control, caption;
  std::u32string missing;
};

struct PageRender {
  Raster image;  // opaque, width by height
  Layout layout;
  int controls = 0;                // control records on the page
  int drawn = 0;                   // of those, the ones drawn (not hidden)
  std::vector<Note> not_drawn;     // left out, or drawn as a stand-in (missing pictures)
  std::vector<Note> approximated;  // drawn by an assumption about the runtime
  std::vector<Note> hidden;        // records with `visible` false, not drawn with their children
  std::vector<GlyphGap> missing_glyphs;
};

PageRender render_page(const Value& root, int width, int height, const TextEngine& text,
                       PictureStore& pictures, const RenderOptions& options = {});

}  // namespace pagefold::preview
