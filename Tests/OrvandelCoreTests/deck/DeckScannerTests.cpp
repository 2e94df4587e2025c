#include <gtest/gtest.h>

#include "DeckBuilder.hpp"
#include "TestSupport.hpp"
#include "TimingFixtures.hpp"
#include "container/PptxArchive.hpp"
#include "container/SlideXML.hpp"
#include "container/ZipArchive.hpp"
#include "deck/DeckScanner.hpp"

using namespace orvandel;
using namespace orvandel::test;
using PptxArchive::ArchiveError;

TEST(DeckScannerTest, SlidesFollowTheSldIdOrderAndTheirTargets) {
    TempDir dir;
    DeckBuilder deck;
    for (int i = 0; i < 3; ++i) deck.addSlide(slideXml());
    // A section list names slides by p14:sldId too; those carry no r:id.
    deck.addEntry("ppt/presentation.xml",
                  std::string("<?xml version=\"1.0\"?><p:presentation xmlns:r=\"") + kNsR + "\" xmlns:p=\"" + kNsP +
                      "\"><p:sldIdLst><p:sldId id=\"258\" r:id=\"rId3\"/><p:sldId id=\"300\" r:id=\"rId7\"/>"
                      "<p:sldId id=\"256\" r:id=\"rId1\"/><p:sldId id=\"257\" r:id=\"rId2\"/></p:sldIdLst>"
                      "<p:extLst><p:ext uri=\"{521415D9-36F7-43E2-AB2F-B90AF26B5E84}\"><p14:sectionLst "
                      "xmlns:p14=\"http://schemas.microsoft.com/office/powerpoint/2010/main\">"
                      "<p14:section name=\"Um\" id=\"{A}\"><p14:sldIdLst><p14:sldId id=\"256\"/>"
                      "<p14:sldId id=\"257\"/><p14:sldId id=\"258\"/></p14:sldIdLst></p14:section>"
                      "</p14:sectionLst></p:ext></p:extLst></p:presentation>");
    deck.addEntry("ppt/_rels/presentation.xml.rels",
                  "\xEF\xBB\xBF" + relationshipsXml({{"rId2", "slide", "slides/slide9.xml"},
                                                     {"rId1", "slide", "/ppt/slides/slide1.xml"},
                                                     {"rId4", "slideLayout", "slideLayouts/slideLayout1.xml"},
                                                     {"rId3", "slide", "slides/slide3.xml"},
                                                     {"rId2", "slide", "slides/slide2.xml"}}));
    // rId7 has no relationship and is skipped; the later rId2 wins.
    const auto order = deck.write(dir / "order.pptx");
    EXPECT_EQ(DeckModel(order).slideFiles(),
              (std::vector<std::string>{"ppt/slides/slide3.xml", "ppt/slides/slide1.xml", "ppt/slides/slide2.xml"}));
    const auto reports = DeckScanner::report(order, {}, {});
    ASSERT_EQ(reports.size(), 3u);
    EXPECT_EQ(reports[2].displayIndex, 3);
    EXPECT_EQ(reports[2].file, "ppt/slides/slide2.xml");

    EXPECT_TRUE(DeckScanner::report(DeckBuilder().write(dir / "empty.pptx"), {}, {}).empty());
}

// A missing slide part is only a warning: HostileInputTest's gap.pptx.
TEST(DeckScannerTest, MissingRelationshipsOrUnreadableTimingFailTheReport) {
    TempDir dir;
    auto entries = DeckBuilder().addSlide(slideXml(kTextBox)).entries();
    std::erase_if(entries, [](const auto& e) { return e.first == "ppt/_rels/presentation.xml.rels"; });
    ZipArchive::create(entries, dir / "deck.pptx");
    EXPECT_EQ(thrown<ArchiveError>([&] { DeckModel(dir / "deck.pptx").slideFiles(); }).entry(),
              "ppt/_rels/presentation.xml.rels");
    const auto broken = DeckBuilder()
                            .addSlide(slideXml(kTextBox, "<p:timing><p:tnLst><q:par/></p:tnLst></p:timing>"))
                            .write(dir / "broken.pptx");
    EXPECT_THROW(DeckScanner::report(broken, {}, {}), SlideXMLError);
}

