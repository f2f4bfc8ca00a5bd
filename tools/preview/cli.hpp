// The command line of pagefold-preview, documented in docs/preview.md.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace pagefold::preview {

struct Options {
  std::string input;
  std::string out_dir;  // empty: `preview/` beside the pages
  std::string assets;   // empty: where the converter puts the pages' pictures
  std::string font;     // empty: the Debian CJK font
  std::string against;  // prototype to compare with, or empty
  std::string browser = "chromium";
  bool show_hidden = false;
};

// Reads the arguments (without the program name). Answers nothing with
// `error` set on a usage error.
std::optional<Options> parse_args(const std::vector<std::string>& args, std::string& error);

// Runs the previewer. Exit status: 0 when every page was drawn (and, with
// --against, compared); 1 with one "[X] ..." line on `err` for each page file
// that could not be read and each comparison that failed; 2 on a usage error.
int run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace pagefold::preview
