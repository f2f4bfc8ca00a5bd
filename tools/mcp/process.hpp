// Running a helper program to its end, with what it prints kept within bounds.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace pagefold::mcp {

struct Finished {
  bool started = false;    // the program could be started at all
  bool timed_out = false;  // killed after the time limit
  int status = -1;         // exit status, or -1 when it did not exit normally
  std::string output;      // standard output and error together, the last `keep` bytes
};

// Runs `argv` (argv[0] a path) with standard input empty and standard output
// and error captured together; keeps the last `keep` bytes of what it prints.
// A program still running after `seconds` is killed.
Finished run_program(const std::vector<std::string>& argv, int seconds, size_t keep);

}  // namespace pagefold::mcp
