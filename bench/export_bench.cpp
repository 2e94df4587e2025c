// End to end: the bench deck (100 slides, a title and four bullets that
// fade in on click, 500 ms each; once prepared each slide lasts 7.5 s, the
// movie 12.5 minutes) exported with the headless renderer. Prints the wall
// time of each stage and the ratio of movie length to wall time: step by step
// with the fades drawn (the default), step by step with cuts, and with every
// slide in its final state (one still per slide), to show what the drawing
// and the steps cost.
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
#include "HeadlessRenderer.hpp"
#include "TimedExport.hpp"
#include "base/Numbers.hpp"
#include "base/Uuid.hpp"
#include "package/ManifestReader.hpp"
#include "package/OrvExporter.hpp"
#include "plan/SlideTransitions.hpp"

using namespace orvandel;
namespace fs = std::filesystem;

namespace {

test::TimedExport exportOnce(const fs::path& deck, const fs::path& out, const SlideDurations& gifMs, bool steps,
                             bool draw) {
    HeadlessRenderer::Options options;
    options.showSteps = steps;
    options.drawEffects = draw;
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
        const auto drawn = exportOnce(deck, dir / "drawn.orv", gifMs, true, true);
        const auto movieMs = static_cast<std::int64_t>(
            ManifestReader::read(dir / "drawn.orv").masterVideoDuration * 1000 + 0.5);
        const double seconds = double(movieMs) / 1000.0;
        test::printTimedExport("step by step, effects drawn (the default):", drawn, seconds);
        const auto cut = exportOnce(deck, dir / "cut.orv", gifMs, true, false);
        test::printTimedExport("step by step, effects cut (--effects cut):", cut, seconds);
        const auto finalStates = exportOnce(deck, dir / "final.orv", gifMs, false, false);
        test::printTimedExport("every slide in its final state:", finalStates, seconds);
        std::printf("drawn %.1fx real time against cut %.1fx: the drawing costs %.2f s; the steps cost %.2f s\n",
                    seconds / drawn.total, seconds / cut.total, drawn.total - cut.total, cut.total - finalStates.total);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "export_bench: %s\n", e.what());
        status = 1;
    }
    fs::remove_all(dir);
    return status;
}
