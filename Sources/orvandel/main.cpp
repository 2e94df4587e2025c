#include <iostream>

#include "Cli.hpp"

int main(int argc, char** argv) { return orvandel::cli::run(argc, argv, std::cout, std::cerr); }
