// The contact sheet: every page preview in one grid, labelled by page id.
#pragma once

#include <string>
#include <vector>

#include "picture.hpp"
#include "text.hpp"

namespace pagefold::preview {

struct SheetEntry {
  std::string label;
  const Raster* image;
};

// Pages are scaled down (never up) to fit a cell of SHEET_CELL pixels a side,
// at most SHEET_COLUMNS to a row, in the order given.
inline constexpr int SHEET_CELL = 480;
inline constexpr int SHEET_COLUMNS = 3;

Raster contact_sheet(const std::vector<SheetEntry>& pages, const TextEngine& text);

// Side by side with a caption above each: the panels of a comparison.
Raster side_by_side(const std::vector<SheetEntry>& panels, const TextEngine& text);

}  // namespace pagefold::preview
