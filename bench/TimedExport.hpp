#pragma once
// One export with the headless renderer, timed stage by stage, for the
// end-to-end benchmarks.
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "HeadlessRenderer.hpp"
#include "deck/SlideReport.hpp"

namespace orvandel::test {

struct TimedExport {
    std::vector<std::pair<std::string, double>> stages;  // name, wall seconds
    double total = 0;                                    // wall seconds
    double cpu = 0;        // of this process and the programs it ran: on a shared machine wall time
                           // says as much about the neighbours as about us
    int reusedSlides = 0;  // taken from the render cache
    int slides = 0;        // in the movie, when the renderer said
};

TimedExport timedExport(const std::filesystem::path& deck, const std::filesystem::path& out,
                        const SlideDurations& gifMs, const HeadlessRenderer::Options& options);

// The stages, the total against the movie's length, and the CPU time.
void printTimedExport(const char* title, const TimedExport& t, double movieSeconds);

}  // namespace orvandel::test
