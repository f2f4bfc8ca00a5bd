// Regular expressions on PCRE2 with the exact whitespace set, and find-all,
// split and substitution that walk the subject left to right without overlap.
#define PCRE2_CODE_UNIT_WIDTH 8
#include "util/regex.hpp"

#include <pcre2.h>

#include <memory>

#include "pagefold/error.hpp"

namespace pagefold {

namespace {

// The whitespace set as class members: general category Zs, or bidirectional
// class WS, B or S. PCRE2's own \s misses U+001C..U+001F and U+0085.
constexpr std::string_view WS_MEMBERS =
    R"(\t-\r\x{1c}-\x{20}\x{85}\x{a0}\x{1680}\x{2000}-\x{200a}\x{2028}\x{2029}\x{202f}\x{205f}\x{3000})";

bool is_hex(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// `n` hexadecimal digits at `at`.
bool hex_run(std::string_view p, size_t at, size_t n) {
  if (at + n > p.size()) return false;
  for (size_t k = 0; k < n; ++k)
    if (!is_hex(p[at + k])) return false;
  return true;
}

// Rewrites the escapes whose meaning differs between the converter's patterns
// and PCRE2: \s and \S, \v (only U+000B), \Z (the very end), and the \uXXXX and
// \UXXXXXXXX code point escapes PCRE2 does not know.
std::string translate(std::string_view p) {
  std::string out;
  out.reserve(p.size() + 16);
  bool in_class = false;
  size_t class_start = 0;  // index just after '[' or '[^'
  for (size_t i = 0; i < p.size(); ++i) {
    const char c = p[i];
    if (c == '\\' && i + 1 < p.size()) {
      const char e = p[++i];
      if (e == 's') {
        if (in_class)
          out += WS_MEMBERS;
        else
          out += "[" + std::string(WS_MEMBERS) + "]";
      } else if (e == 'S') {
        if (in_class) throw ValueError("\\S inside a character class is not supported");
        out += "[^" + std::string(WS_MEMBERS) + "]";
      } else if (e == 'v') {
        out += "\\x0b";
      } else if (e == 'Z' && !in_class) {
        out += "\\z";
      } else if ((e == 'u' || e == 'U') && hex_run(p, i + 1, e == 'u' ? 4 : 8)) {
        const size_t n = e == 'u' ? 4 : 8;
        out += "\\x{" + std::string(p.substr(i + 1, n)) + "}";
        i += n;
      } else {
        out.push_back('\\');
        out.push_back(e);
      }
      continue;
    }
    if (in_class) {
      if (c == '[' && i + 1 < p.size() && p[i + 1] == ':') {
        // POSIX class such as [:alpha:]: copy through its closing ":]".
        const size_t close = p.find(":]", i + 2);
        if (close != std::string_view::npos) {
          out.append(p.substr(i, close + 2 - i));
          i = close + 1;
          continue;
        }
      }
      if (c == ']' && i != class_start) in_class = false;
      out.push_back(c);
      continue;
    }
    if (c == '[') {
      in_class = true;
      out.push_back(c);
      if (i + 1 < p.size() && p[i + 1] == '^') out.push_back(p[++i]);
      class_start = i + 1;
      continue;
    }
    out.push_back(c);
  }
  return out;
}

pcre2_code* code_of(void* p) { return static_cast<pcre2_code*>(p); }

}  // namespace

// ---------------------------------------------------------------- Match

std::string_view Match::group(size_t i) const {
  if (i >= spans_.size()) throw IndexError("no such group");
  const auto [b, e] = spans_[i];
  if (b == std::string::npos) return {};
  return subject_.substr(b, e - b);
}

bool Match::matched(size_t i) const {
  return i < spans_.size() && spans_[i].first != std::string::npos;
}

size_t Match::start(size_t i) const {
  if (i >= spans_.size()) throw IndexError("no such group");
  return spans_[i].first;
}

size_t Match::end(size_t i) const {
  if (i >= spans_.size()) throw IndexError("no such group");
  return spans_[i].second;
}

// ---------------------------------------------------------------- Regex

Regex::Regex(std::string_view pattern, uint32_t flags) {
  const std::string pat = translate(pattern);
  uint32_t opts = PCRE2_UTF | PCRE2_UCP;
  if (flags & DOTALL) opts |= PCRE2_DOTALL;
  if (flags & IGNORECASE) opts |= PCRE2_CASELESS;
  pcre2_compile_context* cctx = pcre2_compile_context_create(nullptr);
  pcre2_set_newline(cctx, PCRE2_NEWLINE_LF);
  int err = 0;
  PCRE2_SIZE erroff = 0;
  pcre2_code* code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pat.data()), pat.size(), opts, &err,
                                   &erroff, cctx);
  pcre2_compile_context_free(cctx);
  if (!code) {
    PCRE2_UCHAR buf[256];
    pcre2_get_error_message(err, buf, sizeof buf);
    throw ValueError("bad regular expression '" + std::string(pattern) +
                     "': " + reinterpret_cast<const char*>(buf));
  }
  code_ = code;
}

Regex::~Regex() {
  pcre2_match_data_free(static_cast<pcre2_match_data*>(spare_.load()));
  pcre2_code_free(code_of(jit_.load()));
  pcre2_code_free(code_of(code_));
}

