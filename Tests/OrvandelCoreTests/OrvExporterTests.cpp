#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "Bytes.hpp"
#include "CueCalculator.hpp"
#include "CueInputAssembler.hpp"
#include "DeckBuilder.hpp"
#include "DeckError.hpp"
#include "DeckTransformer.hpp"
#include "MovieFixtures.hpp"
#include "Mp4Duration.hpp"
#include "OrvExporter.hpp"
#include "PptxArchive.hpp"
#include "TestSupport.hpp"
#include "TimingFixtures.hpp"
#include "ZipArchive.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

namespace {

const std::string textBox =
    "<p:sp><p:nvSpPr><p:cNvPr id=\"2\" name=\"t\"/><p:cNvSpPr/><p:nvPr/></p:nvSpPr><p:spPr/></p:sp>";
const std::string videoShape =
    "<p:pic><p:nvPicPr><p:cNvPr id=\"3\" name=\"v\"/><p:cNvPicPr/><p:nvPr><a:videoFile r:link=\"rId2\"/></p:nvPr>"
    "</p:nvPicPr><p:blipFill/><p:spPr/></p:pic>";
const std::string gifPicture =
    "<p:pic><p:nvPicPr><p:cNvPr id=\"4\" name=\"g\"/><p:cNvPicPr/><p:nvPr/></p:nvPicPr>"
    "<p:blipFill><a:blip r:embed=\"rId5\"/></p:blipFill><p:spPr/></p:pic>";
const std::string gifRels = relationshipsXml({{"rId5", "image", "../media/image1.gif", ""}});
const std::string videoRels = relationshipsXml({{"rId2", "video", "../media/media1.mp4", ""}});

std::string plain(const std::string& rootAttrs = "") { return slideXml(textBox, "", rootAttrs); }
std::string clicks(int n, const std::string& cls = "entr", const std::string& rootAttrs = "") {
    std::string steps;
    for (int i = 0; i < n; ++i) {
        steps += step(effect("presetClass=\"" + cls + "\" nodeType=\"clickEffect\"", "0", "500"));
    }
    return slideXml(textBox, timing(steps), rootAttrs);
}
// A click-started video of unknown length.
std::string clickVideo(const std::string& rootAttrs = "") {
    return slideXml(textBox + videoShape,
                    timing(step(effect("presetClass=\"mediacall\" nodeType=\"clickEffect\"", "0", "indefinite", "3"))),
                    rootAttrs);
}

// Renders by running `behaviour` on the output path, counting its calls.
class FakeRenderer : public Mp4Exporting {
public:
    explicit FakeRenderer(std::function<void(const fs::path&)> behaviour) : behaviour_(std::move(behaviour)) {}
    void export_(const fs::path& preparedDeck, const fs::path& to, const std::function<bool()>&,
                 const RenderHooks&) const override {
        ++calls;
        EXPECT_TRUE(fs::exists(preparedDeck));
        behaviour_(to);
    }
    mutable int calls = 0;

private:
    std::function<void(const fs::path&)> behaviour_;
};

FakeRenderer movieOf(std::int64_t ms) {
    return FakeRenderer([ms](const fs::path& to) { writeFile(to, craftedMovie(1000, std::uint64_t(ms))); });
}

class OrvExporterTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"TMPDIR", "HOME"}) {
            const char* value = std::getenv(name);
            saved_.emplace_back(name, value ? std::optional<std::string>(value) : std::nullopt);
        }
        fs::create_directories(tmp());
        fs::create_directories(dir / "home");
        setenv("TMPDIR", tmp().c_str(), 1);
        // No PowerPoint container may redirect the work directory.
        setenv("HOME", (dir / "home").c_str(), 1);
    }
    void TearDown() override {
        for (const auto& [name, value] : saved_) {
            if (value) setenv(name.c_str(), value->c_str(), 1);
            else unsetenv(name.c_str());
        }
    }

    fs::path tmp() const { return dir / "tmp"; }
    // Work directories and temporary package files that outlived an export.
    std::vector<std::string> leftovers() const {
        std::vector<std::string> out;
        for (const auto& [folder, part] : {std::pair{tmp(), "orv-chain-"}, std::pair{dir.path(), ".tmp-"}}) {
            for (const auto& e : fs::directory_iterator(folder)) {
                if (e.path().filename().string().find(part) != std::string::npos) out.push_back(e.path().string());
            }
        }
        return out;
    }
    fs::path write(const DeckBuilder& deck, const std::string& name = "aula.pptx") const {
        deck.write(dir / name);
        return dir / name;
    }
    OrvExporter::Result exportDeck(const fs::path& deck, const Mp4Exporting& renderer, const SlideDurations& gifMs = {},
                                   const SlideDurations& videoMs = {},
                                   const std::optional<fs::path>& movie = std::nullopt) const {
        return OrvExporter::export_(deck, movie, out(), videoMs, gifMs, std::chrono::system_clock::time_point{},
                                    "test", "test/1", [] { return true; }, renderer);
    }
    fs::path out() const { return dir / "lesson.orv"; }

    // Expects `run` to throw a DeckError of case `c` and to leave nothing behind.
    template <class Run>
    DeckError expectDeckError(DeckError::Case c, Run run) const {
        try {
            run();
        } catch (const DeckError& e) {
            EXPECT_EQ(e.errorCase(), c) << e.what();
            EXPECT_TRUE(leftovers().empty());
            EXPECT_FALSE(fs::exists(out()));
            return e;
        }
        ADD_FAILURE() << "no DeckError";
        return DeckError::noVisibleSlides();
    }

    TempDir dir;

