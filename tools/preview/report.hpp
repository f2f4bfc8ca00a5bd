// The parts of preview-report.json, built as the library's ordered JSON
// values so that the file keeps the documented key order.
#pragma once

#include <string>
#include <vector>

#include "layout.hpp"
#include "render.hpp"

namespace pagefold::preview {

// "U+6E29" for a code point.
std::string code_point_text(char32_t c);

Value notes_json(const std::vector<Note>& notes);
Value glyph_gaps_json(const std::vector<GlyphGap>& gaps);
Value box_json(const Box& b);

}  // namespace pagefold::preview
