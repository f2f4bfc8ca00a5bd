// The pagefold command.
#include <iostream>

#include "pagefold/pagefold.hpp"

int main(int argc, char** argv) { return pagefold::run_cli(argc, argv, std::cout, std::cerr); }
