// Page files are written all or none: each is staged under a temporary name
// beside its target, and only when every page is staged are the targets
// replaced, one by one, keeping what each replaced until the last one is in
// place. A failure at any step, or SIGINT / SIGTERM, puts every file back as
// it was and removes the directories the run created.
#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace pagefold {

// The identity of a file on disk.
struct FileId {
  dev_t dev = 0;
  ino_t ino = 0;
  bool operator==(const FileId& o) const { return dev == o.dev && ino == o.ino; }
};

// The identity of the file at `path`, following links; none when it cannot be
// read.
std::optional<FileId> file_id(const std::string& path);

// The steps at which a commit calls its hook: staging page `i` (before its
// temporary file is made), and replacing target `i` (after what it replaces
// was kept, before the staged file takes its place).
enum class CommitStep { Stage, Replace };
using CommitHook = std::function<void(CommitStep, size_t)>;

// Writes the text of one page file; `stream` takes the text piece by piece.
using PageText = std::function<void(const std::function<void(std::string_view)>& stream)>;

class PageCommit {
 public:
  // `input`: the prototype, which no page file may replace: by identity (the
  // same file, through any name) and by its normalised absolute path.
  PageCommit(std::optional<FileId> input, std::string input_path);
  // Whatever was not committed is undone: staged files removed, replaced
  // files put back, created directories removed.
  ~PageCommit();
  PageCommit(const PageCommit&) = delete;
  PageCommit& operator=(const PageCommit&) = delete;

  // Stages the page file `name` (a file name, no directories) in the
  // directory `place`, creating that as needed, and answers its path as the
  // record reports it (`place` joined with `name`). Failures are thrown as
  // the failures of an unwritable output place; nothing is replaced yet.
  std::string stage(const std::string& place, const std::string& name, const PageText& text);
  // Replaces every target by its staged file. On a failure every target is
  // put back, the directories this run created are removed, and the failure
  // is thrown.
  void commit();
  // Whether SIGINT or SIGTERM stopped the run (its previous handler let the
  // process go on); every step then throws an InterruptedError.
  bool stopped() const;

  // Tests fail or interrupt a step here; no hook in normal runs.
  static void set_hook(CommitHook hook);

  // What the commit has done on disk; the signal handler reads it too.
  struct Journal;

 private:
  std::unique_ptr<Journal> journal_;
};

}  // namespace pagefold