private:
    std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

}  // namespace

TEST_F(OrvExporterTest, RefusesDecksInOrderBeforeAnyRendering) {
    auto renderer = movieOf(3000);
    // No slide at all, or only hidden ones (even with two videos and a GIF): nothing to export.
    const auto empty = write(DeckBuilder(), "empty.pptx");
    const auto hidden = write(DeckBuilder()
                                  .addSlide(slideXml(textBox + videoShape + videoShape, "", "show=\"0\""), videoRels)
                                  .addSlide(slideXml(gifPicture, "", "show=\"0\""), gifRels),
                              "hidden.pptx");
    for (const auto& deck : {empty, hidden}) {
        const auto e = expectDeckError(DeckError::Case::noVisibleSlides, [&] { exportDeck(deck, renderer); });
        EXPECT_STREQ(e.what(), "the deck has no visible slides to export");
    }

    // Several videos on a slide win over a GIF without duration.
    const auto both = write(DeckBuilder()
                                .addSlide(slideXml(gifPicture), gifRels)
                                .addSlide(slideXml(textBox + videoShape + videoShape), videoRels),
                            "both.pptx");
    EXPECT_EQ(expectDeckError(DeckError::Case::multipleVideosOnSlide, [&] { exportDeck(both, renderer); }).slides(),
              std::vector<std::int64_t>{2});

    // Only visible GIFs need a duration.
    const auto gifs = write(DeckBuilder()
                                .addSlide(plain())
                                .addSlide(slideXml(gifPicture), gifRels)
                                .addSlide(slideXml(gifPicture, "", "show=\"0\""), gifRels)
                                .addSlide(slideXml(gifPicture), gifRels),
                            "gifs.pptx");
    EXPECT_EQ(expectDeckError(DeckError::Case::gifWithoutDuration, [&] { exportDeck(gifs, renderer, {{4, 1000}}); })
                  .slides(),
              std::vector<std::int64_t>{2});
    EXPECT_EQ(renderer.calls, 0);

    exportDeck(gifs, movieOf(9000), {{2, 1000}, {4, 1000}});
    EXPECT_TRUE(fs::exists(out()));
    EXPECT_TRUE(leftovers().empty());
}

TEST_F(OrvExporterTest, AGivenMovieIsNeitherRenderedNorCheckedNorMoved) {
    const auto deck = write(DeckBuilder().addSlide(plain()).addSlide(clickVideo()));
    const Bytes movie = craftedMovie(1000, 100);  // far shorter than the plan
    writeFile(dir / "given.mp4", movie);
    // A temporary directory that does not exist: any work directory would fail.
    setenv("TMPDIR", (dir / "absent").c_str(), 1);
    auto renderer = movieOf(3000);

    const auto result = exportDeck(deck, renderer, {}, {{2, 4000}}, dir / "given.mp4");

    EXPECT_EQ(renderer.calls, 0);
    EXPECT_EQ(result, (OrvExporter::Result{{}, {}, 0}));
    EXPECT_EQ(readFile(dir / "given.mp4"), movie);
    EXPECT_FALSE(fs::exists(dir / "absent"));
    EXPECT_EQ(PptxArchive::readEntryBytes(out(), "assets/master.mp4"), movie);
}

TEST_F(OrvExporterTest, RenderedMovieMustLastBetweenSixAndFourteenTenthsOfThePlan) {
    // Two visible plain slides of 1500 ms; the hidden one does not count.
    const auto deck = write(DeckBuilder().addSlide(plain()).addSlide(plain("show=\"0\"")).addSlide(plain()));
    for (const std::int64_t ms : {1800, 4200}) {
        exportDeck(deck, movieOf(ms));
        EXPECT_EQ(Json::parse(PptxArchive::readEntry(out(), "manifest.json"))["masterVideoDuration"],
                  double(ms) / 1000);
        fs::remove(out());
    }
    auto mismatch = [&](std::int64_t ms) {
        return expectDeckError(DeckError::Case::masterDurationMismatch, [&] { exportDeck(deck, movieOf(ms)); });
    };
    const auto shortMovie = mismatch(1770);
    EXPECT_EQ(shortMovie.expectedMs(), 3000);
    EXPECT_EQ(shortMovie.measuredMs(), 1770);
    EXPECT_EQ(std::string(shortMovie.what()).rfind("O vídeo gerado (1.8 s) não bate com o tempo esperado do deck "
                                                   "(3.0 s) — o PowerPoint pode ter renderizado errado. ",
                                                   0),
              0u)
        << shortMovie.what();
    EXPECT_EQ(mismatch(4230).measuredMs(), 4230);
}

