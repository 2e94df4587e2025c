// Preparing whole decks: the largest corpus deck and a generated deck of 500
// slides with a bullet animation on every slide. Prints milliseconds per
// slide and the peak resident memory of the process that prepared the deck
// (each case runs in its own child process, so the peaks do not mix).
//
//   prepare_bench [DECK]   (default: ../shared/corpus/sc__031.pptx)
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>

#include "DeckBuilder.hpp"
#include "DeckError.hpp"
#include "DeckTransformer.hpp"

using namespace orvandel;
namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

std::string bulletSlide(int n) {
    std::string shapes, steps;
    for (int i = 0; i < 4; ++i) {
        const std::string id = std::to_string(10 + i);
        shapes += "<p:sp><p:nvSpPr><p:cNvPr id=\"" + id + "\" name=\"b" + id +
                  "\"/><p:cNvSpPr/><p:nvPr/></p:nvSpPr><p:spPr/><p:txBody><a:bodyPr/><a:p><a:r><a:t>Slide " +
                  std::to_string(n) + " bullet " + std::to_string(i) + "</a:t></a:r></a:p></p:txBody></p:sp>";
        steps += "<p:par><p:cTn fill=\"hold\"><p:stCondLst><p:cond delay=\"indefinite\"/></p:stCondLst><p:childTnLst>"
                 "<p:par><p:cTn fill=\"hold\"><p:stCondLst><p:cond delay=\"0\"/></p:stCondLst><p:childTnLst>"
                 "<p:par><p:cTn presetID=\"10\" presetClass=\"entr\" fill=\"hold\" nodeType=\"clickEffect\">"
                 "<p:stCondLst><p:cond delay=\"0\"/></p:stCondLst><p:childTnLst><p:set><p:cBhvr><p:cTn dur=\"1\" "
                 "fill=\"hold\"><p:stCondLst><p:cond delay=\"0\"/></p:stCondLst></p:cTn><p:tgtEl><p:spTgt spid=\"" +
                 id + "\"/></p:tgtEl><p:attrNameLst><p:attrName>style.visibility</p:attrName></p:attrNameLst>"
                      "</p:cBhvr><p:to><p:strVal val=\"visible\"/></p:to></p:set><p:animEffect transition=\"in\" "
                      "filter=\"fade\"><p:cBhvr><p:cTn dur=\"1000\"/><p:tgtEl><p:spTgt spid=\"" +
                 id + "\"/></p:tgtEl></p:cBhvr></p:animEffect></p:childTnLst></p:cTn></p:par></p:childTnLst></p:cTn>"
                      "</p:par></p:childTnLst></p:cTn></p:par>";
    }
    // Every time node gets an id, as a saved deck has them.
    std::string timing = "<p:timing><p:tnLst><p:par><p:cTn dur=\"indefinite\" restart=\"never\" nodeType=\"tmRoot\">"
                         "<p:childTnLst><p:seq concurrent=\"1\" nextAc=\"seek\"><p:cTn dur=\"indefinite\" "
                         "nodeType=\"mainSeq\"><p:childTnLst>" +
                         steps + "</p:childTnLst></p:cTn><p:prevCondLst/><p:nextCondLst/></p:seq></p:childTnLst>"
                                 "</p:cTn></p:par></p:tnLst></p:timing>";
    int id = 0;
    for (std::size_t at = timing.find("<p:cTn "); at != std::string::npos; at = timing.find("<p:cTn ", at + 1)) {
        timing.insert(at + 7, "id=\"" + std::to_string(++id) + "\" ");
    }
    return test::slideXml(shapes, "<p:clrMapOvr><a:masterClrMapping/></p:clrMapOvr>" + timing);
}

void measure(const std::string& label, const fs::path& deck, const fs::path& out) {
    SlideDurations videoMs;
    for (;;) {
        try {
            const auto start = Clock::now();
            std::vector<DeckTransformer::Branch> branches;
            const auto reports = DeckTransformer::prepare(deck, out, videoMs, {}, 1000, 1500, branches);
            const double ms = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
            const auto timed = std::count_if(branches.begin(), branches.end(), [](DeckTransformer::Branch b) {
                return b != DeckTransformer::Branch::static_;
            });
            rusage usage{};
            getrusage(RUSAGE_SELF, &usage);
            std::printf("%-28s %4zu slides (%4td timed)  %8.2f ms  %6.3f ms/slide  peak RSS %5.1f MB\n",
                        label.c_str(), reports.size(), timed, ms,
                        reports.empty() ? 0.0 : ms / static_cast<double>(reports.size()),
                        static_cast<double>(usage.ru_maxrss) / 1024.0);
            return;
        } catch (const DeckError& e) {
            // Videos whose slide states no length get one, as the user would give it.
            if (e.errorCase() != DeckError::Case::missingVideoDuration || videoMs.count(e.slide())) throw;
            videoMs[e.slide()] = 5000;
        }
    }
}

// Runs one case in a child process so that its peak memory is its own.
void inChild(const std::string& label, const fs::path& deck, const fs::path& out) {
    std::fflush(stdout);
    const pid_t pid = fork();
    if (pid == 0) {
        int status = 0;
        try {
            measure(label, deck, out);
        } catch (const std::exception& e) {
            std::printf("%-28s failed: %s\n", label.c_str(), e.what());
            status = 1;
        }
        std::fflush(stdout);
        _exit(status);
    }
    int status = 0;
    waitpid(pid, &status, 0);
}

}  // namespace

int main(int argc, char** argv) {
    fs::path deck = fs::path(ORVANDEL_SOURCE_DIR) / ".." / "shared" / "corpus" / "sc__031.pptx";
    if (argc > 1 && argv[1][0] != '-') deck = argv[1];

    const fs::path dir = fs::temp_directory_path() / ("orvandel-prepare-bench-" + std::to_string(getpid()));
    fs::create_directories(dir);

    test::DeckBuilder builder;
    for (int n = 1; n <= 500; ++n) builder.addSlide(bulletSlide(n));
    builder.write(dir / "generated.pptx");

    if (fs::exists(deck)) {
        inChild(deck.filename().string(), deck, dir / "prepared-corpus.pptx");
        inChild(deck.filename().string() + " (second run)", deck, dir / "prepared-corpus.pptx");
    } else {
        std::printf("%s: not found, skipped\n", deck.string().c_str());
    }
    inChild("generated, 500 bullet slides", dir / "generated.pptx", dir / "prepared-generated.pptx");
    fs::remove_all(dir);
    return 0;
}
