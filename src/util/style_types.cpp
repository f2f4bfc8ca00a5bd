// Tuple-like member access of colours.
#include "pagefold/style_types.hpp"

#include "pagefold/error.hpp"

namespace pagefold {

int64_t Color::at(int i) const {
  // Negative indices count from the end, as tuple indexing does.
  const int k = i < 0 ? i + n : i;
  if (k < 0 || k >= n) throw IndexError("tuple index out of range");
  return c[k];
}

}  // namespace pagefold
