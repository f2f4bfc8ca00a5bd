// The pagefold command.
#include <malloc.h>

#include <iostream>

#include "pagefold/pagefold.hpp"

int main(int argc, char** argv) {
  // The conversion runs on a helper thread (for its large stack). One short
  // process, one conversion: its allocations share the main heap, which grows
  // in large steps and is never handed back piecemeal, instead of a thread
  // arena that grows page by page.
  mallopt(M_ARENA_MAX, 1);
  mallopt(M_TOP_PAD, 16 << 20);
  mallopt(M_TRIM_THRESHOLD, 256 << 20);
  return pagefold::run_cli(argc, argv, std::cout, std::cerr);
}
