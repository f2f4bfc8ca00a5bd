// The command line end to end: page files in, pictures, report and exit
// status out; any JSON ends in a drawn page or a one-line error.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "cli.hpp"
#include "preview_kit.hpp"

namespace pagefold::preview {
namespace {

using testing::read_text;
using testing::rgb_at;
using testing::ScratchDir;
using testing::write_text;

struct Outcome {
  int status;
  std::string out, err;
};

Outcome run_cli(const std::vector<std::string>& args) {
  std::ostringstream out, err;
  int status = run(args, out, err);
  return {status, out.str(), err.str()};
}

// `text` with every occurrence of `from` replaced by `to`.
std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

const char* TINY_PAGE = R"({
  "resolution": {"height": 30, "width": 40},
  "backgroundColor": 0,
  "position": {"height": 30, "left": 0, "top": 0, "width": 40},
  "window__1": {
    "backgroundColor": 255, "caption": "dlg",
    "position": {"height": 10, "left": 0, "top": 0, "width": 10},
    "visible": false,
    "textview__2": {"caption": "t", "position": {"height": 5, "left": 0, "top": 0, "width": 5}}
  },
  "textview__3": {
    "caption": "logo", "backgroundPic": "images/logo.png",
    "position": {"height": 10, "left": 20, "top": 10, "width": 10}
  },
  "digitalclock__4": {
    "caption": "clk", "clockColor": 16777215, "fontSize": 12, "format": "HH:MM",
    "position": {"height": 10, "left": 0, "top": 20, "width": 40}
  }
})";

TEST(PreviewCli, WholeReportOfATinyPage) {
  ScratchDir dir;
  write_text(dir / "tiny.json", TINY_PAGE);
  Outcome r = run_cli({dir / "tiny.json"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
  std::string font = "/usr/share/fonts/opentype/noto/NotoSansCJK-Regular.ttc";
  EXPECT_EQ(replaced(r.out, dir.path(), "<dir>"),
            "font: Noto Sans CJK SC (" + font +
                "), a Debian CJK font, not the device's; --font FILE draws with the device's font "
                "and lists the characters it lacks\n"
                "tiny: 40x30, 2 of 4 controls drawn, 1 hidden, 1 not drawn, 1 approximated -> "
                "<dir>/preview/tiny.preview.png\n"
                "  not drawn: textview__3 (logo): backgroundPic images/logo.png: file not found "
                "(<dir>/images/logo.png); drawn as a hatched box\n"
                "contact sheet: <dir>/preview/contact-sheet.png\n"
                "report: <dir>/preview/preview-report.json\n");
  std::string report = read_text(dir / "preview/preview-report.json");
  EXPECT_EQ(replaced(report, dir.path(), "<dir>"), R"({
  "font": {
    "file": ")" + font + R"(",
    "family": "Noto Sans CJK SC",
    "deviceFont": false
  },
  "assetDir": "<dir>/images",
  "outputDir": "<dir>/preview",
  "against": null,
  "pages": [
    {
      "page": "tiny",
      "file": "<dir>/tiny.json",
      "width": 40,
      "height": 30,
      "preview": "<dir>/preview/tiny.preview.png",
      "controls": 4,
      "drawn": 2,
      "hidden": [
        {
          "control": "window__1",
          "caption": "dlg",
          "what": "visible is false: not drawn, nor anything inside it"
        }
      ],
      "notDrawn": [
        {
          "control": "textview__3",
          "caption": "logo",
          "what": "backgroundPic images/logo.png: file not found (<dir>/images/logo.png); drawn as a hatched box"
        }
      ],
      "approximated": [
        {
          "control": "digitalclock__4",
          "caption": "clk",
          "what": "the time is shown at run time: drawn as 00:00, left-aligned"
        }
      ],
      "missingGlyphs": []
    }
  ],
  "contactSheet": "<dir>/preview/contact-sheet.png",
  "errors": []
}
)");
  std::string error;
  std::optional<Raster> png = load_picture(dir / "preview/tiny.preview.png", error);
  ASSERT_TRUE(png) << error;
  EXPECT_EQ(png->w, 40);
  EXPECT_EQ(png->h, 30);
  EXPECT_EQ(rgb_at(*png, 5, 5), 0u);  // the hidden window is not drawn
  std::optional<Raster> sheet = load_picture(dir / "preview/contact-sheet.png", error);
  ASSERT_TRUE(sheet) << error;
}

TEST(PreviewCli, FontCheckListsExactlyWhatTheFontLacks) {
  // DejaVu Sans covers Latin, Greek, Cyrillic and symbols such as the degree
  // sign, and no CJK ideographs.
  const std::string font = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
  ASSERT_TRUE(std::filesystem::exists(font)) << "install fonts-dejavu-core";
  ScratchDir dir;
  write_text(dir / "p.json", R"({
    "resolution": {"height": 100, "width": 200}, "backgroundColor": 0,
    "textview__1": {"caption": "temp", "colorTab": {"color0": 16777215}, "fontSize": 16,
      "position": {"height": 30, "left": 0, "top": 0, "width": 200}, "text": "温度 22°C 温"},
    "button__2": {"caption": "ok", "colorTab": {"color0": 16777215}, "fontSize": 16,
      "position": {"height": 30, "left": 0, "top": 30, "width": 200}, "text": "OK Ωмя\n确定"},
    "textview__3": {"caption": "latin", "colorTab": {"color0": 16777215}, "fontSize": 16,
      "position": {"height": 30, "left": 0, "top": 60, "width": 200}, "text": "Plain text"}
  })");
  Outcome r = run_cli({dir / "p.json", "--font", font, "-o", dir / "out"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("font: DejaVu Sans (" + font + "), the device's font\n"), std::string::npos);
  EXPECT_NE(r.out.find("  missing in the font: textview__1 (temp): U+6E29 温 U+5EA6 度\n"
                       "  missing in the font: button__2 (ok): U+786E 确 U+5B9A 定\n"),
            std::string::npos)
      << r.out;
  std::string report = read_text(dir / "out/preview-report.json");
  size_t from = report.find("\"missingGlyphs\"");
  size_t to = report.find("\n      ]", from);
  ASSERT_NE(from, std::string::npos);
  EXPECT_EQ(report.substr(from, to + 8 - from), R"("missingGlyphs": [
        {
          "control": "textview__1",
          "caption": "temp",
          "characters": [
            {
              "codePoint": "U+6E29",
              "char": "温"
            },
            {
              "codePoint": "U+5EA6",
              "char": "度"
            }
          ]
        },
        {
          "control": "button__2",
          "caption": "ok",
          "characters": [
            {
              "codePoint": "U+786E",
              "char": "确"
            },
            {
              "codePoint": "U+5B9A",
              "char": "定"
            }
          ]
        }
      ])");
  EXPECT_NE(report.find("\"deviceFont\": true"), std::string::npos);

  // The default CJK font has every one of these characters.
  Outcome cjk = run_cli({dir / "p.json", "-o", dir / "cjk"});
  EXPECT_NE(read_text(dir / "cjk/preview-report.json").find("\"missingGlyphs\": []"),
            std::string::npos);
}