void* Regex::code_for_match() const {
  if (void* jit = jit_.load(std::memory_order_acquire)) return jit;
  if (uses_.fetch_add(1, std::memory_order_relaxed) + 1 == kJitAfter) {
    // The interpreter keeps serving when machine code is not available.
    pcre2_code* copy = pcre2_code_copy(code_of(code_));
    if (copy && pcre2_jit_compile(copy, PCRE2_JIT_COMPLETE) == 0) {
      jit_.store(copy, std::memory_order_release);
      return copy;
    }
    pcre2_code_free(copy);
  }
  return code_;
}

// Match data for one call: the kept block when it is free, else a new one;
// handed back for the next call when the place is empty.
class Regex::Lease {
 public:
  explicit Lease(const Regex& re) : re_(re) {
    md_ = static_cast<pcre2_match_data*>(re.spare_.exchange(nullptr, std::memory_order_acquire));
    if (!md_) md_ = pcre2_match_data_create_from_pattern(code_of(re.code_), nullptr);
    if (!md_) throw std::bad_alloc();
  }
  ~Lease() {
    void* empty = nullptr;
    if (!re_.spare_.compare_exchange_strong(empty, md_, std::memory_order_release))
      pcre2_match_data_free(md_);
  }
  Lease(const Lease&) = delete;
  Lease& operator=(const Lease&) = delete;
  void* get() const { return md_; }

 private:
  const Regex& re_;
  pcre2_match_data* md_;
};

std::optional<Match> Regex::exec(std::string_view s, size_t pos, uint32_t opts, void* md_) const {
  auto* md = static_cast<pcre2_match_data*>(md_);
  if (pos > s.size()) return std::nullopt;
  pcre2_code* code = code_of(code_for_match());
  auto attempt = [&](uint32_t o) {
    return pcre2_match(code, reinterpret_cast<PCRE2_SPTR>(s.data()), s.size(), pos, o, md, nullptr);
  };
  int rc = attempt(opts);
  // The JIT stack is small; a deep backtrack on a long text runs again in
  // the interpreter, whose limits are far wider.
  if (rc == PCRE2_ERROR_JIT_STACKLIMIT) rc = attempt(opts | PCRE2_NO_JIT);
  if (rc == PCRE2_ERROR_NOMATCH) return std::nullopt;
  if (rc < 0) {
    // A resource limit or similar: a failure, never a silent miss.
    PCRE2_UCHAR buf[256];
    pcre2_get_error_message(rc, buf, sizeof buf);
    throw Failure("RuntimeError",
                  std::string("regular expression failed: ") + reinterpret_cast<const char*>(buf));
  }
  const uint32_t pairs = pcre2_get_ovector_count(md);
  const PCRE2_SIZE* ov = pcre2_get_ovector_pointer(md);
  Match m;
  m.subject_ = s;
  m.spans_.resize(pairs);
  for (uint32_t g = 0; g < pairs; ++g) {
    if (ov[2 * g] == PCRE2_UNSET)
      m.spans_[g] = {std::string::npos, std::string::npos};
    else
      m.spans_[g] = {size_t(ov[2 * g]), size_t(ov[2 * g + 1])};
  }
  return m;
}

std::optional<Match> Regex::match(std::string_view s, size_t pos) const {
  Lease md(*this);
  return exec(s, pos, PCRE2_ANCHORED, md.get());
}

std::optional<Match> Regex::search(std::string_view s, size_t pos) const {
  Lease md(*this);
  return exec(s, pos, 0, md.get());
}

std::optional<Match> Regex::fullmatch(std::string_view s) const {
  Lease md(*this);
  return exec(s, 0, PCRE2_ANCHORED | PCRE2_ENDANCHORED, md.get());
}

std::vector<Match> Regex::find_all(std::string_view s) const {
  // After an empty match the next attempt starts at the same place but may
  // not be empty there. The subject is validated once, on the first call;
  // later calls skip the check, which would otherwise rescan the rest.
  std::vector<Match> out;
  Lease md(*this);
  size_t pos = 0;
  uint32_t opts = 0;
  while (auto m = exec(s, pos, opts, md.get())) {
    const bool empty = m->start() == m->end();
    pos = m->end();
    out.push_back(std::move(*m));
    opts = PCRE2_NO_UTF_CHECK | (empty ? PCRE2_NOTEMPTY_ATSTART : 0);
  }
  return out;
}

std::string Regex::sub(std::string_view repl, std::string_view s) const {
  std::string out;
  size_t last = 0;
  for (const Match& m : find_all(s)) {
    out.append(s.substr(last, m.start() - last));
    out.append(repl);
    last = m.end();
  }
  out.append(s.substr(last));
  return out;
}

std::vector<std::string> Regex::split(std::string_view s) const {
  // Captured groups are kept between the pieces (empty when unset).
  std::vector<std::string> out;
  size_t last = 0;
  for (const Match& m : find_all(s)) {
    out.emplace_back(s.substr(last, m.start() - last));
    for (size_t g = 1; g < m.groups(); ++g) out.emplace_back(m.group(g));
    last = m.end();
  }
  out.emplace_back(s.substr(last));
  return out;
}

}  // namespace pagefold
