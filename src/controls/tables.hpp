// The vocabulary of control mapping: type words and their id bases, the
// class names that select each type, automatic names, alignment codes, the
// attribute aliases of the common readers, and the CSS effects the audit
// looks for.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "pagefold/node.hpp"

namespace pagefold {

// Type word to the base of its numeric control ids (first id is base + 1).
extern const std::vector<std::pair<std::string, int64_t>> ID_BASE;
// Type word to the prefix of its automatic control names.
extern const std::vector<std::pair<std::string, std::string>> AUTO_NAME;

// Type word to the class names that select it. Rows and names are tried in
// order and the first hit wins, so the order is part of the meaning.
extern const std::vector<std::pair<std::string, std::vector<std::string>>> CLASS_MAP;
// Every class name of every row of CLASS_MAP.
extern const std::set<std::string> CTRL_CLASSES;
// The class names of one CLASS_MAP row; empty for a type without a row.
const std::vector<std::string>& class_row(std::string_view typ);

// The absolute-position attributes of a control.
extern const std::vector<std::string> POS_ATTRS;

// Position key to its attribute suffixes (each behind "data-"), in order.
extern const std::vector<std::pair<std::string, std::vector<std::string>>> POS_ALIAS;

// Plain substring of a style string and the display name of its effect.
extern const std::vector<std::pair<std::string, std::string>> CSS_EFFECT_PATTERNS;
// The types that have picture generation for their CSS effects.
extern const std::set<std::string> EFFECT_CONSUMERS;

// One type word for an element: the glyph rule, then the class table, then
// the tag. `attrs` may be null, which skips the glyph rule.
std::string _detect_type(const std::string& tag, const std::set<std::string>& classes,
                         const Attrs* attrs);

}  // namespace pagefold
