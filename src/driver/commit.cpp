// The all-or-nothing commit of page files.
//
// Staging: each page is streamed into a new file with a short random name
// (".pf-" and six letters or digits, whatever the page is called) in its
// target's directory, created exclusively and never through a link
// (O_CREAT | O_EXCL | O_NOFOLLOW, mode 0600 until it is complete), so a
// link planted in a shared output place redirects nothing. Every later step
// names files relative to the output place's open directory.
//
// Replacing: target by target, what the target holds is first kept under
// another such name (a hard link, or where the file system has none, the file
// moved aside), then the staged file is renamed over the target. Only when
// every target is replaced are the kept names removed. A failure, SIGINT or
// SIGTERM before that puts every kept file back, removes every staged file
// and the directories this run created.
//
// If the process is killed outright (SIGKILL, a crash) nothing can run: each
// target then holds either its old or its complete new text, never a part,
// because renaming is atomic; the set may be part old, part new; the old text
// of a replaced target survives under its ".pf-" name beside it, and staged
// files may stay behind under such names. Files are not synced to the disk,
// so after a power loss the same holds only as far as the file system keeps
// renames in order with the data they name.
#include "driver/commit.hpp"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <random>
#include <vector>

#include "driver/files.hpp"

namespace pagefold {
namespace {

static_assert(std::atomic<int>::is_always_lock_free && std::atomic<void*>::is_always_lock_free,
              "the signal handler reads the journal through lock-free atomics only");

constexpr size_t NAME_SIZE = 11;  // ".pf-XXXXXX" and its terminating zero

// A short name no other file is likely to have: ".pf-" and six random letters
// or digits.
void random_name(char (&out)[NAME_SIZE]) {
  static const char ALNUM[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
  unsigned char bytes[6];
  if (getrandom(bytes, sizeof bytes, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof bytes)) {
    static thread_local std::mt19937 rng{std::random_device{}()};
    for (unsigned char& b : bytes) b = static_cast<unsigned char>(rng());
  }
  std::memcpy(out, ".pf-", 4);
  for (size_t i = 0; i < sizeof bytes; ++i) out[4 + i] = ALNUM[bytes[i] % 62];
  out[NAME_SIZE - 1] = '\0';
}

// The process's file creation mask, read without changing it where the
// system tells it.
mode_t current_umask() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("Umask:", 0) == 0) return static_cast<mode_t>(std::stoul(line.substr(6), 0, 8));
  }
  const mode_t mask = umask(022);
  umask(mask);
  return mask;
}

bool same_file(const struct stat& st, const FileId& id) {
  return st.st_dev == id.dev && st.st_ino == id.ino;
}

pid_t thread_id() { return static_cast<pid_t>(syscall(SYS_gettid)); }

CommitHook& hook() {
  static CommitHook h;
  return h;
}

void run_hook(CommitStep step, size_t i) {
  if (hook()) hook()(step, i);
}

}  // namespace

std::optional<FileId> file_id(const std::string& path) {
  struct stat st;
  if (path.find('\0') != std::string::npos || ::stat(path.c_str(), &st) != 0) return std::nullopt;
  return FileId{st.st_dev, st.st_ino};
}

void PageCommit::set_hook(CommitHook h) { hook() = std::move(h); }

// ---- the journal: every step on disk, recorded before it is taken
//
// The signal handler undoes the steps while the committing thread stands
// still between two instructions, so a step is complete before it is
// published (one atomic store of the list head) and each record says through
// one atomic state how far its step may have gone. Undoing is idempotent: the
// handler may undo, then the thread again.
struct PageCommit::Journal {
  struct Step {
    enum Kind { Dir, File } kind;
    Step* older = nullptr;
    int dirfd = AT_FDCWD;  // the directory holding `name`, and the temporary names
    std::string name;      // a directory made, or a target's name
    // File: 0 nothing yet, 1 `temp` may exist, 2 `temp` is complete, 3 the
    // target may be replaced. Dir: 1 the directory may have been made by us.
    std::atomic<int> state{0};
    // 1 when `kept` may hold what the target held.
    std::atomic<int> keeping{0};
    char temp[NAME_SIZE] = {};
    char kept[NAME_SIZE] = {};
    FileId staged;  // the staged file, to know it again at the target's name
  };
  enum FileState { NOTHING = 0, CREATING = 1, STAGED = 2, REPLACING = 3 };

