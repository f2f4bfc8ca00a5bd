// The state of one page under construction: the JSON root, the stack of open
// containers, the key, id and name counters, and the warnings. Every stage
// that emits records or warnings receives it; the walk of the control stage
// fills it, and the driver makes one per page (one for all pages of merged
// windows), handing it the control vocabulary's id and name tables.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "pagefold/json.hpp"
#include "pagefold/modules.hpp"

namespace pagefold {

// Type word to the base of its numeric ids, and to its automatic name prefix.
using IdTable = std::vector<std::pair<std::string, int64_t>>;
using NameTable = std::vector<std::pair<std::string, std::string>>;

class Ctx {
 public:
  // `auto_names` and `modules` must outlive the context; `id_base` is copied,
  // as the context counts up from it.
  Ctx(const IdTable& id_base, const NameTable& auto_names, const Modules* modules = nullptr);

  int64_t n = 0;             // running number behind every key
  IdTable ids;               // last numeric id per type
  IdTable counter;           // automatic names given per type
  Value root;                // null until the screen opens
  std::vector<Value> stack;  // open containers, innermost last
  std::vector<std::string> warnings;
  std::unordered_set<std::string> warned;

  // Records `msg` once per de-duplication token: `key` when non-empty, else
  // the first 80 code points of `msg`.
  void warn(const std::string& msg, const std::string& key = "");
  // The container on top of the stack carries a true `marker`. Only the
  // nearest container counts, never deeper ones.
  bool top_has(const char* marker) const;
  // "<typ>__<n>" after raising `n`.
  std::string key(const std::string& typ);
  // Next numeric id of `typ`; a type without a row raises KeyError.
  int64_t nid(const std::string& typ);
  // Next automatic control name of `typ`: "TextView1", "Slidetext1".
  std::string name(const std::string& typ);
  // Completes `ctrl` through ui_emit and stores it in the container on top of
  // the stack, or in the root; answers the key it was stored under.
  std::string add(const std::string& typ, Value ctrl);

 private:
  // Stores a completed record under its new key.
  std::string store(const std::string& typ, Value ctrl);

  const NameTable* auto_names_;
  const Modules* modules_;
};

// The colour behind the innermost open container: the first `__bg` marker
// met walking out from the top of the stack (a list view ends the search,
// as its items are drawn by the list), else the root's backgroundColor.
// Absent when neither holds a number.
std::optional<int64_t> _ancestor_bg(const Ctx& ctx);

}  // namespace pagefold
