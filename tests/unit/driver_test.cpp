// The entry point, the converter's frame and the command line: what the golden
// prototypes cannot show (output places, failures that are raised, the picture
// log, the effect audit with and without picture generation, exit statuses).
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "assets/png_output.hpp"
#include "front/dom.hpp"
#include "pagefold/error.hpp"
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

std::string screen(const std::string& page) {
  return "<div class=\"screen\" data-page=\"" + page + "\" data-bg=\"#000010\"></div>";
}

// Screens side by side need a common parent: the tree has one root element.
std::string doc(const std::string& body) { return "<html><body>" + body + "</body></html>"; }

class Driver : public ::testing::Test {
 protected:
  TempDir tmp;
  Modules none = testkit::no_modules();

  std::string at(const std::string& rel) const { return tmp.str() + "/" + rel; }
};

TEST_F(Driver, MissingInputIsAFailureRecord) {
  for (const std::string& in : {at("nope.html"), tmp.str()}) {
    EXPECT_EQ(dump(pagefold::pagefold(in, at("out"), std::nullopt, std::nullopt, false, none), 0),
              dump(Value::object({{"success", false}, {"error", "html 文件不存在: " + in}}), 0));
  }
  EXPECT_FALSE(fs::exists(at("out")));
}

TEST_F(Driver, OutputPlaceRules) {
  // Screens, output place, files written (the first is jsonPath), asset
  // directory ("" for none), and whether the location warning is given.
  struct Case {
    int screens;
    std::optional<std::string> out;
    std::vector<std::string> files;
    std::string assets;
    bool warned;
  };
  const Case cases[] = {
      {1, "OUT.JSON", {"OUT.JSON"}, "images", true},
      {1, "out/ui", {"out/ui/p1.json"}, "out/resources/images", false},
      {2, "x/ui/p.json", {"x/ui/p1.json", "x/ui/p2.json"}, "x/resources/images", false},
      {1, std::nullopt, {}, "", false},
      {2, std::nullopt, {"p1.json", "p2.json"}, "", false},
      {1, "o/", {"o/p1.json"}, "o/images", true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.out.value_or("(none)") + " " + std::to_string(c.screens));
    TempDir t;
    std::string html;
    for (int i = 1; i <= c.screens; ++i) html += screen("p" + std::to_string(i));
    std::string in = t.write("in.html", doc(html));
    // Relative output places are taken from the working directory.
    fs::path cwd = fs::current_path();
    fs::current_path(t.path());
    Value r = pagefold::pagefold(in, c.out, std::nullopt, std::nullopt, false, none);
    fs::current_path(cwd);
    Value paths = Value::array();
    for (const auto& f : c.files) paths.as_array().push_back(t.str() + "/" + f);
    const Value first = c.files.empty() ? Value() : paths.as_array().front();
    EXPECT_EQ(r.get("jsonPath"), first);
    EXPECT_EQ(r.get("pages").as_array().at(0).get("json"), first);
    EXPECT_EQ(r.get("jsonPaths"), paths);
    EXPECT_EQ(r.get("jsonsProduced"), Value(static_cast<int64_t>(c.files.size())));
    EXPECT_EQ(r.get("assetDir"), c.assets.empty() ? Value() : Value(t.str() + "/" + c.assets));
    const Array& warnings = r.get("warnings").as_array();
    EXPECT_EQ(std::count(warnings.begin(), warnings.end(), Value(NOT_IN_UI)), c.warned ? 1 : 0);
    for (const auto& f : c.files) EXPECT_TRUE(fs::is_regular_file(t.path() / f)) << f;
    EXPECT_FALSE(fs::exists(t.path() / "x/ui/p.json"));
  }
}

TEST_F(Driver, AFailingMergedScreenLeavesAGapInTheSharedRoot) {
  DomParser p;
  p.feed(doc(screen("a") + "<div class=screen><div class=btn data-icon-w=24px></div></div>" +
             screen("c")));
  p.close();
  PageFold pf(std::nullopt, std::nullopt, &none);
  testkit::Stages stages(&none);
  Value meta = J(R"({"pagesProduced": 0, "failed": []})");
  auto [root, warnings, made] =
      pf._compose_windows(stages.controls, PageFold::_find_screens(*p.root).first, meta);
  // The failed window's key stays unused; ids are given as windows are built.
  EXPECT_FALSE(root.contains("window__2"));
  EXPECT_EQ(root.get("window__3").get("id"), Value(110003));
  EXPECT_EQ(made, (std::vector<std::string>{"a", "c"}));
  EXPECT_EQ(meta.get("pagesProduced"), Value(2));
}

