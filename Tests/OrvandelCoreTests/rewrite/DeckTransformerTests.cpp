#include <gtest/gtest.h>

#include <algorithm>

#include "DeckBuilder.hpp"
#include "MovieFixtures.hpp"
#include "TestSupport.hpp"
#include "TimingFixtures.hpp"
#include "base/Subprocess.hpp"
#include "container/PptxArchive.hpp"
#include "container/SlideXML.hpp"
#include "container/ZipArchive.hpp"
#include "deck/DeckError.hpp"
#include "deck/DeckScanner.hpp"
#include "package/OrvExporter.hpp"
#include "rewrite/DeckTransformer.hpp"
#include "rewrite/SlideValidator.hpp"
#include "rewrite/TransitionWriter.hpp"

using namespace orvandel;
using namespace orvandel::test;
using Branch = DeckTransformer::Branch;
namespace fs = std::filesystem;

namespace {

// The slide without its timing element and its transition block: what the
// rewrite must leave byte for byte as it was.
std::string untouchedPart(std::string xml) {
    std::vector<SlideXML::Range> cuts;
    if (const auto r = SlideXML::elementRange(xml, "p:timing")) cuts.push_back(*r);
    if (const auto r = SlideXML::transitionBlockRange(xml)) cuts.push_back(*r);
    std::sort(cuts.begin(), cuts.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
    for (const auto& [from, to] : cuts) xml.erase(from, to - from);
    return xml;
}

}  // namespace

TEST(SlideValidatorTest, ReasonsForRejectingARewrittenSlide) {
    const std::string open = "<p:sld xmlns:p=\"http://schemas.openxmlformats.org/presentationml/2006/main\">";
    const std::string root = open + "<p:cSld></p:cSld>", b = TransitionWriter::block(2000);
    const std::string otherBlock = "<mc:AlternateContent xmlns:mc=\"m\"><mc:Fallback/></mc:AlternateContent>";
    for (const auto& [xml, reason] : std::vector<std::pair<std::string, std::string>>{
             {root + b + "<p:timing/></p:sld>", ""},
             {open + "<p:cSld>" + otherBlock + "</p:cSld>" + b + "</p:sld>",
              ""},  // only what follows the shapes counts
             {root + b + "<p:timing></p:sld>", "not well-formed XML"},
             {root + b + "<x:y/></p:sld>", "not well-formed XML"},  // undeclared prefix
             {root + "</p:sld>", "expected exactly one transition (2 <p:transition>), found 0"},
             {root + b + b + "</p:sld>", "expected exactly one transition (2 <p:transition>), found 4"},
             {root + "<p:transition/><p:transition/></p:sld>",
              "expected exactly one transition <mc:AlternateContent>, found 0"},
             {root + b + otherBlock + "</p:sld>", "expected exactly one transition <mc:AlternateContent>, found 2"},
             {root + "<p:timing/>" + b + "</p:sld>", "transition appears after <p:timing> (ECMA-376 order)"}}) {
        SCOPED_TRACE(xml);
        EXPECT_EQ(SlideValidator::validationFailure(xml).value_or(""), reason);
        EXPECT_EQ(SlideValidator::isValid(xml), reason.empty());
    }
}

TEST(DeckTransformerTest, EachKindOfSlideTakesItsBranch) {
    TempDir dir;
    const auto in =
        DeckBuilder()
            .addSlide(slideXml(kTextBox, timing(step(anim("clickEffect", "500")) + step(anim("clickEffect", "2000")))))
            .addSlide(
                slideXml(kTextBox, timing(step(anim("clickEffect", "500")) + step(anim("clickEffect", "500", "exit")))))
            .addSlide(slideXml(kVideo, timing(step(mediaCall("clickEffect", "10000")))))
            .addSlide(slideXml(kVideo, timing(step(mediaCall("afterEffect", "10000")))))
            .addSlide(slideXml(kTextBox, timing(step(anim("clickEffect", "500", "exit")) +
                                                step(anim("clickEffect", "500", "exit")))))
            .addSlide(slideXml(kTextBox, "<p:clrMapOvr><a:masterClrMapping/></p:clrMapOvr>", "show=\"0\""))
            .addSlide(slideXml(kTextBox))
            .write(dir / "in.pptx");
    std::vector<Branch> branches;
    DeckModel model(in);
    const auto reports = DeckTransformer::prepare(model, dir / "out.pptx", {{4, 4000}}, {{7, 3000}}, 1000, 1500,
                                                  branches);
    EXPECT_EQ(branches, (std::vector<Branch>{Branch::bullets, Branch::bulletsWithExits, Branch::clickVideo,
                                             Branch::autoplayVideo, Branch::exits, Branch::static_, Branch::static_}));
    // Hidden slide 6 is rewritten too. (The advance times are the scanner's, DeckScannerTest's.)
    EXPECT_TRUE(reports[5].isHidden);
    EXPECT_TRUE(PptxArchive::readEntry(dir / "out.pptx", "ppt/slides/slide6.xml")
                    .ends_with("</p:clrMapOvr>" + TransitionWriter::block(1500) + "</p:sld>"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 2);  // nothing left beside
}

TEST(DeckTransformerTest, ErrorsLeaveNoOutputAndRejectedSlidesAreReportedTogether) {
    TempDir dir;
    writeFile(dir / "out.pptx", toBytes("earlier"));
    const auto prepare = [&](const DeckBuilder& deck, const SlideDurations& videoMs = {}) {
        DeckTransformer::prepare(deck.write(dir / "in.pptx"), dir / "out.pptx", videoMs, {}, 1000, 1500);
    };
    const auto refused = [&](const DeckBuilder& deck) {
        const auto e = thrown<DeckError>([&] { prepare(deck); });
        EXPECT_EQ(toString(readFile(dir / "out.pptx")), "earlier");
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 2);
        return std::pair{e.errorCase(), e.slides()};
    };
    using Slides = std::vector<std::int64_t>;
    const std::string unknownLength = slideXml(kVideo, timing(step(mediaCall("clickEffect", "x"))));
    const std::string triggered = slideXml(kTextBox + kVideo, playOnTrigger("3000"));
    // Every slide concerned is named; a video a click on another shape starts is none of them.
    EXPECT_EQ(refused(DeckBuilder()
                          .addSlide(slideXml(kTextBox))
                          .addSlide(unknownLength)
                          .addSlide(slideXml(kVideo))
                          .addSlide(unknownLength)),
              std::pair(DeckError::Case::missingVideoDuration, Slides{2, 4}));
    EXPECT_EQ(refused(DeckBuilder().addSlide(slideXml(kVideo)).addSlide(triggered).addSlide(slideXml(kVideo))),
              std::pair(DeckError::Case::videoWithoutMediaCall, Slides{1, 3}));
    const std::string otherBlock = "<mc:AlternateContent xmlns:mc=\"" + std::string(OOXML::mc) +
                                   "\"><mc:Choice Requires=\"p14\"/><mc:Fallback/></mc:AlternateContent>";
    const auto invalid = thrown<DeckError>([&] {
        prepare(DeckBuilder()
                    .addSlide(slideXml(kTextBox))
                    .addSlide(slideXml(kTextBox + "<x:y/>"))
                    .addSlide(slideXml(kTextBox))
                    .addSlide(slideXml(kTextBox, timing(step(anim("clickEffect", "500")))))
                    .addSlide(slideXml(kTextBox, TransitionWriter::block(1) + otherBlock)));
    });
    EXPECT_EQ(invalid.failures(),
              (std::vector<DeckError::SlideFailure>{
                  {2, "not well-formed XML"}, {5, "expected exactly one transition <mc:AlternateContent>, found 2"}}));

    EXPECT_NO_THROW(prepare(DeckBuilder().addSlide(unknownLength), {{1, 8000}}));
    // It stays as it was, timed as a still slide.
    EXPECT_NO_THROW(prepare(DeckBuilder().addSlide(triggered)));
    EXPECT_NE(PptxArchive::readEntry(dir / "out.pptx", "ppt/slides/slide1.xml").find("interactiveSeq"),
              std::string::npos);
    EXPECT_NO_THROW(prepare(DeckBuilder()));  // no slides: a copy without replaced entries
    EXPECT_EQ(ZipArchive::entryNames(dir / "out.pptx"), ZipArchive::entryNames(dir / "in.pptx"));
}

// Every deck is packaged (with a movie given) and prepared, with only its
// slides' timing and transition changed, except these four, each refused on
// one line for its own reason.
TEST(DeckTransformerTest, EveryCorpusDeckIsPackagedAndPreparedExceptTheKnownRefusals) {
    ORVANDEL_REQUIRE_CORPUS();
    struct Refusal {
        std::string deck;
        std::optional<DeckError::Case> deckError;  // none: the archive cannot be read
        std::int64_t slideOrStatus;
    };
    const auto noMediaCall = DeckError::Case::videoWithoutMediaCall;
    // The videos of PP006-Videos and shp-movie-props play only when clicked: they stay still, not refused.
    const std::vector<Refusal> refusals{{"asposej__Media-File.pptx", noMediaCall, 1},
                                        {"oxsdk__BROKEN_encrypted_pptx.pptx", std::nullopt, 9},
                                        {"poi__BROKEN_Divino_Revelado.pptx", std::nullopt, 9},
                                        {"poi__BROKEN_clusterfuzz-POIXSLFFuzzer-5463285576892416.pptx", std::nullopt,
                                         2}};
    TempDir dir;
    const auto out = dir / "prepared.pptx", movie = dir / "m.mp4";
    writeFile(movie, craftedMovie(1000, 2000));
    const FakeRenderer noRenderer([](const fs::path&) { ADD_FAILURE() << "rendered, though a movie is given"; });
    for (const auto& deck : corpusDecks()) {
        SCOPED_TRACE(deck.filename().string());
        const auto refusal = std::find_if(refusals.begin(), refusals.end(),
                                          [&](const Refusal& r) { return r.deck == deck.filename().string(); });
        const bool refused = refusal != refusals.end();
        try {
            // The lengths the user is asked for: every GIF's, and every video's that states none.
            SlideDurations videoMs, gifMs;
            bool anyVisible = false;
            for (const auto& s : DeckScanner::report(deck, {}, {})) {
                anyVisible = anyVisible || !s.isHidden;
                if (s.hasGif) gifMs[s.displayIndex] = 3000;
                if (!s.advTmMs) videoMs[s.displayIndex] = 5000;
            }
            if (anyVisible)
                OrvExporter::export_(deck, movie, dir / "a.orv", videoMs, gifMs, {}, "t", "t/1", {}, noRenderer);
            DeckTransformer::prepare(deck, out, videoMs, gifMs, 1000, 1500);
        } catch (const DeckError& e) {
            EXPECT_TRUE(refused && refusal->deckError == e.errorCase()) << e.what();
            EXPECT_EQ(e.slide(), refused ? refusal->slideOrStatus : -1);
            EXPECT_FALSE(std::filesystem::exists(out));
            continue;
        } catch (const PptxArchive::ArchiveError& e) {
            EXPECT_TRUE(refused && !refusal->deckError && e.entry() == "ppt/presentation.xml") << e.what();
            EXPECT_EQ(e.status(), refused ? refusal->slideOrStatus : -1);
            EXPECT_EQ(std::string(e.what()).find('\n'), std::string::npos) << e.what();
            continue;
        }
        EXPECT_FALSE(refused) << "prepared a deck that must be refused";
        EXPECT_TRUE(Subprocess::run({"unzip", "-tqq", out.string()}).succeeded());
        const auto slides = DeckModel(deck).slideFiles();
        for (const auto& name : ZipArchive::entryNames(deck)) {
            if (name.ends_with("/")) continue;
            if (std::find(slides.begin(), slides.end(), name) != slides.end()) {
                const std::string prepared = PptxArchive::readEntry(out, name);
                EXPECT_EQ(SlideValidator::validationFailure(prepared), std::nullopt) << name;
                EXPECT_EQ(untouchedPart(prepared), untouchedPart(PptxArchive::readEntry(deck, name))) << name;
            } else {
                EXPECT_EQ(PptxArchive::readEntryBytes(out, name), PptxArchive::readEntryBytes(deck, name)) << name;
            }
        }
        std::filesystem::remove(out);
    }
}
