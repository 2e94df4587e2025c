// A program the tests run as a child, for what the tests cannot do in their
// own process:
//   hog MIB PROCESSES SECONDS  a chain of PROCESSES processes (this one, its
//                              child, its grandchild...) each make MIB MiB
//                              resident, wait SECONDS seconds, exit 0
//   run PROGRAM [ARG]...       runs the program through Subprocess::run and
//                              exits with its status
//   leave-folder PARENT PREFIX makes a TemporaryDirectory, prints its path
//                              and exits without removing it
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "base/Subprocess.hpp"
#include "base/TemporaryDirectory.hpp"

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "hog" && argc == 5) {
        for (int i = 1; i < std::atoi(argv[3]); ++i) {
            if (::fork() != 0) break;
        }
        const std::size_t size = std::strtoul(argv[2], nullptr, 10) << 20;
        void* block = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (block == MAP_FAILED) return 1;
        for (std::size_t at = 0; at < size; at += 4096) static_cast<volatile char*>(block)[at] = 1;
        ::sleep(static_cast<unsigned>(std::atoi(argv[4])));
        while (::wait(nullptr) > 0) {
        }
        return 0;
    }
    if (mode == "run" && argc > 2) {
        return orvandel::Subprocess::run(std::vector<std::string>(argv + 2, argv + argc)).exitStatus;
    }
    if (mode == "leave-folder" && argc == 4) {
        std::puts((new orvandel::TemporaryDirectory(argv[2], argv[3]))->path().c_str());
        std::fflush(stdout);
        ::_exit(0);
    }
    std::fputs("orvandel-test-helper: unknown mode or arguments (see TestHelper.cpp)\n", stderr);
    return 2;
}
