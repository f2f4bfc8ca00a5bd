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

// Pages are scaled down (never up) to fit a square cell of SHEET_CELL pixels,
// SHEET_COLUMNS to a row, in the order given. With more than nine pages the
// grid gets as many columns as rows, and the cells shrink so that the sheet
// stays within MAX_SHEET_SIDE pixels a side.
inline constexpr int SHEET_CELL = 480;
inline constexpr int SHEET_COLUMNS = 3;
inline constexpr int MAX_SHEET_SIDE = 4096;

// The number of columns and the cell size of a sheet of `pages` pages.
struct SheetGrid {
  int columns, cell;
};
SheetGrid sheet_grid(size_t pages);

Raster contact_sheet(const std::vector<SheetEntry>& pages, const TextEngine& text);

// Side by side with a caption above each: the panels of a comparison.
Raster side_by_side(const std::vector<SheetEntry>& panels, const TextEngine& text);

}  // namespace pagefold::preview
