// The whole conversion under the fuzzer: prototype text through the
// converter, the finishing passes and the page writer, without plug-ins and
// with them, in per-screen and in merged-window mode.
//
// What must hold for every input: each page is strict JSON (no NaN, no
// Infinity, valid UTF-8) that reads back to the same text, streamed and whole
// writing give the same bytes, and only the documented failures escape: a
// pagefold::Failure with a known type name, and never an internal error
// dressed as a page's failure. Anything else aborts, and the fuzzer keeps the
// input.
//
// Plug-ins: the directory named by PAGEFOLD_FUZZ_PLUGINS when it is set (the
// real picture and key modules), else the test stand-ins, which draw small
// pictures into a scratch directory.
#include <pthread.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <string_view>

#include "driver/converter.hpp"
#include "finish/finish.hpp"
#include "pagefold/error.hpp"
#include "pagefold/json.hpp"
#include "testkit.hpp"
#include "util/text.hpp"

namespace fs = std::filesystem;
using namespace pagefold;

namespace {

[[noreturn]] void fail(const std::string& what) {
  std::fprintf(stderr, "convert_fuzz: %s\n", what.c_str());
  std::abort();
}

// The type names of the documented failure paths.
const std::set<std::string> KNOWN_FAILURES = {
    "ValueError",        "KeyError",           "IndexError",
    "TypeError",         "OverflowError",      "ZeroDivisionError",
    "RecursionError",    "UnicodeDecodeError", "OSError",
    "FileNotFoundError", "PermissionError",    "IsADirectoryError",
    "RuntimeError",      "MemoryError",        "UnidentifiedImageError"};

// The words of C++ library errors: a page's failure text holding one hides a
// fault of the converter behind a conventional type name.
bool internal_message(std::string_view text) {
  for (const char* word : {"std::", "basic_string", "vector::", "_M_", "bad_variant", "bad_cast",
                           "bad_optional", "bad_function", "map::at"}) {
    if (text.find(word) != std::string_view::npos) return true;
  }
  return false;
}

// Prototype text as the entry point hands it on: no byte-order mark, every
// line break a line feed.
std::string as_read(std::string raw) {
  if (raw.compare(0, 3, "\xEF\xBB\xBF") == 0) raw.erase(0, 3);
  std::string out;
  out.reserve(raw.size());
  for (size_t i = 0; i < raw.size(); ++i) {
    if (raw[i] == '\r') {
      out += '\n';
      if (i + 1 < raw.size() && raw[i + 1] == '\n') ++i;
    } else {
      out += raw[i];
    }
  }
  return out;
}

void check_page(const std::string& pid, const Value& data) {
  const std::string whole = dump(data, 2);
  std::string streamed;
  dump_to(data, 2, [&](std::string_view piece) { streamed += piece; });
  if (streamed != whole) fail("streamed text differs from the whole text of page " + pid);
  if (!text::valid_utf8(whole)) fail("page " + pid + " is not valid UTF-8");
  Value back;
  try {
    back = parse_json(whole);
  } catch (const Failure& f) {
    fail("page " + pid + " is no strict JSON: " + f.message());
  }
  if (dump(back, 2) != whole) fail("page " + pid + " does not read back to its text");
}

void convert_once(const std::string& text, const Modules& modules,
                  const std::optional<std::string>& asset_dir, bool merge,
                  const std::optional<std::string>& res) {
  PageFold conv(res, asset_dir, &modules);
  ConvertResult r;
  std::vector<std::string> warnings;
  try {
    r = conv.convert(text, merge);
    warnings = r.warnings;
    if (r.pages)
      for (auto& [pid, data] : *r.pages) _finalize_layout(data, warnings);
  } catch (const Failure& f) {
    if (!KNOWN_FAILURES.count(f.type())) fail("unknown failure " + f.type() + ": " + f.message());
    if (internal_message(f.message())) fail("internal error escaped: " + f.message());
    return;
  }
  for (const std::string& w : warnings)
    if (!text::valid_utf8(w)) fail("a warning is not valid UTF-8");
  if (r.meta.is_object()) {
    for (const Value& f : r.meta.get("failed").as_array())
      if (internal_message(f.as_string())) fail("internal error in a page: " + f.as_string());
  }
  if (r.pages)
    for (const auto& [pid, data] : *r.pages) check_page(pid, data);
}

struct Setup {
  Modules none = testkit::no_modules();
  Modules plugins;
  fs::path scratch;
  Setup() {
    if (const char* dir = std::getenv("PAGEFOLD_FUZZ_PLUGINS")) {
      plugins = Modules::load_from({dir});
    } else {
      plugins = testkit::fake_modules();
    }
    scratch = fs::temp_directory_path() / ("pagefold-fuzz-" + std::to_string(getpid()));
  }
  ~Setup() {
    std::error_code ec;
    fs::remove_all(scratch, ec);
  }
};

void convert_all(const std::string& text) {
  static Setup setup;
  static unsigned runs = 0;
  // Pictures pile up under ever new names: start the scratch place afresh
  // now and then.
  if (runs++ % 256 == 0) {
    std::error_code ec;
    fs::remove_all(setup.scratch, ec);
  }
  const std::string assets = setup.scratch.string();
  convert_once(text, setup.none, std::nullopt, false, std::nullopt);
  convert_once(text, setup.none, std::nullopt, true, std::string("800x480"));
  convert_once(text, setup.plugins, assets, false, std::nullopt);
  convert_once(text, setup.plugins, assets, true, std::nullopt);
}

// Conversion walks the tree recursively: it runs on a large stack, as the
// entry point runs it. One worker thread serves every input, since a new
// stack of that size per input would cost more than most conversions.
class LargeStack {
 public:
  LargeStack() {
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstacksize(&attr, size_t{512} << 20);
    auto loop = [](void* self) -> void* {
      static_cast<LargeStack*>(self)->serve();
      return nullptr;
    };
    if (pthread_create(&thread_, &attr, loop, this) != 0) fail("no thread for the conversion");
    pthread_attr_destroy(&attr);
  }

  void run(const std::string& text) {
    std::unique_lock<std::mutex> lock(mutex_);
    job_ = &text;
    ready_.notify_all();
    ready_.wait(lock, [&] { return job_ == nullptr; });
  }

 private:
  void serve() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      ready_.wait(lock, [&] { return job_ != nullptr; });
      convert_all(*job_);
      job_ = nullptr;
      ready_.notify_all();
    }
  }

  pthread_t thread_;
  std::mutex mutex_;
  std::condition_variable ready_;
  const std::string* job_ = nullptr;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string raw(reinterpret_cast<const char*>(data), size);
  // Undecodable input is refused at the door and never reaches the converter.
  if (!text::valid_utf8(raw)) return 0;
  static LargeStack* stack = new LargeStack();  // lives as long as the process
  stack->run(as_read(std::move(raw)));
  return 0;
}
