// A ui_emit plug-in for the loader tests: a real shared library with the
// module's file name and factory symbol. It completes every record with a
// `required` key and reports textviews as lacking "fontFamily".
#include "pagefold/json.hpp"
#include "pagefold/modules.hpp"

namespace {

class TestUiEmit : public pagefold::UiEmit {
 public:
  std::pair<pagefold::Value, pagefold::Value> fill_required(const std::string& typ,
                                                            pagefold::Value ctrl) override {
    ctrl.as_object().setdefault("required", true);
    pagefold::Value missing = pagefold::Value::array();
    if (typ == "textview") missing.as_array().push_back("fontFamily");
    return {ctrl, missing};
  }
};

}  // namespace

extern "C" pagefold::UiEmit* pagefold_ui_emit_create() { return new TestUiEmit(); }
