#include <gtest/gtest.h>

#include "MediaWriter.hpp"
#include "SlideXML.hpp"
#include "TimingFixtures.hpp"

using namespace orvandel;
using namespace orvandel::test;

namespace {

std::string video(const std::string& nodeType, const std::string& delay) {
    return effect("presetClass=\"mediacall\" nodeType=\"" + nodeType + "\"", delay, "10000", "3");
}

template <typename F>
bool throwsNoMediaCall(F&& f) {
    try {
        f();
    } catch (const MediaWriter::MediaError& e) {
        return e == MediaWriter::MediaError::noMainSeqMediaCall() &&
               std::string(e.what()) == "no mainSeq mediacall effect to convert to autoplay";
    }
    return false;
}

}  // namespace

TEST(MediaWriterTest, AClickStartedVideoStartsWithTheSlideAfterItsPreroll) {
    const std::string source = slide(timing(step(video("clickEffect", "0"))));
    // While the call still waits for a click there is nothing to delay.
    EXPECT_EQ(MediaWriter::setAutoplayPreroll(source, 500), source);

    std::string expected = slide(timing(step(video("withEffect", "500"))));
    const std::string stepStart = "<p:cond delay=\"indefinite\"/>";  // the click step's own condition comes first
    expected.replace(expected.find(stepStart), stepStart.size(),
                     stepStart + "<p:cond evt=\"onBegin\" delay=\"0\"><p:tn val=\"2\"/></p:cond>");
    EXPECT_EQ(MediaWriter::setAutoplayPreroll(MediaWriter::convertOnClickToAutoplay(source), 500), expected);
}

TEST(MediaWriterTest, OnlyAClickStartedMainSequenceCallCanBeConverted) {
    EXPECT_TRUE(throwsNoMediaCall([] { MediaWriter::convertOnClickToAutoplay(slide("")); }));
    EXPECT_TRUE(throwsNoMediaCall(
        [] { MediaWriter::convertOnClickToAutoplay(slide(timing(step(video("afterEffect", "0"))))); }));
    EXPECT_TRUE(throwsNoMediaCall(
        [] { MediaWriter::convertOnClickToAutoplay(slide(timing(step(video("clickEffect", "0")), "interactiveSeq"))); }));

    // An autoplaying call gets its delay overwritten, whatever it was.
    EXPECT_EQ(MediaWriter::setAutoplayPreroll(slide(timing(step(video("afterEffect", "indefinite")))), 500),
              slide(timing(step(video("afterEffect", "500")))));
    EXPECT_EQ(MediaWriter::setAutoplayPreroll(slide(""), 500), slide(""));
}
