#include "sheet.hpp"

#include <algorithm>
#include <cmath>

#include "canvas.hpp"

namespace pagefold::preview {

namespace {

constexpr int GAP = 16, LABEL = 28;
constexpr uint32_t SHEET_BG = 0x202124, FRAME = 0x5F6368, LABEL_TEXT = 0xF1F3F4;

void set_rgb(cairo_t* cr, uint32_t rgb) {
  cairo_set_source_rgb(cr, ((rgb >> 16) & 255) / 255.0, ((rgb >> 8) & 255) / 255.0,
                       (rgb & 255) / 255.0);
}

struct Cell {
  int w, h;
  double scale;
};

// Places each picture with its label above it, `cols` to a row.
Raster compose(const std::vector<SheetEntry>& pages, const std::vector<Cell>& cells, int cols,
               const TextEngine& text) {
  int rows = (int(pages.size()) + cols - 1) / cols;
  std::vector<int> col_w(size_t(cols), 0), row_h(size_t(rows), 0);
  for (size_t i = 0; i < pages.size(); ++i) {
    col_w[i % size_t(cols)] = std::max(col_w[i % size_t(cols)], cells[i].w);
    row_h[i / size_t(cols)] = std::max(row_h[i / size_t(cols)], cells[i].h);
  }
  int W = GAP, H = GAP;
  for (int w : col_w) W += w + GAP;
  for (int h : row_h) H += h + LABEL + GAP;
  cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, W, H);
  cairo_t* cr = cairo_create(s);
  set_rgb(cr, SHEET_BG);
  cairo_paint(cr);
  int y = GAP;
  for (int r = 0; r < rows; ++r) {
    int x = GAP;
    for (int c = 0; c < cols; ++c) {
      size_t i = size_t(r * cols + c);
      if (i >= pages.size()) break;
      const Cell& cell = cells[i];
      TextStyle st;
      st.size = 15;
      st.rgb = LABEL_TEXT;
      cairo_save(cr);
      cairo_rectangle(cr, x, y, col_w[size_t(c)], LABEL);
      cairo_clip(cr);
      text.draw(cr, pages[i].label, x, y, col_w[size_t(c)], LABEL - 6, st);
      cairo_restore(cr);
      int py = y + LABEL;
      set_rgb(cr, FRAME);
      cairo_rectangle(cr, x - 1, py - 1, cell.w + 2, cell.h + 2);
      cairo_fill(cr);
      cairo_surface_t* img = to_surface(*pages[i].image);
      cairo_save(cr);
      cairo_rectangle(cr, x, py, cell.w, cell.h);
      cairo_clip(cr);
      cairo_translate(cr, x, py);
      cairo_scale(cr, cell.scale, cell.scale);
      cairo_set_source_surface(cr, img, 0, 0);
      cairo_pattern_set_filter(cairo_get_source(cr),
                               cell.scale == 1.0 ? CAIRO_FILTER_NEAREST : CAIRO_FILTER_GOOD);
      cairo_paint(cr);
      cairo_restore(cr);
      cairo_surface_destroy(img);
      x += col_w[size_t(c)] + GAP;
    }
    y += row_h[size_t(r)] + LABEL + GAP;
  }
  cairo_destroy(cr);
  Raster out = from_surface(s);
  cairo_surface_destroy(s);
  return out;
}

}  // namespace

SheetGrid sheet_grid(size_t pages) {
  int n = int(std::min<size_t>(std::max<size_t>(pages, 1), 1u << 20));
  int cols = n <= SHEET_COLUMNS * SHEET_COLUMNS ? std::min(n, SHEET_COLUMNS)
                                                : int(std::ceil(std::sqrt(double(n))));
  int rows = (n + cols - 1) / cols;
  int cell = std::min({SHEET_CELL, (MAX_SHEET_SIDE - GAP) / cols - GAP,
                       (MAX_SHEET_SIDE - GAP) / rows - GAP - LABEL});
  return {cols, std::max(cell, 1)};
}

Raster contact_sheet(const std::vector<SheetEntry>& pages, const TextEngine& text) {
  SheetGrid grid = sheet_grid(pages.size());
  std::vector<Cell> cells;
  for (const SheetEntry& p : pages) {
    double scale = std::min({1.0, double(grid.cell) / p.image->w, double(grid.cell) / p.image->h});
    cells.push_back({std::max(1, int(std::lround(p.image->w * scale))),
                     std::max(1, int(std::lround(p.image->h * scale))), scale});
  }
  return compose(pages, cells, grid.columns, text);
}

Raster side_by_side(const std::vector<SheetEntry>& panels, const TextEngine& text) {
  std::vector<Cell> cells;
  for (const SheetEntry& p : panels) cells.push_back({p.image->w, p.image->h, 1.0});
  return compose(panels, cells, std::max(1, int(panels.size())), text);
}

}  // namespace pagefold::preview
