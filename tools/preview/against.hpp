// The comparison with the browser: each previewed page beside the same
// screen of the prototype as a headless Chromium draws it, with the
// prototype's elements moved into the converter's boxes.
//
// Which element of the prototype is which control of a page? The prototype
// is converted once more (in memory, writing nothing) from a copy in which
// every start tag carries a caption `pf<n>`, n numbering the start tags. The
// conversion numbers its control keys in document order whatever the
// captions say, so a control keeps its key number, and its caption then
// names its element. The boxes themselves are those of the page file being
// previewed.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "pages.hpp"
#include "render.hpp"

namespace pagefold::preview {

// How many controls the comparison names, those whose boxes differ most.
inline constexpr size_t WORST_CONTROLS = 5;

struct AgainstOptions {
  std::string prototype;
  std::string browser = "chromium";
  std::string out_dir;
  bool show_hidden = false;
};

struct ControlScore {
  std::string control, caption;
  Box box;
  double score;
};

struct PageComparison {
  std::string png;
  double score = 0;
  std::vector<ControlScore> worst;
};

class Against {
 public:
  // Reads the prototype and converts its marked copy. Answers null with
  // `error` set when the prototype cannot be read or does not convert.
  static std::unique_ptr<Against> open(const AgainstOptions& options, std::string& error);
  ~Against();
  Against(const Against&) = delete;
  Against& operator=(const Against&) = delete;

  // Photographs the page's screen, compares it with the preview and writes
  // `<page>.compare.png`. Answers false with `error` set when it cannot.
  bool compare(const PageFile& page, const PageRender& render, const TextEngine& text,
               PageComparison& result, std::string& error);

 private:
  Against() = default;
  struct State;
  std::unique_ptr<State> s_;
};

}  // namespace pagefold::preview
