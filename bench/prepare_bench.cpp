// Preparing whole decks: the largest corpus deck and a generated deck of 500
// slides with a bullet animation on every slide. Prints milliseconds per
// slide and the peak resident memory of the process that prepared the deck
// (each case runs in its own child process, so the peaks do not mix).
//
//   prepare_bench [DECK]   (default: the largest corpus deck)
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>

#include "BenchDecks.hpp"
#include "DeckBuilder.hpp"
#include "deck/DeckError.hpp"
#include "rewrite/DeckTransformer.hpp"

using namespace orvandel;
namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

void measure(const std::string& label, const fs::path& deck, const fs::path& out) {
    SlideDurations videoMs;
    for (;;) {
        try {
            const auto start = Clock::now();
            std::vector<DeckTransformer::Branch> branches;
            DeckModel model(deck);
            const auto reports = DeckTransformer::prepare(model, out, videoMs, {}, 1000, 1500, branches);
            const double ms = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
            const auto timed = std::count_if(branches.begin(), branches.end(), [](DeckTransformer::Branch b) {
                return b != DeckTransformer::Branch::static_;
            });
            rusage usage{};
            getrusage(RUSAGE_SELF, &usage);
            std::printf("%-28s %4zu slides (%4td timed)  %8.2f ms  %6.3f ms/slide  peak RSS %5.1f MB\n", label.c_str(),
                        reports.size(), timed, ms, reports.empty() ? 0.0 : ms / static_cast<double>(reports.size()),
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
    fs::path deck = test::largestCorpusDeck();
    if (argc > 1 && argv[1][0] != '-') deck = argv[1];

    const fs::path dir = fs::temp_directory_path() / ("orvandel-prepare-bench-" + std::to_string(getpid()));
    fs::create_directories(dir);

    test::DeckBuilder builder;
    for (int n = 1; n <= 500; ++n) builder.addSlide(test::bulletSlideXml(n, 4, 1000));
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
