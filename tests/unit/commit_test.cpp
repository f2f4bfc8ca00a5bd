// Writing page files safely: all or none, never through a planted link, never
// over the prototype, whatever the pages are called, and with nothing left
// behind by a failure or a signal. Every case runs whole conversions and
// compares the output places with what they held before, byte by byte and
// inode by inode.
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "driver/commit.hpp"
#include "pagefold/error.hpp"
#include "pagefold/pagefold.hpp"
#include "testkit.hpp"

namespace fs = std::filesystem;
using namespace pagefold;
using testkit::TempDir;

namespace {

// The address sanitizer keeps freed memory in quarantine, so a memory bound
// means nothing in its build; the conversion still runs there for its checks.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool MEMORY_IS_MEASURABLE = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool MEMORY_IS_MEASURABLE = false;
#else
constexpr bool MEMORY_IS_MEASURABLE = true;
#endif
#else
constexpr bool MEMORY_IS_MEASURABLE = true;
#endif

std::string screens(const std::vector<std::string>& pages) {
  std::string body;
  for (const auto& p : pages)
    body += "<div class=\"screen\" data-page=\"" + p + "\" data-bg=\"#000010\"></div>";
  return "<html><body>" + body + "</body></html>";
}

// Everything under `dir`, without following links: kind, permission bits,
// inode and content (a link's target).
std::map<std::string, std::string> snapshot(const fs::path& dir) {
  std::map<std::string, std::string> out;
  if (!fs::exists(fs::symlink_status(dir))) return out;
  for (auto it = fs::recursive_directory_iterator(dir); it != fs::recursive_directory_iterator();
       ++it) {
    struct stat st;
    lstat(it->path().c_str(), &st);
    std::ostringstream row;
    row << std::oct << (st.st_mode & 07777) << std::dec << " ino " << st.st_ino << " ";
    if (S_ISLNK(st.st_mode))
      row << "link " << fs::read_symlink(it->path()).string();
    else if (S_ISDIR(st.st_mode))
      row << "dir";
    else
      row << "file " << testkit::read_file(it->path().string());
    out[it->path().lexically_relative(dir).string()] = row.str();
  }
  return out;
}

// Names a failed or interrupted run may have left: temporary and kept files.
std::vector<std::string> litter(const fs::path& dir) {
  std::vector<std::string> out;
  for (const auto& [name, row] : snapshot(dir))
    if (fs::path(name).filename().string().rfind(".pf-", 0) == 0) out.push_back(name);
  return out;
}

// "Type: message" of the failure `fn` raises, "" when it raises none.
std::string failure_of(const std::function<void()>& fn) {
  try {
    fn();
  } catch (const Failure& f) {
    return f.type() + ": " + f.message();
  }
  return "";
}

struct HookScope {
  explicit HookScope(CommitHook h) { PageCommit::set_hook(std::move(h)); }
  ~HookScope() { PageCommit::set_hook(nullptr); }
};

// Runs `fn` in a child process and answers its wait status.
int in_child(const std::function<void()>& fn) {
  const pid_t pid = fork();
  if (pid == 0) {
    fn();
    _exit(0);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  return status;
}

class SafeCommit : public ::testing::Test {
 protected:
  TempDir tmp;
  Modules none = testkit::no_modules();

  std::string at(const std::string& rel) const { return tmp.str() + "/" + rel; }
  Value convert(const std::string& in, const std::optional<std::string>& out) {
    return pagefold::pagefold(in, out, std::nullopt, std::nullopt, false, none);
  }
};

TEST_F(SafeCommit, PlantedLinksRedirectNothing) {
  const std::string victim = tmp.write("victim.txt", "keep me");
  fs::create_directories(at("victim_dir"));
  fs::create_directories(at("out"));
  // A link at the name a temporary file once had, a link in the place of a
  // page, and a link in the place of a page's subdirectory.
  fs::create_symlink(victim, at("out/.a.json.pagefold-" + std::to_string(getpid())));
  fs::create_symlink(victim, at("out/a.json"));
  fs::create_symlink(at("victim_dir"), at("out/sub"));

  const std::string in = tmp.write("in.html", screens({"a", "c"}));
  const Value r = convert(in, at("out"));
  ASSERT_TRUE(r.get("success").truthy());
  // The page replaced the link itself; the link's target is untouched.
  EXPECT_EQ(testkit::read_file(victim), "keep me");
  EXPECT_FALSE(fs::is_symlink(at("out/a.json")));
  EXPECT_EQ(testkit::read_file(at("out/a.json")).substr(0, 20), "{\n  \"beepEnable\": tr");
  EXPECT_TRUE(fs::is_symlink(at("out/.a.json.pagefold-" + std::to_string(getpid()))));

  // A page id cannot lead into a linked directory or above its output place:
  // its path characters become "_".
  const std::string paths = tmp.write("paths.html", screens({"sub/b", "../up"}));
  ASSERT_TRUE(convert(paths, at("out")).get("success").truthy());
  EXPECT_TRUE(fs::is_regular_file(at("out/sub_b.json")));
  EXPECT_TRUE(fs::is_regular_file(at("out/.._up.json")));
  EXPECT_TRUE(fs::is_empty(at("victim_dir")));
}

// Five pages over an output place that holds three of them: whichever
// replacement fails, every file is as it was, down to its inode and bits.
TEST_F(SafeCommit, AFailedReplacementPutsEveryFileBack) {
  const std::string in = tmp.write("in.html", screens({"p1", "p2", "p3", "p4", "p5"}));
  tmp.write("out/p1.json", "old one");
  tmp.write("out/p2.json", "old two");
  tmp.write("out/p4.json", "old four");
  tmp.write("out/notes.txt", "not a page");
  fs::permissions(at("out/p1.json"), fs::perms(0640));
  fs::permissions(at("out/p2.json"), fs::perms(0600));
  fs::permissions(at("out/p4.json"), fs::perms(0604));
  const auto before = snapshot(at("out"));

  for (size_t failing : {0, 2, 4}) {
    SCOPED_TRACE(failing);
    HookScope hook([&](CommitStep step, size_t i) {
      if (step == CommitStep::Replace && i == failing) throw Failure("OSError", "injected");
    });
    EXPECT_EQ(failure_of([&] { convert(in, at("out")); }), "OSError: injected");
    EXPECT_EQ(snapshot(at("out")), before);
  }
  {
    // A directory that appears in the place of the third page just before
    // it is moved in: the rename itself fails.
    HookScope hook([&](CommitStep step, size_t i) {
      if (step == CommitStep::Replace && i == 2) fs::create_directory(at("out/p3.json"));
    });
    EXPECT_EQ(failure_of([&] { convert(in, at("out")); }),
              "IsADirectoryError: [Errno 21] Is a directory: '" + at("out/p3.json") + "'");
    fs::remove(at("out/p3.json"));
    EXPECT_EQ(snapshot(at("out")), before);
  }
  {
    // Directories the run made for its pages go with them.
    HookScope hook([&](CommitStep step, size_t i) {
      if (step == CommitStep::Replace && i == 2) throw Failure("OSError", "injected");
    });
    EXPECT_EQ(failure_of([&] { convert(in, at("fresh/ui/pages")); }), "OSError: injected");
    EXPECT_FALSE(fs::exists(at("fresh")));
  }

  // Without a failure every page is replaced; replaced pages keep their
  // permission bits, new ones get those of a new file.
  const mode_t old_mask = umask(027);
  const Value r = convert(in, at("out"));
  umask(old_mask);
  ASSERT_TRUE(r.get("success").truthy());
  const std::pair<const char*, int> modes[] = {
      {"p1", 0640}, {"p2", 0600}, {"p3", 0640}, {"p4", 0604}, {"p5", 0640}};
  for (const auto& [page, mode] : modes) {
    struct stat st;
    ASSERT_EQ(stat(at(std::string("out/") + page + ".json").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, static_cast<mode_t>(mode)) << page;
  }
  EXPECT_EQ(testkit::read_file(at("out/notes.txt")), "not a page");
  EXPECT_EQ(litter(at("out")), std::vector<std::string>{});
}

// Nothing is written unless every page converted, even when the pages
// before the failing one were already staged.
TEST_F(SafeCommit, ACountCheckFailureLeavesNoStagedPage) {
  const std::string in = tmp.write("in.html", screens({"p1", "p2", "p1"}));
  const Value r = convert(in, at("out/ui"));
  EXPECT_FALSE(r.get("success").truthy());
  EXPECT_FALSE(fs::exists(at("out")));
}

TEST_F(SafeCommit, PlacesWithANulByteAreUnwritable) {
  const std::string nul("\0", 1);
  // One and two pages whose names hold a NUL byte. Merged windows are named
  // by the first page alone.
  for (const auto& pages : std::vector<std::vector<std::string>>{
           {"a" + nul + "b"}, {"ok", "a" + nul + "b"}, {"a" + nul + "b", "a" + nul + "c"}}) {
    const std::string in = tmp.write("in.html", screens(pages));
    EXPECT_EQ(failure_of([&] { convert(in, at("out")); }), "ValueError: embedded null byte");
    const bool merged_named_ok = pages.front() == "ok";
    EXPECT_EQ(failure_of([&] {
                pagefold::pagefold(in, at("out"), std::nullopt, std::nullopt, true, none);
              }),
              merged_named_ok ? "" : "ValueError: embedded null byte");
    EXPECT_EQ(fs::exists(at("out/ok.json")), merged_named_ok);
    fs::remove_all(at("out"));
  }
  // Output and picture places with a NUL byte are refused before converting.
  const std::string in = tmp.write("in.html", screens({"a"}));
  EXPECT_EQ(failure_of([&] { convert(in, at("o" + nul + "x")); }),
            "ValueError: embedded null byte");
  EXPECT_EQ(failure_of([&] {
              pagefold::pagefold(in, at("o"), std::nullopt, at("i" + nul + "x"), false, none);
            }),
            "ValueError: embedded null byte");
  EXPECT_FALSE(fs::exists(at("out")));
  EXPECT_FALSE(fs::exists(at("o")));
  // An input path with a NUL byte names no file.
  EXPECT_EQ(
      dump(convert(in + nul + "x", at("out")), 0),
      dump(Value::object({{"success", false}, {"error", "html 文件不存在: " + in + nul + "x"}}),
           0));
  // The command line reports it as such failures are reported.
  const std::string two = tmp.write("two.html", screens({"ok", "a" + nul + "b"}));
  const std::string out = at("out");
  const char* argv[] = {"pagefold", two.c_str(), out.c_str()};
  std::ostringstream cout, cerr;
  EXPECT_EQ(run_cli(3, argv, cout, cerr), 1);
  EXPECT_EQ(cout.str(), "");
  EXPECT_EQ(cerr.str(), "[X] ValueError: embedded null byte\n");
  EXPECT_FALSE(fs::exists(at("out")));
}

// A file name holds 255 bytes: page ids up to 250 characters fit with
// ".json", whatever the temporary and kept names are; one more does not.
TEST_F(SafeCommit, LongPageNamesUpToTheFileNameLimit) {
  for (size_t len : {240, 250}) {
    const std::string pid(len, 'p');
    const std::string in = tmp.write("in.html", screens({pid, "q"}));
    for (int run = 0; run < 2; ++run) {  // a new file, then a replacement
      const Value r = convert(in, at("out"));
      ASSERT_TRUE(r.get("success").truthy()) << len;
      EXPECT_EQ(r.get("jsonPath"), Value(at("out/" + pid + ".json")));
    }
  }
  const std::string pid(251, 'p');
  const std::string in = tmp.write("in.html", screens({"q", pid}));
  EXPECT_EQ(failure_of([&] { convert(in, at("new")); }),
            "OSError: [Errno 36] File name too long: '" + at("new/" + pid + ".json") + "'");
  EXPECT_FALSE(fs::exists(at("new")));
  EXPECT_EQ(litter(at("out")), std::vector<std::string>{});
}

TEST_F(SafeCommit, TheInputIsNeverOverwritten) {
  auto refusal = [](const std::string& in) {
    return "SameFileError: 输出会覆盖输入的原型文件 " + in +
           " —— 请另选输出位置（另一个 .json 文件名或输出目录）";
  };
  // The command line without an output argument, on a prototype that
  // already ends in ".json".
  const std::string design = tmp.write("design.json", screens({"home"}));
  const char* argv[] = {"pagefold", design.c_str()};
  std::ostringstream cout, cerr;
  EXPECT_EQ(run_cli(2, argv, cout, cerr), 1);
  EXPECT_EQ(cerr.str(), "[X] " + refusal(design) + "\n");
  EXPECT_EQ(testkit::read_file(design), screens({"home"}));

  // A page whose file is the prototype: its sibling page is not written
  // either.
  const std::string page = tmp.write("o/p1.json", screens({"p1", "p2"}));
  EXPECT_EQ(failure_of([&] { convert(page, at("o")); }), refusal(page));
  EXPECT_EQ(testkit::read_file(page), screens({"p1", "p2"}));
  EXPECT_FALSE(fs::exists(at("o/p2.json")));

  // The same file through another name: a link or a second hard link.
  fs::create_symlink(design, at("o/soft.json"));
  fs::create_hard_link(design, at("o/hard.json"));
  for (const char* name : {"o/soft.json", "o/hard.json"}) {
    EXPECT_EQ(failure_of([&] { convert(design, at(name)); }), refusal(design)) << name;
    EXPECT_EQ(testkit::read_file(design), screens({"home"}));
  }
  // A page named as the prototype in another place is just a page.
  EXPECT_TRUE(convert(design, at("elsewhere/design.json")).get("success").truthy());
}

// SIGINT or SIGTERM while pages are staged or replaced: the run stops with
// the signal and leaves the output place as it was; a signal sent to the
// process rather than to the committing thread is handled the same way.
TEST_F(SafeCommit, SignalsDuringTheCommitLeaveEverythingAsBefore) {
  const std::string in = tmp.write("in.html", screens({"p1", "p2", "p3"}));
  tmp.write("out/p1.json", "old one");
  tmp.write("out/p3.json", "old three");
  const auto before = snapshot(at("out"));
  struct Case {
    int sig;
    CommitStep step;
    size_t index;
    bool to_process;
  };
  const Case cases[] = {{SIGTERM, CommitStep::Replace, 2, false},
                        {SIGINT, CommitStep::Stage, 1, false},
                        {SIGTERM, CommitStep::Replace, 1, true},
                        {SIGINT, CommitStep::Replace, 0, true}};
  for (const Case& c : cases) {
    const int status = in_child([&] {
      PageCommit::set_hook([&](CommitStep step, size_t i) {
        if (step != c.step || i != c.index) return;
        if (c.to_process) {
          kill(getpid(), c.sig);
          pause();  // the signal comes back to this thread and ends the run
        } else {
          raise(c.sig);
        }
      });
      convert(in, at("out"));
    });
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == c.sig) << status;
    EXPECT_EQ(snapshot(at("out")), before) << c.sig << " at " << c.index;
  }

  // A caller's own handler sees the signal, and the run ends with a failure.
  const int status = in_child([&] {
    static std::atomic<int> seen{0};
    signal(SIGTERM, [](int) { seen = 1; });
    PageCommit::set_hook([](CommitStep step, size_t i) {
      if (step == CommitStep::Replace && i == 1) raise(SIGTERM);
    });
    const std::string f = failure_of([&] { convert(in, at("out")); });
    _exit(seen && f == "InterruptedError: stopped by SIGTERM, no page file written" ? 7 : 1);
  });
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7) << status;
  EXPECT_EQ(snapshot(at("out")), before);
}

// A deep page's text grows with the square of its depth; memory grows with
// its records only. The child's own peak is measured around the run.
TEST_F(SafeCommit, DeepPagesAreWrittenInBoundedMemory) {
  constexpr int DEPTH = 3000;
  std::string open, close;
  for (int i = 0; i < DEPTH; ++i) {
    open += "<div class=\"win\" style=\"left:1px;top:1px\">";
    close += "</div>";
  }
  const std::string in =
      tmp.write("deep.html", "<div class=\"screen\" data-page=\"deep\" data-bg=\"#000000\">" +
                                 open + "x" + close + "</div>");
  int pipe_fds[2];
  ASSERT_EQ(pipe(pipe_fds), 0);
  const int status = in_child([&] {
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    const long before = usage.ru_maxrss;
    const bool ok = convert(in, at("out")).get("success").truthy();
    getrusage(RUSAGE_SELF, &usage);
    const long grown_kb = ok ? usage.ru_maxrss - before : -1;
    if (write(pipe_fds[1], &grown_kb, sizeof grown_kb) != sizeof grown_kb) _exit(1);
  });
  long grown_kb = -1;
  ASSERT_EQ(read(pipe_fds[0], &grown_kb, sizeof grown_kb), static_cast<ssize_t>(sizeof grown_kb));
  ::close(pipe_fds[0]);
  ::close(pipe_fds[1]);
  ASSERT_TRUE(WIFEXITED(status)) << status;
  const auto bytes = fs::file_size(at("out/deep.json"));
  EXPECT_GT(bytes, uintmax_t{100} << 20);
  EXPECT_GE(grown_kb, 0);
  if (MEMORY_IS_MEASURABLE) {
    EXPECT_LT(grown_kb, 64 * 1024) << "page file of " << bytes << " bytes";
  }
}

}  // namespace
