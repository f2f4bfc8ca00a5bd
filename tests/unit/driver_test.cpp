// The entry point end to end: prototypes in, result record, page files and
// console output compared whole. The screens here hold no controls, so that
// every byte of the expected output is decided by the driver itself.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "assets/png_output.hpp"
#include "front/dom.hpp"
#include "pagefold/converter.hpp"
#include "pagefold/error.hpp"
#include "pagefold/json.hpp"
#include "pagefold/pagefold.hpp"
#include "testkit.hpp"
#include "util/text.hpp"

namespace fs = std::filesystem;
using namespace pagefold;
using testkit::J;
using testkit::TempDir;

namespace {

const std::string NOT_IN_UI =
    "output_json 不在 <项目>/ui/ 目录下，自动转图输出到 json 同目录 images/；建议把图片移到项目 "
    "resources/images/ 后 json 引用 images/xxx.png（相对 resources）";
const std::string NO_SCREEN =
    "未找到 <div class=\"screen\"> 根节点（受限 HTML 必须从 screen 容器开始）";
const std::string PER_SCREEN_A =
    "缺省口径：**每屏一个 json**（一个 .screen = 一个页面 = 一个 Activity = 一个独立 "
    "qlu），文件名取 data-page：";
const std::string PER_SCREEN_B =
    "。同一 Activity 内的 window / dialog（弹窗）属于该屏**内部**，直接写在 .screen 里（div.window "
    "/ div.modal），不另算一页、工具也不会把多个 .screen 合并；哪些屏属于不同 Activity、"
    "哪些属于同屏内 window/dialog，由 AI 在设计阶段（HTML 原型）判定。只有**同属一个 Activity "
    "的多个整屏 window**才用 --merge-windows（MCP: merge_windows=true）合成一个 json";
const std::string BG_MISSING =
    "页面根没有底色（.screen 无 data-bg，html/body 也没写 background）→ 真机**不擦屏**，"
    "会露出上一页/屏保的残留画面（2026-10-04 实机验证：CSS 的 background 只写在 body "
    "上时整屏残留旧帧）→ 给 .screen 加 data-bg 或给 body 写 background（需切图确认外观）";
const std::string COVERING =
    "）：按 knowledge/devflow/page-architecture-spec.md 的默认口径，**同一业务域**内的多页就该"
    "这么放（同一个 qlu 内叠多个整屏 window，首屏 visible:true、其余 visible:false，切换只走 "
    "showWnd()/hideWnd()：零切换成本、共享控件指针与状态）；**只有跨业务域 / "
    "需独立生命周期与返回栈 / 超大页面**才拆成独立 qlu（新 Activity + openActivity() "
    "跳转；pagefold 缺省就是每屏一个 json /\n一个 qlu，这个多整屏 window "
    "形态要用 --merge-windows 才是）。判据见该文档 §2 决策清单";

std::string per_screen_note(const std::string& files) {
  return PER_SCREEN_A + files + PER_SCREEN_B;
}

// An empty page root of the default size with colour `bg`.
std::string root_json(int64_t bg) {
  return R"({"beepEnable": true, "id": 0, "resolution": {"height": 272, "width": 480},
             "topmost": false, "backgroundColor": )" +
         std::to_string(bg) +
         R"(, "position": {"height": 272, "left": 0, "top": 0, "width": 480}})";
}

std::string screen(const std::string& page, const std::string& extra = "") {
  return "<div class=\"screen\" data-page=\"" + page + "\" data-bg=\"#000010\"" + extra + "></div>";
}

// Screens side by side need a common parent: the tree has one root element.
std::string doc(const std::string& body) { return "<html><body>" + body + "</body></html>"; }

// The JSON array text of `items`.
std::string list(const std::vector<std::string>& items) {
  Value a = Value::array();
  for (const auto& s : items) a.as_array().push_back(s);
  return dump(a, 0);
}

class Driver : public ::testing::Test {
 protected:
  TempDir tmp;
  Modules none = testkit::no_modules();