TEST(DeckScannerTest, HiddenIsReadFromTheRootStartTagOnly) {
    const auto hidden = [](const std::string& attrs) { return DeckModel::isHidden(slideXml("", "", attrs)); };
    for (const char* attrs : {"show=\"0\"", "show='false'", "show = \"FALSE\""}) EXPECT_TRUE(hidden(attrs)) << attrs;
    for (const char* attrs : {"show=\"1\"", "show=\"\"", "", "xshow=\"0\""}) EXPECT_FALSE(hidden(attrs)) << attrs;
    EXPECT_FALSE(DeckModel::isHidden(slideXml("<p:sp show=\"0\"/>")));
    EXPECT_FALSE(DeckModel::isHidden("<p:sld show=\"0\""));
    // Any prefix of the presentation namespace; what follows the root tag is not read.
    EXPECT_TRUE(DeckModel::isHidden(std::string("<q:sld xmlns:q=\"") + kNsP + "\" show=\"0\"><q:cSld></oops>"));
}

TEST(DeckScannerTest, VideoProbesReadTheTiming) {
    // A media call outside the main sequence still autoplays, but is no main-sequence video.
    for (const auto& [timingXml, autoplay, video] : std::vector<std::tuple<std::string, bool, MainSeqVideo>>{
             {timing(step(mediaCall("clickEffect", "7250"))), false, {true, true, 7250}},
             {timing(step(mediaCall("withEffect", "indefinite"))), true, {true, false, std::nullopt}},
             {timing(step(effect("presetClass=\"mediacall\"", "0", "1"))), true, {true, false, 1}},
             {timing(step(mediaCall("withEffect", "500")), "interactiveSeq"), true, {}},
             {"<p:timing><p:cTn presetClass=\"mediacall\"></p:timing>", false, {}}}) {
        SCOPED_TRACE(timingXml);
        EXPECT_EQ(DeckScanner::hasVideoAutoplay(slideXml(kTextBox + kVideo, timingXml)), autoplay);
        EXPECT_EQ(DeckScanner::mainSeqVideo(slideXml(kTextBox + kVideo, timingXml)), video);
    }
}

TEST(DeckScannerTest, GifsAreNonVideoPicturesWithAGifTarget) {
    // The video's poster frame (rId9) is a GIF too, but belongs to the video.
    const std::string rels = relationshipsXml({{"rId2", "video", "../media/media1.mp4"},
                                               {"rId9", "image", "../media/poster.gif"},
                                               {"rId5", "image", "../media/image1.GIF"},
                                               {"rId6", "image", "../media/image2.png"}});
    EXPECT_FALSE(DeckScanner::slideHasGif(slideXml(kVideo), rels));
    EXPECT_TRUE(DeckScanner::slideHasGif(slideXml(kVideo + picture("4", "rId5")), rels));
    EXPECT_FALSE(DeckScanner::slideHasGif(slideXml(picture("4", "rId6")), rels));
    EXPECT_FALSE(DeckScanner::slideHasGif(slideXml(picture("4", "rId5")), ""));
    // Any prefix of the picture's namespace, any relationship id.
    EXPECT_TRUE(DeckScanner::slideHasGif(slideXml(std::string("<q:pic xmlns:q=\"") + kNsP +
                                                  "\"><a:blip r:embed=\"gif\"/></q:pic>"),
                                         relationshipsXml({{"gif", "image", "../media/a.gif"}})));
}

