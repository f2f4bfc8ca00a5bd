// Removal of characters the device font lacks, with the designer's warning.
#pragma once

#include <optional>
#include <string>

namespace pagefold {

class Ctx;

extern const std::u32string TEXT_BLACKLIST;
bool _is_emoji(char32_t ch);
// Absent stays absent; "" stays "". With a context, dropped characters are
// reported once per (kind, characters).
std::optional<std::string> _clean_text(const std::optional<std::string>& s, Ctx* ctx = nullptr,
                                       const std::string& where = "");

}  // namespace pagefold