  std::string at(const std::string& rel) const { return tmp.str() + "/" + rel; }
  // Expected JSON with "<tmp>" standing for the temporary directory.
  Value expect(const std::string& json) const {
    return J(text::replace_all(json, "<tmp>", tmp.str()));
  }
  Value run(const std::string& html, std::optional<std::string> out, bool merge = false,
            const std::string& name = "in.html") {
    std::string in = tmp.write(name, html);
    return pagefold::pagefold(in, out, std::nullopt, std::nullopt, merge, none);
  }
  std::vector<std::string> json_files() const {
    std::vector<std::string> found;
    for (const auto& e : fs::recursive_directory_iterator(tmp.path())) {
      if (e.is_regular_file() && e.path().extension() != ".html" &&
          e.path().filename() != "blocker") {
        found.push_back(fs::relative(e.path(), tmp.path()).string());
      }
    }
    std::sort(found.begin(), found.end());
    return found;
  }
};

#define EXPECT_JSON(actual, expected) EXPECT_EQ(dump(actual, 2), dump(expected, 2))

TEST_F(Driver, OneScreenWritesOneFileAndTheWholeRecord) {
  Value r = run(screen("main"), at("out"));
  EXPECT_JSON(r, expect(R"({
    "success": true, "jsonPath": "<tmp>/out/main.json", "jsonPaths": ["<tmp>/out/main.json"],
    "jsonsProduced": 1, "screensDetected": 1, "pagesProduced": 1, "mode": "single-screen",
    "pages": [{"page": "main", "json": "<tmp>/out/main.json"}], "resolution": "480x272",
    "controls": 0, "controlsTopLevel": 0, "controlsNested": 0, "warnings": )" +
                        list({NOT_IN_UI}) + R"(,
    "generatedAssets": 0, "radButtonGlue": [], "assetDir": "<tmp>/out/images"})"));
  EXPECT_EQ(testkit::read_file(at("out/main.json")), dump(J(root_json(16)), 2));
  EXPECT_EQ(json_files(), std::vector<std::string>{"out/main.json"});
}

TEST_F(Driver, TwoScreensGiveOneFilePerPageAndNameThemInWarnings) {
  Value r = run(doc(screen("a") + screen("b", " data-page-name=\"登录\"")), at("out"));
  EXPECT_JSON(
      r, expect(R"({
    "success": true, "jsonPath": "<tmp>/out/a.json",
    "jsonPaths": ["<tmp>/out/a.json", "<tmp>/out/b.json"], "jsonsProduced": 2,
    "screensDetected": 2, "pagesProduced": 2, "mode": "per-screen",
    "pages": [{"page": "a", "json": "<tmp>/out/a.json"}, {"page": "b", "json": "<tmp>/out/b.json"}],
    "resolution": "480x272", "controls": 0, "controlsTopLevel": 0, "controlsNested": 0,
    "warnings": )" +
                list({NOT_IN_UI, "识别到 2 个 .screen（多屏设计稿）：a / b(登录)",
                      per_screen_note("a.json / b.json")}) +
                R"(, "generatedAssets": 0, "radButtonGlue": [], "assetDir": "<tmp>/out/images"})"));
  EXPECT_EQ(json_files(), (std::vector<std::string>{"out/a.json", "out/b.json"}));
}

TEST_F(Driver, ScreensWithoutIdsAreNumberedAndEachPageWarnsForItself) {
  Value r = run(doc("<div class=screen></div><div class=screen data-page='  '></div>"
                    "<div class=screen data-page='x y/z'></div>"),
                std::nullopt);
  EXPECT_JSON(r.get("warnings"),
              J(list({"识别到 3 个 .screen（多屏设计稿）：page_1 / page_2 / x_y_z",
                      per_screen_note("page_1.json / page_2.json / x_y_z.json"), BG_MISSING,
                      BG_MISSING, BG_MISSING})));
  // Without an output place, per-page files go beside the input.
  EXPECT_EQ(json_files(), (std::vector<std::string>{"page_1.json", "page_2.json", "x_y_z.json"}));
  EXPECT_EQ(r.get("assetDir"), Value());
}

