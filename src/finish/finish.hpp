// Passes over finished page roots: the enumeration of control records, the
// layout finalisation (text boxes grown to fit, covering windows reported),
// and the back-fill of slide-window icon sizes from the picture files.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "pagefold/json.hpp"
#include "util/ctx.hpp"

namespace pagefold {

// Control records of a page in document order, parent before children; with
// `top` only those directly in `d`. Lists are not entered.
std::vector<std::pair<std::string, Value>> _walk_ctrls(const Value& d, bool top = false);
std::vector<std::pair<std::string, Value>>& _walk_ctrls(
    const Value& d, bool top, std::vector<std::pair<std::string, Value>>& out);

// Calls `fn(key, record)` for the control records of `d` in the order of
// `_walk_ctrls`, without gathering them first. `fn` may change records but
// not add or remove keys of the maps being walked.
template <typename Fn>
void each_ctrl(const Value& d, bool top, Fn&& fn) {
  for (const auto& [k, v] : d.as_object()) {
    if (!v.is_object() || k.find("__") == std::string::npos) continue;
    fn(k, v);
    if (!top) each_ctrl(v, false, fn);
  }
}

// The number of control records of `d`, at every depth.
size_t count_ctrls(const Value& d);

// Grows text boxes to fit their text and reports covering full-screen windows.
Value _finalize_layout(const Value& data, std::vector<std::string>& warnings);
// `_finalize_layout` of every page root in order, with the same warnings;
// the pass is not repeated on a root where it has settled (merged windows).
void _finalize_pages(const std::vector<Value>& roots, std::vector<std::string>& warnings);

// The slide windows of `d` (recursively into every control when `recursive`).
std::vector<std::pair<std::string, Value>> _slidewindow_dicts(const Value& d,
                                                              bool recursive = true);
// Writes each slide window's `iconSize` from the true size of its items'
// pictures, looked for in `asset_dir`; the page's notes go straight into
// `ctx.warnings`, never de-duplicated. Only slide windows directly on `root`
// unless `recursive`.
void _fix_slidewindow_icon_size(Ctx& ctx, const Value& root,
                                const std::optional<std::string>& asset_dir,
                                bool recursive = false);

}  // namespace pagefold
