// A program the tests run as a child, for what the tests cannot do in their
// own process:
//   hog MIB PROCESSES SECONDS  PROCESSES processes (this one, its child,
//                              its grandchild...) each make MIB MiB
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

namespace {

int hog(std::size_t mib, int processes, unsigned seconds) {
    // A chain: each process forks the next, so the tree is as deep as it is wide.
    for (int i = 1; i < processes; ++i) {
        if (::fork() != 0) break;
    }
    const std::size_t size = mib << 20;
    void* block = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (block == MAP_FAILED) return 1;
    auto* bytes = static_cast<volatile char*>(block);
    for (std::size_t at = 0; at < size; at += 4096) bytes[at] = 1;
    ::sleep(seconds);
    while (::wait(nullptr) > 0) {
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "hog" && argc == 5) {
        return hog(std::strtoul(argv[2], nullptr, 10), std::atoi(argv[3]),
                   static_cast<unsigned>(std::atoi(argv[4])));
    }
    if (mode == "run" && argc > 2) {
        const auto r = orvandel::Subprocess::run(std::vector<std::string>(argv + 2, argv + argc));
        return r.exitStatus;
    }
    if (mode == "leave-folder" && argc == 4) {
        const auto* folder = new orvandel::TemporaryDirectory(argv[2], argv[3]);
        std::puts(folder->path().c_str());
        std::fflush(stdout);
        ::_exit(0);
    }
    std::fputs("usage: orvandel-test-helper hog MIB PROCESSES SECONDS | run PROGRAM [ARG]... | "
               "leave-folder PARENT PREFIX\n", stderr);
    return 2;
}
