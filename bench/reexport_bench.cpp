// Re-exports with the render cache: the bench deck (100 slides, a title and
// four bullets that fade in on click; a 12.5-minute movie) exported four
// times in one run, with the fades drawn:
//   1. fresh, without a cache (the baseline);
//   2. into an empty cache (what the first export of a deck costs);
//   3. the same deck again (nothing changed);
//   4. after the text of one slide (12) was edited.
// Prints each one's wall and CPU time, its speed-up over the fresh export
// and the slides it reused, then checks that the movies made from the cache
// are frame for frame those of fresh exports (ffmpeg's framemd5 of the
// decoded frames) and last exactly as long.
//   reexport_bench [DECK]   another deck (slide 12's first text is edited)
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>

#include "BenchDecks.hpp"
#include "TimedExport.hpp"
#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"
#include "base/Uuid.hpp"
#include "container/PptxArchive.hpp"
#include "container/ZipArchive.hpp"
#include "render/Mp4Duration.hpp"

using namespace orvandel;
namespace fs = std::filesystem;

namespace {

// The deck with slide 12's first text run changed.
void editSlide(const fs::path& deck, const fs::path& to) {
    PptxArchive::Deck source(deck);
    const std::string part = "ppt/slides/slide12.xml";
    std::string xml = source.readEntry(part);
    const auto at = xml.find("<a:t>");
    if (at == std::string::npos) throw std::runtime_error("slide 12 has no text to edit");
    xml.insert(at + 5, "Revisto: ");
    ZipArchive::rewrite(source, {{part, toBytes(xml)}}, to);
}

// The decoded frames' checksums (with their times) of the package's movie.
std::string frameSums(const fs::path& package, const fs::path& dir) {
    const auto folder = dir / package.stem();
    Subprocess::run({"unzip", "-o", "-q", package.string(), "assets/master.mp4", "-d", folder.string()});
    return Subprocess::run({"ffmpeg", "-v", "error", "-i", (folder / "assets/master.mp4").string(), "-map", "0:v",
                            "-fps_mode", "passthrough", "-f", "framemd5", "-"},
                           {.timeout = std::chrono::minutes(10)})
        .standardOutput;
}

}  // namespace

int main(int argc, char** argv) {
    const fs::path dir = fs::temp_directory_path() / ("orvandel-reexport-bench-" + makeUuid());
    fs::create_directories(dir);
    fs::path deck = dir / "bench-deck.pptx";
    if (argc > 1) {
        deck = argv[1];
    } else {
        test::writeBulletDeck(deck, 100, 4);
    }
    const fs::path edited = dir / "edited-deck.pptx";
    int status = 0;
    try {
        editSlide(deck, edited);
        HeadlessRenderer::Options uncached;
        HeadlessRenderer::Options cached;
        cached.cache = RenderCache::Options{dir / "cache", RenderCache::kDefaultMaxBytes};
        struct Run {
            const char* title;
            fs::path deck, out;
            const HeadlessRenderer::Options* options;
            test::TimedExport t;
        };
        Run runs[] = {{"fresh, no cache", deck, dir / "fresh.orv", &uncached, {}},
                      {"filling an empty cache", deck, dir / "fill.orv", &cached, {}},
                      {"same deck again", deck, dir / "again.orv", &cached, {}},
                      {"one slide's text edited", edited, dir / "edited.orv", &cached, {}}};
        for (auto& run : runs) run.t = test::timedExport(run.deck, run.out, {}, *run.options);
        std::printf("%-26s %9s %9s %9s %9s\n", "export", "wall s", "CPU s", "speed-up", "reused");
        for (const auto& run : runs) {
            std::printf("%-26s %9.2f %9.2f %8.1fx %5d/%d\n", run.title, run.t.total, run.t.cpu,
                        runs[0].t.total / run.t.total, run.t.reusedSlides, run.t.slides);
        }
        const double edit = runs[0].t.total / runs[3].t.total, same = runs[0].t.total / runs[2].t.total;
        std::printf("after a one-slide edit %.1fx faster than fresh (target 8x): %s\n", edit,
                    edit >= 8 ? "met" : "MISSED");
        std::printf("unchanged %.1fx faster than fresh (target 20x): %s\n", same, same >= 20 ? "met" : "MISSED");

        // The edited deck exported fresh too, for its frames.
        const auto editedFresh = dir / "edited-fresh.orv";
        test::timedExport(edited, editedFresh, {}, uncached);
        for (const auto& [fromCache, fresh] :
             {std::pair{runs[2].out, runs[0].out}, std::pair{runs[3].out, editedFresh}}) {
            const auto a = frameSums(fromCache, dir), b = frameSums(fresh, dir);
            const auto frames = std::count(a.begin(), a.end(), '\n');
            const auto msA = Mp4Duration::measureMs(dir / fromCache.stem() / "assets/master.mp4");
            const auto msB = Mp4Duration::measureMs(dir / fresh.stem() / "assets/master.mp4");
            std::printf("%s against %s: %s frames (%ld lines of framemd5), %lld ms against %lld ms\n",
                        fromCache.filename().c_str(), fresh.filename().c_str(), a == b ? "identical" : "DIFFERENT",
                        long(frames), (long long)msA, (long long)msB);
            if (a != b || msA != msB) status = 1;
        }
    } catch (const std::exception& e) {
        std::fprintf(stderr, "reexport_bench: %s\n", e.what());
        status = 1;
    }
    fs::remove_all(dir);
    return status;
}
