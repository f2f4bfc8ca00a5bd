// Where the sibling plug-ins are looked for.
#pragma once

#include <filesystem>
#include <vector>

namespace pagefold {

// The directories to search, in order, for a process running `program` whose
// conversion code lives in `code_file`: the executable itself, or a shared
// library that holds the code (the Python module, a caller's own plug-in).
//
// The code's own place comes first, so that a module in a build tree finds the
// plug-ins built beside it before any installed ones: its directory, then the
// `pagefold` directory of its nearest ancestor called `lib` (a module in
// <prefix>/lib/python3/dist-packages finds <prefix>/lib/pagefold). Then the
// program's directory and <program dir>/../lib/pagefold. Duplicates are
// dropped; an empty path contributes nothing.
std::vector<std::filesystem::path> plugin_search_dirs(const std::filesystem::path& program,
                                                      const std::filesystem::path& code_file);

}  // namespace pagefold