TEST_F(Driver, DuplicatePageIdFailsTheCountCheckAndWritesNothing) {
  Value r = run(doc(screen("a") + screen("a") + screen("c")), at("out"));
  const std::string failed = "a（第 2 屏：data-page 重复，每屏一个 json 会互相覆盖）";
  EXPECT_JSON(r,
              J(R"({"success": false, "warnings": )" +
                list({NOT_IN_UI, "识别到 3 个 .screen（多屏设计稿）：a / a / c",
                      per_screen_note("a.json / a.json / c.json")}) +
                R"(, "screensDetected": 3, "pagesProduced": 2, "mode": "per-screen", "error": )" +
                dump(Value("屏数核对失败：识别到 3 个 .screen，仅产出 2 页，失败：" + failed +
                           "。禁止静默丢页 —— 请修正 HTML（每屏一个并列 .screen，data-page "
                           "唯一）后重转"),
                     0) +
                "}"));
  EXPECT_TRUE(json_files().empty());
}

TEST_F(Driver, NestedScreensCountAsPartOfTheOutermostPage) {
  Value r =
      run("<div class=screen data-page=outer data-bg='#000000'>"
          "<div class=screen data-page=' inner '><div class=screen></div></div></div>",
          std::nullopt);
  EXPECT_EQ(r.get("screensDetected"), Value(1));
  EXPECT_EQ(r.get("mode"), Value("single-screen"));
  EXPECT_EQ(r.get("warnings").as_array().at(0),
            Value("检测到 2 个嵌套 .screen（位于另一个 .screen 内部）：inner / 嵌套屏2 —— "
                  "按**最外层**算页，这些嵌套屏的容器被忽略（屏内控件仍属于最外层页）；"
                  "规范写法是并列 .screen（每屏一个、data-page 区分）"));
}

TEST_F(Driver, ByteOrderMarkAndCarriageReturnsReadAsPlainText) {
  const std::string plain =
      "<div class=screen data-page=p data-bg='#010203'\n data-page-name='x\ny'>"
      "</div>\n";
  Value a = run(plain, at("a"), false, "a.html");
  Value b = run("\xEF\xBB\xBF" + text::replace_all(plain, "\n", "\r\n"), at("b"), false, "b.html");
  Value c = run(text::replace_all(plain, "\n", "\r"), at("c"), false, "c.html");
  EXPECT_EQ(testkit::read_file(at("a/p.json")), dump(J(root_json(0x010203)), 2));
  EXPECT_EQ(testkit::read_file(at("b/p.json")), testkit::read_file(at("a/p.json")));
  EXPECT_EQ(testkit::read_file(at("c/p.json")), testkit::read_file(at("a/p.json")));
  EXPECT_EQ(dump(a.get("warnings"), 2), dump(b.get("warnings"), 2));
  EXPECT_EQ(dump(a.get("warnings"), 2), dump(c.get("warnings"), 2));
}

TEST_F(Driver, EmptyFileAndMissingScreenAreFailureRecords) {
  EXPECT_JSON(run("", std::nullopt), J(R"({"success": false, "warnings": ["空 HTML"],
      "screensDetected": 0, "pagesProduced": 0, "error": )" +
                                       dump(Value(NO_SCREEN), 0) + "}"));
  EXPECT_JSON(run("<div class=page><section class=screen></section></div>", at("o")),
              J(R"({"success": false, "warnings": )" + list({NOT_IN_UI, NO_SCREEN}) +
                R"(, "screensDetected": 0, "pagesProduced": 0, "error": )" +
                dump(Value(NO_SCREEN), 0) + "}"));
  EXPECT_TRUE(json_files().empty());
}

TEST_F(Driver, MissingInputIsAFailureRecord) {
  EXPECT_JSON(
      pagefold::pagefold(at("nope.html"), at("out"), std::nullopt, std::nullopt, false, none),
      expect(R"({"success": false, "error": "html 文件不存在: <tmp>/nope.html"})"));
  EXPECT_JSON(pagefold::pagefold(tmp.str(), std::nullopt, std::nullopt, std::nullopt, false, none),
              expect(R"({"success": false, "error": "html 文件不存在: <tmp>"})"));
}

