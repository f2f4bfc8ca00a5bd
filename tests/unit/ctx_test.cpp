// The conversion context: warning de-duplication, key/id/name counters,
// completion through ui_emit, and marker removal. Page finding and naming are
// shown by the golden prototypes driver_per_screen_pages and driver_bom_crlf.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "pagefold/error.hpp"
#include "testkit.hpp"

using namespace pagefold;
using testkit::J;

namespace {

std::string repeat(const std::string& s, int n) {
  std::string out;
  for (int i = 0; i < n; ++i) out += s;
  return out;
}

TEST(CtxWarn, DeduplicatesByKeyOrByTheFirst80CodePoints) {
  Ctx ctx = testkit::page_ctx();
  ctx.warn(repeat("x", 100));
  ctx.warn(repeat("x", 80) + "y");        // same first 80: dropped
  ctx.warn(repeat("x", 80) + "y", "k1");  // own key: kept
  ctx.warn("other text", "k1");           // same key: dropped, first text stays
  ctx.warn(repeat("中", 80) + "a", "");   // an empty key is no key
  ctx.warn(repeat("中", 80) + "b");       // 80 code points, not bytes
  ctx.warn(repeat("中", 79) + "b");
  EXPECT_EQ(ctx.warnings,
            (std::vector<std::string>{repeat("x", 100), repeat("x", 80) + "y",
                                      repeat("中", 80) + "a", repeat("中", 79) + "b"}));
}

TEST(CtxCounters, KeysRunOnAcrossTypesIdsPerTypeNamesByPrefix) {
  Ctx ctx = testkit::page_ctx();
  std::vector<std::string> keys, names;
  for (const char* t : {"textview", "button", "textview", "slidetext", "icon", "icon"}) {
    keys.push_back(ctx.key(t));
    names.push_back(ctx.name(t));
  }
  EXPECT_EQ(keys, (std::vector<std::string>{"textview__1", "button__2", "textview__3",
                                            "slidetext__4", "icon__5", "icon__6"}));
  EXPECT_EQ(names, (std::vector<std::string>{"TextView1", "Button1", "TextView2", "Slidetext1",
                                             "ImageView1", "ImageView2"}));
  EXPECT_EQ(ctx.nid("textview"), 50001);
  EXPECT_EQ(ctx.nid("textview"), 50002);
  EXPECT_EQ(ctx.nid("window"), 110001);
  for (const char* typ : {"icon", "modal"}) {
    try {
      ctx.nid(typ);
      ADD_FAILURE() << typ << " has no id base";
    } catch (const Failure& f) {
      EXPECT_EQ(f.type() + " " + f.message(), std::string("KeyError '") + typ + "'");
    }
  }
}

TEST(CtxAdd, CompletesThroughUiEmitAndStoresInTheOpenContainer) {
  auto ui = std::make_shared<testkit::FakeUiEmit>();
  ui->unfilled = {"textview", "button"};
  Modules m = testkit::fake_modules(ui);
  Ctx ctx = testkit::page_ctx(&m);
  ctx.root = Value::object();
  EXPECT_EQ(ctx.add("window", Value::object({{"caption", "w"}})), "window__1");
  ctx.stack.push_back(ctx.root.get("window__1"));
  EXPECT_EQ(ctx.add("textview", Value::object({{"caption", "t"}})), "textview__2");
  ctx.stack.pop_back();
  EXPECT_EQ(ctx.add("button", Value::object()), "button__3");
  EXPECT_EQ(dump(ctx.root, 0), dump(J(R"({"window__1": {"caption": "w", "emitted": true,
    "textview__2": {"caption": "t", "emitted": true}}, "button__3": {"emitted": true}})"),
                                    0));
  EXPECT_EQ(ui->seen, (std::vector<std::string>{"window", "textview", "button"}));
  // Unfilled keys are told once per context, for the first type that lacks them.
  EXPECT_EQ(ctx.warnings,
            std::vector<std::string>{"字段补全：textview 的必填键 ['k'] 在发射层默认表里没有取值 → "
                                     "未补（需在 ui_tools/ui_emit 登记）"});
}

class ThrowingUiEmit : public UiEmit {
 public:
  std::pair<Value, Value> fill_required(const std::string&, Value ctrl) override {
    ctrl["half"] = true;
    throw Failure("RuntimeError", "table broken");
  }
};

TEST(CtxAdd, AFailingLayerWarnsOnceAndTheRecordIsStoredAsFilledSoFar) {
  Modules broken;
  broken.ui_emit = std::make_shared<ThrowingUiEmit>();
  Ctx ctx = testkit::page_ctx(&broken);
  ctx.root = Value::object();
  ctx.add("textview", Value::object({{"text", "a"}}));
  ctx.add("button", Value::object());
  EXPECT_EQ(ctx.warnings,
            std::vector<std::string>{
                "必填键补全未走共享发射层（ui_emit 不可用：table broken）→ 本页可能缺必填键"});
  EXPECT_EQ(
      dump(ctx.root, 0),
      dump(J(R"({"textview__1": {"text": "a", "half": true}, "button__2": {"half": true}})"), 0));
}

TEST(Pages, StripMarkersRemovesInternalKeysAtEveryDepth) {
  Value d = J(
      R"({"__listview": true, "subitem__2": {"__x": 1}, "waves": [{"__y": 2}, 3, [{"__z": 1}]]})");
  PageFold::_strip_markers(d);
  EXPECT_EQ(dump(d, 0), dump(J(R"({"subitem__2": {}, "waves": [{}, 3, [{"__z": 1}]]})"), 0));
}

}  // namespace
