// Where every control of a page lands on the screen: the page JSON's
// relative positions made absolute, with the clip each control inherits from
// its containers. The renderer draws from this, and the browser comparison
// places the prototype's elements at the same boxes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "pagefold/json.hpp"

namespace pagefold::preview {

// Coordinates are kept within this magnitude, so that sums of any page's
// offsets cannot overflow and stay exact in a double.
inline constexpr int64_t COORD_LIMIT = int64_t(1) << 30;
// Containers nested deeper than this are not entered.
inline constexpr int MAX_DEPTH = 256;
// A page with more controls than this is drawn up to the limit.
inline constexpr size_t MAX_ITEMS = 20000;

struct Box {
  int64_t x = 0, y = 0, w = 0, h = 0;
  bool empty() const { return w <= 0 || h <= 0; }
  friend bool operator==(const Box&, const Box&) = default;
};
Box intersect(const Box& a, const Box& b);

// Something the renderer could not draw, or drew by an assumption, or left
// out because the device would not show it.
struct Note {
  std::string control;  // key path, such as "window__3/textview__4"
  std::string caption;
  std::string what;
};

// One thing to draw, in drawing order (document order, parents first).
struct Item {
  std::string path;  // key path, such as "listview__7/subItem[2]"
  // The control's identity across two conversions of one prototype: the key
  // number, or the key number of its container and the place in its list
  // ("7/subItem/2"). Key numbers count every control of a page in document
  // order, whatever its type.
  std::string id;
  // The type word of the key, or for list members "subitem", "radiobutton",
  // "slideitem", and "listrow" for a row of a list.
  std::string type;
  std::string caption;
  Value rec;
  Box box;                 // absolute page pixels
  Box clip;                // the part of the screen its containers let it draw on
  bool hidden = false;     // `visible` false here or on a container
  bool hides = false;      // this record itself has `visible` false
  bool is_control = true;  // false for list rows, which are no records of their own
  Value owner;             // slide items: the slide window they belong to
};

struct Layout {
  Box page;  // 0, 0, width, height
  Box root;  // the root's own position
  std::vector<Item> items;
  std::vector<Note> problems;  // records that could not be placed
};

// A JSON number as an integer within COORD_LIMIT (reals truncated), or
// nothing for anything else.
std::optional<int64_t> int_of(const Value& v);

// Lays out the page `root` on a screen of `width` by `height` pixels.
Layout lay_out(const Value& root, int width, int height);

}  // namespace pagefold::preview
