// The ui_emit plug-in as built: loaded by name from the build directory, it
// completes records against the key table beside it, reports keys it cannot
// fill, fails cleanly on a table it cannot read, and changes nothing that the
// converter itself builds.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "pagefold/error.hpp"
#include "pagefold/json.hpp"
#include "pagefold/modules.hpp"
#include "pagefold/pagefold.hpp"
#include "testkit.hpp"
#include "util/ctx.hpp"

namespace fs = std::filesystem;
using namespace pagefold;
using testkit::J;
using testkit::pretty;

namespace {

const char* const kLibrary = "libpagefold_ui_emit.so";
const char* const kTable = "ui_emit_keys.json";
const std::string kEmitMissing = "必填键补全未走共享发射层（ui_emit 不可用：";
const std::string kEmitMissingEnd = "）→ 本页可能缺必填键";

std::string emit_missing(const std::string& why) { return kEmitMissing + why + kEmitMissingEnd; }

std::string unfilled(const std::string& typ, const std::string& keys) {
  return "字段补全：" + typ + " 的必填键 " + keys +
         " 在发射层默认表里没有取值 → 未补（需在 ui_tools/ui_emit 登记）";
}

// The plug-in of the build tree.
std::shared_ptr<UiEmit> built_plugin() {
  Modules m = Modules::load_from({PAGEFOLD_BINARY_DIR});
  if (!m.ui_emit) throw std::runtime_error("no ui_emit plug-in in " PAGEFOLD_BINARY_DIR);
  return m.ui_emit;
}

Modules with_ui_emit(std::shared_ptr<UiEmit> ui, std::shared_ptr<GenRes> gen = nullptr) {
  Modules m = Modules::none();
  m.ui_emit = std::move(ui);
  m.gen_res = std::move(gen);
  return m;
}

// ---------------------------------------------------------------- fill_required

struct FillCase {
  std::string name, typ, record, filled, missing;
};

TEST(UiEmitFill, CompletesInPlaceAppendsInTableOrderAndReportsKeysWithoutDefault) {
  const std::vector<FillCase> cases = {
      {"a complete text view is left alone, optional keys and markers too", "textview",
       R"({"alignment": 38, "caption": "t", "colorTab": {"color0": 1}, "fontSize": 20,
           "id": 50001, "position": {"height": 1, "left": 2, "top": 3, "width": 4},
           "touchable": true, "text": "x", "__container": true})",
       R"({"alignment": 38, "caption": "t", "colorTab": {"color0": 1}, "fontSize": 20,
           "id": 50001, "position": {"height": 1, "left": 2, "top": 3, "width": 4},
           "touchable": true, "text": "x", "__container": true})",
       "[]"},
      {"missing keys go to the end in table order; present ones keep their place", "textview",
       R"({"text": "hi", "id": 50001, "caption": "t", "__bg": null})",
       R"({"text": "hi", "id": 50001, "caption": "t", "__bg": null, "alignment": 36,
           "colorTab": {"color0": 15659766}, "fontSize": 16,
           "position": {"height": 40, "left": 0, "top": 0, "width": 100}, "touchable": false})",
       "[]"},
      {"keys without a default are named in table order, the rest is filled", "textview",
       R"({"fontSize": 12})",
       R"({"fontSize": 12, "alignment": 36, "colorTab": {"color0": 15659766},
           "position": {"height": 40, "left": 0, "top": 0, "width": 100}, "touchable": false})",
       R"(["caption", "id"])"},
      {"an icon button's removed colour and text are not put back", "button",
       R"({"alignment": 37, "caption": "b", "colorTab": {"color0": 1}, "id": 20001,
           "position": {"height": 1, "left": 0, "top": 0, "width": 1}, "touchable": true,
           "picTab": {"pic0": "images/a.png", "pic1": "images/a_p.png"}})",
       R"({"alignment": 37, "caption": "b", "colorTab": {"color0": 1}, "id": 20001,
           "position": {"height": 1, "left": 0, "top": 0, "width": 1}, "touchable": true,
           "picTab": {"pic0": "images/a.png", "pic1": "images/a_p.png"}})",
       "[]"},
      {"a button without pictures gets the empty picture map", "button",
       R"({"alignment": 37, "caption": "b", "colorTab": {"color0": 1}, "id": 20001,
           "position": {"height": 1, "left": 0, "top": 0, "width": 1}, "touchable": true})",
       R"({"alignment": 37, "caption": "b", "colorTab": {"color0": 1}, "id": 20001,
           "position": {"height": 1, "left": 0, "top": 0, "width": 1}, "touchable": true,
           "picTab": {}})",
       "[]"},
      {"an empty check box gets every default, nested boxes included", "checkbox", "{}",
       R"({"alignment": 36, "backgroundColor": -1, "bold": false, "checked": false,
           "fontSize": 16, "italic": false, "touchable": true,
           "colorTab": {"color0": 15659766, "color2": 16777215},
           "iconPosition": {"left": 0, "top": 0, "width": 40, "height": 40},
           "position": {"height": 40, "left": 0, "top": 0, "width": 100},
           "textPosition": {"left": 46, "top": 0, "width": 54, "height": 40},
           "visible": true, "text": ""})",
       R"(["caption", "id"])"},
      {"a real default stays a real", "seekbar", R"({"caption": "s", "id": 91001, "max": 7.5})",
       R"({"caption": "s", "id": 91001, "max": 7.5, "backgroundColor": -1, "defProgress": 0,
           "orientation": 0, "position": {"height": 40, "left": 0, "top": 0, "width": 100},
           "touchable": false, "visible": true,
           "thumb": {"size": {"width": 0, "height": 0}, "normalPic": "", "pressedPic": ""}})",
       "[]"},
      {"a type without a row requires nothing", "modal", R"({"x": 1})", R"({"x": 1})", "[]"},
      {"records never added (rows, radio buttons) have no row either", "subitem", "{}", "{}", "[]"},
  };
  const auto ui = built_plugin();
  for (const FillCase& c : cases) {
    SCOPED_TRACE(c.name);
    const Value record = J(c.record);
    auto [filled, missing] = ui->fill_required(c.typ, record);
    EXPECT_TRUE(filled.same(record)) << "not the map passed in";
    EXPECT_EQ(pretty(filled), pretty(J(c.filled)));
    EXPECT_EQ(pretty(missing), pretty(J(c.missing)));
  }
}

