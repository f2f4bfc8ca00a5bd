// Shadows, radii, borders, box sizing and the canvas colour.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>

#include "pagefold/json.hpp"
#include "pagefold/node.hpp"
#include "pagefold/style_types.hpp"

namespace pagefold {

std::optional<ShadowSpec> _shadow_spec(const std::optional<std::string>& style);
int64_t _shadow_pad(double ox, double oy, double blur);
// Grows the position record in place by `pad` on every side.
void _grow(const Value& pos, double pad);
int64_t _radius_px(const std::optional<std::string>& style, double w, double h, int64_t dflt = 0);
std::optional<Radii> _radius_corners(const std::optional<std::string>& style, double w, double h);
std::optional<BorderSpec> _border_spec(const std::optional<std::string>& style);
std::string _box_sizing(const std::optional<std::string>& style, const std::string& dflt);
// (outer width, outer height, border width).
std::tuple<int64_t, int64_t, int64_t> _thumb_outer_size(
    const std::optional<std::string>& style, int64_t tw, int64_t th,
    const std::string& default_box = "border-box");
// Raises IndexError for a named colour (three members) on html/body.
std::optional<int64_t> _canvas_bg(const Node& root);

}  // namespace pagefold
