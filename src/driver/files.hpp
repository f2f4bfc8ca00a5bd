// Paths as the entry point and the page commit handle them; their failures
// are the OSError family of pagefold/error.hpp.
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

}  // namespace pagefold
