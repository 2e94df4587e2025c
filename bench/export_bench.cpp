// End to end: the bench deck (100 slides, a title and four bullets that
// appear on click; once prepared each slide lasts 7.5 s, the movie 12.5
// minutes) exported with the headless renderer. Prints the wall time of each
// stage and the ratio of movie length to wall time, step by step (five
// states per slide, the default), then the same export with every slide in
// its final state (one still per slide), to show what the steps cost.
//   export_bench                 generate the deck in a temporary folder and export it
//   export_bench --deck-only P   only write the bench deck to P
//   export_bench DECK [--gif N:MS]...   export another deck
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "BenchDecks.hpp"
#include "TimedExport.hpp"
#include "LibreOfficeMp4Exporter.hpp"
#include "base/Numbers.hpp"
#include "base/Uuid.hpp"
#include "package/ManifestReader.hpp"
#include "package/OrvExporter.hpp"

using namespace orvandel;
namespace fs = std::filesystem;

namespace {

test::TimedExport exportOnce(const fs::path& deck, const fs::path& out, const SlideDurations& gifMs, bool steps) {
    LibreOfficeMp4Exporter::Options options;
    options.showSteps = steps;
    return test::timedExport(deck, out, gifMs, options);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--deck-only") == 0) {
        test::writeBulletDeck(argv[2], 100, 4);
        std::printf("bench deck written to %s\n", argv[2]);
        return 0;
    }
    const fs::path dir = fs::temp_directory_path() / ("orvandel-export-bench-" + makeUuid());
    fs::create_directories(dir);
    fs::path deck = dir / "bench-deck.pptx";
    SlideDurations gifMs;
    if (argc > 1) {
        deck = argv[1];
        for (int i = 2; i + 1 < argc; i += 2) {
            const std::string pair = argv[i + 1];
            gifMs[*parseInt64(pair.substr(0, pair.find(':')))] = *parseInt64(pair.substr(pair.find(':') + 1));
        }
    } else {
        test::writeBulletDeck(deck, 100, 4);
    }
    int status = 0;
    try {
        const auto steps = exportOnce(deck, dir / "steps.orv", gifMs, true);
        const auto movieMs =
            static_cast<std::int64_t>(ManifestReader::read(dir / "steps.orv").masterVideoDuration * 1000 + 0.5);
        test::printTimedExport("step by step (the default):", steps, double(movieMs) / 1000.0);
        const auto finalStates = exportOnce(deck, dir / "final.orv", gifMs, false);
        test::printTimedExport("every slide in its final state:", finalStates, double(movieMs) / 1000.0);
        std::printf("the steps cost %.2f s (%.2fx the final-state export)\n", steps.total - finalStates.total,
                    steps.total / finalStates.total);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "export_bench: %s\n", e.what());
        status = 1;
    }
    fs::remove_all(dir);
    return status;
}
