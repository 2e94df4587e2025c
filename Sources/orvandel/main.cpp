#include "Cli.hpp"

int main(int argc, char** argv) { return orvandel::cli::runOnStandardStreams(argc, argv); }
