// The entry point: read a prototype, convert it, finish every page, write the
// page files and answer the result record; and the command line around it.
#include "pagefold/pagefold.hpp"

#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "driver/commit.hpp"
#include "driver/converter.hpp"
#include "driver/files.hpp"
#include "finish/finish.hpp"
#include "pagefold/error.hpp"
#include "util/record_values.hpp"
#include "util/text.hpp"

namespace pagefold {
namespace {

namespace fs = std::filesystem;

const char* const NO_SCREEN =
    "未找到 <div class=\"screen\"> 根节点（受限 HTML 必须从 screen 容器开始）";
const char* const NOT_IN_UI =
    "output_json 不在 <项目>/ui/ 目录下，自动转图输出到 json 同目录 images/；建议把图片移到项目 "
    "resources/images/ 后 json 引用 images/xxx.png（相对 resources）";

// `p` with its last extension replaced by `ext`; a leading dot of the file
// name is no extension.
std::string with_extension(const std::string& p, const std::string& ext) {
  size_t slash = p.rfind('/');
  size_t start = slash == std::string::npos ? 0 : slash + 1;
  size_t dot = p.rfind('.');
  if (dot == std::string::npos || dot < start) return p + ext;
  size_t first = p.find_first_not_of('.', start);
  if (first == std::string::npos || dot < first) return p + ext;
  return p.substr(0, dot) + ext;
}

// ---- reading

// Prototype text as the converter reads it: strict UTF-8 (`origin` names it in
// the failure), without a byte-order mark, every line break a line feed.
std::string decode_text(const std::string& raw, const std::string& origin) {
  size_t bad = text::invalid_utf8_at(raw);
  if (bad != std::string::npos) {
    throw Failure("UnicodeDecodeError", origin + ": invalid UTF-8 at byte " + std::to_string(bad));
  }
  size_t start = raw.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
  std::string out;
  out.reserve(raw.size() - start);
  // Copied in runs between carriage returns.
  for (size_t i = start; i < raw.size();) {
    size_t cr = raw.find('\r', i);
    if (cr == std::string::npos) cr = raw.size();
    out.append(raw, i, cr - i);
    if (cr == raw.size()) break;
    out += '\n';
    i = cr + 1;
    if (i < raw.size() && raw[i] == '\n') ++i;
  }
  return out;
}

std::string read_text(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw OSError(errno ? errno : EIO, path);
  std::string raw;
  char block[1 << 16];
  while (in.read(block, sizeof block) || in.gcount() > 0) raw.append(block, in.gcount());
  if (in.bad()) throw OSError(EIO, path);
  return decode_text(raw, path);
}

// ---- the result record

Value strings(const std::vector<std::string>& v) {
  Value out = Value::array();
  for (const std::string& s : v) out.as_array().push_back(s);
  return out;
}

Value optional_text(const std::optional<std::string>& v) { return v ? Value(*v) : Value(); }

// Conversion walks trees recursively; it runs on a helper thread with a large
// stack while the caller waits, so that deeply nested (but accepted) markup
// cannot exhaust the caller's stack. Only one thread ever works at a time.
constexpr size_t CONVERSION_STACK = size_t{512} << 20;

void on_large_stack(const std::function<void()>& fn) {
  struct Job {
    const std::function<void()>* fn;
    std::exception_ptr error;
  } job{&fn, nullptr};
  pthread_attr_t attr;
  if (pthread_attr_init(&attr) != 0) return fn();
  pthread_attr_setstacksize(&attr, CONVERSION_STACK);
  pthread_t thread;
  auto run = [](void* p) -> void* {
    auto* j = static_cast<Job*>(p);
    try {
      (*j->fn)();
    } catch (...) {
      j->error = std::current_exception();
    }
    return nullptr;
  };
  const int rc = pthread_create(&thread, &attr, run, &job);
  pthread_attr_destroy(&attr);
  if (rc != 0) return fn();  // no thread to be had: the caller's stack must do
  pthread_join(thread, nullptr);
  if (job.error) std::rethrow_exception(job.error);
}

// The counts of the result record, which describe the first page alone:
// `resolution`, `controls`, `controlsTopLevel`, `controlsNested`. They are
// taken before the page is released.
struct FirstPageCounts {
  std::string resolution;
  int64_t controls = 0;
  int64_t top = 0;
};

FirstPageCounts first_page_counts(const Value& data) {
  Value resv = data.get("resolution").truthy() ? data.get("resolution") : Value::object();
  FirstPageCounts c;
  c.resolution = value_str(resv.get("width")) + "x" + value_str(resv.get("height"));
  if (data.is_object()) {
    for (const auto& [k, v] : data.as_object()) {
      if (text::contains(k, "__")) ++c.top;
    }
  }
  c.controls = static_cast<int64_t>(count_ctrls(data));
  return c;
}

void add_first_page_counts(Value& record, const FirstPageCounts& c) {
  record["resolution"] = c.resolution;
  record["controls"] = c.controls;
  record["controlsTopLevel"] = c.top;
  record["controlsNested"] = std::max<int64_t>(0, c.controls - c.top);
}

// Where a conversion's files go: the page file or directory, and the
// pictures' directory.
struct Places {
  bool has_output = false;              // an output argument was given
  std::optional<std::string> out_file;  // a ".json" output names the one file
  std::string out_dir;
  std::optional<std::string> asset_dir;
};

Places settle_places(const std::string& input_html, const std::optional<std::string>& output_json,
                     const std::optional<std::string>& asset_dir,
                     std::vector<std::string>& warnings) {
  Places at;
  at.has_output = output_json && !output_json->empty();
  if (at.has_output && text::ends_with(text::lower(*output_json), ".json")) {
    at.out_file = abspath(*output_json);
    at.out_dir = dirname(*at.out_file);
  } else if (at.has_output) {
    at.out_dir = abspath(*output_json);
  } else {
    at.out_dir = dirname(abspath(input_html));
  }
  // Pictures go beside a project's ui/ directory when the pages go there,
  // else beside the pages, with a word to the designer.
  at.asset_dir = asset_dir;
  if (!at.asset_dir && at.has_output) {
    if (basename(at.out_dir) == "ui") {
      at.asset_dir = join(join(dirname(at.out_dir), "resources"), "images");
    } else {
      at.asset_dir = join(at.out_dir, "images");
      warnings.push_back(NOT_IN_UI);
    }
  }
  return at;
}

// A page file's place: the output directory it goes to and its name there.
struct PageFile {
  std::string place;
  std::string name;
};

// The page files to write: in per-screen mode each page's own, else the
// first page's root at the named file (or at the first page id in the output
// directory), or nothing without an output place.
PageFile per_page_file(const Places& at, const Page& page) {
  return {at.out_dir, page.first + ".json"};
}

std::optional<PageFile> single_page_file(const Places& at, const std::vector<Page>& pages) {
  if (pages.empty()) return std::nullopt;
  if (at.out_file) return PageFile{dirname(*at.out_file), basename(*at.out_file)};
  if (at.has_output) return PageFile{at.out_dir, pages.front().first + ".json"};
  return std::nullopt;
}

void stage_page(PageCommit& commit, const PageFile& file, const Value& data,
                std::vector<std::string>& json_paths) {
  json_paths.push_back(
      commit.stage(file.place, file.name, [&](const auto& stream) { dump_to(data, 2, stream); }));
}

// What a conversion leaves for the result record: the failure record when
// there is nothing to write, else the pages (with their roots, or null where
// a page was already written and released) and the converter's counts.
struct Finished {
  Value failure;  // a failure record, or null
  std::vector<Page> pages;
  Value meta;
  int64_t gen_count = 0;
  Value rad_glue;
  FirstPageCounts first;
  std::vector<std::string> json_paths;
};

// The failure record of a conversion without pages, or null.
Value failure_record(const ConvertResult& cr, const std::vector<std::string>& warnings) {
  if (cr.meta.is_null()) {
    return Value::object({{"success", false},
                          {"warnings", strings(warnings)},
                          {"screensDetected", 0},
                          {"pagesProduced", 0},
                          {"error", NO_SCREEN}});
  }
  const Value& meta = cr.meta;
  if (meta.get("error").truthy() || !cr.pages) {
    Value err = meta.get("error");
    return Value::object({{"success", false},
                          {"warnings", strings(warnings)},
                          {"screensDetected", meta.get("screensDetected")},
                          {"pagesProduced", meta.get("pagesProduced")},
                          {"mode", meta.get("mode")},
                          {"error", err.truthy() ? err : Value(NO_SCREEN)}});
  }
  return Value();
}

// Writes the pages of a per-screen conversion while it runs: each page is
// finished, its file staged and its root released as soon as it is made, so
// that memory holds the records of one page at a time and no page's text at
// all. The finishing notes wait for the converter's own warnings, and a
// failure waits for the count check, which speaks first, exactly as when
// every page is finished and written after the conversion.
class PageStager {
 public:
  PageStager(const Places& at, PageCommit& commit) : at_(at), commit_(commit) {}

