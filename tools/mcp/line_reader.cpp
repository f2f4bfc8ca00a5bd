#include "line_reader.hpp"

#include <unistd.h>

#include <cerrno>

namespace pagefold::mcp {

bool LineReader::fill() {
  if (eof_) return false;
  if (pos_ > 0) {
    buf_.erase(0, pos_);
    pos_ = 0;
  }
  char chunk[65536];
  for (;;) {
    const ssize_t n = ::read(fd_, chunk, sizeof chunk);
    if (n > 0) {
      buf_.append(chunk, static_cast<size_t>(n));
      return true;
    }
    if (n < 0 && errno == EINTR) continue;
    eof_ = true;
    return false;
  }
}

std::optional<Line> LineReader::next() {
  Line line;
  bool any = false;  // a byte of this line was seen
  for (;;) {
    const size_t nl = buf_.find('\n', pos_);
    const size_t end = nl == std::string::npos ? buf_.size() : nl;
    if (end > pos_) any = true;
    if (!line.too_long) {
      if (line.text.size() + (end - pos_) > limit_) {
        line.too_long = true;
        line.text.clear();
        line.text.shrink_to_fit();
      } else {
        line.text.append(buf_, pos_, end - pos_);
      }
    }
    if (nl != std::string::npos) {
      pos_ = nl + 1;
      return line;
    }
    pos_ = buf_.size();
    if (!fill()) {
      if (any) return line;
      return std::nullopt;
    }
  }
}

}  // namespace pagefold::mcp
