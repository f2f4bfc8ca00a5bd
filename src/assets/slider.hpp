// Slider style translation: the child elements and pseudo-elements that
// style a slider, read into the device's track, fill and thumb bitmaps.
#pragma once

#include <string>
#include <vector>

#include "pagefold/node.hpp"

namespace pagefold {

// The first direct child of `node` with any class in `names`, or null.
const Node* _child_by_class(const Node& node, const std::vector<std::string>& names);

}  // namespace pagefold