  std::atomic<Step*> newest{nullptr};
  // Set when all targets are replaced: undoing then only removes kept names.
  std::atomic<int> committed{0};
  // The signal that stopped the run, when its previous handler let it go on.
  std::atomic<int> stopped_by{0};

  std::optional<FileId> input;
  std::string input_abs;
  std::string input_path;
  std::vector<Step*> files;              // staged files, in page order
  std::vector<std::string> paths;        // their paths as reported
  std::map<std::string, int> place_fds;  // output places opened, by absolute path
  std::vector<int> fds;                  // every descriptor to close
  mode_t umask_bits = current_umask();
  bool guarded = false;  // this journal owns the signal handlers
  bool done = false;

  ~Journal();
  Step* publish(Step::Kind kind, int dirfd, std::string name);
  void undo() noexcept;
  void stop_if_signalled() const;
  void guard();
  void unguard();
  int open_place(const std::string& place, const std::string& path);
  void refuse_input(int dirfd, const std::string& leaf, const std::string& path) const;
  void write_staged(Step& s, const std::string& path, mode_t mode, const struct stat* old,
                    const PageText& text);
  void keep(Step& s, const std::string& path);
};

// ---- the signal guard: one commit at a time owns SIGINT and SIGTERM

namespace {

std::atomic<PageCommit::Journal*> g_owner{nullptr};
std::atomic<pid_t> g_owner_thread{0};
constexpr int STOP_SIGNALS[] = {SIGINT, SIGTERM};
struct sigaction g_previous[2];
std::atomic<int> g_ours[2] = {0, 0};

int slot_of(int sig) { return sig == SIGINT ? 0 : 1; }

void pass_on(int sig) {
  sigaction(sig, &g_previous[slot_of(sig)], nullptr);
  g_ours[slot_of(sig)].store(0);
  raise(sig);  // delivered with its previous meaning once this handler returns
}

extern "C" void on_stop_signal(int sig) {
  const int saved_errno = errno;
  PageCommit::Journal* j = g_owner.load();
  const pid_t owner = g_owner_thread.load();
  if (j && owner != thread_id()) {
    // Only the committing thread may undo its steps: the signal goes there,
    // and this thread carries on.
    if (syscall(SYS_tgkill, getpid(), owner, sig) == 0) {
      errno = saved_errno;
      return;
    }
    j = nullptr;  // that thread is gone, and its commit with it
  }
  if (j) {
    j->stopped_by.store(sig);
    j->undo();
  }
  pass_on(sig);
  errno = saved_errno;
}

}  // namespace

void PageCommit::Journal::guard() {
  Journal* none = nullptr;
  if (!g_owner.compare_exchange_strong(none, this)) return;  // another commit holds them
  g_owner_thread.store(thread_id());
  guarded = true;
  sigset_t blocked;
  pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
  for (int sig : STOP_SIGNALS) {
    // An ignored signal stays ignored, and one this thread blocks could not
    // reach the undoing here.
    struct sigaction previous;
    if (sigismember(&blocked, sig) || sigaction(sig, nullptr, &previous) != 0 ||
        previous.sa_handler == SIG_IGN)
      continue;
    g_previous[slot_of(sig)] = previous;
    struct sigaction ours = {};
    ours.sa_handler = on_stop_signal;
    sigemptyset(&ours.sa_mask);
    for (int s : STOP_SIGNALS) sigaddset(&ours.sa_mask, s);
    ours.sa_flags = SA_RESTART;
    g_ours[slot_of(sig)].store(1);
    sigaction(sig, &ours, nullptr);
  }
}

void PageCommit::Journal::unguard() {
  if (!guarded) return;
  for (int sig : STOP_SIGNALS) {
    if (g_ours[slot_of(sig)].exchange(0)) sigaction(sig, &g_previous[slot_of(sig)], nullptr);
  }
  g_owner_thread.store(0);
  g_owner.store(nullptr);
  guarded = false;
}

// ---- undoing, with async-signal-safe calls only

