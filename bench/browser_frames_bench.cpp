// Material for bench/browser-check.sh: prepares and renders a deck with the
// headless renderer, keeping the stills that went into the movie, and writes
// the schedule of what the movie shows.
//   browser_frames_bench OUT_DIR [DECK] [--gif N:MS]... [--periodic MS]
// OUT_DIR receives master.mp4, still-<page>.tif (a page of the storyboard:
// one state of one slide) and shots.json ([{"slide": N, "page": P,
// "startMs": A, "endMs": B}, ...], in movie order). Without DECK, the bench
// deck of 100 slides with four bullets each is generated.
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

#include <nlohmann/json.hpp>

#include "BenchDecks.hpp"
#include "HeadlessRenderer.hpp"
#include "base/Bytes.hpp"
#include "base/Numbers.hpp"
#include "pixels/DrawnChanges.hpp"
#include "plan/SlideTransitions.hpp"
#include "rewrite/DeckTransformer.hpp"
#include "storyboard/Storyboard.hpp"

using namespace orvandel;
namespace fs = std::filesystem;

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: browser_frames_bench OUT_DIR [DECK] [--gif N:MS]... [--periodic MS]\n");
        return 2;
    }
    const fs::path out = argv[1];
    fs::create_directories(out);
    fs::path deck = out / "bench-deck.pptx";
    SlideDurations gifMs;
    HeadlessRenderer::Options options;
    options.keepStillsIn = out;
    for (int i = 2; i < argc; ++i) {
        const bool hasValue = i + 1 < argc;
        if (std::strcmp(argv[i], "--periodic") == 0 && hasValue) {
            options.periodicFrameMs = parseInt64(argv[++i]).value_or(1000);
        } else if (std::strcmp(argv[i], "--gif") == 0 && hasValue) {
            const std::string pair = argv[++i];
            const auto colon = pair.find(':');
            const auto slide = parseInt64(pair.substr(0, colon));
            const auto ms = colon == std::string::npos ? std::nullopt : parseInt64(pair.substr(colon + 1));
            if (!slide || !ms) {
                std::fprintf(stderr, "browser_frames_bench: --gif takes N:MS, got %s\n", pair.c_str());
                return 2;
            }
            gifMs[*slide] = *ms;
        } else {
            deck = argv[i];
        }
    }
    if (argc < 3 || deck == out / "bench-deck.pptx") test::writeBulletDeck(deck, 100, 4);
    try {
        DeckModel source(deck);
        const auto transitions = source.transitions();
        DeckTransformer::prepare(deck, out / "prepared.pptx", {}, gifMs, 1000, 1500);
        HeadlessRenderer(options).export_(RenderRequest{out / "prepared.pptx", transitions}, out / "master.mp4", {});
        const auto layout = Storyboard::layout(RenderPlanReader::read(out / "prepared.pptx"), true,
                                               SlideTransitions::ofMarkup(transitions));
        nlohmann::ordered_json shots = nlohmann::ordered_json::array();
        std::int64_t start = 0;
        for (const auto& shot : layout.shots) {
            const auto& page = layout.pages.at(static_cast<std::size_t>(shot.page - 1));
            shots.push_back({{"slide", page.displayIndex},
                             {"page", shot.page},
                             {"startMs", start},
                             {"endMs", start + shot.durationMs},
                             {"shownMs", start},
                             {"leavesMs", start + shot.durationMs}});
            start += shot.durationMs;
        }
        // A drawn change shows neither still whole: the shot before it has
        // left when the drawing starts, the one after is whole when it ends.
        // A transition runs over the states its slide goes through meanwhile.
        for (const auto& change : DrawnChanges::plan(layout.shots)) {
            auto& from = shots[change.from];
            from["leavesMs"] = std::min(from["leavesMs"].get<std::int64_t>(), change.span.startMs);
            for (std::size_t k = change.to;
                 k < shots.size() && shots[k]["startMs"].get<std::int64_t>() < change.span.endMs; ++k) {
                shots[k]["shownMs"] = std::max(shots[k]["shownMs"].get<std::int64_t>(), change.span.endMs);
            }
        }
        writeFile(out / "shots.json", shots.dump(1));
    } catch (const std::exception& e) {
        std::fprintf(stderr, "browser_frames_bench: %s\n", e.what());
        return 1;
    }
    return 0;
}