TEST(UiEmitFill, EveryRecordGetsDefaultsOfItsOwn) {
  const auto ui = built_plugin();
  const Value a = Value::object(), b = Value::object();
  ui->fill_required("seekbar", a);
  ui->fill_required("seekbar", b);
  a["thumb"]["size"]["width"] = 9;
  a["position"]["left"] = 5;
  EXPECT_EQ(pretty(b.get("thumb")),
            pretty(J(R"({"size": {"width": 0, "height": 0}, "normalPic": "", "pressedPic": ""})")));
  EXPECT_EQ(b.get("position").get("left"), Value(0));
  // The table's own default is untouched too.
  const Value c = Value::object();
  ui->fill_required("seekbar", c);
  EXPECT_EQ(c.get("thumb").get("size").get("width"), Value(0));
  EXPECT_FALSE(b.get("position").same(c.get("position")));
}

// Through the converter's one door: the record is stored completed, keys
// without a default are reported once per context, and a record that is no
// map costs the missing-layer warning, not the page.
TEST(UiEmitFill, ContextStoresTheCompletedRecordAndWarnsExactly) {
  const Modules m = with_ui_emit(built_plugin());
  Ctx ctx = testkit::page_ctx(&m);
  ctx.root = Value::object();
  EXPECT_EQ(ctx.add("painter", J(R"({"caption": "p", "visible": false})")), "painter__1");
  EXPECT_EQ(ctx.add("button", J(R"({"caption": "b"})")), "button__2");
  EXPECT_EQ(ctx.add("scrollwindow", J(R"({"id": 32001})")), "scrollwindow__3");
  EXPECT_EQ(ctx.add("textview", Value("not a map")), "textview__4");
  EXPECT_EQ(pretty(ctx.root), pretty(J(R"({
    "painter__1": {"caption": "p", "visible": false, "backgroundColor": -1,
                   "position": {"height": 40, "left": 0, "top": 0, "width": 100},
                   "touchable": false},
    "button__2": {"caption": "b", "alignment": 37, "colorTab": {"color0": 15659766},
                  "position": {"height": 40, "left": 0, "top": 0, "width": 100},
                  "touchable": true, "picTab": {}},
    "scrollwindow__3": {"id": 32001, "dragMaxDis": 200, "edgeEffect": 1, "orientation": 0,
                        "position": {"height": 40, "left": 0, "top": 0, "width": 100}},
    "textview__4": "not a map"})")));
  EXPECT_EQ(ctx.warnings,
            (std::vector<std::string>{unfilled("painter", "['id']"),
                                      emit_missing("the record of a textview is no map")}));
}

// ---------------------------------------------------------------- the table file

// A copy of the built plug-in in a directory of its own, so that the table
// beside it can be anything. The directories live as long as the fixture: a
// library stays loaded, and a new copy must never reuse a removed one's file.
class UiEmitTable : public ::testing::Test {
 protected:
  std::vector<std::unique_ptr<testkit::TempDir>> dirs;

  // A directory holding the plug-in and, unless `table` is absent, the table.
  const testkit::TempDir& plugin_dir(const std::optional<std::string>& table) {
    dirs.push_back(std::make_unique<testkit::TempDir>());
    const testkit::TempDir& d = *dirs.back();
    fs::copy_file(fs::path(PAGEFOLD_BINARY_DIR) / kLibrary, d.path() / kLibrary);
    if (table) d.write(kTable, *table);
    return d;
  }

  static std::shared_ptr<UiEmit> load(const testkit::TempDir& d) {
    return Modules::load_from({d.str()}).ui_emit;
  }

  // The warnings of a one-page conversion with the plug-in in `d`.
  static std::vector<std::string> convert_warnings(const testkit::TempDir& d) {
    const ConvertResult r = testkit::convert_html(
        R"(<div class="screen" data-bg="#000000"><div class="text">hi</div></div>)",
        with_ui_emit(load(d)));
    return r.warnings;
  }
};

TEST_F(UiEmitTable, UnreadableTablesFailEveryCompletionWithAClearMessage) {
  std::string bad_json;
  try {
    parse_json("{\"types\": ");
  } catch (const Failure& f) {
    bad_json = f.message();
  }
  ASSERT_FALSE(bad_json.empty());
  struct Case {
    std::optional<std::string> table;
    std::string why;  // "<table>" stands for the table's path
  };
  const std::vector<Case> cases = {
      {std::nullopt, "cannot read the key table '<table>': No such file or directory"},
      {"{\"types\": ", "bad key table '<table>': " + bad_json},
      {"[]", "bad key table '<table>': the top level is no map"},
      {R"({"keys": {}})", "bad key table '<table>': \"types\" is missing or no map"},
      {R"({"types": []})", "bad key table '<table>': \"types\" is missing or no map"},
      {R"({"types": {"textview": []}})", "bad key table '<table>': types.textview is no map"},
      {R"({"types": {"button": {"optional": []}}})",
       "bad key table '<table>': types.button.required is missing or no list"},
      {R"({"types": {"button": {"required": [{"key": "a"}, {"default": 1}]}}})",
       "bad key table '<table>': types.button.required[1] has no \"key\" text"},
      {R"({"types": {"button": {"required": [{"key": ""}]}}})",
       "bad key table '<table>': types.button.required[0] has no \"key\" text"},
      {R"({"types": {"button": {"required": [{"key": 7}]}}})",
       "bad key table '<table>': types.button.required[0] has no \"key\" text"},
      {R"({"types": {"button": {"required": ["caption"]}}})",
       "bad key table '<table>': types.button.required[0] has no \"key\" text"},
      {R"({"types": {"button": {"required": [{"key": "id"}, {"key": "id", "default": 1}]}}})",
       "bad key table '<table>': types.button.required[1]: \"id\" is listed twice"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    const testkit::TempDir& d = plugin_dir(c.table);
    const std::string table = (d.path() / kTable).string();
    std::string why = c.why;
    why.replace(why.find("<table>"), 7, table);
    // Loading reads nothing: the module is there, and fails on use.
    const auto ui = load(d);
    ASSERT_NE(ui, nullptr);
    EXPECT_EQ(convert_warnings(d), std::vector<std::string>{emit_missing(why)});
    // Every later use fails alike, and nothing was changed on the way.
    const Value record = J(R"({"caption": "x"})");
    try {
      ui->fill_required("button", record);
      ADD_FAILURE() << "expected a failure";
    } catch (const Failure& f) {
      EXPECT_EQ(f.message(), why);
    }
    EXPECT_EQ(pretty(record), pretty(J(R"({"caption": "x"})")));
  }
  // A directory in the table's place.
  const testkit::TempDir& d = plugin_dir(std::nullopt);
  fs::create_directory(d.path() / kTable);
  EXPECT_EQ(
      convert_warnings(d),
      std::vector<std::string>{emit_missing("cannot read the key table '" +
                                            (d.path() / kTable).string() + "': Is a directory")});
}

TEST_F(UiEmitTable, TheTableIsReadOnFirstUseAndOnlyOnce) {
  const testkit::TempDir& d = plugin_dir(std::nullopt);
  const auto ui = load(d);
  ASSERT_NE(ui, nullptr);
  // Written after loading, before the first completion: it is used.
  d.write(kTable,
          R"({"types": {"textview": {"required": [{"key": "id"}, {"key": "z", "default": 1}]}}})");
  const Value a = Value::object();
  EXPECT_EQ(pretty(ui->fill_required("textview", a).second), pretty(J(R"(["id"])")));
  EXPECT_EQ(pretty(a), pretty(J(R"({"z": 1})")));
  // Broken afterwards: the module keeps the table it read.
  d.write(kTable, "broken");
  const Value b = Value::object();
  ui->fill_required("textview", b);
  EXPECT_EQ(pretty(b), pretty(J(R"({"z": 1})")));
  // A table with an empty row or no rows at all requires nothing.
  const testkit::TempDir& e =
      plugin_dir(R"({"types": {"textview": {"required": []}}, "other": 1})");
  EXPECT_EQ(convert_warnings(e), std::vector<std::string>{});
  EXPECT_EQ(convert_warnings(plugin_dir(R"({"types": {}})")), std::vector<std::string>{});
}

// ---------------------------------------------------------------- the table's defaults

// One bare element of every type: the defaults of the table are what the
// builders write when the prototype says nothing.
TEST(UiEmitTableDefaults, AreWhatTheBuildersWriteWhenThePrototypeSaysNothing) {
  const ConvertResult r = testkit::convert_html(R"(<div class="screen" data-bg="#000000">
    <div class="text"></div> <div class="anim"></div> <div class="btn"></div>
    <div class="input"></div> <div class="seekbar"></div> <div class="checkbox"></div>
    <div class="circlebar"></div> <div class="clock"></div> <div class="slidetext"></div>
    <div class="camera"></div> <div class="painter"></div> <div class="gauge"></div>
    <div class="qrcode"></div> <div class="video"></div> <div class="window"></div>
    <div class="list"></div> <div class="chart"></div> <div class="launcher"></div>
    <div class="scroll"></div> <div class="pager"></div> <div class="rg"></div></div>)",
                                                testkit::no_modules());
  ASSERT_TRUE(r.pages);
  const Value page = (*r.pages)[0].second;
  const Value table =
      parse_json(testkit::read_file(PAGEFOLD_SOURCE_DIR "/plugins/ui_emit/ui_emit_keys.json"));
  std::set<std::string> found;
  for (const auto& [key, record] : page.as_object()) {
    const size_t cut = key.find("__");
    if (cut == std::string::npos) continue;
    const std::string typ = key.substr(0, cut);
    found.insert(typ);
    for (const Value& e : table.get("types").get(typ).get("required").as_array()) {
      const std::string k = e.get("key").as_string();
      ASSERT_TRUE(record.contains(k)) << typ << " lacks " << k;
      if (e.as_object().contains("default")) {
        EXPECT_EQ(pretty(record.get(k)), pretty(e.get("default"))) << typ << "." << k;
      }
    }
  }
  std::set<std::string> types;
  for (const auto& [typ, row] : table.get("types").as_object()) types.insert(typ);
  EXPECT_EQ(found, types);
}

// ---------------------------------------------------------------- no record changes

// Records the keys of every record before the real plug-in completes it.
class Recording : public UiEmit {
 public:
  explicit Recording(std::shared_ptr<UiEmit> real) : real_(std::move(real)) {}
  std::map<std::string, std::set<std::string>> keys_seen;

  std::pair<Value, Value> fill_required(const std::string& typ, Value ctrl) override {
    auto& seen = keys_seen[typ];
    for (const auto& [k, v] : ctrl.as_object())
      if (k.rfind("__", 0) != 0) seen.insert(k);
    return real_->fill_required(typ, ctrl);
  }

 private:
  std::shared_ptr<UiEmit> real_;
};

// Stand-in pictures for a conversion with an asset directory, none without.
std::shared_ptr<GenRes> fake_pictures(bool assets) {
  return assets ? std::make_shared<testkit::FakeGenRes>() : nullptr;
}

struct Outcome {
  std::string record;
  std::vector<std::pair<std::string, std::string>> pages;  // name, content
};

Outcome convert_case(const fs::path& input, const fs::path& work, bool merge,
                     const std::optional<std::string>& res, bool assets, const Modules& m) {
  fs::remove_all(work);
  fs::create_directories(work);
  const fs::path out = work / "out";
  const std::optional<std::string> asset_dir =
      assets ? std::optional<std::string>((work / "assets").string()) : std::nullopt;
  Value r = pagefold::pagefold(input.string(), out.string(), res, asset_dir, merge, m);
  Outcome o;
  // The one warning the plug-in takes away, wherever it stands.
  if (r.get("warnings").is_array()) {
    Array& w = r.get("warnings").as_array();
    w.erase(std::remove(w.begin(), w.end(), Value(emit_missing("No module named 'ui_emit'"))),
            w.end());
  }
  o.record = dump(r, 1);
  if (fs::exists(out))
    for (const auto& e : fs::directory_iterator(out))
      o.pages.emplace_back(e.path().filename().string(), testkit::read_file(e.path().string()));
  std::sort(o.pages.begin(), o.pages.end());
  return o;
}

TEST(UiEmitInvariant, GoldenPrototypesAndSamplesConvertTheSameWithAndWithoutThePlugin) {
  struct Input {
    fs::path html;
    bool merge = false, assets = false;
    std::optional<std::string> res = std::nullopt;
  };
  std::vector<Input> inputs;
  const fs::path golden = fs::path(PAGEFOLD_SOURCE_DIR) / "tests" / "golden";
  for (const auto& e : fs::directory_iterator(golden)) {
    if (!fs::exists(e.path() / "input.html")) continue;
    Input in{e.path() / "input.html"};
    if (fs::exists(e.path() / "args")) {
      std::istringstream args(testkit::read_file((e.path() / "args").string()));
      for (std::string a; args >> a;) {
        if (a == "--merge-windows") in.merge = true;
        if (a == "--assets") in.assets = true;
        if (a.rfind("--res=", 0) == 0) in.res = a.substr(6);
      }
    }
    inputs.push_back(in);
  }
  inputs.push_back(Input{fs::path(PAGEFOLD_SOURCE_DIR) / "examples" / "demo.html"});
  // Branches that leave a key out on purpose and that the prototypes above
  // do not reach: a check box with pictures and no colour anywhere loses its
  // colours, an animation without a file has no file key.
  testkit::TempDir fixtures;
  inputs.push_back(Input{fixtures.write("left_out.html", R"(<div class="screen">
    <div class="checkbox" data-pic="box.png">Remember</div>
    <div class="anim"></div></div>)")});
  ASSERT_GT(inputs.size(), 30u);

  auto recording = std::make_shared<Recording>(built_plugin());
  testkit::TempDir tmp;
  for (const Input& in : inputs) {
    // As the case is meant, and once more with pictures where it had none:
    // pictures take other branches of the builders.
    const std::vector<bool> variants =
        in.assets ? std::vector<bool>{true} : std::vector<bool>{false, true};
    for (bool assets : variants) {
      SCOPED_TRACE(in.html.string() + (assets ? " with pictures" : ""));
      const Outcome without = convert_case(in.html, tmp.path(), in.merge, in.res, assets,
                                           with_ui_emit(nullptr, fake_pictures(assets)));
      const Outcome with = convert_case(in.html, tmp.path(), in.merge, in.res, assets,
                                        with_ui_emit(recording, fake_pictures(assets)));
      EXPECT_EQ(without.record, with.record);
      EXPECT_EQ(with.record.find("字段补全："), std::string::npos);
      ASSERT_EQ(without.pages.size(), with.pages.size());
      for (size_t i = 0; i < with.pages.size(); ++i) {
        EXPECT_EQ(without.pages[i].first, with.pages[i].first);
        EXPECT_EQ(without.pages[i].second, with.pages[i].second) << with.pages[i].first;
      }
    }
  }

  // The corpus reaches every type of the table, and every key the builders
  // wrote is listed for its type, required or optional.
  const Value table =
      parse_json(testkit::read_file(PAGEFOLD_SOURCE_DIR "/plugins/ui_emit/ui_emit_keys.json"));
  std::set<std::string> types_in_table, types_seen;
  for (const auto& [typ, keys] : recording->keys_seen) types_seen.insert(typ);
  for (const auto& [typ, row] : table.get("types").as_object()) {
    types_in_table.insert(typ);
    std::set<std::string> listed;
    for (const char* part : {"required", "optional"})
      for (const Value& e : row.get(part).as_array()) listed.insert(e.get("key").as_string());
    for (const std::string& k : recording->keys_seen[typ])
      EXPECT_TRUE(listed.count(k)) << typ << " writes " << k << ", which the table does not list";
  }
  EXPECT_EQ(types_seen, types_in_table);
}

}  // namespace
