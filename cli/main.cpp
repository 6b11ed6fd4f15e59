#include <iostream>

#include "command.h"

int main(int argc, char** argv) {
  return kx::cli::Run(argc, argv, std::cout, std::cerr, std::cin);
}