TEST(DeckScannerTest, ReportsEverySlideWithItsAdvanceTime) {
    TempDir dir;
    const std::vector<Rel> mediaRels{{"rId2", "video", "../media/media1.mp4"},
                                     {"rId9", "image", "../media/poster.gif"}};
    const auto deck =
        DeckBuilder()
            .addSlide(slideXml(kTextBox, timing(step(anim("clickEffect", "500")) + step(anim("clickEffect", "2000")))))
            .addSlide(slideXml(kTextBox + kVideo, timing(step(mediaCall("clickEffect", "indefinite")))), mediaRels)
            .addSlide(slideXml(kTextBox, "", "show=\"0\""))
            .addSlide(slideXml(picture("4", "rId5")), {{"rId5", "image", "../media/image1.GIF"}})
            .addSlide(slideXml(kTextBox + kVideo + kVideo, timing(step(mediaCall("withEffect", "10000")))), mediaRels)
            .write(dir / "deck.pptx");

    // The table says it all: slide 1's steps, the "needs videoMs" of slide 2,
    // the user's video length for hidden slide 3 that has none, the GIF of
    // slide 4 and not the poster of slide 5. A value wider than its column
    // pushes the row on.
    auto reports = DeckScanner::report(deck, {{3, 2000}}, {{4, 3000}});
    ASSERT_EQ(reports.size(), 5u);
    EXPECT_EQ(DeckScanner::validateMedia(reports), MediaValidation{{5}});
    EXPECT_TRUE(DeckScanner::validateMedia(reports).needsAttention());
    reports.push_back({.displayIndex = 12345,
                       .file = "ppt/slides/nested/ppt/slides/introducao-slide9.xml",
                       .bulletCount = 1234567890,
                       .advTmMs = 1500});
    EXPECT_EQ(DeckScanner::formatTable(reports),
              "idx file                      bullets  autoDurMs  video  advTm\n"
              "1   slide1.xml                      2          0     no  6000\n"
              "2   slide2.xml                      0          0     no  needs videoMs\n"
              "3   slide3.xml                      0          0     no  3500\n"
              "4   slide4.xml                      0          0     no  4500\n"
              "5   slide5.xml                      0          0    yes  11500\n"
              "12345nested/introducao-slide9.xml1234567890          0     no  1500");

    // The user's lengths win over the deck's own.
    std::vector<std::optional<std::int64_t>> given;
    for (const auto& r : DeckScanner::report(deck, {{2, 8000}, {5, 4000}}, {})) given.push_back(r.advTmMs);
    EXPECT_EQ(given, (std::vector<std::optional<std::int64_t>>{6000, 9500, 1500, 1500, 5500}));
}

// The GIFs are read from the package: each part once, whatever its name's
// case; a part that is no GIF, or missing, is unreadable.
TEST(DeckScannerTest, ReportsEachGifsFramesAndTheMediaOnlyATriggerStarts) {
    TempDir dir;
    // Two frames of 120 ms, repeated once.
    const std::string frame = std::string("\x21\xF9\x04\x00\x0C\x00\x00\x00", 8) +
                              std::string("\x2C\0\0\0\0\x01\0\x01\0\0\x02\x02\x4C\x01\0", 15);
    const std::string moving = std::string("GIF89a\x01\0\x01\0\0\0\0", 13) +
                               std::string("\x21\xFF\x0BNETSCAPE2.0\x03\x01\x01\x00\x00", 19) + frame + frame + "\x3B";
    const std::vector<Rel> rels{{"rId5", "image", "../media/a.GIF"},
                                {"rId6", "image", "../media/b.gif"},
                                {"rId7", "image", "../media/none.gif"}};
    std::string alsoMain = playOnTrigger("3000");
    alsoMain.insert(alsoMain.find("<p:seq concurrent"), "<p:seq><p:cTn id=\"9\" nodeType=\"mainSeq\"><p:childTnLst>" +
                                                            step(mediaCall("clickEffect", "3000")) +
                                                            "</p:childTnLst></p:cTn></p:seq>");
    DeckBuilder()
        .addSlide(slideXml(picture("4", "rId5") + picture("5", "rId6") + picture("6", "rId7") + picture("7", "rId5")),
                  rels)
        .addSlide(slideXml(kTextBox + kVideo, playOnTrigger("3000")))
        .addSlide(slideXml(kTextBox + kVideo, playOnTrigger("3000", "3")))
        .addSlide(slideXml(kTextBox + kVideo, alsoMain))
        .addEntry("ppt/media/a.GIF", moving)
        .addEntry("ppt/media/b.gif", std::string("not a picture"))
        .write(dir / "deck.pptx");
    const auto reports = DeckScanner::report(dir / "deck.pptx", {}, {});
    EXPECT_EQ(reports[0].gifs, (std::vector<GifReport>{{"ppt/media/a.GIF", true, 480, true, 240},
                                                       {"ppt/media/b.gif", false, {}, false},
                                                       {"ppt/media/none.gif", false, {}, false}}));
    // A click on the text box, or on the video itself, starts it; on slide 4 the main sequence does too.
    std::vector<bool> triggered;
    for (const auto& r : reports) triggered.push_back(r.triggerVideo);
    EXPECT_EQ(triggered, (std::vector<bool>{false, true, true, false}));
}
