// Scanning a deck: DeckScanner::report and NotesScanner::notesBySlide on the
// largest deck of ../shared/corpus (by file size) and on a generated deck of
// 500 slides, each with a three-paragraph bullet build and speaker notes.
// The counter time_per_slide is the figure to watch (goal: under 1 ms).
#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>
#include <unistd.h>

#include "BenchDecks.hpp"
#include "DeckBuilder.hpp"
#include "deck/DeckScanner.hpp"
#include "deck/NotesScanner.hpp"

using namespace orvandel;
namespace fs = std::filesystem;

namespace {

// Written once per run and removed when the program ends.
struct GeneratedDeck {
    fs::path path = fs::temp_directory_path() / ("orvandel-scan-bench-" + std::to_string(::getpid()) + ".pptx");
    GeneratedDeck() {
        test::DeckBuilder deck;
        for (int n = 1; n <= 500; ++n) {
            deck.addSlide(test::bulletSlideXml(n, 3))
                .addNotes(n, test::notesSlideXml({"Fala do slide " + std::to_string(n), "Água & luz: fotossíntese."}));
        }
        deck.write(path);
    }
    ~GeneratedDeck() {
        std::error_code ec;
        fs::remove(path, ec);
    }
};

const fs::path& generatedDeck() {
    static const GeneratedDeck deck;
    return deck.path;
}

template <typename Scan>
void measure(benchmark::State& state, const fs::path& deck, Scan scan) {
    if (deck.empty()) {
        state.SkipWithError("no corpus deck (../shared/corpus)");
        return;
    }
    const auto slides = static_cast<double>(DeckModel(deck).slideFiles().size());
    for (auto _ : state) benchmark::DoNotOptimize(scan(deck));
    state.SetLabel(deck.filename().string());
    state.counters["slides"] = slides;
    state.counters["time_per_slide"] = benchmark::Counter(slides, benchmark::Counter::kIsIterationInvariantRate |
                                                                      benchmark::Counter::kInvert);
}

const auto report = [](const fs::path& deck) { return DeckScanner::report(deck, {}, {}); };
const auto notes = [](const fs::path& deck) { return NotesScanner::notesBySlide(deck); };

void BM_ReportCorpusLargest(benchmark::State& state) { measure(state, test::largestCorpusDeck(), report); }
void BM_NotesCorpusLargest(benchmark::State& state) { measure(state, test::largestCorpusDeck(), notes); }
void BM_Report500Slides(benchmark::State& state) { measure(state, generatedDeck(), report); }
void BM_Notes500Slides(benchmark::State& state) { measure(state, generatedDeck(), notes); }

BENCHMARK(BM_ReportCorpusLargest)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_NotesCorpusLargest)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Report500Slides)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Notes500Slides)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
