// pagefold-preview: draws the converter's page files as the device shows
// them, and compares them with the prototype in a browser.
#include <iostream>
#include <string>
#include <vector>

#include "cli.hpp"

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  return pagefold::preview::run(args, std::cout, std::cerr);
}
