#include "layout.hpp"

#include <algorithm>
#include <cmath>

namespace pagefold::preview {

namespace {

int64_t clamp_coord(int64_t v) { return std::clamp(v, -COORD_LIMIT, COORD_LIMIT); }

std::string text_of(const Value& v) { return v.is_string() ? v.as_string() : std::string(); }

// The integer `key` of map `m`, or `dflt` when it is missing or no number.
int64_t int_or(const Value& m, std::string_view key, int64_t dflt) {
  return int_of(m.get(key)).value_or(dflt);
}

// A position record read relative to `origin`. Missing keys take the
// converter's defaults (height 40, left 0, top 0, width 100); a record that
// is no map places nothing.
std::optional<Box> place(const Value& pos, const Box& origin) {
  if (!pos.is_object()) return std::nullopt;
  Box b;
  b.x = clamp_coord(origin.x + int_or(pos, "left", 0));
  b.y = clamp_coord(origin.y + int_or(pos, "top", 0));
  b.w = std::max<int64_t>(0, int_or(pos, "width", 100));
  b.h = std::max<int64_t>(0, int_or(pos, "height", 40));
  return b;
}

struct Walker {
  Layout& out;

  void note(const std::string& path, const Value& rec, std::string what) {
    out.problems.push_back({path, text_of(rec.get("caption")), std::move(what)});
  }

  bool full(const std::string& path, const Value& rec) {
    if (out.items.size() < MAX_ITEMS) return false;
    note(path, rec, "the page has more than " + std::to_string(MAX_ITEMS) + " controls");
    return true;
  }

  Item& add(std::string path, std::string id, std::string type, const Value& rec, const Box& box,
            const Box& clip, bool hidden) {
    Item it;
    it.path = std::move(path);
    it.id = std::move(id);
    it.type = std::move(type);
    it.caption = text_of(rec.get("caption"));
    it.rec = rec;
    it.box = box;
    it.clip = clip;
    Value vis = rec.get("visible");
    it.hides = vis.is_bool() && !vis.as_bool();
    it.hidden = hidden || it.hides;
    out.items.push_back(std::move(it));
    return out.items.back();
  }

  // Walks the child controls of `rec`, whose own box is `box`.
  void children(const Value& rec, const Box& box, const Box& clip, const std::string& path,
                bool hidden, int depth) {
    if (!rec.is_object()) return;
    for (const auto& [key, child] : rec.as_object()) {
      size_t cut = key.rfind("__");
      if (!child.is_object() || cut == std::string::npos || cut == 0) continue;
      std::string type = key.substr(0, cut), number = key.substr(cut + 2);
      std::string child_path = path.empty() ? key : path + "/" + key;
      if (full(child_path, child)) return;
      if (depth >= MAX_DEPTH) {
        note(child_path, child, "nested deeper than " + std::to_string(MAX_DEPTH));
        continue;
      }
      std::optional<Box> b = place(child.get("position"), box);
      if (!b) {
        note(child_path, child, "no position record");
        continue;
      }
      Box inner_clip = intersect(clip, *b);
      Item& it = add(child_path, number, type, child, *b, clip, hidden);
      bool child_hidden = it.hidden;
      if (type == "listview") list_rows(child, *b, inner_clip, child_path, number, child_hidden);
      if (type == "radiogroup")
        members(child, "radiobuttons", "radiobutton", *b, inner_clip, child_path, number,
                child_hidden);
      if (type == "slidewindow")
        slide_items(child, *b, inner_clip, child_path, number, child_hidden);
      children(child, *b, inner_clip, child_path, child_hidden, depth + 1);
    }
  }

  // Radio buttons: records in a list, placed relative to their group.
  void members(const Value& rec, const char* list_key, const char* type, const Box& box,
               const Box& clip, const std::string& path, const std::string& number, bool hidden) {
    Value list = rec.get(list_key);
    if (!list.is_array()) return;
    for (size_t i = 0; i < list.as_array().size(); ++i) {
      const Value& m = list.as_array()[i];
      std::string p = path + "/" + list_key + "[" + std::to_string(i) + "]";
      if (!m.is_object()) {
        note(p, Value(), "the entry is no record");
        continue;
      }
      if (full(p, m)) return;
      std::optional<Box> b = place(m.get("position"), box);
      if (!b) {
        note(p, m, "no position record");
        continue;
      }
      add(p, number + "/" + list_key + "/" + std::to_string(i), type, m, *b, clip, hidden);
    }
  }