TEST(ConvertImageLog, SummaryNamesSavingsAndTheFirstFourRgbaPictures) {
  PngLog log{{{"a.png", "p8", 1000, 400, 12}, {"b.png", "p8", 500, 100, 3}}};
  for (int i = 1; i <= 5; ++i)
    log.entries.push_back({"c" + std::to_string(i) + ".png", "rgba", 800, 800, 300});
  const std::string rgba = " 800B→800B/300色";
  EXPECT_EQ(log.summary(),
            "CSS 导出切图编码：2 张走 **8bit 索引色 PNG**（调色板裁剪 + tRNS 逐档 alpha，省 1000 "
            "B，平均 −67%）；5 张保留 RGBA（索引化不划算/掉色：c1.png" +
                rgba + "、c2.png" + rgba + "、c3.png" + rgba + "、c4.png" + rgba +
                " —— 用色数 >256 的真渐变索引化后反而更大，需要更小请把渐变收敛成几个色标）");

  // Without indexed pictures there is no average; without pictures, no text.
  const PngLog only_rgba{{{"p.png", "rgba", 100, 100, 2}}};
  EXPECT_EQ(only_rgba.summary(),
            "CSS 导出切图编码：0 张走 **8bit 索引色 PNG**（调色板裁剪 + tRNS 逐档 alpha，省 0 B）"
            "；1 张保留 RGBA（索引化不划算/掉色：p.png 100B→100B/2色 —— 用色数 >256 "
            "的真渐变索引化后反而更大，需要更小请把渐变收敛成几个色标）");
  EXPECT_EQ(PngLog{}.summary(), std::nullopt);
}

// The encoding log belongs to one conversion: conversions one after the
// other, or on two threads at once, each report their own pictures only.
TEST(ConvertImageLog, BelongsToOneConversion) {
  auto page = [](int buttons) {
    std::string body;
    for (int i = 0; i < buttons; ++i)
      body += "<button data-caption=b" + std::to_string(i) +
              " style='border-radius:6px;background:#336699'>x</button>";
    return "<div class=screen data-bg='#000000'>" + body + "</div>";
  };
  auto summary_of = [&](int buttons) {
    TempDir dir;
    // Stand-ins of its own: they record their calls without a lock.
    const Modules modules = testkit::fake_modules();
    const ConvertResult r = testkit::convert_html(page(buttons), modules, dir.str());
    return r.warnings.back();
  };
  const std::string one = summary_of(1), three = summary_of(3);
  EXPECT_TRUE(text::contains(one, "；1 张保留 RGBA（索引化不划算/掉色：btn_b0_hit.png ")) << one;
  EXPECT_TRUE(text::contains(three, "；3 张保留 RGBA（")) << three;
  EXPECT_EQ(summary_of(1), one);

  std::string got_one, got_three;
  std::thread a([&] {
    for (int i = 0; i < 20; ++i) got_one = summary_of(1);
  });
  std::thread b([&] {
    for (int i = 0; i < 20; ++i) got_three = summary_of(3);
  });
  a.join();
  b.join();
  EXPECT_EQ(got_one, one);
  EXPECT_EQ(got_three, three);
}

