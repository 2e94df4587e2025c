// Cue calculation and manifest writing for decks of growing size.
#include <benchmark/benchmark.h>

#include "package/CueCalculator.hpp"
#include "package/ManifestBuilder.hpp"

using namespace orvandel;

namespace {

std::vector<CueInput> deck(std::int64_t slides) {
    std::vector<CueInput> inputs;
    for (std::int64_t n = 1; n <= slides; ++n) {
        CueInput input;
        input.slideIndex = n;
        input.advanceTimeMs = 9000;
        input.bulletCount = 5;
        input.bulletDursMs = {500, 700, 900, 1100, 1300};
        inputs.push_back(input);
    }
    return inputs;
}

void BM_CalculateCues(benchmark::State& state) {
    const auto inputs = deck(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(CueCalculator::calculateCues(inputs));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_CalculateCues)->Arg(100)->Arg(1000);

void BM_BuildManifest(benchmark::State& state) {
    const auto cues = CueCalculator::calculateCues(deck(state.range(0)));
    std::map<std::int64_t, std::string> notes;
    for (std::int64_t n = 1; n <= state.range(0); ++n) {
        notes[n] = "Anotações do slide — fala do professor sobre o tema.";
    }
    const ManifestMetadata metadata{.sourceFileName = "aula.pptx",
                                    .slideCount = state.range(0),
                                    .masterVideoDurationMs = 9000 * state.range(0)};
    std::size_t bytes = 0;
    for (auto _ : state) {
        const auto json = ManifestBuilder::buildManifestV3(cues, notes, metadata);
        bytes = json.size();
        benchmark::DoNotOptimize(json);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["manifest_bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_BuildManifest)->Arg(100)->Arg(1000);

}  // namespace

BENCHMARK_MAIN();
