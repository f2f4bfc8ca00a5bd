// The conversion context and the page helpers of the converter: warning
// de-duplication, key/id/name counters, completion through ui_emit, page
// finding and naming, marker removal.
#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "pagefold/converter.hpp"
#include "pagefold/ctx.hpp"
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

const std::string EMIT_MISSING_NO_MODULE =
    "必填键补全未走共享发射层（ui_emit 不可用：No module named 'ui_emit'）→ 本页可能缺必填键";

TEST(CtxWarn, DeduplicatesByKeyOrByTheFirst80CodePoints) {
  Ctx ctx;
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

TEST(CtxCounters, KeysRunOnAcrossTypes) {
  Ctx ctx;
  std::vector<std::string> keys;
  for (const char* t : {"textview", "button", "textview", "window", "icon"})
    keys.push_back(ctx.key(t));
  EXPECT_EQ(keys, (std::vector<std::string>{"textview__1", "button__2", "textview__3", "window__4",
                                            "icon__5"}));
  EXPECT_EQ(ctx.n, 5);
}

TEST(CtxCounters, IdsCountUpFromTheTypeBase) {
  Ctx ctx;
  EXPECT_EQ(ctx.nid("textview"), 50001);
  EXPECT_EQ(ctx.nid("textview"), 50002);
  EXPECT_EQ(ctx.nid("window"), 110001);
  EXPECT_EQ(ctx.nid("imageanim"), 160001);
  for (const char* typ : {"icon", "modal"}) {
    try {
      ctx.nid(typ);
      ADD_FAILURE() << typ << " has no id base";
    } catch (const Failure& f) {
      EXPECT_EQ(f.type(), "KeyError");
      EXPECT_EQ(f.message(), std::string("'") + typ + "'");
    }
  }
}

TEST(CtxCounters, NamesUseThePrefixTableOrTheCapitalisedType) {
  Ctx ctx;
  std::vector<std::string> names;
  for (const char* t : {"textview", "textview", "slidetext", "icon", "diagram", "button", "icon"}) {
    names.push_back(ctx.name(t));
  }
  EXPECT_EQ(names, (std::vector<std::string>{"TextView1", "TextView2", "Slidetext1", "ImageView1",
                                             "Diagram1", "Button1", "ImageView2"}));
}

TEST(CtxAdd, CompletesThroughUiEmitAndStoresInTheOpenContainer) {
  auto ui = std::make_shared<testkit::FakeUiEmit>();
  Modules m = testkit::fake_modules(ui);
  Ctx ctx(&m);
  ctx.root = Value::object();
  EXPECT_EQ(ctx.add("window", Value::object({{"caption", "w"}})), "window__1");
  Value win = ctx.root.get("window__1");
  ctx.stack.push_back(win);
  EXPECT_EQ(ctx.add("textview", Value::object({{"caption", "t"}})), "textview__2");
  ctx.stack.pop_back();
  EXPECT_EQ(ctx.add("button", Value::object()), "button__3");
  EXPECT_EQ(dump(ctx.root, 2), dump(J(R"({
    "window__1": {"caption": "w", "emitted": true,
                  "textview__2": {"caption": "t", "emitted": true}},
    "button__3": {"emitted": true}})"),
                                    2));
  EXPECT_EQ(ui->seen, (std::vector<std::string>{"window", "textview", "button"}));
  EXPECT_TRUE(ctx.warnings.empty());
}

TEST(CtxAdd, UnfilledKeysAreReportedOncePerContext) {
  auto ui = std::make_shared<testkit::FakeUiEmit>();
  ui->unfilled = {"button", "seekbar"};
  Modules m = testkit::fake_modules(ui);
  Ctx ctx(&m);
  ctx.root = Value::object();
  ctx.add("button", Value::object());
  ctx.add("seekbar", Value::object());
  ctx.add("button", Value::object());
  EXPECT_EQ(ctx.warnings,
            std::vector<std::string>{"字段补全：button 的必填键 ['k'] 在发射层默认表里没有取值 → "
                                     "未补（需在 ui_tools/ui_emit 登记）"});
  EXPECT_EQ(ctx.root.as_object().size(), 3u);
}