TEST_F(Driver, OutputPlaceRules) {
  struct Case {
    const char* what;
    int screens;
    std::optional<std::string> out;
    std::vector<std::string> files;
    Value json_path;
    Value asset_dir;
    bool warned;
  };
  const std::vector<Case> cases = {
      {"upper-case .JSON is a file",
       1,
       "OUT.JSON",
       {"OUT.JSON"},
       "<tmp>/OUT.JSON",
       "<tmp>/images",
       true},
      {"a ui directory puts assets in resources",
       1,
       "out/ui",
       {"out/ui/p1.json"},
       "<tmp>/out/ui/p1.json",
       "<tmp>/out/resources/images",
       false},
      {"a file name in ui is ignored for per-page output",
       2,
       "x/ui/p.json",
       {"x/ui/p1.json", "x/ui/p2.json"},
       "<tmp>/x/ui/p1.json",
       "<tmp>/x/resources/images",
       false},
      {"no output and one page writes nothing", 1, std::nullopt, {}, Value(), Value(), false},
      {"no output and two pages write beside the input",
       2,
       std::nullopt,
       {"p1.json", "p2.json"},
       "<tmp>/p1.json",
       Value(),
       false},
      {"a trailing slash is a directory",
       1,
       "o/",
       {"o/p1.json"},
       "<tmp>/o/p1.json",
       "<tmp>/o/images",
       true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    TempDir t;
    std::string html;
    for (int i = 1; i <= c.screens; ++i) html += screen("p" + std::to_string(i));
    std::string in = t.write("in.html", doc(html));
    // Relative output places are taken from the working directory.
    fs::path cwd = fs::current_path();
    fs::current_path(t.path());
    Value r = pagefold::pagefold(in, c.out, std::nullopt, std::nullopt, false, none);
    fs::current_path(cwd);
    auto sub = [&](const Value& v) {
      return v.is_string() ? Value(text::replace_all(v.as_string(), "<tmp>", t.str())) : v;
    };
    Value paths = Value::array();
    for (const auto& f : c.files) {
      paths.as_array().push_back(t.str() + "/" + f);
      EXPECT_TRUE(fs::is_regular_file(t.path() / f)) << f;
    }
    EXPECT_EQ(r.get("jsonPath"), sub(c.json_path));
    EXPECT_EQ(r.get("jsonPaths"), paths);
    EXPECT_EQ(r.get("jsonsProduced"), Value(static_cast<int64_t>(c.files.size())));
    EXPECT_EQ(r.get("assetDir"), sub(c.asset_dir));
    const Array& warnings = r.get("warnings").as_array();
    EXPECT_EQ(std::count(warnings.begin(), warnings.end(), Value(NOT_IN_UI)), c.warned ? 1 : 0);
    EXPECT_FALSE(fs::exists(t.path() / "x/ui/p.json"));
  }
}

TEST_F(Driver, NoOutputAndOnePageStillListsThePage) {
  Value r = run(screen("solo"), std::nullopt);
  EXPECT_JSON(r.get("pages"), J(R"([{"page": "solo", "json": null}])"));
  EXPECT_TRUE(r.get("success").truthy());
  EXPECT_TRUE(json_files().empty());
}

TEST_F(Driver, MergeOfOneScreenIsSingleScreen) {
  Value r = run(screen("only"), at("out"), true);
  EXPECT_EQ(r.get("mode"), Value("single-screen"));
  EXPECT_EQ(r.get("warnings"), J(list({NOT_IN_UI})));
}

TEST_F(Driver, MergeOfThreeScreensComposesFullScreenWindows) {
  Value r = run(doc("<div class=screen data-page=a data-bg='#000001'></div>"
                    "<div class=screen data-page=b data-page-name=二 data-background='#000002' "
                    "data-hide-timeout=0 data-pic=bg.png data-width=100 data-height=50></div>"
                    "<div class=screen data-page=c data-pic=sub/c.png></div>"),
                at("out/m.json"), true);
  auto window = [](const std::string& cap, int id, int64_t bg, int hto, bool visible,
                   const std::string& pic) {
    return R"({"backgroundColor": )" + std::to_string(bg) + R"(, "caption": ")" + cap +
           R"(", "hideTimeOut": )" + std::to_string(hto) + R"(, "id": )" + std::to_string(id) +
           R"(, "modal": false, "position": {"height": 272, "left": 0, "top": 0, "width": 480},
              "touchable": false, "visible": )" +
           (visible ? "true" : "false") +
           (pic.empty() ? "" : R"(, "backgroundPic": ")" + pic + "\"") + "}";
  };
  std::string page = root_json(1);
  page.pop_back();
  page += R"(, "window__1": )" + window("a", 110001, 1, -1, true, "") + R"(, "window__2": )" +
          window("b", 110002, 2, 0, false, "images/bg.png") + R"(, "window__3": )" +
          window("c", 110003, -1, -1, false, "sub/c.png") + "}";
  EXPECT_EQ(testkit::read_file(at("out/m.json")), dump(J(page), 2));
  const std::string covering =
      "检测到多个互相盖住的整屏 Window（window__1 / window__2 / window__3" + COVERING;
  const std::string labels = "识别到 3 个 .screen（多屏设计稿）：a / b(二) / c";
  const std::string merged =
      "本次按 merge-windows 合成：已把 3 个 .screen 合成到同一个 json 的 3 个整屏 "
      "window（window__1..window__3 连续编号，首屏 visible:true、其余 "
      "visible:false，切页走 showWnd/hideWnd）—— 只在**这些屏同属一个 Activity（同 qlu "
      "内整屏 window）**时用；跨业务域 / 需独立返回栈请去掉这个开关（缺省口径 = 每屏一个 json = "
      "每屏一个 Activity 各自独立 qlu）";
  EXPECT_JSON(
      r,
      expect(R"({
    "success": true, "jsonPath": "<tmp>/out/m.json", "jsonPaths": ["<tmp>/out/m.json"],
    "jsonsProduced": 1, "screensDetected": 3, "pagesProduced": 3, "mode": "merge-windows",
    "pages": [{"page": "a", "json": "<tmp>/out/m.json"}, {"page": "b", "json": "<tmp>/out/m.json"},
              {"page": "c", "json": "<tmp>/out/m.json"}],
    "resolution": "480x272", "controls": 3, "controlsTopLevel": 3, "controlsNested": 0,
    "warnings": )" +
             list({NOT_IN_UI, labels, merged, "第 1 屏 a -> window__1（caption=a，visible=true）",
                   "第 2 屏 b(二) -> window__2（caption=b，visible=false）",
                   "第 3 屏 c -> window__3（caption=c，visible=false）", covering, covering,
                   covering}) +
             R"(, "generatedAssets": 0, "radButtonGlue": [], "assetDir": "<tmp>/out/images"})"));
}

