// A ui_emit plug-in whose completion of button records throws a standard
// exception: the command must turn it into its warning. The plug-in carries
// the shared C++ runtime while the command carries its own, so the exception
// crosses from one runtime into the other.
#include <stdexcept>

#include "pagefold/json.hpp"
#include "pagefold/modules.hpp"

namespace {

class ThrowingUiEmit : public pagefold::UiEmit {
 public:
  std::pair<pagefold::Value, pagefold::Value> fill_required(const std::string& typ,
                                                            pagefold::Value ctrl) override {
    if (typ == "button") throw std::runtime_error("no table for buttons");
    ctrl.as_object().setdefault("required", true);
    return {ctrl, pagefold::Value::array()};
  }
};

}  // namespace

extern "C" pagefold::UiEmit* pagefold_ui_emit_create() { return new ThrowingUiEmit(); }
