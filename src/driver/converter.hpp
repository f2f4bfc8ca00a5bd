// The converter: from the text of a prototype to finished JSON pages, with
// the pages' warnings and a small record of what was found.
//
// `convert` parses the text once, applies the style sheets once to the whole
// tree, finds the pages, chooses the mode and converts each page through the
// control stage, which asks the asset stage for pictures. It writes no page
// files and runs no layout pass: the entry point does both.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "controls/controls.hpp"
#include "pagefold/json.hpp"
#include "pagefold/modules.hpp"
#include "pagefold/node.hpp"
#include "util/ctx.hpp"

namespace pagefold {

// A page pair: page id and the page's JSON root.
using Page = std::pair<std::string, Value>;

// What `convert` answers: pages absent (nullopt) on failure, and `meta` null
// when there was no tree or no page at all; with the counts of the picture
// stage, which the result record reports.
struct ConvertResult {
  std::optional<std::vector<Page>> pages;
  std::vector<std::string> warnings;
  Value meta;
  int64_t gen_count = 0;            // pictures generated
  Value rad_glue = Value::array();  // glue snippets of code-drawn rounded buttons
};

// Called with each page of a per-screen conversion as soon as it is made,
// before the next page is converted. It may finish and write the page and
// release its root (leave null in its place); the page stays in the result.
using PageHandler = std::function<void(Page& page)>;

class PageFold {
 public:
  // `res`: "WxH" forcing every page's resolution. `asset_dir`: where pictures
  // go; none (or "") switches picture generation off. `modules` must outlive
  // the converter.
  PageFold(std::optional<std::string> res = std::nullopt,
           std::optional<std::string> asset_dir = std::nullopt,
           const Modules* modules = &Modules::system());

  // The text is released once it is parsed: the tree keeps copies of
  // everything it needs, and a large prototype need not stay in memory twice.
  ConvertResult convert(std::string text, bool merge_windows = false,
                        const PageHandler& on_page = {});

  // ---- pages: finding, naming, converting one, composing merged windows
  static std::pair<std::vector<const Node*>, std::vector<const Node*>> _find_screens(
      const Node& root);
  static std::string _page_id(const Node& node, int64_t k);
  static std::string _page_label(const Node& node, int64_t k);
  static std::string _nest_label(const Node& node, int64_t k);
  static void _strip_markers(const Value& d);
  std::pair<Value, std::vector<std::string>> _convert_one(Controls& controls, const Node& node);
  std::tuple<Value, std::vector<std::string>, std::vector<std::string>> _compose_windows(
      Controls& controls, const std::vector<const Node*>& screens, const Value& meta);
  // A fresh page context, handed the control vocabulary's id and name tables.
  Ctx new_ctx() const;

  const std::optional<std::string> res;
  const std::optional<std::string> asset_dir;

 private:
  const Modules* modules_;
};

}  // namespace pagefold
