// Removal of characters the device font lacks, with the designer's warning.
#pragma once

#include <functional>
#include <optional>
#include <string>

namespace pagefold {

// The warning entry point of a page: a message and its de-duplication key.
using WarnFn = std::function<void(const std::string& msg, const std::string& key)>;

extern const std::u32string TEXT_BLACKLIST;
bool _is_emoji(char32_t ch);
// Absent stays absent; "" stays "". With a warning entry point, dropped
// characters are reported under the key of their kind and characters, so the
// same loss in two texts of a page is told once.
std::optional<std::string> _clean_text(const std::optional<std::string>& s,
                                       const WarnFn* warn = nullptr, const std::string& where = "");

}  // namespace pagefold
