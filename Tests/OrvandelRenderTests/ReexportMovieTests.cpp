#include <gtest/gtest.h>

#include <thread>

#include "AnimatedSlides.hpp"
#include "HeadlessRenderer.hpp"
#include "MovieFrames.hpp"
#include "TestSupport.hpp"
#include "ThemedDeck.hpp"
#include "plan/RenderPlan.hpp"
#include "render/Mp4Duration.hpp"
#include "rewrite/DeckTransformer.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;

namespace {

// What one variant of the deck changes.
struct Edit {
    std::string secondText = "Segundo slide";
    std::string thirdTransition = "<p:transition spd=\"fast\"><p:fade/></p:transition>";
    std::string masterBackground = "FFFFFF";
    std::string tone = "440";
};

// 1. a text that fades in on a click; 2. a text; 3. a text that comes in
// with a transition (from slide 2's last picture); 4. a video with a tone.
fs::path writeDeck(const fs::path& dir, const std::string& name, const Edit& edit) {
    const auto clip = dir / ("clip-" + edit.tone + ".mp4");
    if (!fs::exists(clip)) {
        ffmpeg({"-f", "lavfi", "-i", "testsrc=size=160x96:rate=25:duration=1", "-f", "lavfi", "-i",
                "sine=frequency=" + edit.tone + ":duration=1", "-c:v", "libx264", "-pix_fmt", "yuv420p", "-c:a", "aac",
                "-shortest", clip.string()});
        ffmpeg({"-i", clip.string(), "-frames:v", "1", (dir / "poster.png").string()});
    }
    std::string master = masterXml("", "");
    master.replace(master.find("FFFFFF"), 6, edit.masterBackground);
    const auto deck = dir / (name + ".pptx");
    DeckBuilder()
        .setMaster(fontThemeXml("", ""))
        .addEntry("ppt/slideMasters/slideMaster1.xml", master)
        .addSlide(slideXml(textBox("4", 1825625, para("Entra com um clique")),
                           timing(click(fade("clickEffect", shape("4"))))))
        .addSlide(slideXml(textBox("4", 1825625, para(edit.secondText)), ""))
        .addSlide(slideXml(textBox("4", 1825625, para("Terceiro slide")), edit.thirdTransition))
        .addSlide(slideXml(mediaPicture("3", "<a:videoFile r:link=\"rId2\"/>", "<a:blip r:embed=\"rId9\"/>"),
                           playOnClick("1000")),
                  {{"rId2", "video", "../media/clip.mp4"}, {"rId9", "image", "../media/poster.png"}})
        .addEntry("ppt/media/clip.mp4", readFile(clip))
        .addEntry("ppt/media/poster.png", readFile(dir / "poster.png"))
        .write(deck);
    return deck;
}

struct Exported {
    std::string frames;  // framemd5 of the decoded picture
    std::int64_t lengthMs = 0, planMs = 0;
    int reused = -1;
};

Exported exportDeck(const fs::path& deck, const std::optional<fs::path>& cache) {
    const auto prepared = deck.parent_path() / (deck.stem().string() + (cache ? "-c" : "-f") + "-prepared.pptx");
    const auto movie = deck.parent_path() / (deck.stem().string() + (cache ? "-c" : "-f") + ".mp4");
    DeckTransformer::prepare(deck, prepared, {}, {}, 1000, 1500);
    HeadlessRenderer::Options options;
    if (cache) options.cache = RenderCache::Options{*cache, RenderCache::kDefaultMaxBytes};
    Exported out;
    RenderHooks hooks;
    hooks.reused = [&](int reused, int) { out.reused = reused; };
    HeadlessRenderer(options).export_(RenderRequest{prepared, DeckModel(deck).transitions()}, movie, {}, hooks);
    out.frames = Subprocess::run({"ffmpeg", "-v", "error", "-i", movie.string(), "-map", "0:v", "-fps_mode",
                                  "passthrough", "-f", "framemd5", "-"})
                     .standardOutput;
    out.lengthMs = Mp4Duration::measureMs(movie);
    out.planMs = RenderPlanReader::read(prepared).totalMs();
    return out;
}

std::vector<fs::path> entries(const fs::path& cache, const std::string& kind) {
    std::vector<fs::path> out;
    for (const auto& e : fs::recursive_directory_iterator(cache)) {
        if (e.is_regular_file() && e.path().extension().empty() &&
            e.path().string().find("/" + kind + "/") != std::string::npos) {
            out.push_back(e.path());
        }
    }
    return out;
}

class ReexportMovieTest : public RenderedOnce<ReexportMovieTest> {
public:
    static void render() {}
};

}  // namespace

