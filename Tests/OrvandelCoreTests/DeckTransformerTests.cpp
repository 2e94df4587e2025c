#include <gtest/gtest.h>

#include "Bytes.hpp"
#include "DeckBuilder.hpp"
#include "DeckError.hpp"
#include "DeckTransformer.hpp"
#include "PptxArchive.hpp"
#include "SlideValidator.hpp"
#include "SlideXML.hpp"
#include "TestSupport.hpp"
#include "TimingFixtures.hpp"
#include "TransitionWriter.hpp"
#include "ZipArchive.hpp"

using namespace orvandel;
using namespace orvandel::test;
using Branch = DeckTransformer::Branch;

namespace {

const std::string textBox = "<p:sp><p:nvSpPr><p:cNvPr id=\"2\" name=\"t\"/><p:cNvSpPr/><p:nvPr/></p:nvSpPr><p:spPr/></p:sp>";
const std::string videoShape =
    "<p:pic><p:nvPicPr><p:cNvPr id=\"3\" name=\"v\"/><p:cNvPicPr/><p:nvPr><a:videoFile r:link=\"rId2\"/></p:nvPr>"
    "</p:nvPicPr><p:blipFill/><p:spPr/></p:pic>";

std::string click(const std::string& dur, const std::string& cls = "entr") {
    return effect("presetClass=\"" + cls + "\" nodeType=\"clickEffect\"", "0", dur);
}
std::string video(const std::string& nodeType, const std::string& dur) {
    return effect("presetClass=\"mediacall\" nodeType=\"" + nodeType + "\"", "0", dur, "3");
}

std::string deckError(const std::function<void()>& f) {
    try {
        f();
    } catch (const DeckError& e) {
        return e.what();
    }
    return "no error";
}

}  // namespace

TEST(DeckTransformerTest, EachKindOfSlideTakesItsBranchAndGetsItsAdvanceTime) {
    TempDir dir;
    DeckBuilder()
        .addSlide(slideXml(textBox, timing(step(click("500")) + step(click("2000")))))
        .addSlide(slideXml(textBox, timing(step(click("500")) + step(click("500", "exit")))))
        .addSlide(slideXml(videoShape, timing(step(video("clickEffect", "10000")))))
        .addSlide(slideXml(videoShape, timing(step(video("afterEffect", "10000")))))
        .addSlide(slideXml(textBox, timing(step(click("500", "exit")) + step(click("500", "exit")))))
        .addSlide(slideXml(textBox, "<p:clrMapOvr><a:masterClrMapping/></p:clrMapOvr>", "show=\"0\""))
        .addSlide(slideXml(textBox))
        .addEntry("ppt/media/media1.mp4", Bytes{1, 2, 3})
        .write(dir / "in.pptx");

    std::vector<Branch> branches;
    const auto reports = DeckTransformer::prepare(dir / "in.pptx", dir / "out.pptx", {{4, 4000}}, {{7, 3000}}, 1000,
                                                  1500, branches);
    EXPECT_EQ(branches, (std::vector<Branch>{Branch::bullets, Branch::bulletsWithExits, Branch::clickVideo,
                                             Branch::autoplayVideo, Branch::exits, Branch::static_, Branch::static_}));
    ASSERT_EQ(reports.size(), 7u);
    std::vector<std::int64_t> advTm, videoDur;
    for (const auto& r : reports) {
        advTm.push_back(r.advTmMs.value_or(-1));
        videoDur.push_back(r.videoDurationMs.value_or(-1));
        EXPECT_EQ(r.file, "ppt/slides/slide" + std::to_string(r.displayIndex) + ".xml");
        EXPECT_EQ(r.isHidden, r.displayIndex == 6);
        EXPECT_EQ(r.hasOnClickVideo, r.displayIndex == 3);
        EXPECT_FALSE(r.hasGif);
    }
    EXPECT_EQ(advTm, (std::vector<std::int64_t>{6000, 4500, 11500, 5500, 4500, 1500, 4500}));
    EXPECT_EQ(videoDur, (std::vector<std::int64_t>{-1, -1, 10000, 4000, -1, -1, -1}));  // the user's value wins

    const auto names = ZipArchive::entryNames(dir / "in.pptx");
    EXPECT_EQ(ZipArchive::entryNames(dir / "out.pptx"), names);
    for (const auto& name : names) {
        if (name.rfind("ppt/slides/slide", 0) == 0) {
            EXPECT_TRUE(SlideValidator::isValid(PptxArchive::readEntry(dir / "out.pptx", name))) << name;
        } else {
            EXPECT_EQ(PptxArchive::readEntryBytes(dir / "out.pptx", name), PptxArchive::readEntryBytes(dir / "in.pptx", name))
                << name;
        }
    }
    EXPECT_TRUE(PptxArchive::readEntry(dir / "out.pptx", "ppt/slides/slide6.xml")
                    .ends_with("</p:clrMapOvr>" + TransitionWriter::block(1500) + "</p:sld>"));
    // Nothing is left beside the output.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 2);
}

