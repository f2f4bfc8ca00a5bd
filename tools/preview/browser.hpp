// The browser side of a comparison: copies of the prototype whose elements
// carry numbers, the style sheet and script that place them in the
// converter's boxes, and a headless Chromium that photographs one screen.
#pragma once

#include <map>
#include <set>
#include <string>

#include "layout.hpp"

namespace pagefold::preview {

// Puts ` <attr>="<prefix><n>"` right behind the name of every start tag, n
// counting the start tags from 0 in document order. Comments, declarations
// and the raw text of `script` and `style` elements are passed over, as the
// converter's own reader and a browser both do; the attribute comes first,
// so that it wins over one of the same name further on. Answers the text and
// the number of tags marked.
std::string mark_elements(const std::string& html, const std::string& attr,
                          const std::string& prefix, size_t* count = nullptr);

// The element number of a control caption made from a mark ("pf12", or
// "pf12Rad" for the painter of a rounded button), or -1.
long element_of_caption(const std::string& caption);

struct Placement {
  int screen = 0;  // which outermost div.screen, in document order
  int width = 0, height = 0;
  std::map<long, Box> boxes;  // element number to its box on the page
  std::set<long> hidden;      // elements the device does not show
};

// The prototype copy for one screenshot: `marked` (marked with data-pf
// numbers) with a base address so that its relative files still resolve,
// and, at its end, the style sheet and script that show one screen at the
// page's size, every placed element at its box, and stop animations at
// their first frame.
std::string browser_copy(const std::string& marked, const std::string& base_dir,
                         const Placement& placement);

// A file: URL for an absolute path.
std::string file_url(const std::string& path);

struct ShotResult {
  bool ok = false;
  std::string error;
};

// Runs `browser` headless on `html_file` and writes a `width` by `height`
// screenshot to `png`. `work_dir` receives the browser's profile and log.
ShotResult screenshot(const std::string& browser, const std::string& html_file, int width,
                      int height, const std::string& png, const std::string& work_dir,
                      int timeout_seconds = 90);

}  // namespace pagefold::preview
