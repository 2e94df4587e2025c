#include <gtest/gtest.h>

#include <algorithm>

#include "DeckBuilder.hpp"
#include "PrepareSupport.hpp"
#include "TestSupport.hpp"
#include "TimingFixtures.hpp"
#include "base/Subprocess.hpp"
#include "container/PptxArchive.hpp"
#include "container/SlideXML.hpp"
#include "container/ZipArchive.hpp"
#include "deck/DeckScanner.hpp"
#include "rewrite/DeckTransformer.hpp"
#include "rewrite/SlideValidator.hpp"
#include "rewrite/TransitionWriter.hpp"

using namespace orvandel;
using namespace orvandel::test;
using Branch = DeckTransformer::Branch;

namespace {

std::string click(const std::string& dur, const std::string& cls = "entr") {
    return effect("presetClass=\"" + cls + "\" nodeType=\"clickEffect\"", "0", dur);
}
std::string video(const std::string& nodeType, const std::string& dur) {
    return effect("presetClass=\"mediacall\" nodeType=\"" + nodeType + "\"", "0", dur, "3");
}

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

TEST(DeckTransformerTest, EachKindOfSlideTakesItsBranchAndGetsItsAdvanceTime) {
    TempDir dir;
    const auto in =
        DeckBuilder()
            .addSlide(slideXml(kTextBox, timing(step(click("500")) + step(click("2000")))))
            .addSlide(slideXml(kTextBox, timing(step(click("500")) + step(click("500", "exit")))))
            .addSlide(slideXml(kVideo, timing(step(video("clickEffect", "10000")))))
            .addSlide(slideXml(kVideo, timing(step(video("afterEffect", "10000")))))
            .addSlide(slideXml(kTextBox, timing(step(click("500", "exit")) + step(click("500", "exit")))))
            .addSlide(slideXml(kTextBox, "<p:clrMapOvr><a:masterClrMapping/></p:clrMapOvr>", "show=\"0\""))
            .addSlide(slideXml(kTextBox))
            .addEntry("ppt/media/media1.mp4", Bytes{1, 2, 3})
            .write(dir / "in.pptx");
    std::vector<Branch> branches;
    const auto reports = DeckTransformer::prepare(in, dir / "out.pptx", {{4, 4000}}, {{7, 3000}}, 1000, 1500, branches);
    EXPECT_EQ(branches, (std::vector<Branch>{Branch::bullets, Branch::bulletsWithExits, Branch::clickVideo,
                                             Branch::autoplayVideo, Branch::exits, Branch::static_, Branch::static_}));
    std::vector<std::int64_t> advTm, videoDur, hidden;
    for (const auto& r : reports) {
        advTm.push_back(r.advTmMs.value_or(-1));
        videoDur.push_back(r.videoDurationMs.value_or(-1));
        if (r.isHidden) hidden.push_back(r.displayIndex);
    }
    EXPECT_EQ(advTm, (std::vector<std::int64_t>{6000, 4500, 11500, 5500, 4500, 1500, 4500}));
    EXPECT_EQ(videoDur, (std::vector<std::int64_t>{-1, -1, 10000, 4000, -1, -1, -1}));  // the user's value wins
    EXPECT_EQ(hidden, (std::vector<std::int64_t>{6}));
    EXPECT_TRUE(reports[2].hasOnClickVideo);

    EXPECT_EQ(PptxArchive::readEntryBytes(dir / "out.pptx", "ppt/media/media1.mp4"), (Bytes{1, 2, 3}));
    EXPECT_TRUE(PptxArchive::readEntry(dir / "out.pptx", "ppt/slides/slide6.xml")
                    .ends_with("</p:clrMapOvr>" + TransitionWriter::block(1500) + "</p:sld>"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 2);  // nothing left beside
}

TEST(DeckTransformerTest, ErrorsLeaveNoOutputAndRejectedSlidesAreReportedTogether) {
    TempDir dir;
    writeFile(dir / "out.pptx", toBytes("earlier"));
    const auto prepareError = [&](const DeckBuilder& deck, const SlideDurations& videoMs = {}) -> std::string {
        try {
            DeckTransformer::prepare(deck.write(dir / "in.pptx"), dir / "out.pptx", videoMs, {}, 1000, 1500);
        } catch (const DeckError& e) {
            EXPECT_EQ(toString(readFile(dir / "out.pptx")), "earlier");
            EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 2);
            return e.what();
        }
        return "no error";
    };
    const std::string unknownLength = slideXml(kVideo, timing(step(video("clickEffect", "x"))));
    EXPECT_EQ(prepareError(DeckBuilder().addSlide(slideXml(kTextBox)).addSlide(unknownLength)),
              "slide 2 has an autoplay video but no duration was provided (videoMs)");
    EXPECT_EQ(prepareError(DeckBuilder().addSlide(slideXml(kVideo))),
              "slide 1 has a video but no autoplay/onClick media-call in the main sequence to convert");
    const std::string otherBlock = "<mc:AlternateContent xmlns:mc=\"" + std::string(OOXML::mc) +
                                   "\"><mc:Choice Requires=\"p14\"/><mc:Fallback/></mc:AlternateContent>";
    EXPECT_EQ(prepareError(DeckBuilder()
                               .addSlide(slideXml(kTextBox))
                               .addSlide(slideXml(kTextBox + "<x:y/>"))
                               .addSlide(slideXml(kTextBox))
                               .addSlide(slideXml(kTextBox, timing(step(click("500")))))
                               .addSlide(slideXml(kTextBox, TransitionWriter::block(1) + otherBlock))),
              "prepared output failed validation: slide 2 (not well-formed XML); "
              "slide 5 (expected exactly one transition <mc:AlternateContent>, found 2)");

    EXPECT_EQ(prepareError(DeckBuilder().addSlide(unknownLength), {{1, 8000}}), "no error");
    EXPECT_EQ(prepareError(DeckBuilder()), "no error");  // no slides: a copy without replaced entries
    EXPECT_EQ(ZipArchive::entryNames(dir / "out.pptx"), ZipArchive::entryNames(dir / "in.pptx"));
}

TEST(DeckTransformerTest, EveryCorpusDeckIsPreparedOrRefusedWithATypedError) {
    ORVANDEL_REQUIRE_CORPUS();
    TempDir dir;
    const auto out = dir / "prepared.pptx";
    for (const auto& deck : corpusDecks()) {
        SCOPED_TRACE(deck.filename().string());
        std::filesystem::remove(out);
        try {
            prepareSupplyingVideoLengths(deck, out);
        } catch (const Error& e) {
            EXPECT_FALSE(std::string(e.what()).empty());
            EXPECT_FALSE(std::filesystem::exists(out));
            continue;
        }
        ASSERT_FALSE(isBrokenDeck(deck));
        EXPECT_TRUE(Subprocess::run({"unzip", "-tqq", out.string()}).succeeded());
        const auto slides = DeckScanner::orderedSlideFiles(deck);
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
    }
}
