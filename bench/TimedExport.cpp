#include "TimedExport.hpp"

#include <sys/resource.h>

#include <chrono>
#include <cstdio>

#include "Cli.hpp"
#include "package/OrvExporter.hpp"

namespace orvandel::test {

namespace {

double cpuSeconds() {
    double total = 0;
    for (int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage u{};
        getrusage(who, &u);
        total += double(u.ru_utime.tv_sec + u.ru_stime.tv_sec) + double(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
    }
    return total;
}

}  // namespace

TimedExport timedExport(const std::filesystem::path& deck, const std::filesystem::path& out,
                        const SlideDurations& gifMs, const HeadlessRenderer::Options& options) {
    using Clock = std::chrono::steady_clock;
    TimedExport t;
    const double cpuBefore = cpuSeconds();
    const auto start = Clock::now();
    auto last = start;
    std::string current;
    auto mark = [&](const std::string& next) {
        const auto now = Clock::now();
        if (!current.empty()) t.stages.emplace_back(current, std::chrono::duration<double>(now - last).count());
        current = next;
        last = now;
    };
    RenderHooks hooks{[&](ExportStage stage, double) {
        if (cli::stageName(stage) != current) mark(cli::stageName(stage));
    }};
    hooks.reused = [&](int reused, int slides) {
        t.reusedSlides = reused;
        t.slides = slides;
    };
    OrvExporter::export_(deck, std::nullopt, out, {}, gifMs, std::chrono::system_clock::now(), "bench", "bench", {},
                         HeadlessRenderer(options), hooks);
    mark("");
    t.total = std::chrono::duration<double>(Clock::now() - start).count();
    t.cpu = cpuSeconds() - cpuBefore;
    return t;
}

void printTimedExport(const char* title, const TimedExport& t, double movieSeconds) {
    std::printf("%s\n", title);
    for (const auto& [stage, seconds] : t.stages) std::printf("  %-22s %7.2f s\n", stage.c_str(), seconds);
    std::printf("  %-22s %7.2f s: %.1fx faster than real time (CPU %.1f s)\n", "total", t.total, movieSeconds / t.total,
                t.cpu);
}

}  // namespace orvandel::test