// A button whose icon width is no integer fails its screen.
const std::string FAILING_MIDDLE =
    "<html><body><div class=screen data-page=a data-bg='#000000'></div>"
    "<div class=screen data-page=b><div class=btn data-icon-w=24px>bad</div></div>"
    "<div class=screen data-page=c></div></body></html>";
const std::string FAILED_B =
    "b（第 2 屏转换失败: ValueError: invalid literal for int() with base 10: '24px'）";

TEST_F(Driver, AFailingMergedScreenLeavesAGapAndFailsTheCountCheck) {
  DomParser p;
  p.feed(FAILING_MIDDLE);
  p.close();
  auto [screens, nested] = PageFold::_find_screens(*p.root);
  PageFold pf(std::nullopt, std::nullopt, &none);
  Value meta =
      J(R"({"screensDetected": 3, "pagesProduced": 0, "failed": [], "mode": "merge-windows"})");
  auto [root, warnings, made] = pf._compose_windows(screens, meta);
  std::vector<std::string> keys;
  for (const auto& [k, v] : root.as_object()) keys.push_back(k);
  EXPECT_EQ(keys,
            (std::vector<std::string>{"beepEnable", "id", "resolution", "topmost",
                                      "backgroundColor", "position", "window__1", "window__3"}));
  EXPECT_EQ(root.get("window__3").get("id"), Value(110003));
  EXPECT_EQ(made, (std::vector<std::string>{"a", "c"}));
  EXPECT_EQ(dump(meta, 0), dump(J(R"({"screensDetected": 3, "pagesProduced": 2, "failed": [)" +
                                  dump(Value(FAILED_B), 0) + R"(], "mode": "merge-windows"})"),
                                0));
  EXPECT_EQ(pf.ctx, nullptr);

  Value r = run(FAILING_MIDDLE, at("out"), true);
  EXPECT_EQ(r.get("error"),
            Value("屏数核对失败：识别到 3 个 .screen，仅产出 2 页，失败：" + FAILED_B +
                  "。禁止静默丢页 —— 请修正 HTML（每屏一个并列 .screen，data-page 唯一）后重转"));
  EXPECT_EQ(r.get("mode"), Value("merge-windows"));
  EXPECT_TRUE(json_files().empty());
}