TEST(DeckTransformerTest, VideoErrorsStopAtTheirSlide) {
    TempDir dir;
    DeckBuilder().addSlide(slideXml(textBox)).addSlide(slideXml(videoShape, timing(step(video("clickEffect", "x")))))
        .write(dir / "unknown.pptx");
    EXPECT_EQ(deckError([&] { DeckTransformer::prepare(dir / "unknown.pptx", dir / "o.pptx", {}, {}, 1000, 1500); }),
              "slide 2 has an autoplay video but no duration was provided (videoMs)");
    EXPECT_EQ(DeckTransformer::prepare(dir / "unknown.pptx", dir / "o.pptx", {{2, 8000}}, {}, 1000, 1500)[1].advTmMs,
              9500);

    DeckBuilder().addSlide(slideXml(videoShape)).write(dir / "idle.pptx");
    EXPECT_EQ(deckError([&] { DeckTransformer::prepare(dir / "idle.pptx", dir / "o.pptx", {}, {}, 1000, 1500); }),
              "slide 1 has a video but no autoplay/onClick media-call in the main sequence to convert");
}

TEST(DeckTransformerTest, RejectedSlidesAreReportedTogetherAndNothingIsWritten) {
    TempDir dir;
    const std::string otherBlock = "<mc:AlternateContent xmlns:mc=\"" + std::string(OOXML::mc) +
                                   "\"><mc:Choice Requires=\"p14\"/><mc:Fallback/></mc:AlternateContent>";
    DeckBuilder()
        .addSlide(slideXml(textBox))
        .addSlide(slideXml(textBox + "<x:y/>"))
        .addSlide(slideXml(textBox))
        .addSlide(slideXml(textBox, timing(step(click("500")))))
        .addSlide(slideXml(textBox, TransitionWriter::block(1) + otherBlock))
        .write(dir / "in.pptx");
    writeFile(dir / "out.pptx", toBytes("earlier"));
    EXPECT_EQ(deckError([&] { DeckTransformer::prepare(dir / "in.pptx", dir / "out.pptx", {}, {}, 1000, 1500); }),
              "prepared output failed validation: slide 2 (not well-formed XML); "
              "slide 5 (expected exactly one transition <mc:AlternateContent>, found 2)");
    EXPECT_EQ(toString(readFile(dir / "out.pptx")), "earlier");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 2);

    DeckBuilder().write(dir / "empty.pptx");
    EXPECT_TRUE(DeckTransformer::prepare(dir / "empty.pptx", dir / "out.pptx", {}, {}, 1000, 1500).empty());
    EXPECT_EQ(ZipArchive::entryNames(dir / "out.pptx"), ZipArchive::entryNames(dir / "empty.pptx"));
}
