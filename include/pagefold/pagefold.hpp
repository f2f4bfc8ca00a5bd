// The public entry point: convert one prototype file and write its pages.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include "pagefold/json.hpp"
#include "pagefold/modules.hpp"

namespace pagefold {

// Reads the prototype at `input_html`, converts it, finishes every page's
// layout and writes the page files; answers the result record. Ordinary
// problems (missing file, no screen, a failed count check) come back as a
// record with `success` false. Undecodable input, an unwritable output place
// (a NUL byte in a path, an output that would replace the input file) and
// failures outside per-page guards are thrown; nothing is written then.
//
// Page files are replaced all or none. While they are written, SIGINT and
// SIGTERM are caught (unless ignored or blocked): the files are put back as
// they were, and the signal then takes its previous course; when a previous
// handler lets the process go on, the call throws an InterruptedError.
//
// `output_json`: absent, a path ending in ".json" (any case) naming a file,
// or a directory. `res`: "WxH" overriding every page's resolution.
// `asset_dir`: directory for generated pictures. `modules`: the sibling
// modules to use, the plug-ins found beside the program by default.
Value pagefold(const std::string& input_html,
               const std::optional<std::string>& output_json = std::nullopt,
               const std::optional<std::string>& res = std::nullopt,
               const std::optional<std::string>& asset_dir = std::nullopt,
               bool merge_windows = false, const Modules& modules = Modules::system());

// Converts prototype text without reading or writing page files (pictures are
// still written when `asset_dir` is given). Answers the record `pagefold`
// would, without its file keys (`jsonPath`, `jsonPaths`, `jsonsProduced`) and
// with each entry of `pages` holding the page root itself under `data`
// instead of a path under `json`. The failures are those of `pagefold`, but
// for the missing file: invalid UTF-8 is thrown as UnicodeDecodeError.
Value convert_text(const std::string& html, const std::optional<std::string>& res = std::nullopt,
                   const std::optional<std::string>& asset_dir = std::nullopt,
                   bool merge_windows = false, const Modules& modules = Modules::system());

// The command line: `<input.html> [output.json|directory] [--res=WxH]
// [--merge-windows]`. Writes to `out` and `err`, answers the exit status.
int run_cli(int argc, const char* const* argv, std::ostream& out, std::ostream& err);

}  // namespace pagefold
