// A program the tests run as a child, for what the tests cannot do in their
// own process:
//   run PROGRAM [ARG]...       runs the program through Subprocess::run and
//                              exits with its status
#include <cstdio>
#include <string>
#include <vector>

#include "base/Subprocess.hpp"

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "run" && argc > 2) {
        const auto r = orvandel::Subprocess::run(std::vector<std::string>(argv + 2, argv + argc));
        return r.exitStatus;
    }
    std::fputs("usage: orvandel-test-helper run PROGRAM [ARG]...\n", stderr);
    return 2;
}