  void operator()(Page& page) {
    Value data = std::move(page.second);
    page.second = Value();
    if (finish_error) return;  // the first failure to finish is raised
    try {
      _finalize_layout(data, warnings);
    } catch (...) {
      finish_error = std::current_exception();
      return;
    }
    if (!first) first = first_page_counts(data);
    if (write_error) return;
    try {
      stage_page(commit_, per_page_file(at_, page), data, json_paths);
    } catch (...) {
      if (commit_.stopped()) throw;  // a signal ends the run at once
      write_error = std::current_exception();
    }
  }

  std::vector<std::string> warnings;  // of the finishing passes
  std::optional<FirstPageCounts> first;
  std::vector<std::string> json_paths;
  std::exception_ptr finish_error, write_error;

 private:
  const Places& at_;
  PageCommit& commit_;
};

// Converts prototype text and finishes every page. With `files`, the pages
// are written there, all or none; without, every root stays in the result.
Finished convert_and_finish(std::string text, const std::optional<std::string>& res,
                            const std::optional<std::string>& asset_dir, bool merge_windows,
                            const Modules& modules, std::vector<std::string>& warnings,
                            const Places* files = nullptr, PageCommit* commit = nullptr) {
  Finished done;
  std::optional<PageStager> stager;
  if (files) stager.emplace(*files, *commit);
  PageFold conv(res, asset_dir, &modules);
  ConvertResult cr = stager ? conv.convert(std::move(text), merge_windows, std::ref(*stager))
                            : conv.convert(std::move(text), merge_windows);
  warnings.insert(warnings.end(), cr.warnings.begin(), cr.warnings.end());
  done.failure = failure_record(cr, warnings);
  if (!done.failure.is_null()) return done;

  done.pages = std::move(*cr.pages);
  done.meta = cr.meta;
  done.gen_count = cr.gen_count;
  done.rad_glue = cr.rad_glue;
  if (stager && done.meta.get("mode") == Value("per-screen")) {
    // Per-screen pages were finished and staged as they were made.
    if (stager->finish_error) std::rethrow_exception(stager->finish_error);
    warnings.insert(warnings.end(), stager->warnings.begin(), stager->warnings.end());
    if (stager->write_error) std::rethrow_exception(stager->write_error);
    done.first = *stager->first;
    done.json_paths = std::move(stager->json_paths);
  } else {
    // Finish every page before anything is written.
    std::vector<Value> roots;
    for (const Page& page : done.pages) roots.push_back(page.second);
    _finalize_pages(roots, warnings);
    done.first =
        first_page_counts(done.pages.empty() ? Value::object() : done.pages.front().second);
    if (files) {
      if (auto file = single_page_file(*files, done.pages))
        stage_page(*commit, *file, done.pages.front().second, done.json_paths);
    }
  }
  if (commit) commit->commit();
  return done;
}

// The keys every success record ends with, after its pages: the first
// page's counts, the warnings, and what the picture stage made.
void add_record_tail(Value& record, const Finished& done, const std::vector<std::string>& warnings,
                     const std::optional<std::string>& asset_dir) {
  add_first_page_counts(record, done.first);
  record["warnings"] = strings(warnings);
  record["generatedAssets"] = done.gen_count;
  record["radButtonGlue"] = done.rad_glue;
  record["assetDir"] = optional_text(asset_dir);
}

// The success record of a file conversion.
Value file_record(const Finished& done, const std::vector<std::string>& json_paths, bool per_page,
                  const std::optional<std::string>& output_json,
                  const std::optional<std::string>& asset_dir,
                  const std::vector<std::string>& warnings) {
  const std::vector<Page>& pages = done.pages;
  Value json_path;
  if (!json_paths.empty()) {
    json_path = json_paths.front();
  } else if (!per_page) {
    json_path = optional_text(output_json);
  }
  Value page_list = Value::array();
  for (size_t i = 0; i < pages.size(); ++i) {
    Value json;
    if (per_page) {
      json = json_paths[i];
    } else if (!json_paths.empty()) {
      json = json_paths.front();
    }
    page_list.as_array().push_back(Value::object({{"page", pages[i].first}, {"json", json}}));
  }
  Value record = Value::object({
      {"success", true},
      {"jsonPath", json_path},
      {"jsonPaths", strings(json_paths)},
      {"jsonsProduced", static_cast<int64_t>(json_paths.size())},
      {"screensDetected", done.meta.get("screensDetected")},
      {"pagesProduced", done.meta.get("pagesProduced")},
      {"mode", done.meta.get("mode")},
      {"pages", page_list},
  });
  add_record_tail(record, done, warnings, asset_dir);
  return record;
}

Value convert_file(const std::string& input_html, const std::optional<std::string>& output_json,
                   const std::optional<std::string>& res,
                   const std::optional<std::string>& asset_dir, bool merge_windows,
                   const Modules& modules) {
  std::error_code ec;
  // A path with a NUL byte names no file.
  if (text::contains(input_html, std::string_view("\0", 1)) ||
      !fs::is_regular_file(input_html, ec)) {
    return Value::object({{"success", false}, {"error", "html 文件不存在: " + input_html}});
  }
  std::string text = read_text(input_html);
  // An output place with a NUL byte cannot be written: refused before
  // anything is converted, so that not even a picture is written.
  for (const auto* place : {&output_json, &asset_dir}) {
    if (*place && text::contains(**place, std::string_view("\0", 1)))
      throw ValueError("embedded null byte");
  }
  std::vector<std::string> warnings;
  const Places at = settle_places(input_html, output_json, asset_dir, warnings);

  PageCommit commit(file_id(input_html), input_html);
  Finished done = convert_and_finish(std::move(text), res, at.asset_dir, merge_windows, modules,
                                     warnings, &at, &commit);
  if (!done.failure.is_null()) return done.failure;
  const bool per_page = done.meta.get("mode") == Value("per-screen");
  return file_record(done, done.json_paths, per_page, output_json, at.asset_dir, warnings);
}

Value convert_text_record(const std::string& html, const std::optional<std::string>& res,
                          const std::optional<std::string>& asset_dir, bool merge_windows,
                          const Modules& modules) {
  std::vector<std::string> warnings;
  Finished done = convert_and_finish(decode_text(html, "<text>"), res, asset_dir, merge_windows,
                                     modules, warnings);
  if (!done.failure.is_null()) return done.failure;

  Value page_list = Value::array();
  for (const Page& page : done.pages) {
    page_list.as_array().push_back(Value::object({{"page", page.first}, {"data", page.second}}));
  }
  Value record = Value::object({
      {"success", true},
      {"screensDetected", done.meta.get("screensDetected")},
      {"pagesProduced", done.meta.get("pagesProduced")},
      {"mode", done.meta.get("mode")},
      {"pages", page_list},
  });
  add_record_tail(record, done, warnings, asset_dir);
  return record;
}

}  // namespace

Value pagefold(const std::string& input_html, const std::optional<std::string>& output_json,
               const std::optional<std::string>& res, const std::optional<std::string>& asset_dir,
               bool merge_windows, const Modules& modules) {
  Value record;
  on_large_stack([&] {
    record = convert_file(input_html, output_json, res, asset_dir, merge_windows, modules);
  });
  return record;
}

Value convert_text(const std::string& html, const std::optional<std::string>& res,
                   const std::optional<std::string>& asset_dir, bool merge_windows,
                   const Modules& modules) {
  Value record;
  on_large_stack(
      [&] { record = convert_text_record(html, res, asset_dir, merge_windows, modules); });
  return record;
}

namespace {

const char* const USAGE[] = {
    "用法: python pagefold <input.html> [output.json|输出目录] [--res WxH] [--merge-windows]",
    "  <input.html> 的每个 .screen = 一个页面 = 一个 Activity = 一个独立 json（缺省口径），",
    "文件名取 data-page，输出目录 = output 所写目录 / html 同目录；",
    "  --merge-windows：N 屏合成同一 json 的 N 个整屏 window（首屏 visible:true 其余 false），",
    "仅当这些屏同属一个 Activity 时才用；同屏内 window/dialog 直接写在 .screen 里。",
};
const char* const RETIRED =
    "  [X] --split-per-page 已退役（v0.27.100）：每屏一个 json "
    "就是现在的缺省口径，去掉该参数即可。";

int cli(const std::vector<std::string>& argv, std::ostream& out) {
  const bool merge = std::find(argv.begin(), argv.end(), "--merge-windows") != argv.end();
  const bool dead = std::find(argv.begin(), argv.end(), "--split-per-page") != argv.end();
  std::vector<std::string> args;
  std::optional<std::string> res;
  for (const std::string& a : argv) {
    if (!text::starts_with(a, "--")) args.push_back(a);
    // Only the "=" form is read; the last one wins.
    if (text::starts_with(a, "--res=")) res = a.substr(a.find('=') + 1);
  }
  if (args.empty() || dead) {
    for (const char* line : USAGE) out << line << "\n";
    if (dead) out << RETIRED << "\n";
    out.flush();
    return dead ? 2 : 1;
  }
  const std::string& src = args[0];
  const std::string dst = args.size() >= 2 ? args[1] : with_extension(src, ".json");
  Value r = pagefold(src, dst, res, std::nullopt, merge, Modules::system());
  if (!r.get("success").truthy()) {
    out << "[X] " << value_str(r.get("error")) << "\n";
    out.flush();
    return 1;
  }
  // Streamed: the record of a large prototype holds megabytes of notes and glue.
  dump_to(r, 1, [&out](std::string_view piece) { out.write(piece.data(), piece.size()); });
  out << "\n";
  out.flush();
  return 0;
}

}  // namespace

int run_cli(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
  std::vector<std::string> args;
  for (int i = 1; i < argc; ++i) args.emplace_back(argv[i] ? argv[i] : "");
  // Nothing escapes as a crash: a failure that was not turned into a record is
  // one line on the error stream, and nothing has been written.
  try {
    return cli(args, out);
  } catch (const std::exception& e) {
    err << "[X] " << failure_type(e) << ": " << failure_message(e) << "\n";
  } catch (...) {
    err << "[X] Error: unknown failure\n";
  }
  err.flush();
  return 1;
}

}  // namespace pagefold
