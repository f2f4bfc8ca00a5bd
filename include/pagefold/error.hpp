// Failures of the documented failure paths.
//
// Most readers answer "absent" instead of failing. The few places that do fail
// (a number text such as "1.2.3", an unguarded integer conversion of "24px",
// a missing table row, a missing tuple member, a plug-in that cannot be
// loaded) raise a Failure with a conventional type name and a message naming
// the offending value. A page's failure text shows "<type>: <message>".
#pragma once

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

namespace pagefold {

class Failure : public std::runtime_error {
 public:
  Failure(std::string type, const std::string& message)
      : std::runtime_error(message), type_(std::move(type)) {}
  const std::string& type() const { return type_; }
  std::string message() const { return what(); }

 private:
  std::string type_;
};

// Conventional constructors, named as the failures they stand for.
inline Failure ValueError(const std::string& m) { return Failure("ValueError", m); }
inline Failure KeyError(const std::string& m) { return Failure("KeyError", m); }
inline Failure IndexError(const std::string& m) { return Failure("IndexError", m); }
inline Failure TypeError(const std::string& m) { return Failure("TypeError", m); }
// A failed file-system call on `path` with errno `err`, named as the error
// family names it (FileNotFoundError, PermissionError, IsADirectoryError,
// NotADirectoryError, FileExistsError, InterruptedError, else OSError), with
// the message "[Errno <err>] <description>: '<path>'". Inline, so that a
// plug-in built on the public headers alone can raise it.
inline Failure OSError(int err, const std::string& path) {
  const char* type = "OSError";
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
    case EINTR:
      type = "InterruptedError";
      break;
    default:
      break;
  }
  return Failure(type,
                 "[Errno " + std::to_string(err) + "] " + std::strerror(err) + ": '" + path + "'");
}

// Type name and message of any exception caught by a guard that catches every
// ordinary failure: a Failure gives its own, anything else a generic name.
std::string failure_type(const std::exception& e);
std::string failure_message(const std::exception& e);

}  // namespace pagefold
