// pagefold-mcp: the agent tool server. Speaks the Model Context Protocol over
// standard input and output, one JSON-RPC message per line, and offers the
// conversion (and the previewer, when installed) as tools.
//
//   pagefold-mcp [--max-line-bytes=N]
//
// Standard output carries protocol messages only: anything else that would
// print there (a plug-in, a library) is sent to standard error instead.
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <system_error>

#include "line_reader.hpp"
#include "server.hpp"

namespace {

namespace fs = std::filesystem;

// One request line may hold a whole prototype's text; 16 MiB is far beyond
// any real prototype and still a bound on memory.
constexpr size_t DEFAULT_MAX_LINE = size_t{16} << 20;

bool write_all(int fd, const std::string& s) {
  size_t done = 0;
  while (done < s.size()) {
    const ssize_t n = ::write(fd, s.data() + done, s.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<size_t>(n);
  }
  return true;
}

// The previewer is installed beside this program.
fs::path preview_program() {
  std::error_code ec;
  const fs::path self = fs::read_symlink("/proc/self/exe", ec);
  return (ec ? fs::path() : self.parent_path()) / "pagefold-preview";
}

int usage() {
  std::cerr << "usage: pagefold-mcp [--max-line-bytes=N]\n"
               "  Model Context Protocol server over standard input and output.\n";
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  size_t max_line = DEFAULT_MAX_LINE;
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    const std::string opt = "--max-line-bytes=";
    if (a.rfind(opt, 0) == 0) {
      char* end = nullptr;
      errno = 0;
      const unsigned long long n = std::strtoull(a.c_str() + opt.size(), &end, 10);
      if (errno || end == a.c_str() + opt.size() || *end || n == 0 || a[opt.size()] == '-') {
        return usage();
      }
      max_line = static_cast<size_t>(n);
    } else {
      return usage();
    }
  }

  // The protocol channel is a private copy of standard output; descriptor 1
  // then points at standard error for everyone else.
  signal(SIGPIPE, SIG_IGN);
  const int out = fcntl(1, F_DUPFD_CLOEXEC, 3);
  if (out < 0 || dup2(2, 1) < 0) {
    std::perror("pagefold-mcp");
    return 1;
  }

  pagefold::mcp::LineReader reader(0, max_line);
  pagefold::mcp::Server server(preview_program());
  while (const auto line = reader.next()) {
    const auto reply = line->too_long ? pagefold::mcp::Server::line_too_long(max_line)
                                      : server.handle_line(line->text);
    if (reply && !write_all(out, pagefold::mcp::one_line(*reply) + "\n")) break;
  }
  return 0;
}
