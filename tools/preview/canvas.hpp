// Crossings between straight-alpha rasters and cairo's premultiplied
// surfaces.
#pragma once

#include <cairo.h>

#include "picture.hpp"

namespace pagefold::preview {

// A new ARGB32 surface holding `r`; the caller destroys it.
cairo_surface_t* to_surface(const Raster& r);

// The pixels of an ARGB32 image surface in straight alpha.
Raster from_surface(cairo_surface_t* s);

}  // namespace pagefold::preview
