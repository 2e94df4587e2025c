#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <stdexcept>

#include "DeckBuilder.hpp"
#include "MovieFixtures.hpp"
#include "TestSupport.hpp"
#include "TimingFixtures.hpp"
#include "container/PptxArchive.hpp"
#include "deck/DeckError.hpp"
#include "package/CueCalculator.hpp"
#include "package/CueInputAssembler.hpp"
#include "package/OrvExporter.hpp"
#include "render/Mp4Duration.hpp"
#include "rewrite/DeckTransformer.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

namespace {

const std::string gifPicture = picture("4", "rId5");
const std::vector<Relationship> gifRels{{"rId5", "image", "../media/image1.gif"}};
const std::vector<Relationship> videoRels{{"rId2", "video", "../media/media1.mp4"}};

std::string plain(const std::string& rootAttrs = "") { return slideXml(kTextBox, "", rootAttrs); }
std::string clicks(int n, const std::string& cls = "entr", const std::string& rootAttrs = "") {
    std::string steps;
    const std::string one = step(effect("presetClass=\"" + cls + "\" nodeType=\"clickEffect\"", "0", "500"));
    for (int i = 0; i < n; ++i) steps += one;
    return slideXml(kTextBox, timing(steps), rootAttrs);
}
// A click-started video of unknown length.
std::string clickVideo(const std::string& rootAttrs = "") {
    return slideXml(kTextBox + kVideo,
                    timing(step(effect("presetClass=\"mediacall\" nodeType=\"clickEffect\"", "0", "indefinite", "3"))),
                    rootAttrs);
}

// Renders by running `behaviour` on the output path, counting its calls.
struct FakeRenderer : Mp4Exporting {
    explicit FakeRenderer(std::function<void(const fs::path&)> b) : behaviour(std::move(b)) {}
    void export_(const fs::path& deck, const fs::path& to, const std::function<bool()>&,
                 const RenderHooks&) const override {
        ++calls;
        EXPECT_TRUE(fs::exists(deck));
        behaviour(to);
    }
    std::function<void(const fs::path&)> behaviour;
    mutable int calls = 0;
};

FakeRenderer movieOf(std::int64_t ms) {
    return FakeRenderer([ms](const fs::path& to) { writeFile(to, craftedMovie(1000, std::uint64_t(ms))); });
}

class OrvExporterTest : public ::testing::Test {
protected:
    OrvExporterTest() {
        fs::create_directories(dir / "tmp");
        fs::create_directories(dir / "home");
    }

    // No work directory and no temporary package file outlived the export.
    bool clean() const {
        return entriesNamed(dir / "tmp", "orv-chain-").empty() && entriesNamed(dir.path(), ".tmp-").empty();
    }
    fs::path out() const { return dir / "lesson.orv"; }
    OrvExporter::Result exportDeck(const fs::path& deck, const Mp4Exporting& renderer, const SlideDurations& gifMs = {},
                                   const SlideDurations& videoMs = {},
                                   const std::optional<fs::path>& movie = std::nullopt) const {
        return OrvExporter::export_(deck, movie, out(), videoMs, gifMs, std::chrono::system_clock::time_point{},
                                    "test", "test/1", [] { return true; }, renderer);
    }
    // The DeckError of a refused export, which must leave nothing behind.
    DeckError refused(const fs::path& deck, const Mp4Exporting& renderer, const SlideDurations& gifMs = {}) const {
        const auto e = thrown<DeckError>([&] { exportDeck(deck, renderer, gifMs); });
        EXPECT_TRUE(clean());
        EXPECT_FALSE(fs::exists(out()));
        return e;
    }

    TempDir dir;
    // No PowerPoint container may redirect the work directory.
    ScopedEnv env{{{"TMPDIR", (dir / "tmp").string()}, {"HOME", (dir / "home").string()}}};
};

}  // namespace

