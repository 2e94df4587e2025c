#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "DeckBuilder.hpp"
#include "TestSupport.hpp"
#include "TimingFixtures.hpp"

using namespace orvandel;
using namespace orvandel::test;
using Json = nlohmann::ordered_json;

namespace {

// 1: a bullet then an exit; 2: a click video of unknown length (hidden 3 has notes).
std::filesystem::path writeDeck(const TempDir& dir) {
    return DeckBuilder()
        .addSlide(
            slideXml(kTextBox, timing(step(anim("clickEffect", "500")) + step(anim("clickEffect", "500", "exit")))))
        .addNotes(1, notesSlideXml({"Um", "Dois"}))
        .addSlide(slideXml(kTextBox + kVideo, timing(step(mediaCall("clickEffect", "x")))))
        .addSlide(slideXml("", "", "show=\"0\""))
        .addNotes(3, notesSlideXml({"Três \"aspas\""}))
        .write(dir / "aula.pptx");
}

}  // namespace

// What the commands print around the scanners' results, which are tested
// with the scanners; wrong lengths and slides are refused in HostileInputTest.
TEST(ScanCommandTest, TableJsonAndTheUsersLengths) {
    TempDir dir;
    const auto deck = writeDeck(dir).string();
    EXPECT_TRUE(runCli({"scan", deck}).standardOutput.ends_with("  1500\n"));  // the table, whole

    const auto unknown = runCli({"scan", deck, "--json"});
    ASSERT_EQ(unknown.exitStatus, 0);
    const Json reports = Json::parse(unknown.standardOutput);
    ASSERT_EQ(reports.size(), 3u);
    EXPECT_EQ(reports[0].dump(),
              R"({"displayIndex":1,"file":"ppt/slides/slide1.xml","bulletCount":1,"bulletDursMs":[500],)"
              R"("autoDurationMs":0,"hasVideoAutoplay":false,"videoCount":0,"advTmMs":4500,"isHidden":false,)"
              R"("videoDurationMs":null,"hasOnClickVideo":false,"hasGif":false,"gifs":[],"hasExitEffect":true,)"
              R"("exitGroupCount":1,"orderedGroupKinds":["entry","exit"],"triggerVideo":false,)"
              R"("triggerAudio":false,"fonts":[]})");
    EXPECT_TRUE(reports[1]["advTmMs"].is_null());

    const Json given = Json::parse(
        runCli({"scan", "--video", "2:8000", deck, "--json", "--gif", "3:1000"}).standardOutput);
    EXPECT_EQ(given[1]["advTmMs"], 9500);
    EXPECT_EQ(given[1]["videoDurationMs"], 8000);
    EXPECT_EQ(given[2]["advTmMs"], 2500);
    EXPECT_EQ(runCli({"scan", deck, "--gif", "3"}).exitStatus, 2);
}

TEST(NotesCommandTest, TextAndJson) {
    TempDir dir;
    const auto deck = writeDeck(dir).string();
    EXPECT_EQ(runCli({"notes", deck}).standardOutput, "Slide 1:\nUm\nDois\n\nSlide 3:\nTrês \"aspas\"\n");
    EXPECT_EQ(runCli({"notes", "--json", deck}).standardOutput,
              "{\n  \"1\": \"Um\\nDois\",\n  \"3\": \"Três \\\"aspas\\\"\"\n}\n");
    EXPECT_EQ(runCli({"notes", DeckBuilder().addSlide(slideXml()).write(dir / "silent.pptx").string(), "--json"})
                  .standardOutput,
              "{}\n");
}
