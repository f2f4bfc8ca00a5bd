// Gradients and backgrounds of a style string, and the split of a hard-stop
// progress gradient into a fill and a track.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "pagefold/style_types.hpp"

namespace pagefold {

// The stop list cut at every comma that stands outside brackets (a comma
// followed by a ")" before the next "(" stands inside), pieces as written.
std::vector<std::string> _split_stops(std::string_view expr);
Gradient _parse_gradient(const std::optional<std::string>& expr);
Gradient _parse_gradient_dual(const std::optional<std::string>& expr);
std::string _seg_style(const std::vector<Stop>& stops, bool renorm);
std::string _replace_bg(const std::optional<std::string>& style, const std::string& bg);

struct FillTrack {
  std::string fill;
  std::string track;
  double split;
};
std::optional<FillTrack> _split_fill_track(const std::optional<std::string>& style);
std::optional<BgSpec> _bg_spec(const std::optional<std::string>& style);
// (value, source text), both absent when the style gives no progress.
std::pair<std::optional<int64_t>, std::optional<std::string>> _css_progress(
    const std::optional<std::string>& style, double maxv);

}  // namespace pagefold
