// The entry point: read a prototype, convert it, finish every page, write the
// page files and answer the result record; and the command line around it.
#include "pagefold/pagefold.hpp"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <ostream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "driver/converter.hpp"
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

// ---- paths, with the usual meaning of absolute, directory and base names

std::string abspath(const std::string& p) {
  fs::path a = fs::absolute(fs::path(p.empty() ? "." : p)).lexically_normal();
  std::string s = a.string();
  while (s.size() > 1 && s.back() == '/') s.pop_back();
  return s;
}

std::string dirname(const std::string& p) {
  size_t i = p.rfind('/');
  if (i == std::string::npos) return "";
  std::string head = p.substr(0, i + 1);
  // Trailing slashes go, unless the head is the root itself.
  if (head.find_first_not_of('/') != std::string::npos) {
    while (!head.empty() && head.back() == '/') head.pop_back();
  }
  return head;
}

std::string basename(const std::string& p) {
  size_t i = p.rfind('/');
  return i == std::string::npos ? p : p.substr(i + 1);
}

std::string join(const std::string& a, const std::string& b) {
  if (a.empty() || a.back() == '/') return a + b;
  return a + "/" + b;
}

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

// ---- failures of the file system, named as a script would name them

Failure os_failure(int err, const std::string& path) {
  std::string type = "OSError";
  switch (err) {
    case EACCES:
    case EPERM:
      type = "PermissionError";
      break;
    case ENOENT:
      type = "FileNotFoundError";
      break;
    case EISDIR:
      type = "IsADirectoryError";
      break;
    case ENOTDIR:
      type = "NotADirectoryError";
      break;
    case EEXIST:
      type = "FileExistsError";
      break;
    default:
      break;
  }
  return Failure(type,
                 "[Errno " + std::to_string(err) + "] " + std::strerror(err) + ": '" + path + "'");
}

// ---- reading

// Offset of the first byte that breaks strict UTF-8 (no overlongs, no
// surrogates, nothing above U+10FFFF), or npos.
size_t invalid_utf8_at(const std::string& s) {
  const auto* b = reinterpret_cast<const unsigned char*>(s.data());
  const size_t n = s.size();
  size_t i = 0;
  while (i < n) {
    unsigned char c = b[i];
    if (c < 0x80) {
      ++i;
      continue;
    }
    size_t len;
    unsigned char lo = 0x80, hi = 0xBF;
    if (c >= 0xC2 && c <= 0xDF) {
      len = 2;
    } else if (c >= 0xE0 && c <= 0xEF) {
      len = 3;
      if (c == 0xE0) lo = 0xA0;
      if (c == 0xED) hi = 0x9F;
    } else if (c >= 0xF0 && c <= 0xF4) {
      len = 4;
      if (c == 0xF0) lo = 0x90;
      if (c == 0xF4) hi = 0x8F;
    } else {
      return i;
    }
    if (i + 1 >= n || b[i + 1] < lo || b[i + 1] > hi) return i;
    for (size_t k = 2; k < len; ++k) {
      if (i + k >= n || b[i + k] < 0x80 || b[i + k] > 0xBF) return i;
    }
    i += len;
  }
  return std::string::npos;
}

// Prototype text as the converter reads it: strict UTF-8 (`origin` names it in
// the failure), without a byte-order mark, every line break a line feed.
std::string decode_text(const std::string& raw, const std::string& origin) {
  size_t bad = invalid_utf8_at(raw);
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
  if (!in) throw os_failure(errno ? errno : EIO, path);
  std::string raw;
  char block[1 << 16];
  while (in.read(block, sizeof block) || in.gcount() > 0) raw.append(block, in.gcount());
  if (in.bad()) throw os_failure(EIO, path);
  return decode_text(raw, path);
}

// ---- writing: every file or none

struct PendingFile {
  std::string path;
  std::string content;
  std::string temp;
};

void remove_quietly(const std::string& p) {
  std::error_code ec;
  fs::remove(p, ec);
}

