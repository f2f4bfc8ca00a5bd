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

// Replaces, in every text of `v` (maps and lists entered), each malformed
// UTF-8 sequence by U+FFFD, so that the report is valid UTF-8 whatever bytes
// the page files held (the JSON reader passes such bytes through).
void make_valid_utf8(Value& v);

}  // namespace pagefold::preview
