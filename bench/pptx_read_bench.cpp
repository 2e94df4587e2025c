// Reading every XML part of a deck: in process (one pread-and-inflate per
// entry) against one extractor child process per entry, the way entries used
// to be read. Prints both times per pass and their ratio.
//
//   pptx_read_bench [DECK]   (default: the largest deck of ../shared/corpus)
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "BenchDecks.hpp"
#include "base/Subprocess.hpp"
#include "container/PptxArchive.hpp"
#include "container/ZipArchive.hpp"

using namespace orvandel;
namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

std::string unzipPattern(const std::string& name) {
    std::string out;
    for (const char c : name) {
        if (c == '[' || c == ']' || c == '*' || c == '?') out += '\\';
        out += c;
    }
    return out;
}

// Seconds per pass, running passes until at least `budget` seconds went by.
template <typename F>
double secondsPerPass(F&& pass, double budget, int& passes) {
    passes = 0;
    const auto start = Clock::now();
    double elapsed = 0;
    do {
        pass();
        ++passes;
        elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    } while (elapsed < budget);
    return elapsed / passes;
}

}  // namespace

int main(int argc, char** argv) {
    const fs::path deck = argc > 1 ? fs::path(argv[1]) : test::largestCorpusDeck();
    if (deck.empty() || !fs::exists(deck)) {
        std::fprintf(stderr, "no deck: pass one, or put the corpus at ../shared/corpus\n");
        return 1;
    }
    std::vector<std::string> xml;
    for (const auto& name : ZipArchive::entryNames(deck)) {
        if (name.ends_with(".xml") || name.ends_with(".rels")) xml.push_back(name);
    }

    std::size_t bytes = 0;
    auto inProcess = [&] {
        bytes = 0;
        for (const auto& name : xml) bytes += PptxArchive::readEntry(deck, name).size();
    };
    std::size_t childBytes = 0;
    auto childPerEntry = [&] {
        childBytes = 0;
        for (const auto& name : xml) {
            const auto r = Subprocess::run({"unzip", "-p", deck.string(), unzipPattern(name)});
            if (r.exitStatus != 0 || !isValidUtf8(r.standardOutput)) {
                std::fprintf(stderr, "unzip failed for %s\n", name.c_str());
                std::exit(1);
            }
            childBytes += r.standardOutput.size();
        }
    };

    int fastPasses = 0, slowPasses = 0;
    const double fast = secondsPerPass(inProcess, 2.0, fastPasses);
    const double slow = secondsPerPass(childPerEntry, 5.0, slowPasses);
    if (bytes != childBytes) {
        std::fprintf(stderr, "the two readers disagree: %zu vs %zu bytes\n", bytes, childBytes);
        return 1;
    }
    std::printf("deck: %s (%ju bytes), %zu XML entries, %zu bytes of XML\n", deck.filename().c_str(),
                static_cast<std::uintmax_t>(fs::file_size(deck)), xml.size(), bytes);
    std::printf("in process:            %9.2f ms per pass (%d passes)\n", fast * 1e3, fastPasses);
    std::printf("one unzip per entry:   %9.2f ms per pass (%d passes)\n", slow * 1e3, slowPasses);
    std::printf("speed-up:              %9.1fx\n", slow / fast);
    return 0;
}
