#include <gtest/gtest.h>

#include "TestSupport.hpp"
#include "TimingFixtures.hpp"
#include "base/Numbers.hpp"
#include "container/SlideXML.hpp"
#include "deck/TimingTree.hpp"
#include "rewrite/ExitWriter.hpp"
#include "rewrite/MediaWriter.hpp"
#include "rewrite/TransitionWriter.hpp"

using namespace orvandel;
using namespace orvandel::test;

// The writers that retime exits, start videos by themselves and set a slide's advance.
namespace {

// nodeType@delay of every effect of the main sequence.
std::vector<std::string> effects(const std::string& slideXml) {
    const auto t = SlideXML::parseFragment(SlideXML::extractElement(slideXml, "p:timing"), "p:timing");
    std::vector<std::string> out;
    for (const auto& g : TimingTree::groupContainers(*TimingTree::firstMainSeq(t))) {
        for (const auto& e : TimingTree::effectChildren(g)) {
            out.push_back(e.attribute("nodeType").value_or("") + "@" + formatInt(TimingTree::effectStartDelayMs(e)));
        }
    }
    return out;
}

std::string video(const std::string& nodeType, const std::string& delay) {
    return slide(timing(step(mediaCall(nodeType, "10000", delay))));
}

}  // namespace

TEST(ExitWriterTest, ClickStartedExitsFollowEachOtherAtFixedSteps) {
    const std::string exit = step(anim("clickEffect", "500", "exit")),
                      entrance = step(anim("clickEffect", "500", "entr"));
    const std::string out = ExitWriter::convertExitToAfterEffect(
        slide(timing(exit + entrance + exit + step(anim("clickEffect", "500", "exit", "9")))));
    EXPECT_EQ(effects(out),
              (std::vector<std::string>{"afterEffect@500", "clickEffect@0", "afterEffect@2000", "afterEffect@3500"}));

    const std::string noExits = slide(timing(entrance));
    EXPECT_EQ(ExitWriter::convertExitToAfterEffect(noExits), noExits);
    EXPECT_EQ(ExitWriter::retimeExitHeads(noExits, 500), noExits);
    EXPECT_EQ(ExitWriter::convertExitToAfterEffect(slide("")), slide(""));
}

TEST(ExitWriterTest, RetimingTouchesOnlyTheFirstExitOfEachGroup) {
    const std::string source = slide(
        timing(step(anim("afterEffect", "500", "", "1000") + anim("withEffect", "500", "exit") +
                    anim("withEffect", "500", "exit", "700")) +
               step(anim("afterEffect", "500", "exit", "1000"))));
    EXPECT_EQ(effects(ExitWriter::retimeExitHeads(source, 500)),
              (std::vector<std::string>{"afterEffect@1000", "withEffect@500", "withEffect@700", "afterEffect@500"}));
}

TEST(MediaWriterTest, AClickStartedVideoStartsWithTheSlideAfterItsPreroll) {
    // While the call still waits for a click there is nothing to delay.
    EXPECT_EQ(MediaWriter::setAutoplayPreroll(video("clickEffect", "0"), 500), video("clickEffect", "0"));

    std::string expected = video("withEffect", "500");
    const std::string stepStart = "<p:cond delay=\"indefinite\"/>";  // the click step's own condition comes first
    expected.replace(expected.find(stepStart), stepStart.size(),
                     stepStart + "<p:cond evt=\"onBegin\" delay=\"0\"><p:tn val=\"2\"/></p:cond>");
    EXPECT_EQ(MediaWriter::setAutoplayPreroll(MediaWriter::convertOnClickToAutoplay(video("clickEffect", "0")), 500),
              expected);
    // An autoplaying call gets its delay overwritten, whatever it was.
    EXPECT_EQ(MediaWriter::setAutoplayPreroll(video("afterEffect", "indefinite"), 500), video("afterEffect", "500"));

    // Only a click-started call of the main sequence can be converted.
    EXPECT_THROW(MediaWriter::convertOnClickToAutoplay(video("afterEffect", "0")), MediaWriter::MediaError);
    EXPECT_THROW(MediaWriter::convertOnClickToAutoplay(slide("")), MediaWriter::MediaError);
    EXPECT_EQ(MediaWriter::setAutoplayPreroll(slide(""), 500), slide(""));
}

TEST(TransitionWriterTest, TheBlockReplacesAnOldTransitionOrGoesBeforeTheTimingOrTheEnd) {
    const std::string b = TransitionWriter::block(4200);
    EXPECT_EQ(b, "<mc:AlternateContent xmlns:mc=\"http://schemas.openxmlformats.org/markup-compatibility/2006\">"
                 "<mc:Choice xmlns:p14=\"http://schemas.microsoft.com/office/powerpoint/2010/main\" Requires=\"p14\">"
                 "<p:transition p14:dur=\"0\" advClick=\"0\" advTm=\"4200\"/></mc:Choice>"
                 "<mc:Fallback><p:transition advClick=\"0\" advTm=\"4200\"/></mc:Fallback></mc:AlternateContent>");
    // The slide's extension list stays last.
    const std::string ext = "<p:extLst><p:ext uri=\"{X}\"/></p:extLst>\n";
    for (const auto& [slide, expected] : std::vector<std::pair<std::string, std::string>>{
             {"<p:cSld></p:cSld><p:transition spd=\"slow\"><p:fade/></p:transition><p:timing/>",
              "<p:cSld></p:cSld>" + b + "<p:timing/>"},
             {"<p:cSld></p:cSld><mc:AlternateContent><mc:Choice><p:transition/></mc:Choice><mc:Fallback>"
              "<p:transition/></mc:Fallback></mc:AlternateContent><p:timing/>",
              "<p:cSld></p:cSld>" + b + "<p:timing/>"},
             {"<p:cSld></p:cSld>" + b + "<p:timing/>", "<p:cSld></p:cSld>" + b + "<p:timing/>"},
             {"<p:cSld/><p:clrMapOvr/>", "<p:cSld/><p:clrMapOvr/>" + b},
             {"<p:cSld/><p:timing/>", "<p:cSld/>" + b + "<p:timing/>"},
             {"<p:cSld><p:extLst/></p:cSld>" + ext, "<p:cSld><p:extLst/></p:cSld>" + b + ext}}) {
        EXPECT_EQ(TransitionWriter::insert("<p:sld>" + slide + "</p:sld>", 4200), "<p:sld>" + expected + "</p:sld>");
    }
    EXPECT_NE(TransitionWriter::block(0).find(" advTm=\"0\"/></mc:Fallback>"), std::string::npos);
    EXPECT_THROW(TransitionWriter::insert("<p:sld><p:cSld/>", 0), SlideXMLError);
}
