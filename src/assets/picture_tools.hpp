// What the picture makers of this converter draw with: the picture module,
// its supersampling factors and the encoding log. Makers capture a copy of
// it, never the converter, so that a maker holds exactly what it needs.
#pragma once

#include <cstdint>

#include "assets/png_output.hpp"
#include "pagefold/modules.hpp"

namespace pagefold {

struct PictureTools {
  GenRes* gen_res = nullptr;  // null when the module could not be loaded
  int64_t css_ss = 4;         // supersampling handed to the module for CSS effects
  int64_t cov_ss = 16;        // supersampling of the corner mask drawn here
  PngLog* png_log = nullptr;  // where the pictures encoded here are logged
};

}  // namespace pagefold