TEST_F(OrvExporterTest, MismatchSecondsKeepTheirDotUnderAPortugueseLocale) {
    const auto deck = write(DeckBuilder().addSlide(plain()).addSlide(plain()));
    if (std::setlocale(LC_ALL, "pt_BR.UTF-8") == nullptr) GTEST_SKIP() << "locale pt_BR.UTF-8 not installed";
    std::string text;
    try {
        exportDeck(deck, movieOf(4230));
    } catch (const DeckError& e) {
        text = e.what();
    }
    std::setlocale(LC_ALL, "C");
    EXPECT_NE(text.find("(4.2 s) não bate com o tempo esperado do deck (3.0 s)"), std::string::npos) << text;
}

TEST_F(OrvExporterTest, RendererFailuresLeaveNothingBehindAndKeepTheOldPackage) {
    const auto deck = write(DeckBuilder().addSlide(plain()));
    writeFile(out(), std::string("old package"));
    auto expectClean = [&] {
        EXPECT_TRUE(leftovers().empty());
        EXPECT_EQ(toString(readFile(out())), "old package");
    };

    try {
        exportDeck(deck, FakeRenderer([](const fs::path&) {
                       throw Mp4Exporter::ExportError::timedOut("no movie after 900 s");
                   }));
        ADD_FAILURE() << "no FlowError";
    } catch (const OrvExporter::FlowError& e) {
        EXPECT_EQ(e.exportError().errorCase(), Mp4Exporter::ExportError::Case::timedOut);
        EXPECT_EQ(std::string(e.what()),
                  std::string("Não foi possível automatizar o export do MP4 (motivo: ") +
                      Mp4Exporter::ExportError::timedOut("no movie after 900 s").what() +
                      "). Exporte manualmente no PowerPoint (Arquivo → Exportar → Criar Vídeo, 1080p, 'Usar "
                      "Narrações e Temporizações Gravadas' marcado) e rode de novo passando --mp4 <arquivo>.");
    }
    expectClean();

    // Any other renderer error is passed on as it is.
    struct Odd : std::runtime_error {
        Odd() : std::runtime_error("odd") {}
    };
    EXPECT_THROW(exportDeck(deck, FakeRenderer([](const fs::path&) { throw Odd(); })), Odd);
    expectClean();

    // A movie that cannot be measured, or none at all.
    EXPECT_THROW(exportDeck(deck, FakeRenderer([](const fs::path& to) { writeFile(to, std::string("garbage")); })),
                 Mp4Duration::Mp4Error);
    expectClean();
    EXPECT_THROW(exportDeck(deck, FakeRenderer([](const fs::path&) {})), Mp4Duration::Mp4Error);
    expectClean();
}

TEST_F(OrvExporterTest, ResultAndManifestDescribeTheUsersDeck) {
    DeckBuilder builder;
    builder.addSlide(clicks(2))
        .addNotes(1, notesSlideXml({"Primeira"}))
        .addSlide(clicks(4, "exit", "show=\"0\""))
        .addSlide(clicks(1, "exit"))
        .addNotes(3, notesSlideXml({"Terceira"}))
        .addSlide(clickVideo("show=\"0\""), videoRels)
        .addSlide(clickVideo(), videoRels);
    const auto deck = write(builder);
    const SlideDurations videoMs{{4, 3000}, {5, 4000}};
    const auto planned = OrvExporter::expectedDurationMs(
        DeckTransformer::prepare(deck, dir / "planned.pptx", videoMs, {}, 1000, 1500));

    const auto result = exportDeck(deck, movieOf(planned), {}, videoMs);

    EXPECT_EQ(result.convertedOnClickVideoSlides, (std::vector<std::int64_t>{4, 5}));
    EXPECT_EQ(result.slidesWithExitEffects, std::vector<std::int64_t>{3});
    EXPECT_EQ(result.maxBulletsPerSlide, 2);

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
    EXPECT_EQ(manifest["notesBySlide"], Json::parse(R"({"0": "Primeira", "1": "", "2": "Terceira", "3": "", "4": ""})"));
    EXPECT_TRUE(leftovers().empty());
}

TEST_F(OrvExporterTest, ACancelWhilePackagingKeepsTheOldPackage) {
    const auto deck = write(DeckBuilder().addSlide(plain()));
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
    EXPECT_TRUE(leftovers().empty());
}