void PageCommit::Journal::undo() noexcept {
  const bool forward = committed.load() != 0;
  for (Step* s = newest.load(); s; s = s->older) {
    const int state = s->state.load();
    if (s->kind == Step::Dir) {
      // Only an empty directory goes; one that gained other files stays.
      if (!forward && state) unlinkat(s->dirfd, s->name.c_str(), AT_REMOVEDIR);
      continue;
    }
    const bool kept = s->keeping.load() != 0;
    if (forward) {
      if (kept) unlinkat(s->dirfd, s->kept, 0);
      continue;
    }
    if (kept) {
      // Puts the old file back; when the target was never replaced, both
      // names are one file and renaming does nothing, so the kept name goes.
      renameat(s->dirfd, s->kept, s->dirfd, s->name.c_str());
      unlinkat(s->dirfd, s->kept, 0);
    } else if (state >= REPLACING) {
      struct stat now;
      if (fstatat(s->dirfd, s->name.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 &&
          same_file(now, s->staged))
        unlinkat(s->dirfd, s->name.c_str(), 0);
    }
    if (state >= CREATING) unlinkat(s->dirfd, s->temp, 0);
  }
}

void PageCommit::Journal::stop_if_signalled() const {
  if (const int sig = stopped_by.load()) {
    throw Failure("InterruptedError", std::string("stopped by ") +
                                          (sig == SIGINT ? "SIGINT" : "SIGTERM") +
                                          ", no page file written");
  }
}

PageCommit::Journal::~Journal() {
  if (!done) undo();
  unguard();
  for (int fd : fds) close(fd);
  for (Step* s = newest.load(); s;) {
    Step* older = s->older;
    delete s;
    s = older;
  }
}

PageCommit::Journal::Step* PageCommit::Journal::publish(Step::Kind kind, int dirfd,
                                                        std::string name) {
  auto* s = new Step();
  s->kind = kind;
  s->dirfd = dirfd;
  s->name = std::move(name);
  s->older = newest.load();
  newest.store(s);
  return s;
}

// ---- staging

// The output place, made with its parents where missing (each directory made
// is recorded), and opened.
int PageCommit::Journal::open_place(const std::string& place, const std::string& path) {
  const std::string abs = abspath(place);
  if (auto it = place_fds.find(abs); it != place_fds.end()) return it->second;
  std::vector<std::string> missing;
  struct stat st;
  for (std::string d = abs; !d.empty() && d != "/" && ::stat(d.c_str(), &st) != 0; d = dirname(d)) {
    if (errno != ENOENT) break;  // mkdir below names the real fault
    missing.push_back(d);
  }
  for (auto it = missing.rbegin(); it != missing.rend(); ++it) {
    Step* s = publish(Step::Dir, AT_FDCWD, *it);
    s->state.store(1);
    if (mkdir(it->c_str(), 0777) != 0) {
      const int err = errno;
      s->state.store(0);
      if (err != EEXIST) throw OSError(err, dirname(abspath(path)));
    }
  }
  const int fd = open(abs.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) throw OSError(errno, dirname(abspath(path)));
  fds.push_back(fd);
  place_fds[abs] = fd;
  return fd;
}

// The prototype must survive its conversion: a target that is the input file,
// through any name, or that names it, is refused.
void PageCommit::Journal::refuse_input(int dirfd, const std::string& leaf,
                                       const std::string& path) const {
  struct stat st;
  const bool same = (input && fstatat(dirfd, leaf.c_str(), &st, 0) == 0 && same_file(st, *input)) ||
                    abspath(path) == input_abs;
  if (same) {
    throw Failure("SameFileError", "输出会覆盖输入的原型文件 " + input_path +
                                       " —— 请另选输出位置（另一个 .json 文件名或输出目录）");
  }
}

void PageCommit::Journal::write_staged(Step& s, const std::string& path, mode_t mode,
                                       const struct stat* old, const PageText& text) {
  int fd = -1;
  for (int attempt = 0; fd < 0; ++attempt) {
    s.state.store(NOTHING);
    random_name(s.temp);
    s.state.store(CREATING);
    fd = openat(s.dirfd, s.temp, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0 && (errno != EEXIST || attempt == 100)) {
      const int err = errno;
      s.state.store(NOTHING);
      throw OSError(err, path);
    }
  }
  struct Closer {
    int& fd;
    ~Closer() {
      if (fd >= 0) close(fd);
    }
  } closer{fd};
  text([&](std::string_view piece) {
    stop_if_signalled();
    while (!piece.empty()) {
      const ssize_t n = write(fd, piece.data(), piece.size());
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) throw OSError(errno, path);
      piece.remove_prefix(static_cast<size_t>(n));
    }
  });
  // A replaced page keeps the owner and permission bits of the file it
  // replaces; a new one gets the usual bits of a new file.
  if (old && geteuid() == 0 && (old->st_uid != geteuid() || old->st_gid != getegid())) {
    if (fchown(fd, old->st_uid, old->st_gid) != 0) {
      // Not ours to give away: the page stays the writer's, with the same bits.
    }
  }
  if (fchmod(fd, mode) != 0) throw OSError(errno, path);
  struct stat st;
  if (fstat(fd, &st) != 0) throw OSError(errno, path);
  s.staged = FileId{st.st_dev, st.st_ino};
  const int closing = fd;
  fd = -1;
  if (close(closing) != 0 && errno != EINTR) throw OSError(errno, path);
  s.state.store(STAGED);
}