TEST(EffectAudit, PredictsPicturesOnlyWithGenerationAndAnAssetDirectory) {
  const std::string page =
      "<div class=screen data-bg='#000000'><div class=btn data-w=100 data-h=40 style='background: "
      "linear-gradient(90deg, #ff0000, #0000ff); opacity: .5'>Go</div></div>";
  // (picture generation loaded, asset directory set): the audit's warnings.
  for (const auto& [gen, dir] :
       {std::pair{true, true}, std::pair{true, false}, std::pair{false, true}}) {
    TempDir t;
    const Modules m = gen ? testkit::fake_modules(nullptr, std::make_shared<testkit::FakeGenRes>())
                          : testkit::no_modules();
    // Each audit warning as its kind and effect names; the golden prototypes
    // check the whole texts.
    std::vector<std::string> audit;
    for (const std::string& w :
         testkit::convert_html(page, m, dir ? std::optional(t.str()) : std::nullopt).warnings) {
      if (!text::starts_with(w, "<div class=\"btn\">")) continue;
      const size_t open = w.find("效果（") + 9;
      audit.push_back(w.substr(open, w.find("）", open) - open) +
                      (text::contains(w, "已自动") ? "+" : "-"));
    }
    const std::vector<std::string> want = {"线性渐变+", "透明度-"},
                                   none_made = {"线性渐变、透明度-"};
    EXPECT_EQ(audit, gen && dir ? want : none_made);
  }
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
  // Nothing beside the input, the blocker and the directory in the way.
  EXPECT_EQ(std::distance(fs::directory_iterator(tmp.path()), fs::directory_iterator()), 3);
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

TEST_F(Driver, CliUsageAndTheRetiredOption) {
  const std::string usage =
      "用法: python pagefold <input.html> [output.json|输出目录] [--res WxH] [--merge-windows]\n"
      "  <input.html> 的每个 .screen = 一个页面 = 一个 Activity = 一个独立 json（缺省口径），\n"
      "文件名取 data-page，输出目录 = output 所写目录 / html 同目录；\n"
      "  --merge-windows：N 屏合成同一 json 的 N 个整屏 window（首屏 visible:true 其余 false），\n"
      "仅当这些屏同属一个 Activity 时才用；同屏内 window/dialog 直接写在 .screen 里。\n";
  Cli bare = cli({"--merge-windows", "--res=1x1"});
  EXPECT_EQ(bare.status, 1);
  EXPECT_EQ(bare.out, usage);
  // The retired option stops even beside valid arguments.
  Cli dead = cli({tmp.write("in.html", screen("a")), "--split-per-page"});
  EXPECT_EQ(dead.status, 2);
  EXPECT_EQ(dead.out, usage +
                          "  [X] --split-per-page 已退役（v0.27.100）：每屏一个 json "
                          "就是现在的缺省口径，去掉该参数即可。\n");
  EXPECT_FALSE(fs::exists(at("in.json")));
}

TEST_F(Driver, CliPrintsTheRecordAndDefaultsTheOutputBesideTheInput) {
  std::string in = tmp.write("in.v1.html", screen("a"));
  Cli c = cli({"--res=1x2", in, "--res=640x480"});
  ASSERT_EQ(c.status, 0) << c.out << c.err;
  Value r = J(c.out);
  EXPECT_EQ(c.out, dump(r, 1) + "\n");
  // A one-screen page goes to the input's name with ".json"; the last --res= wins.
  EXPECT_EQ(r.get("jsonPath"), Value(at("in.v1.json")));
  EXPECT_EQ(r.get("resolution"), Value("640x480"));
  EXPECT_EQ(c.err, "");
}

TEST_F(Driver, CliFailuresAreOneLineWithStatusOneAndWriteNothing) {
  auto nest = [](int n) {
    std::string open, close;
    for (int i = 0; i < n; ++i) open += "<span>", close += "</span>";
    return "<div class=screen data-bg='#000000'>" + open + "x" + close + "</div>";
  };
  const std::string bad = tmp.write("bad.html", "<div class=screen>\xC3\x28</div>");
  const std::string deep = tmp.write("deep.html", nest(10000));
  struct Case {
    std::vector<std::string> args;
    std::string out, err;
  };
  const std::vector<Case> cases = {
      {{at("missing.html")}, "[X] html 文件不存在: " + at("missing.html") + "\n", ""},
      {{bad, at("o")}, "", "[X] UnicodeDecodeError: " + bad + ": invalid UTF-8 at byte 18\n"},
      {{deep, at("o")},
       "",
       "[X] RecursionError: maximum recursion depth exceeded: elements nested 10001 deep (at most "
       "10000)\n"}};
  for (const Case& c : cases) {
    Cli r = cli(c.args);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, c.out);
    EXPECT_EQ(r.err, c.err);
  }
  EXPECT_FALSE(fs::exists(at("o")));
  // Deep pages below the limit convert.
  EXPECT_EQ(cli({tmp.write("ok.html", nest(5000)), at("o")}).status, 0);
}

}  // namespace

namespace {

// Text conversion answers the file conversion's record without the file keys,
// each page carrying its root, and writes nothing.
TEST(ConvertText, AnswersTheFileRecordWithPagesInsteadOfPaths) {
  TempDir tmp;
  const Modules none = testkit::no_modules();
  const std::string html = doc(screen("home") + screen("more"));
  const std::string assets = tmp.str() + "/assets";
  const Value file_record = pagefold::pagefold(tmp.write("in.html", html), tmp.str() + "/ui",
                                               std::nullopt, assets, false, none);
  const Value text_record = convert_text(html, std::nullopt, assets, false, none);

  Value expected = deep_copy(file_record);
  for (const char* k : {"jsonPath", "jsonPaths", "jsonsProduced"}) expected.as_object().erase(k);
  for (const Value& p : expected.get("pages").as_array()) {
    const std::string file = p.get("json").as_string();
    p.as_object().erase("json");
    p["data"] = J(testkit::read_file(file));
  }
  EXPECT_EQ(dump(expected, 1), dump(text_record, 1));

  EXPECT_EQ(
      dump(convert_text("<p>no screen</p>", std::nullopt, std::nullopt, false, none), 0),
      dump(
          J(R"({"success": false, "warnings": ["未找到 <div class=\"screen\"> 根节点（受限 )"
            R"(HTML 必须从 screen 容器开始）"], "screensDetected": 0, "pagesProduced": 0, )"
            R"("error": "未找到 <div class=\"screen\"> 根节点（受限 HTML 必须从 screen 容器开始）"})"),
          0));
  try {
    convert_text("<div class=\"screen\">\xff</div>", std::nullopt, std::nullopt, false, none);
    ADD_FAILURE() << "invalid UTF-8 converted";
  } catch (const Failure& f) {
    EXPECT_EQ("UnicodeDecodeError", f.type());
  }
}

}  // namespace
