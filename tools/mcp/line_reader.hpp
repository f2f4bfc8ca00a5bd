// Newline-delimited messages from a file descriptor, with a bound on what one
// line may hold.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace pagefold::mcp {

struct Line {
  std::string text;       // without the line feed; empty when too long
  bool too_long = false;  // more than the limit: the text was dropped
};

// Reads lines of at most `limit` bytes (the line feed not counted). A longer
// line is read to its end and dropped, so memory stays bounded by the limit
// however long the line; it comes back as one Line with `too_long` set. A last
// line without a line feed counts as a line.
class LineReader {
 public:
  LineReader(int fd, size_t limit) : fd_(fd), limit_(limit) {}
  // The next line, or nothing at end of input or on a read error.
  std::optional<Line> next();

 private:
  int fd_;
  size_t limit_;
  std::string buf_;  // bytes read but not yet handed out
  size_t pos_ = 0;   // start of the unread part of buf_
  bool eof_ = false;

  bool fill();
};

}  // namespace pagefold::mcp
