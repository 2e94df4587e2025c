// A batch of 8 copies of the example deck exported with -j 1 and then -j 2:
// wall time of each, the speed-up, and the peak memory of the whole process
// tree (the tool, LibreOffice, the rasterizer, the encoder) per running
// export, sampled from /proc every 50 ms.
//   build/bench/batch_bench [COPIES]
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "base/TemporaryDirectory.hpp"

using namespace orvandel;
namespace fs = std::filesystem;

namespace {

// Resident memory of pid and everything below it, in KiB.
long treeRssKiB(pid_t root) {
    std::map<pid_t, pid_t> parent;
    std::map<pid_t, long> rss;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        if (name.find_first_not_of("0123456789") != std::string::npos) continue;
        std::ifstream stat(entry.path() / "stat");
        std::string line;
        if (!std::getline(stat, line)) continue;
        const auto close = line.rfind(')');
        std::istringstream rest(line.substr(close + 2));
        char state;
        pid_t ppid;
        rest >> state >> ppid;
        std::ifstream status(entry.path() / "status");
        long kib = 0;
        for (std::string key; status >> key;) {
            if (key == "VmRSS:") {
                status >> kib;
                break;
            }
        }
        const pid_t pid = std::stoi(name);
        parent[pid] = ppid;
        rss[pid] = kib;
    }
    long total = 0;
    for (const auto& [pid, kib] : rss) {
        for (pid_t p = pid; p > 1; p = parent.count(p) ? parent[p] : 0) {
            if (p == root) {
                total += kib;
                break;
            }
        }
    }
    return total;
}

struct Run {
    double seconds = 0;
    long peakKiB = 0;
    int status = 0;
};

Run run(const std::vector<std::string>& args) {
    std::vector<char*> argv;
    for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    const auto start = std::chrono::steady_clock::now();
    const pid_t pid = fork();
    if (pid == 0) {
        // The batch's own progress and summary are not the figures.
        const int null = ::open("/dev/null", O_WRONLY);
        dup2(null, STDOUT_FILENO);
        dup2(null, STDERR_FILENO);
        execv(argv[0], argv.data());
        _exit(127);
    }
    Run r;
    int wstatus = 0;
    while (waitpid(pid, &wstatus, WNOHANG) == 0) {
        r.peakKiB = std::max(r.peakKiB, treeRssKiB(pid));
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    r.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    r.status = WIFEXITED(wstatus) ? WEXITSTATUS(wstatus) : 128 + WTERMSIG(wstatus);
    return r;
}

}  // namespace

int main(int argc, char** argv) {
    const int copies = argc > 1 ? std::atoi(argv[1]) : 8;
    const fs::path cli = fs::path(ORVANDEL_BUILD_DIR) / "orvandel";
    const fs::path example = fs::path(ORVANDEL_SOURCE_DIR) / "examples" / "aula-exemplo.pptx";
    TemporaryDirectory scratch(fs::temp_directory_path(), "batch-bench-");
    fs::create_directories(scratch.path() / "decks");
    for (int i = 1; i <= copies; ++i) {
        fs::copy_file(example, scratch.path() / "decks" / ("aula-" + std::to_string(i) + ".pptx"));
    }
    std::printf("%d copies of %s, headless renderer\n", copies, example.filename().c_str());
    std::printf("%-6s %10s %14s %22s\n", "jobs", "wall (s)", "decks/minute", "peak RSS per export");
    double baseline = 0;
    for (const int jobs : {1, 2}) {
        const auto out = scratch.path() / ("out-" + std::to_string(jobs));
        const Run r = run({cli.string(), "export", (scratch.path() / "decks").string(), "--out-dir", out.string(), "-j",
                           std::to_string(jobs), "--gif", "4:3000", "--json"});
        if (r.status != 0) std::printf("  (exit status %d)\n", r.status);
        std::printf("%-6d %10.1f %14.1f %18ld MiB\n", jobs, r.seconds, copies * 60.0 / r.seconds,
                    r.peakKiB / 1024 / jobs);
        if (jobs == 1) baseline = r.seconds;
        if (jobs == 2) std::printf("speed-up with -j 2: %.2fx\n", baseline / r.seconds);
    }
    return 0;
}