// Keeps what the target holds under a new name beside it: a second link to
// the same file, or where links are not to be had, the file itself moved.
void PageCommit::Journal::keep(Step& s, const std::string& path) {
  for (int attempt = 0;; ++attempt) {
    s.keeping.store(0);
    random_name(s.kept);
    s.keeping.store(1);
    if (linkat(s.dirfd, s.name.c_str(), s.dirfd, s.kept, 0) == 0) return;
    int err = errno;
    if (err == EPERM || err == EMLINK || err == EOPNOTSUPP || err == ENOSYS) {
      if (renameat2(s.dirfd, s.name.c_str(), s.dirfd, s.kept, RENAME_NOREPLACE) == 0) return;
      err = errno;
    }
    if (err != EEXIST || attempt == 100) {
      s.keeping.store(0);
      throw OSError(err, path);
    }
  }
}

PageCommit::PageCommit(std::optional<FileId> input, std::string input_path)
    : journal_(std::make_unique<Journal>()) {
  journal_->input = input;
  journal_->input_abs = input_path.find('\0') == std::string::npos ? abspath(input_path) : "";
  journal_->input_path = std::move(input_path);
}

PageCommit::~PageCommit() = default;

std::string PageCommit::stage(const std::string& place, const std::string& name,
                              const PageText& text) {
  Journal& j = *journal_;
  const std::string path = join(place, name);
  if (path.find('\0') != std::string::npos) throw ValueError("embedded null byte");
  // Page ids never hold a path separator; a name that did would leave the
  // directory this commit opened.
  if (name.empty() || name.find('/') != std::string::npos) throw OSError(EINVAL, path);
  try {
    run_hook(CommitStep::Stage, j.files.size());
    j.guard();
    j.stop_if_signalled();
    const int dirfd = j.open_place(place, path);

    struct stat old;
    bool replaces = false;
    if (fstatat(dirfd, name.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0) {
      if (S_ISDIR(old.st_mode)) throw OSError(EISDIR, path);
      replaces = S_ISREG(old.st_mode);
    } else if (errno != ENOENT) {
      throw OSError(errno, path);
    }
    j.refuse_input(dirfd, name, path);
    const mode_t mode = replaces ? (old.st_mode & 07777) : (0666 & ~j.umask_bits);

    Journal::Step* s = j.publish(Journal::Step::File, dirfd, name);
    j.write_staged(*s, path, mode, replaces ? &old : nullptr, text);
    j.files.push_back(s);
    j.paths.push_back(path);
    return path;
  } catch (...) {
    // A step that failed because a signal undid the run under it.
    j.stop_if_signalled();
    throw;
  }
}

bool PageCommit::stopped() const { return journal_->stopped_by.load() != 0; }

void PageCommit::commit() {
  Journal& j = *journal_;
  try {
    for (size_t i = 0; i < j.files.size(); ++i) {
      Journal::Step& s = *j.files[i];
      const std::string& path = j.paths[i];
      j.stop_if_signalled();
      struct stat now;
      if (fstatat(s.dirfd, s.name.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0) {
        if (S_ISDIR(now.st_mode)) throw OSError(EISDIR, path);
        j.keep(s, path);
      } else if (errno != ENOENT) {
        throw OSError(errno, path);
      }
      run_hook(CommitStep::Replace, i);
      j.stop_if_signalled();
      s.state.store(Journal::REPLACING);
      if (renameat(s.dirfd, s.temp, s.dirfd, s.name.c_str()) != 0) throw OSError(errno, path);
    }
    j.stop_if_signalled();
  } catch (...) {
    j.undo();
    j.done = true;
    j.stop_if_signalled();
    throw;
  }
  // Every target holds its new page: from here on the run stands, and only
  // the kept names remain to be removed.
  j.committed.store(1);
  j.undo();
  j.done = true;
}

}  // namespace pagefold
