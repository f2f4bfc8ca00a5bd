// The table of keys the runtime demands of each control type, read from a
// JSON file, and the completion of one control record against it.
//
// The table is data so that a team whose runtime demands other keys replaces
// the file and changes no code. Only its "types" member is read here: per type
// word, the required keys in order, each with the value a control gets when
// the prototype says nothing, or with no value at all.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "pagefold/json.hpp"

namespace pagefold::ui_emit {

struct RequiredKey {
  std::string key;
  // The value appended when the key is missing; none for a key the table
  // cannot fill (a caption, an id), which is reported instead.
  std::optional<Value> dflt;
};

class KeyTable {
 public:
  // Reads the table from JSON text; `origin` names it in failure messages.
  // Throws pagefold::Failure ("ValueError") naming the first fault.
  static KeyTable parse(const std::string& text, const std::string& origin);
  // Reads the table from a file. Throws pagefold::Failure ("OSError") when the
  // file cannot be read, and as `parse` does when it is no table.
  static KeyTable read(const std::string& path);

  // Completes `ctrl` (a map) in place: every required key of `typ` that it
  // lacks is appended in table order, with a copy of its default. Answers the
  // names of the missing keys that have no default, in table order (an empty
  // list when none). A type without a row requires nothing.
  Value fill(const std::string& typ, const Value& ctrl) const;

 private:
  std::map<std::string, std::vector<RequiredKey>, std::less<>> types_;
};

// The file name of the table, looked for beside the plug-in library.
inline constexpr const char* KEY_TABLE_FILE = "ui_emit_keys.json";

}  // namespace pagefold::ui_emit