TEST_F(OrvExporterTest, RefusesDecksInOrderBeforeAnyRendering) {
    auto renderer = movieOf(3000);
    // No slide at all, or only hidden ones (even with two videos and a GIF): nothing to export.
    for (const auto& deck : {DeckBuilder().write(dir / "empty.pptx"),
                             DeckBuilder()
                                 .addSlide(slideXml(kTextBox + kVideo + kVideo, "", "show=\"0\""), videoRels)
                                 .addSlide(slideXml(gifPicture, "", "show=\"0\""), gifRels)
                                 .write(dir / "hidden.pptx")}) {
        EXPECT_STREQ(refused(deck, renderer).what(), "the deck has no visible slides to export");
    }
    // Several videos on a slide win over a GIF without duration.
    const auto both = DeckBuilder()
                          .addSlide(slideXml(gifPicture), gifRels)
                          .addSlide(slideXml(kTextBox + kVideo + kVideo), videoRels)
                          .write(dir / "both.pptx");
    const auto videos = refused(both, renderer);
    EXPECT_EQ(videos.errorCase(), DeckError::Case::multipleVideosOnSlide);
    EXPECT_EQ(videos.slides(), std::vector<std::int64_t>{2});
    // Only visible GIFs need a duration.
    const auto gifs = DeckBuilder()
                          .addSlide(plain())
                          .addSlide(slideXml(gifPicture), gifRels)
                          .addSlide(slideXml(gifPicture, "", "show=\"0\""), gifRels)
                          .addSlide(slideXml(gifPicture), gifRels)
                          .write(dir / "gifs.pptx");
    const auto gif = refused(gifs, renderer, {{4, 1000}});
    EXPECT_EQ(gif.errorCase(), DeckError::Case::gifWithoutDuration);
    EXPECT_EQ(gif.slides(), std::vector<std::int64_t>{2});
    EXPECT_EQ(renderer.calls, 0);

    exportDeck(gifs, movieOf(9000), {{2, 1000}, {4, 1000}});
    EXPECT_TRUE(fs::exists(out()));
    EXPECT_TRUE(clean());
}

TEST_F(OrvExporterTest, AGivenMovieIsNeitherRenderedNorCheckedNorMoved) {
    const auto deck = DeckBuilder().addSlide(plain()).addSlide(clickVideo()).write(dir / "aula.pptx");
    const Bytes movie = craftedMovie(1000, 100);  // far shorter than the plan
    writeFile(dir / "given.mp4", movie);
    // A temporary directory that does not exist: any work directory would fail.
    ScopedEnv absent{{{"TMPDIR", (dir / "absent").string()}}};
    auto renderer = movieOf(3000);

    EXPECT_EQ(exportDeck(deck, renderer, {}, {{2, 4000}}, dir / "given.mp4"), (OrvExporter::Result{{}, {}, 0}));
    EXPECT_EQ(renderer.calls, 0);
    EXPECT_EQ(readFile(dir / "given.mp4"), movie);
    EXPECT_FALSE(fs::exists(dir / "absent"));
    EXPECT_EQ(PptxArchive::readEntryBytes(out(), "assets/master.mp4"), movie);
}

TEST_F(OrvExporterTest, RenderedMovieMustLastBetweenSixAndFourteenTenthsOfThePlan) {
    // Two visible plain slides of 1500 ms; the hidden one does not count.
    const auto deck =
        DeckBuilder().addSlide(plain()).addSlide(plain("show=\"0\"")).addSlide(plain()).write(dir / "aula.pptx");
    for (const std::int64_t ms : {1800, 4200}) {
        exportDeck(deck, movieOf(ms));
        const Json manifest = Json::parse(PptxArchive::readEntry(out(), "manifest.json"));
        EXPECT_EQ(manifest["masterVideoDuration"], double(ms) / 1000);
        fs::remove(out());
    }
    for (const std::int64_t ms : {1770, 4230}) {
        const auto e = refused(deck, movieOf(ms));
        EXPECT_EQ(e.errorCase(), DeckError::Case::masterDurationMismatch);
        EXPECT_EQ(e.expectedMs(), 3000);
        EXPECT_EQ(e.measuredMs(), ms);
    }
}

