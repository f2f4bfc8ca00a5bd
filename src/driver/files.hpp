// Paths and failures of the file system, as the entry point and the page
// commit name them.
#pragma once

#include <string>

#include "pagefold/error.hpp"

namespace pagefold {

// The usual meanings: an absolute, normalised path without trailing slashes;
// the directory part (trailing slashes dropped unless it is the root); the
// last component; and `b` appended to `a` with one slash between.
std::string abspath(const std::string& p);
std::string dirname(const std::string& p);
std::string basename(const std::string& p);
std::string join(const std::string& a, const std::string& b);

// A failure of the file system for `path`, named by its error number as a
// script would name it: "[Errno 21] Is a directory: 'out/a.json'" as an
// IsADirectoryError.
Failure os_failure(int err, const std::string& path);

}  // namespace pagefold
