// The shared emission layer as a plug-in: completes each control record with
// the keys the runtime demands of its type, from the key table installed
// beside this library.
//
// The table is read on the first completion, not when the plug-in is loaded,
// so that a run that converts nothing pays nothing. A table that cannot be
// read fails every completion with the same message, which the converter
// reports once per page.
#include <dlfcn.h>

#include <filesystem>
#include <mutex>
#include <optional>
#include <string>

#include "key_table.hpp"
#include "pagefold/error.hpp"
#include "pagefold/modules.hpp"

namespace pagefold::ui_emit {
namespace {

// The key table beside the file this library was loaded from; empty when
// that file cannot be told.
std::string table_path() {
  static const int anchor = 0;
  Dl_info info{};
  if (!dladdr(&anchor, &info) || !info.dli_fname) return "";
  return (std::filesystem::path(info.dli_fname).parent_path() / KEY_TABLE_FILE).string();
}

class TableEmit : public UiEmit {
 public:
  explicit TableEmit(std::string table_path) : path_(std::move(table_path)) {}

  std::pair<Value, Value> fill_required(const std::string& typ, Value ctrl) override {
    return {ctrl, table().fill(typ, ctrl)};
  }

 private:
  const KeyTable& table() {
    std::call_once(once_, [this] {
      try {
        if (path_.empty())
          throw Failure("OSError", "cannot tell where the ui_emit plug-in was loaded from");
        table_ = KeyTable::read(path_);
      } catch (const Failure& f) {
        error_type_ = f.type();
        error_ = f.message();
      }
    });
    if (!table_) throw Failure(error_type_, error_);
    return *table_;
  }

  std::string path_;
  std::once_flag once_;
  std::optional<KeyTable> table_;
  std::string error_type_, error_;
};

}  // namespace
}  // namespace pagefold::ui_emit

extern "C" __attribute__((visibility("default"))) pagefold::UiEmit* pagefold_ui_emit_create() {
  using namespace pagefold::ui_emit;
  return new TableEmit(table_path());
}