TEST(CtxAdd, MissingLayerWarnsOnceAndStoresTheRecordAsGiven) {
  Modules none = testkit::no_modules();
  const std::vector<const Modules*> choices = {nullptr, &none};
  for (const Modules* m : choices) {
    Ctx ctx(m);
    ctx.root = Value::object();
    ctx.add("textview", Value::object({{"text", "a"}}));
    ctx.add("button", Value::object());
    EXPECT_EQ(ctx.warnings, std::vector<std::string>{EMIT_MISSING_NO_MODULE});
    EXPECT_EQ(dump(ctx.root, 0), dump(J(R"({"textview__1": {"text": "a"}, "button__2": {}})"), 0));
  }
}

class ThrowingUiEmit : public UiEmit {
 public:
  std::pair<Value, Value> fill_required(const std::string&, Value ctrl) override {
    ctrl["half"] = true;
    throw Failure("RuntimeError", "table broken");
  }
};

TEST(CtxAdd, AFailingLayerIsReportedWithItsMessage) {
  Modules m;
  m.ui_emit = std::make_shared<ThrowingUiEmit>();
  Ctx ctx(&m);
  ctx.root = Value::object();
  ctx.add("textview", Value::object());
  EXPECT_EQ(ctx.warnings,
            std::vector<std::string>{
                "必填键补全未走共享发射层（ui_emit 不可用：table broken）→ 本页可能缺必填键"});
  EXPECT_TRUE(ctx.root.contains("textview__1"));
}

// ---- page helpers

struct Tree {
  std::deque<Node> nodes;
  Node* make(const std::string& tag, Attrs attrs = {}) {
    nodes.push_back(Node{tag, std::move(attrs), {}, ""});
    return &nodes.back();
  }
  Node* add(Node* parent, Node* child) {
    parent->children.push_back(child);
    return child;
  }
};

TEST(Pages, OutermostScreensArePagesAndInnerOnesNested) {
  Tree t;
  Node* body = t.make("body", {{"class", "screen"}});  // not a div: no page
  Node* s1 = t.add(body, t.make("div", {{"class", "a screen"}}));
  Node* n1 = t.add(s1, t.make("div", {{"class", "screen"}}));
  Node* n2 = t.add(n1, t.make("div", {{"class", "screen"}}));
  t.add(body, t.make("section", {{"class", "screen"}}));
  Node* s2 = t.add(body, t.make("div", {{"class", "screen"}}));
  auto [screens, nested] = PageFold::_find_screens(*body);
  EXPECT_EQ(screens, (std::vector<const Node*>{s1, s2}));
  EXPECT_EQ(nested, (std::vector<const Node*>{n1, n2}));
}

TEST(Pages, IdsLabelsAndNestLabels) {
  PageFold pf(std::nullopt, std::nullopt, nullptr);
  struct Case {
    Attrs attrs;
    std::string id, label, nest;
  };
  const std::vector<Case> cases = {
      {{{"data-page", "a b/c"}}, "a_b_c", "a_b_c", "a b/c"},
      {{{"data-page", "  "}}, "page_2", "page_2", "嵌套屏2"},
      {{{"data-page", std::nullopt}}, "page_2", "page_2", "嵌套屏2"},
      {{}, "page_2", "page_2", "嵌套屏2"},
      {{{"data-page", "中文"}}, "中文", "中文", "中文"},
      {{{"data-page", "login"}, {"data-page-name", " 登录 "}}, "login", "login(登录)", "login"},
      {{{"data-page", " A:*?\"<>|\\\t\u3000B "}}, "A_B", "A_B", "A:*?\"<>|\\\t\u3000B"},
  };
  for (const Case& c : cases) {
    Node n{"div", c.attrs, {}, ""};
    EXPECT_EQ(pf._page_id(n, 2), c.id);
    EXPECT_EQ(pf._page_label(n, 2), c.label);
    EXPECT_EQ(pf._nest_label(n, 2), c.nest);
  }
}

TEST(Pages, StripMarkersRemovesInternalKeysAtEveryDepth) {
  Value d = J(
      R"({"__listview": true, "subitem__2": {"__x": 1}, "waves": [{"__y": 2}, 3, [{"__z": 1}]]})");
  PageFold::_strip_markers(d);
  EXPECT_EQ(dump(d, 0), dump(J(R"({"subitem__2": {}, "waves": [{}, 3, [{"__z": 1}]]})"), 0));
}

}  // namespace
