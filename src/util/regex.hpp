// Regular expressions as the converter's patterns are written:
// Unicode \s, \d and \w, backtracking, non-greedy quantifiers, look-ahead, and
// `$` at the end or before a final line feed. Built on PCRE2 (UTF + UCP, JIT),
// with `\s`/`\S` widened at compile time to the exact whitespace set.
//
// Compile each pattern once: `static const Regex re(R"(...)");`.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pagefold {

class Match {
 public:
  // Group `i` as text; empty when the group did not take part.
  std::string_view group(size_t i = 0) const;
  std::string str(size_t i = 0) const { return std::string(group(i)); }
  bool matched(size_t i) const;      // the group took part in the match
  size_t start(size_t i = 0) const;  // byte offsets into the subject
  size_t end(size_t i = 0) const;
  size_t groups() const { return spans_.size(); }

 private:
  friend class Regex;
  std::string_view subject_;
  std::vector<std::pair<size_t, size_t>> spans_;  // npos when unset
};

class Regex {
 public:
  enum Flags : uint32_t { NONE = 0, DOTALL = 1, IGNORECASE = 2 };
  explicit Regex(std::string_view pattern, uint32_t flags = NONE);
  ~Regex();
  Regex(const Regex&) = delete;
  Regex& operator=(const Regex&) = delete;

  // Anchored at `pos` ("match").
  std::optional<Match> match(std::string_view s, size_t pos = 0) const;
  // First occurrence at or after `pos` ("search").
  std::optional<Match> search(std::string_view s, size_t pos = 0) const;
  // Whole string ("fullmatch").
  std::optional<Match> fullmatch(std::string_view s) const;
  // Non-overlapping matches left to right ("find all").
  std::vector<Match> find_all(std::string_view s) const;
  // A Match holds views into its subject: a temporary subject would leave
  // them dangling, so these do not compile.
  std::optional<Match> match(std::string&&, size_t = 0) const = delete;
  std::optional<Match> search(std::string&&, size_t = 0) const = delete;
  std::optional<Match> fullmatch(std::string&&) const = delete;
  std::vector<Match> find_all(std::string&&) const = delete;
  // Literals live for the whole run.
  std::optional<Match> match(const char* s, size_t pos = 0) const {
    return match(std::string_view(s), pos);
  }
  std::optional<Match> search(const char* s, size_t pos = 0) const {
    return search(std::string_view(s), pos);
  }
  std::optional<Match> fullmatch(const char* s) const { return fullmatch(std::string_view(s)); }
  std::vector<Match> find_all(const char* s) const { return find_all(std::string_view(s)); }
  // Every non-overlapping match replaced by the literal `repl`.
  std::string sub(std::string_view repl, std::string_view s) const;
  // Splits at every match, keeping empty pieces.
  std::vector<std::string> split(std::string_view s) const;

 private:
  class Lease;
  // One attempt at byte `pos` with PCRE2 options `opts`, using match data
  // `md` (a pcre2_match_data_8 made for this pattern).
  std::optional<Match> exec(std::string_view s, size_t pos, uint32_t opts, void* md) const;
  // The compiled form to match with: the machine-code copy once it exists.
  void* code_for_match() const;

  void* code_ = nullptr;  // pcre2_code_8, interpreted
  // Compiling to machine code costs more than a few dozen interpreted
  // matches, and most patterns of a small prototype run only a few times:
  // a copy is compiled by the call that reaches kJitAfter uses, and
  // published for every later call. Both copies live until the destructor.
  static constexpr uint32_t kJitAfter = 32;
  mutable std::atomic<uint32_t> uses_{0};
  mutable std::atomic<void*> jit_{nullptr};
  // One match data block kept for the next call, so that a call allocates
  // only when another thread holds the block.
  mutable std::atomic<void*> spare_{nullptr};
};

}  // namespace pagefold