TEST(ConvertImageLog, IsSummarisedOnceAndEmptied) {
  Modules none = testkit::no_modules();
  const std::string page = "<div class=screen data-bg='#000000'></div>";
  PNG_LOG = {{"a.png", "p8", 1000, 400, 12}, {"b.png", "p8", 500, 100, 3}};
  for (int i = 1; i <= 5; ++i)
    PNG_LOG.push_back({"c" + std::to_string(i) + ".png", "rgba", 800, 800, 300});
  ConvertResult r = testkit::convert_html(page, none);
  const std::string rest =
      "c1.png 800B→800B/300色、c2.png 800B→800B/300色、c3.png 800B→800B/300色、"
      "c4.png 800B→800B/300色";
  EXPECT_EQ(r.warnings.back(),
            "CSS 导出切图编码：2 张走 **8bit 索引色 PNG**（调色板裁剪 + tRNS 逐档 alpha，省 1000 "
            "B，平均 −67%）；5 张保留 RGBA（索引化不划算/掉色：" +
                rest +
                " —— 用色数 >256 的真渐变索引化后反而更大，需要更小请把渐变收敛成几个色标）");
  EXPECT_TRUE(PNG_LOG.empty());

  PNG_LOG = {{"p.png", "p8", 100, 100, 2}};
  EXPECT_EQ(testkit::convert_html(page, none).warnings.back(),
            "CSS 导出切图编码：1 张走 **8bit 索引色 PNG**（调色板裁剪 + tRNS 逐档 alpha，省 0 "
            "B，平均 −0%）；0 张保留 RGBA");
  EXPECT_TRUE(testkit::convert_html(page, none).warnings.empty());
}

TEST_F(Driver, ForcedResolutionAppliesToEveryPage) {
  std::string in = tmp.write("in.html", doc(screen("a") + screen("b", " data-res='100x100'")));
  Value r = pagefold::pagefold(in, at("o"), std::string("800 X 480"), std::nullopt, false, none);
  EXPECT_EQ(r.get("resolution"), Value("800x480"));
  EXPECT_EQ(J(testkit::read_file(at("o/b.json"))).get("resolution"),
            J(R"({"height": 480, "width": 800})"));
}

TEST_F(Driver, UnwritableOutputRaisesAndWritesNothing) {
  tmp.write("blocker", "a file, not a directory");
  std::string in = tmp.write("in.html", doc(screen("a") + screen("b")));
  EXPECT_THROW(pagefold::pagefold(in, at("blocker/out"), std::nullopt, std::nullopt, false, none),
               Failure);
  // The second page's place is taken by a directory: the first page must not
  // be written either.
  fs::create_directories(at("o/b.json"));
  try {
    pagefold::pagefold(in, at("o"), std::nullopt, std::nullopt, false, none);
    ADD_FAILURE() << "expected a failure";
  } catch (const Failure& f) {
    EXPECT_EQ(f.type(), "IsADirectoryError");
    EXPECT_EQ(f.message(), "[Errno 21] Is a directory: '" + at("o/b.json") + "'");
  }
  EXPECT_TRUE(json_files().empty());
  EXPECT_EQ(std::distance(fs::directory_iterator(at("o")), fs::directory_iterator()), 1);
}

// ---- the command line

struct Cli {
  int status;
  std::string out, err;
};

Cli cli(std::vector<std::string> args) {
  std::vector<const char*> argv{"pagefold"};
  for (const auto& a : args) argv.push_back(a.c_str());
  std::ostringstream out, err;
  int status = run_cli(static_cast<int>(argv.size()), argv.data(), out, err);
  return {status, out.str(), err.str()};
}

const std::string USAGE =
    "用法: python pagefold <input.html> [output.json|输出目录] [--res WxH] [--merge-windows]\n"
    "  <input.html> 的每个 .screen = 一个页面 = 一个 Activity = 一个独立 json（缺省口径），\n"
    "文件名取 data-page，输出目录 = output 所写目录 / html 同目录；\n"
    "  --merge-windows：N 屏合成同一 json 的 N 个整屏 window（首屏 visible:true 其余 false），\n"
    "仅当这些屏同属一个 Activity 时才用；同屏内 window/dialog 直接写在 .screen 里。\n";

