#include "report.hpp"

#include <cstdio>

namespace pagefold::preview {

std::string code_point_text(char32_t c) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "U+%04X", static_cast<unsigned>(c));
  return buf;
}

Value notes_json(const std::vector<Note>& notes) {
  Value list = Value::array();
  for (const Note& n : notes)
    list.as_array().push_back(
        Value::object({{"control", n.control}, {"caption", n.caption}, {"what", n.what}}));
  return list;
}

Value glyph_gaps_json(const std::vector<GlyphGap>& gaps) {
  Value list = Value::array();
  for (const GlyphGap& g : gaps) {
    Value chars = Value::array();
    for (char32_t c : g.missing)
      chars.as_array().push_back(
          Value::object({{"codePoint", code_point_text(c)}, {"char", encode_utf8(c)}}));
    list.as_array().push_back(
        Value::object({{"control", g.control}, {"caption", g.caption}, {"characters", chars}}));
  }
  return list;
}

void make_valid_utf8(Value& v) {
  if (v.is_string()) {
    std::string clean;
    for (char32_t c : decode_utf8(v.as_string())) clean += encode_utf8(c);
    if (clean != v.as_string()) v = Value(clean);
  } else if (v.is_object()) {
    for (auto& [key, item] : v.as_object()) make_valid_utf8(item);
  } else if (v.is_array()) {
    for (Value& item : v.as_array()) make_valid_utf8(item);
  }
}

Value box_json(const Box& b) {
  return Value::object({{"left", b.x}, {"top", b.y}, {"width", b.w}, {"height", b.h}});
}

}  // namespace pagefold::preview
