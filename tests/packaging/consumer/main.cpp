// Converts a prototype through the installed library, with the installed
// plug-ins, and prints what the pagefold command prints: the record, or
// "[X] <error>".
//   consumer <input.html> <output>
#include <cstdio>
#include <iostream>

#include "pagefold/error.hpp"
#include "pagefold/pagefold.hpp"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: consumer <input.html> <output>\n";
    return 2;
  }
  try {
    const pagefold::Modules modules = pagefold::Modules::load_from({PAGEFOLD_PLUGIN_DIR});
    const pagefold::Value r = pagefold::pagefold(argv[1], std::string(argv[2]), std::nullopt,
                                                 std::nullopt, false, modules);
    if (!r.get("success").truthy()) {
      std::cout << "[X] " << r.get("error").as_string() << "\n";
      return 1;
    }
    std::cout << pagefold::dump(r, 1) << "\n";
  } catch (const pagefold::Failure& f) {
    std::cerr << "[X] " << f.type() << ": " << f.message() << "\n";
    return 1;
  }
  return 0;
}