// Writes every file under a temporary name beside its target, then moves
// them all into place; a failure removes what was written and is raised.
void write_all(std::vector<PendingFile>& files) {
  try {
    // A target that is a directory would fail only when moved into place,
    // after other files were: refuse it before anything is written.
    for (const PendingFile& f : files) {
      std::error_code ec;
      if (fs::is_directory(f.path, ec)) throw os_failure(EISDIR, f.path);
    }
    for (PendingFile& f : files) {
      std::string dir = dirname(abspath(f.path));
      std::error_code ec;
      if (!dir.empty()) fs::create_directories(dir, ec);
      if (ec) throw os_failure(ec.value(), dir);
      f.temp = join(dir, "." + basename(f.path) + ".pagefold-" + std::to_string(getpid()));
      std::FILE* out = std::fopen(f.temp.c_str(), "wb");
      if (!out) {
        int err = errno;
        f.temp.clear();
        throw os_failure(err, f.path);
      }
      size_t put = std::fwrite(f.content.data(), 1, f.content.size(), out);
      int err = put == f.content.size() ? 0 : (errno ? errno : EIO);
      if (std::fclose(out) != 0 && !err) err = errno ? errno : EIO;
      if (err) throw os_failure(err, f.path);
    }
    for (PendingFile& f : files) {
      if (std::rename(f.temp.c_str(), f.path.c_str()) != 0) throw os_failure(errno, f.path);
      f.temp.clear();
    }
  } catch (...) {
    for (const PendingFile& f : files) {
      if (!f.temp.empty()) remove_quietly(f.temp);
    }
    throw;
  }
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

// A conversion of prototype text up to the finished pages: the failure record
// when there is none to write, else the pages with the converter's results.
struct Finished {
  Value failure;  // a failure record, or null
  std::vector<Page> pages;
  Value meta;
  int64_t gen_count = 0;
  Value rad_glue;
};

Finished convert_and_finish(const std::string& text, const std::optional<std::string>& res,
                            const std::optional<std::string>& asset_dir, bool merge_windows,
                            const Modules& modules, std::vector<std::string>& warnings) {
  Finished done;
  PageFold conv(res, asset_dir, &modules);
  ConvertResult cr = conv.convert(text, merge_windows);
  warnings.insert(warnings.end(), cr.warnings.begin(), cr.warnings.end());

  if (cr.meta.is_null()) {
    done.failure = Value::object({{"success", false},
                                  {"warnings", strings(warnings)},
                                  {"screensDetected", 0},
                                  {"pagesProduced", 0},
                                  {"error", NO_SCREEN}});
    return done;
  }
  const Value& meta = cr.meta;
  if (meta.get("error").truthy() || !cr.pages) {
    Value err = meta.get("error");
    done.failure = Value::object({{"success", false},
                                  {"warnings", strings(warnings)},
                                  {"screensDetected", meta.get("screensDetected")},
                                  {"pagesProduced", meta.get("pagesProduced")},
                                  {"mode", meta.get("mode")},
                                  {"error", err.truthy() ? err : Value(NO_SCREEN)}});
    return done;
  }
  // Finish every page before anything is written.
  std::vector<Value> roots;
  for (const Page& page : *cr.pages) roots.push_back(page.second);
  _finalize_pages(roots, warnings);
  done.pages = std::move(*cr.pages);
  done.meta = cr.meta;
  done.gen_count = cr.gen_count;
  done.rad_glue = cr.rad_glue;
  return done;
}

// The counts of the result record, which describe the first page alone:
// `resolution`, `controls`, `controlsTopLevel`, `controlsNested`.
void add_first_page_counts(Value& record, const std::vector<Page>& pages) {
  Value data = pages.empty() ? Value::object() : pages.front().second;
  Value resv = data.get("resolution").truthy() ? data.get("resolution") : Value::object();
  int64_t top = 0;
  for (const auto& [k, v] : data.as_object()) {
    if (text::contains(k, "__")) ++top;
  }
  const int64_t controls = static_cast<int64_t>(count_ctrls(data));
  record["resolution"] = value_str(resv.get("width")) + "x" + value_str(resv.get("height"));
  record["controls"] = controls;
  record["controlsTopLevel"] = top;
  record["controlsNested"] = std::max<int64_t>(0, controls - top);
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

// The page files to write: one per page in per-screen mode, else the first
// page's root at the named file (or at the first page id in the output
// directory), or nothing without an output place.
std::vector<PendingFile> page_files(const Places& at, const std::vector<Page>& pages,
                                    bool per_page) {
  std::vector<PendingFile> files;
  if (per_page) {
    for (const Page& page : pages)
      files.push_back({join(at.out_dir, page.first + ".json"), dump(page.second, 2), ""});
    return files;
  }
  std::optional<std::string> target = at.out_file;
  if (!target && at.has_output && !pages.empty()) {
    target = join(at.out_dir, pages.front().first + ".json");
  }
  if (target && !pages.empty()) files.push_back({*target, dump(pages.front().second, 2), ""});
  return files;
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
  add_first_page_counts(record, pages);
  record["warnings"] = strings(warnings);
  record["generatedAssets"] = done.gen_count;
  record["radButtonGlue"] = done.rad_glue;
  record["assetDir"] = optional_text(asset_dir);
  return record;
}

Value convert_file(const std::string& input_html, const std::optional<std::string>& output_json,
                   const std::optional<std::string>& res,
                   const std::optional<std::string>& asset_dir, bool merge_windows,
                   const Modules& modules) {
  std::error_code ec;
  if (!fs::is_regular_file(input_html, ec)) {
    return Value::object({{"success", false}, {"error", "html 文件不存在: " + input_html}});
  }
  const std::string text = read_text(input_html);
  std::vector<std::string> warnings;
  const Places at = settle_places(input_html, output_json, asset_dir, warnings);

  Finished done = convert_and_finish(text, res, at.asset_dir, merge_windows, modules, warnings);
  if (!done.failure.is_null()) return done.failure;

  const bool per_page = done.meta.get("mode") == Value("per-screen");
  std::vector<PendingFile> files = page_files(at, done.pages, per_page);
  write_all(files);
  std::vector<std::string> json_paths;
  for (const PendingFile& f : files) json_paths.push_back(f.path);
  return file_record(done, json_paths, per_page, output_json, at.asset_dir, warnings);
}

Value convert_text_record(const std::string& html, const std::optional<std::string>& res,
                          const std::optional<std::string>& asset_dir, bool merge_windows,
                          const Modules& modules) {
  const std::string text = decode_text(html, "<text>");
  std::vector<std::string> warnings;
  Finished done = convert_and_finish(text, res, asset_dir, merge_windows, modules, warnings);
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
  add_first_page_counts(record, done.pages);
  record["warnings"] = strings(warnings);
  record["generatedAssets"] = done.gen_count;
  record["radButtonGlue"] = done.rad_glue;
  record["assetDir"] = optional_text(asset_dir);
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
  out << dump(r, 1) << "\n";
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
