// What starting a child costs, and watching its memory. A child is cloned
// into our memory until it execs, so the cost must not grow with what this
// process holds (a fork copying 800 MiB of page tables took 32 ms; posix_spawn
// 0.6 ms); a network namespace of its own adds its making. Sampling the
// resident memory of a tree of processes runs every 100 ms while a child with
// a memory limit runs: it must stay far below a millisecond.
#include <benchmark/benchmark.h>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

#include "base/ProcessTree.hpp"
#include "base/Subprocess.hpp"

namespace {

// /bin/true while this process holds range(0) MiB, isolated when range(1).
void BM_RunTrue(benchmark::State& state) {
    std::vector<char> held(std::size_t(state.range(0)) << 20, 1);
    for (auto _ : state) {
        orvandel::Subprocess::run({"/bin/true"}, {.isolateNetwork = state.range(1) != 0});
    }
    benchmark::DoNotOptimize(held.data());
    state.counters["held_MiB"] = double(state.range(0));
}
BENCHMARK(BM_RunTrue)->Args({0, 0})->Args({800, 0})->Args({0, 1})->Unit(benchmark::kMicrosecond);

// A root with range(0) children, all waiting, in a group of their own.
void BM_TreeResidentBytes(benchmark::State& state) {
    const pid_t root = ::fork();
    if (root == 0) {
        ::setpgid(0, 0);
        for (int c = 0; c < state.range(0); ++c) {
            if (::fork() == 0) break;
        }
        ::pause();
        ::_exit(0);
    }
    ::setpgid(root, root);
    ::usleep(200000);
    for (auto _ : state) benchmark::DoNotOptimize(orvandel::ProcessTree::residentBytes(root));
    ::kill(-root, SIGKILL);
    ::waitpid(root, nullptr, 0);
    state.counters["processes"] = double(state.range(0) + 1);
}
BENCHMARK(BM_TreeResidentBytes)->Arg(0)->Arg(2)->Arg(20)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