  // A list draws its row template once for each sub-item, row after row
  // (across `cols` columns first), and the sub-item inside that row.
  void list_rows(const Value& rec, const Box& box, const Box& clip, const std::string& path,
                 const std::string& number, bool hidden) {
    Value item = rec.get("item");
    Value subs = item.get("subItem");
    if (!subs.is_array()) return;
    Value ipos = item.get("position");
    int64_t cw = std::max<int64_t>(1, int_or(ipos, "width", box.w));
    int64_t ch = std::max<int64_t>(1, int_or(ipos, "height", box.h));
    int64_t cols = std::clamp<int64_t>(int_or(rec, "cols", 1), 1, 1000);
    int64_t rows = std::clamp<int64_t>(int_or(rec, "rows", 5), 1, 1000);
    int64_t col_gap = std::clamp<int64_t>(int_or(rec, "colSpacing", 0), 0, COORD_LIMIT);
    int64_t row_gap = std::clamp<int64_t>(int_or(rec, "rowSpacing", 0), 0, COORD_LIMIT);
    const Array& list = subs.as_array();
    for (size_t i = 0; i < list.size(); ++i) {
      std::string p = path + "/subItem[" + std::to_string(i) + "]";
      const Value& sub = list[i];
      if (int64_t(i) >= cols * rows) {
        note(p, sub, "beyond the " + std::to_string(rows) + " rows the list shows");
        continue;
      }
      if (!sub.is_object()) {
        note(p, Value(), "the entry is no record");
        continue;
      }
      if (full(p, sub)) return;
      int64_t k = int64_t(i);
      Box cell{clamp_coord(box.x + (k % cols) * (cw + col_gap)),
               clamp_coord(box.y + (k / cols) * (ch + row_gap)), cw, ch};
      Item& row = add(path + "/item[" + std::to_string(i) + "]",
                      number + "/item/" + std::to_string(i), "listrow", item, cell, clip, hidden);
      row.is_control = false;
      bool row_hidden = row.hidden;
      std::optional<Box> b = place(sub.get("position"), cell);
      if (!b) {
        note(p, sub, "no position record");
        continue;
      }
      add(p, number + "/subItem/" + std::to_string(i), "subitem", sub, *b, intersect(clip, cell),
          row_hidden);
    }
  }

  // A slide window shows its first `cols` by `rows` items in a grid of equal
  // cells inside its padding.
  void slide_items(const Value& rec, const Box& box, const Box& clip, const std::string& path,
                   const std::string& number, bool hidden) {
    Value items = rec.get("items");
    if (!items.is_array()) return;
    Value pad = rec.get("padding");
    int64_t pl = std::max<int64_t>(0, int_or(pad, "paddingLeft", 0));
    int64_t pr = std::max<int64_t>(0, int_or(pad, "paddingRight", 0));
    int64_t pt = std::max<int64_t>(0, int_or(pad, "paddingTop", 0));
    int64_t pb = std::max<int64_t>(0, int_or(pad, "paddingBottom", 0));
    int64_t cols = std::clamp<int64_t>(int_or(rec, "cols", 4), 1, 1000);
    int64_t rows = std::clamp<int64_t>(int_or(rec, "rows", 2), 1, 1000);
    int64_t cw = std::max<int64_t>(0, (box.w - pl - pr) / cols);
    int64_t ch = std::max<int64_t>(0, (box.h - pt - pb) / rows);
    const Array& list = items.as_array();
    for (size_t i = 0; i < list.size(); ++i) {
      std::string p = path + "/items[" + std::to_string(i) + "]";
      if (int64_t(i) >= cols * rows) {
        note(p, list[i], "on a later page of the slide window");
        continue;
      }
      if (!list[i].is_object()) {
        note(p, Value(), "the entry is no record");
        continue;
      }
      if (full(p, list[i])) return;
      int64_t k = int64_t(i);
      Box cell{clamp_coord(box.x + pl + (k % cols) * cw), clamp_coord(box.y + pt + (k / cols) * ch),
               cw, ch};
      Item& it =
          add(p, number + "/items/" + std::to_string(i), "slideitem", list[i], cell, clip, hidden);
      it.owner = rec;
      it.caption = text_of(list[i].get("text"));
    }
  }
};

}  // namespace

Box intersect(const Box& a, const Box& b) {
  int64_t x0 = std::max(a.x, b.x), y0 = std::max(a.y, b.y);
  int64_t x1 = std::min(a.x + a.w, b.x + b.w), y1 = std::min(a.y + a.h, b.y + b.h);
  return Box{x0, y0, std::max<int64_t>(0, x1 - x0), std::max<int64_t>(0, y1 - y0)};
}

std::optional<int64_t> int_of(const Value& v) {
  if (v.is_int()) return clamp_coord(v.as_int());
  if (v.is_real() && std::isfinite(v.as_real()))
    return clamp_coord(int64_t(std::clamp(v.as_real(), -double(COORD_LIMIT), double(COORD_LIMIT))));
  return std::nullopt;
}

Layout lay_out(const Value& root, int width, int height) {
  Layout out;
  out.page = Box{0, 0, width, height};
  out.root = place(root.get("position"), Box{}).value_or(out.page);
  Walker w{out};
  w.children(root, out.root, intersect(out.page, out.root), "", false, 0);
  return out;
}

}  // namespace pagefold::preview
