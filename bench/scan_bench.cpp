// Scanning a deck: DeckScanner::report and NotesScanner::notesBySlide on the
// largest deck of ../shared/corpus (by file size) and on a generated deck of
// 500 slides, each with a three-paragraph bullet build and speaker notes.
// The counter time_per_slide is the figure to watch (goal: under 1 ms).
#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>
#include <unistd.h>

#include "DeckBuilder.hpp"
#include "DeckScanner.hpp"
#include "NotesScanner.hpp"

using namespace orvandel;
namespace fs = std::filesystem;

namespace {

fs::path largestCorpusDeck() {
    const fs::path dir = fs::path(ORVANDEL_SOURCE_DIR) / ".." / "shared" / "corpus";
    fs::path best;
    std::uintmax_t bestSize = 0;
    std::error_code ec;
    for (const auto& e : fs::directory_iterator(dir, ec)) {
        const auto ext = e.path().extension();
        if ((ext != ".pptx" && ext != ".potx" && ext != ".ppsx") ||
            e.path().filename().string().find("BROKEN") != std::string::npos) {
            continue;
        }
        if (e.file_size() > bestSize) {
            bestSize = e.file_size();
            best = e.path();
        }
    }
    return best;
}

std::string bulletSlide(int n) {
    std::string steps, paragraphs;
    int id = 3;
    for (int p = 0; p < 3; ++p) {
        const std::string pn = std::to_string(p);
        const std::string t = "<p:tgtEl><p:spTgt spid=\"3\"><p:txEl><p:pRg st=\"" + pn + "\" end=\"" + pn +
                              "\"/></p:txEl></p:spTgt></p:tgtEl>";
        const auto next = [&] { return std::to_string(id++); };
        steps += "<p:par><p:cTn id=\"" + next() + "\" fill=\"hold\"><p:stCondLst><p:cond delay=\"indefinite\"/>"
                 "</p:stCondLst><p:childTnLst><p:par><p:cTn id=\"" + next() + "\" fill=\"hold\"><p:stCondLst>"
                 "<p:cond delay=\"0\"/></p:stCondLst><p:childTnLst><p:par><p:cTn id=\"" + next() +
                 "\" presetID=\"10\" presetClass=\"entr\" presetSubtype=\"0\" fill=\"hold\" grpId=\"0\" "
                 "nodeType=\"clickEffect\"><p:stCondLst><p:cond delay=\"0\"/></p:stCondLst><p:childTnLst><p:set>"
                 "<p:cBhvr><p:cTn id=\"" + next() + "\" dur=\"1\" fill=\"hold\"><p:stCondLst><p:cond delay=\"0\"/>"
                 "</p:stCondLst></p:cTn>" + t + "<p:attrNameLst><p:attrName>style.visibility</p:attrName>"
                 "</p:attrNameLst></p:cBhvr><p:to><p:strVal val=\"visible\"/></p:to></p:set><p:animEffect "
                 "transition=\"in\" filter=\"fade\"><p:cBhvr><p:cTn id=\"" + next() + "\" dur=\"500\"/>" + t +
                 "</p:cBhvr></p:animEffect></p:childTnLst></p:cTn></p:par></p:childTnLst></p:cTn></p:par>"
                 "</p:childTnLst></p:cTn></p:par>";
        paragraphs += "<a:p><a:r><a:rPr lang=\"pt-BR\"/><a:t>Tópico " + std::to_string(p + 1) + " do slide " +
                      std::to_string(n) + "</a:t></a:r></a:p>";
    }
    const std::string shapes =
        "<p:sp><p:nvSpPr><p:cNvPr id=\"2\" name=\"Título\"/><p:cNvSpPr/><p:nvPr><p:ph type=\"title\"/></p:nvPr>"
        "</p:nvSpPr><p:spPr/><p:txBody><a:bodyPr/><a:lstStyle/><a:p><a:r><a:t>Slide " + std::to_string(n) +
        "</a:t></a:r></a:p></p:txBody></p:sp><p:sp><p:nvSpPr><p:cNvPr id=\"3\" name=\"Conteúdo\"/><p:cNvSpPr/>"
        "<p:nvPr><p:ph idx=\"1\"/></p:nvPr></p:nvSpPr><p:spPr/><p:txBody><a:bodyPr/><a:lstStyle/>" + paragraphs +
        "</p:txBody></p:sp>";
    const std::string timing =
        "<p:timing><p:tnLst><p:par><p:cTn id=\"1\" dur=\"indefinite\" restart=\"never\" nodeType=\"tmRoot\">"
        "<p:childTnLst><p:seq concurrent=\"1\" nextAc=\"seek\"><p:cTn id=\"2\" dur=\"indefinite\" nodeType=\"mainSeq\">"
        "<p:childTnLst>" + steps + "</p:childTnLst></p:cTn></p:seq></p:childTnLst></p:cTn></p:par></p:tnLst>"
        "<p:bldLst><p:bldP spid=\"3\" grpId=\"0\" build=\"p\"/></p:bldLst></p:timing>";
    return test::slideXml(shapes, timing);
}

// Written once per run and removed when the program ends.
struct GeneratedDeck {
    fs::path path = fs::temp_directory_path() / ("orvandel-scan-bench-" + std::to_string(::getpid()) + ".pptx");
    GeneratedDeck() {
        test::DeckBuilder deck;
        for (int n = 1; n <= 500; ++n) {
            deck.addSlide(bulletSlide(n)).addNotes(n, test::notesSlideXml({"Fala do slide " + std::to_string(n),
                                                                           "Água & luz: fotossíntese."}));
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
    const auto slides = static_cast<double>(DeckScanner::orderedSlideFiles(deck).size());
    for (auto _ : state) benchmark::DoNotOptimize(scan(deck));
    state.SetLabel(deck.filename().string());
    state.counters["slides"] = slides;
    state.counters["time_per_slide"] =
        benchmark::Counter(slides, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

const auto report = [](const fs::path& deck) { return DeckScanner::report(deck, {}, {}); };
const auto notes = [](const fs::path& deck) { return NotesScanner::notesBySlide(deck); };

void BM_ReportCorpusLargest(benchmark::State& state) { measure(state, largestCorpusDeck(), report); }
void BM_NotesCorpusLargest(benchmark::State& state) { measure(state, largestCorpusDeck(), notes); }
void BM_Report500Slides(benchmark::State& state) { measure(state, generatedDeck(), report); }
void BM_Notes500Slides(benchmark::State& state) { measure(state, generatedDeck(), notes); }

BENCHMARK(BM_ReportCorpusLargest)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_NotesCorpusLargest)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Report500Slides)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Notes500Slides)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
