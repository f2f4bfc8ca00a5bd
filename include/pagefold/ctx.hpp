// The state of one conversion context: the JSON root under construction, the
// stack of open containers, the key, id and name counters, and the warnings.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "pagefold/json.hpp"
#include "pagefold/modules.hpp"

namespace pagefold {

class Ctx {
 public:
  // `modules` must outlive the context.
  explicit Ctx(const Modules* modules = nullptr);

  int64_t n = 0;                                         // running number behind every key
  std::vector<std::pair<std::string, int64_t>> ids;      // last numeric id per type
  std::vector<std::pair<std::string, int64_t>> counter;  // automatic names per type
  Value root;                                            // null until the screen opens
  std::vector<Value> stack;                              // open containers, innermost last
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
  const Modules* modules_;
};

}  // namespace pagefold
