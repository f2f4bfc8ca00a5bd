// The bounds of what the picture plug-in agrees to draw. A device screen is
// at most a few thousand pixels wide; anything beyond these bounds is a
// mistake in the prototype (or in a caller), refused with a clear failure
// rather than a gigabyte allocation.
#pragma once

#include <cstdint>

namespace pagefold::genres {

// Width or height of any picture, in pixels, including the growth of a
// shadow card: 1 to MAX_SIDE.
inline constexpr int64_t MAX_SIDE = 4096;
// Samples per axis for anti-aliasing: 1 to MAX_SS.
inline constexpr int64_t MAX_SS = 16;
// Frames of a spinner: 1 to MAX_FRAMES.
inline constexpr int64_t MAX_FRAMES = 60;

// Supersampling of the CSS effect pictures and of the coverage masks that the
// converter asks for (the values it assumes when a module names none).
inline constexpr int64_t SS_DEFAULT = 4;
inline constexpr int64_t COV_SS = 16;

}  // namespace pagefold::genres