TEST_F(OrvExporterTest, RendererFailuresLeaveNothingBehindAndKeepTheOldPackage) {
    const auto deck = DeckBuilder().addSlide(plain()).write(dir / "aula.pptx");
    writeFile(out(), std::string("old package"));
    auto expectClean = [&] {
        EXPECT_TRUE(clean());
        EXPECT_EQ(toString(readFile(out())), "old package");
    };

    const auto timedOut = Mp4Exporter::ExportError::timedOut("no movie after 900 s");
    const auto e = thrown<OrvExporter::FlowError>(
        [&] { exportDeck(deck, FakeRenderer([&](const fs::path&) { throw timedOut; })); });
    EXPECT_EQ(e.exportError().errorCase(), Mp4Exporter::ExportError::Case::timedOut);
    EXPECT_EQ(std::string(e.what()), std::string("Não foi possível automatizar o export do MP4 (motivo: ") +
                                         timedOut.what() +
                                         "). Exporte manualmente no PowerPoint (Arquivo → Exportar → Criar Vídeo, "
                                         "1080p, 'Usar Narrações e Temporizações Gravadas' marcado) e rode de novo "
                                         "passando --mp4 <arquivo>.");
    expectClean();
    // Any other renderer error is passed on as it is.
    EXPECT_THROW(exportDeck(deck, FakeRenderer([](const fs::path&) { throw std::range_error("odd"); })),
                 std::range_error);
    expectClean();
    // A movie that cannot be measured, or none at all.
    EXPECT_THROW(exportDeck(deck, FakeRenderer([](const fs::path& to) { writeFile(to, std::string("garbage")); })),
                 Mp4Duration::Mp4Error);
    expectClean();
    EXPECT_THROW(exportDeck(deck, FakeRenderer([](const fs::path&) {})), Mp4Duration::Mp4Error);
    expectClean();
}

TEST_F(OrvExporterTest, ResultAndManifestDescribeTheUsersDeck) {
    const auto deck = DeckBuilder()
                          .addSlide(clicks(2))
                          .addNotes(1, notesSlideXml({"Primeira"}))
                          .addSlide(clicks(4, "exit", "show=\"0\""))
                          .addSlide(clicks(1, "exit"))
                          .addNotes(3, notesSlideXml({"Terceira"}))
                          .addSlide(clickVideo("show=\"0\""), videoRels)
                          .addSlide(clickVideo(), videoRels)
                          .write(dir / "aula.pptx");
    const SlideDurations videoMs{{4, 3000}, {5, 4000}};
    const auto planned = OrvExporter::expectedDurationMs(
        DeckTransformer::prepare(deck, dir / "planned.pptx", videoMs, {}, 1000, 1500));

    EXPECT_EQ(exportDeck(deck, movieOf(planned), {}, videoMs), (OrvExporter::Result{{4, 5}, {3}, 2}));
    const Json manifest = Json::parse(PptxArchive::readEntry(out(), "manifest.json"));
    const auto cues = CueCalculator::calculateCues(CueInputAssembler::cueInputs(deck, videoMs, {}));
    ASSERT_EQ(manifest["cues"].size(), cues.size());
    for (std::size_t i = 0; i < cues.size(); ++i) {
        EXPECT_EQ(manifest["cues"][i]["label"], cues[i].label);
        EXPECT_EQ(manifest["cues"][i]["time"], double(cues[i].timeMs) / 1000);
    }
    // The click steps of slide 1 are cues of the user's deck, gone from the prepared one.
    EXPECT_EQ(manifest["cues"][1]["label"], "Slide 1 - bullet");
    EXPECT_EQ(manifest["slideCount"], 5);
    EXPECT_EQ(manifest["sourceFileName"], "aula.pptx");
    EXPECT_EQ(manifest["notesBySlide"].dump(), R"({"0":"Primeira","1":"","2":"Terceira","3":"","4":""})");
    EXPECT_TRUE(clean());
}

TEST_F(OrvExporterTest, ACancelWhilePackagingKeepsTheOldPackage) {
    const auto deck = DeckBuilder().addSlide(plain()).write(dir / "aula.pptx");
    writeFile(out(), std::string("old package"));
    const CancellationToken token;
    const RenderHooks hooks{[&](const std::string& stage, double) {
                                if (stage == OrvExporter::kStagePackage) token.cancel();
                            },
                            token};
    EXPECT_THROW(OrvExporter::export_(deck, std::nullopt, out(), {}, {}, {}, "test", "test/1", [] { return true; },
                                      movieOf(1500), hooks),
                 CancelledError);
    EXPECT_EQ(toString(readFile(out())), "old package");
    EXPECT_TRUE(clean());
}