TEST_F(Driver, CliWithoutArgumentsPrintsUsage) {
  EXPECT_EQ(cli({}).status, 1);
  EXPECT_EQ(cli({}).out, USAGE);
  EXPECT_EQ(cli({"--merge-windows", "--res=1x1"}).status, 1);
}

TEST_F(Driver, CliRetiredSplitOptionStopsWithStatusTwo) {
  std::string in = tmp.write("in.html", screen("a"));
  Cli c = cli({in, "--split-per-page"});
  EXPECT_EQ(c.status, 2);
  EXPECT_EQ(c.out, USAGE +
                       "  [X] --split-per-page 已退役（v0.27.100）：每屏一个 json "
                       "就是现在的缺省口径，去掉该参数即可。\n");
  EXPECT_TRUE(json_files().empty());
}

TEST_F(Driver, CliPrintsTheRecordAndDefaultsTheOutputBesideTheInput) {
  std::string in = tmp.write("in.v1.html", screen("a"));
  Cli c = cli({"--res=1x2", in, "--res=640x480"});
  ASSERT_EQ(c.status, 0) << c.out << c.err;
  Value r = J(c.out);
  EXPECT_EQ(c.out, dump(r, 1) + "\n");
  // A one-screen page goes to the input's name with ".json".
  EXPECT_EQ(r.get("jsonPath"), Value(at("in.v1.json")));
  EXPECT_EQ(r.get("resolution"), Value("640x480"));
  EXPECT_EQ(c.err, "");
}

TEST_F(Driver, CliFailureRecordIsOneLine) {
  Cli c = cli({at("missing.html")});
  EXPECT_EQ(c.status, 1);
  EXPECT_EQ(c.out, "[X] html 文件不存在: " + at("missing.html") + "\n");
}

TEST_F(Driver, CliInvalidUtf8IsOneLineOnTheErrorStreamAndWritesNothing) {
  std::string in = tmp.write("bad.html", "<div class=screen>\xC3\x28</div>");
  Cli c = cli({in, at("out")});
  EXPECT_EQ(c.status, 1);
  EXPECT_EQ(c.out, "");
  EXPECT_EQ(c.err, "[X] UnicodeDecodeError: " + in + ": invalid UTF-8 at byte 18\n");
  EXPECT_TRUE(json_files().empty());
  EXPECT_FALSE(fs::exists(at("out")));
}

TEST_F(Driver, CliRefusesMarkupNestedBeyondTheLimitButTakesDeepPages) {
  auto nest = [](int n) {
    std::string s = "<div class=screen data-page=deep data-bg='#000000'>";
    for (int i = 0; i < n; ++i) s += "<span>";
    s += "x";
    for (int i = 0; i < n; ++i) s += "</span>";
    return s + "</div>";
  };
  std::string too_deep = tmp.write("too_deep.html", nest(10000));
  Cli c = cli({too_deep, at("o")});
  EXPECT_EQ(c.status, 1);
  EXPECT_EQ(c.err,
            "[X] RecursionError: maximum recursion depth exceeded: elements nested 10001 deep "
            "(at most 10000)\n");
  EXPECT_TRUE(json_files().empty());
  std::string deep = tmp.write("deep.html", nest(5000));
  EXPECT_EQ(cli({deep, at("o")}).status, 0);
}

TEST_F(Driver, CliNeverCrashesOnOddInputs) {
  const std::vector<std::string> inputs = {
      "\xEF\xBB\xBF",
      "<",
      "<div class='screen",
      "<div class=screen data-res='99999999999999999999x1'></div>",
      "<div class=screen data-width=1.2.3></div>",
      "<div class=screen style='width:1e999px;height:-0'><div class=screen></div></div>",
      std::string("<div class=screen>\0\0</div>", 26),
      "<div class=screen data-page='../../etc'></div><div class=screen data-page='..'></div>",
  };
  for (size_t i = 0; i < inputs.size(); ++i) {
    SCOPED_TRACE(i);
    std::string in = tmp.write("odd" + std::to_string(i) + ".html", inputs[i]);
    Cli c = cli({in, at("odd" + std::to_string(i))});
    EXPECT_TRUE(c.status == 0 || c.status == 1) << c.status;
    EXPECT_TRUE(c.status == 0 ? c.err.empty() : !(c.out + c.err).empty());
  }
}

}  // namespace