TEST(PreviewCli, MissingFontIsAnError) {
  ScratchDir dir;
  write_text(dir / "p.json", TINY_PAGE);
  Outcome r = run_cli({dir / "p.json", "--font", dir / "no.ttf"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(replaced(r.err, dir.path(), "<dir>"), "[X] font file not found: <dir>/no.ttf\n");
}

struct BadPage {
  const char* name;
  const char* json;
  const char* error;
};

TEST(PreviewCli, UnreadablePageFilesEndInOneLineErrors) {
  const std::string deep_array = std::string(1200, '[') + std::string(1200, ']');
  const BadPage cases[] = {
      {"empty", "", "malformed JSON: "},
      {"truncated", R"({"resolution": {"width": 10)", "malformed JSON: "},
      {"not_a_map", "[1, 2]", "the file holds no page: its JSON is no object"},
      {"no_resolution", R"({"id": 0})", "the page has no resolution with integer width and height"},
      {"string_size", R"({"resolution": {"width": "800", "height": 480}})",
       "the page has no resolution with integer width and height"},
      {"real_size", R"({"resolution": {"width": 800.0, "height": 480}})",
       "the page has no resolution with integer width and height"},
      {"zero_wide", R"({"resolution": {"width": 0, "height": 480}})",
       "resolution 0x480 is outside 1 to 4096 a side"},
      {"too_high", R"({"resolution": {"width": 10, "height": 4097}})",
       "resolution 10x4097 is outside 1 to 4096 a side"},
      {"negative", R"({"resolution": {"width": -5, "height": 10}})",
       "resolution -5x10 is outside 1 to 4096 a side"},
      {"beyond_64_bits", R"({"resolution": {"width": 99999999999999999999, "height": 1}})",
       "malformed JSON: "},
      {"deep", deep_array.c_str(), "malformed JSON: "},
  };
  for (const BadPage& c : cases) {
    ScratchDir dir;
    std::string file = dir / (std::string(c.name) + ".json");
    write_text(file, c.json);
    Outcome r = run_cli({file});
    EXPECT_EQ(r.status, 1) << c.name;
    EXPECT_EQ(r.err.rfind("[X] " + file + ": " + c.error, 0), 0u) << c.name << ": " << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << c.name;
  }
}

TEST(PreviewCli, ResolutionLimitsBothEnds) {
  for (const char* res : {R"({"width": 1, "height": 1})", R"({"width": 4096, "height": 4096})"}) {
    ScratchDir dir;
    write_text(dir / "p.json", std::string(R"({"resolution": )") + res + "}");
    Outcome r = run_cli({dir / "p.json"});
    EXPECT_EQ(r.status, 0) << res << r.err;
  }
}

TEST(PreviewCli, ABadFileDoesNotStopTheOthers) {
  ScratchDir dir;
  write_text(dir / "a.json", TINY_PAGE);
  write_text(dir / "b.json", "{oops");
  write_text(dir / "c.json", TINY_PAGE);
  write_text(dir / "notes.txt", "not a page, not read");
  Outcome r = run_cli({dir.path(), "-o", dir / "out"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err.rfind("[X] " + dir / "b.json" + ": malformed JSON: ", 0), 0u) << r.err;
  EXPECT_TRUE(std::filesystem::exists(dir / "out/a.preview.png"));
  EXPECT_TRUE(std::filesystem::exists(dir / "out/c.preview.png"));
  EXPECT_FALSE(std::filesystem::exists(dir / "out/b.preview.png"));
  std::string report = read_text(dir / "out/preview-report.json");
  EXPECT_NE(report.find("\"page\": \"a\""), std::string::npos);
  EXPECT_NE(report.find("\"page\": \"c\""), std::string::npos);
  EXPECT_NE(report.find("\"errors\": [\n    \"" + dir / "b.json" + ": malformed JSON: "),
            std::string::npos);
}

TEST(PreviewCli, WrongTypesAndHugeNumbersAreDrawnAndListed) {
  ScratchDir dir;
  write_text(dir / "odd.json", R"({
    "resolution": {"height": 50, "width": 50}, "backgroundColor": "black",
    "position": "everywhere",
    "textview__1": {"position": 7},
    "textview__2": {"position": {"left": "a", "top": null, "width": 1e308, "height": -1e308}},
    "textview__3": {"position": {"left": 9223372036854775807, "top": -9223372036854775807,
                                 "width": 9223372036854775807, "height": 9223372036854775807},
                    "bgColorTab": {"color0": 255}},
    "textview__4": {"position": {"height": 10, "left": 0, "top": 0, "width": 10},
                    "text": 12, "colorTab": "white", "fontSize": 1e9, "alignment": "left",
                    "backgroundPic": 5},
    "textview__5": {"position": {"height": 10, "left": 0, "top": 10, "width": 50},
                    "text": "big", "colorTab": {"color0": 1}, "fontSize": 99999999},
    "listview__6": {"position": {"height": 10, "left": 0, "top": 0, "width": 10},
                    "cols": -3, "rows": 1e30, "item": {"subItem": [1, "x", {"position": []}]}},
    "radiogroup__7": {"position": {"height": 10, "left": 0, "top": 0, "width": 10},
                      "radiobuttons": {"not": "a list"}},
    "seekbar__8": {"position": {"height": 10, "left": 0, "top": 0, "width": 10},
                   "max": 0, "defProgress": "half", "thumb": [], "progressPic": ""},
    "slidewindow__9": {"position": {"height": 10, "left": 0, "top": 0, "width": 10},
                       "cols": 0, "rows": 0, "items": [null, {"picTab": 3, "text": 4}]},
    "window__10": [1, 2],
    "__marker": {"position": {}}
  })");
  Outcome r = run_cli({dir / "odd.json"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
  std::string report = read_text(dir / "preview/preview-report.json");
  for (const char* expected : {
           R"("control": "textview__1",)",
           R"("what": "no position record")",
           R"("what": "text: the value is no text")",
           R"("what": "backgroundPic: the value is no picture reference")",
           R"("what": "fontSize 99999999 drawn at 1000")",
           R"("what": "the entry is no record")",
           R"("what": "max 0 is not positive: drawn with max 100")",
       })
    EXPECT_NE(report.find(expected), std::string::npos) << expected << "\n" << report;
}

TEST(PreviewCli, TheReportIsValidUtf8WhateverThePageHeld) {
  ScratchDir dir;
  write_text(dir / "p.json",
             "{\"resolution\": {\"width\": 20, \"height\": 20}, \"textview__1\": "
             "{\"caption\": \"a\xff\", \"backgroundPic\": \"images/\xc3.png\", "
             "\"position\": {\"height\": 5, \"left\": 0, \"top\": 0, \"width\": 5}}}");
  Outcome r = run_cli({dir / "p.json"});
  EXPECT_EQ(r.status, 0) << r.err;
  std::string report = read_text(dir / "preview/preview-report.json");
  EXPECT_NE(report.find("\"caption\": \"a\xEF\xBF\xBD\""), std::string::npos) << report;
  EXPECT_NE(report.find("backgroundPic images/\xEF\xBF\xBD.png: file not found"),
            std::string::npos);
}

TEST(PreviewCli, NestingDeeperThanTheLimitIsListed) {
  ScratchDir dir;
  std::string json = R"({"resolution": {"height": 10, "width": 10}, "backgroundColor": 0)";
  std::string close;
  for (int i = 1; i <= 300; ++i) {
    json += R"(, "window__)" + std::to_string(i) +
            R"(": {"position": {"height": 10, "left": 0, "top": 0, "width": 10})";
    close += "}";
  }
  write_text(dir / "deep.json", json + close + "}");
  Outcome r = run_cli({dir / "deep.json"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("256 of 257 controls drawn"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("/window__257: nested deeper than 256\n"), std::string::npos);
}

TEST(PreviewCli, PicturesAreLookedForWhereTheConverterPutsThem) {
  ScratchDir dir;
  std::filesystem::create_directories(dir / "proj/ui");
  std::filesystem::create_directories(dir / "proj/resources/images");
  testing::save_png(dir / "proj/resources/images/logo.png", testing::solid(10, 10, 0x00FF00));
  write_text(dir / "proj/ui/p.json", TINY_PAGE);
  Outcome r = run_cli({dir / "proj/ui", "-o", dir / "out"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.find("  not drawn:"), std::string::npos) << r.out;
  std::string error;
  std::optional<Raster> png = load_picture(dir / "out/p.preview.png", error);
  ASSERT_TRUE(png);
  EXPECT_EQ(rgb_at(*png, 20, 10), 0x00FF00u);

  // --assets overrides the guess.
  Outcome other =
      run_cli({dir / "proj/ui/p.json", "--assets", dir / "elsewhere", "-o", dir / "o2"});
  EXPECT_NE(other.out.find("file not found (" + dir / "elsewhere/logo.png)"), std::string::npos);
}

TEST(PreviewCli, UsageErrors) {
  ScratchDir dir;
  write_text(dir / "p.json", TINY_PAGE);
  struct Case {
    std::vector<std::string> args;
    std::string first_line;
  } cases[] = {
      {{}, "[X] no page file or directory given"},
      {{dir / "p.json", "--bogus"}, "[X] unknown option --bogus"},
      {{dir / "p.json", "-o"}, "[X] -o needs a value"},
      {{dir / "p.json", "--font="}, "[X] --font needs a value"},
      {{dir / "p.json", dir / "p.json"},
       "[X] more than one input: " + dir / "p.json" + " and " + dir / "p.json"},
  };
  for (const Case& c : cases) {
    Outcome r = run_cli(c.args);
    EXPECT_EQ(r.status, 2) << c.first_line;
    EXPECT_EQ(r.err.substr(0, r.err.find('\n')), c.first_line);
    EXPECT_NE(r.err.find("usage: pagefold-preview"), std::string::npos);
  }
  Outcome missing = run_cli({dir / "nothing-here"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err, "[X] no such file or directory: " + dir / "nothing-here" + "\n");
  Outcome empty_dir = run_cli({dir / "."});
  EXPECT_EQ(empty_dir.status, 0) << empty_dir.err;
  std::filesystem::create_directories(dir / "none");
  Outcome no_pages = run_cli({dir / "none"});
  EXPECT_EQ(no_pages.status, 1);
  EXPECT_EQ(no_pages.err, "[X] no page files (*.json) in " + dir / "none" + "\n");
}

}  // namespace
}  // namespace pagefold::preview