// Each export from the cache is frame for frame a fresh export of the same
// deck, exactly as long as its plan, and draws again only the slides that
// changed: a slide's own, and the next one where its transition blends from
// the changed slide's last picture.
TEST_F(ReexportMovieTest, OnlyTheSlidesThatChangedAreMadeAgainAndTheMovieIsTheFreshOne) {
    const fs::path dir = dir_->path(), cache = dir / "cache";
    const auto base = writeDeck(dir, "base", {});
    const Exported fresh = exportDeck(base, std::nullopt);
    const Exported filled = exportDeck(base, cache);
    EXPECT_EQ(filled.reused, 0);
    EXPECT_EQ(filled.frames, fresh.frames);
    EXPECT_EQ(fresh.lengthMs, fresh.planMs);

    // A damaged entry is never trusted: its slide is made again, the same.
    const auto segments = entries(cache, "segment");
    ASSERT_EQ(segments.size(), 4u);
    {
        std::string bytes = toString(readFile(segments[1]));
        bytes[bytes.size() / 2] ^= 0x55;
        writeFile(segments[1], bytes);
    }
    const Exported repaired = exportDeck(base, cache);
    EXPECT_EQ(repaired.reused, 3);
    EXPECT_EQ(repaired.frames, fresh.frames);

    struct Case {
        const char* what;
        Edit edit;
        int reused;
    };
    const std::vector<Case> cases{
        {"nothing", {}, 4},
        {"slide 2's text (slide 3's transition starts from it)", {.secondText = "Segundo slide, revisto"}, 2},
        {"slide 3's transition", {.thirdTransition = "<p:transition><p:wipe dir=\"r\"/></p:transition>"}, 3},
        {"the medium", {.tone = "660"}, 3},
        {"the master", {.masterBackground = "DDEEFF"}, 0},
    };
    int n = 0;
    for (const auto& c : cases) {
        const auto deck = writeDeck(dir, "edit" + std::to_string(++n), c.edit);
        const Exported again = exportDeck(deck, cache), freshOne = exportDeck(deck, std::nullopt);
        EXPECT_EQ(again.reused, c.reused) << c.what;
        EXPECT_EQ(again.frames, freshOne.frames) << c.what;
        EXPECT_EQ(again.lengthMs, again.planMs) << c.what;
    }
}

// Two exports at once into one cache (as a batch with -j does): both end
// well, and both movies are the fresh one.
TEST_F(ReexportMovieTest, TwoExportsShareTheCacheAtOnce) {
    const fs::path dir = dir_->path(), cache = dir / "shared-cache";
    const auto deck = writeDeck(dir, "shared", {.secondText = "Ao mesmo tempo"});
    const auto copy = dir / "shared-copy.pptx";
    fs::copy_file(deck, copy);
    const Exported fresh = exportDeck(deck, std::nullopt);
    Exported a, b;
    std::thread other([&] { b = exportDeck(copy, cache); });
    a = exportDeck(deck, cache);
    other.join();
    EXPECT_EQ(a.frames, fresh.frames);
    EXPECT_EQ(b.frames, fresh.frames);
    EXPECT_EQ(exportDeck(deck, cache).reused, 4);
}
