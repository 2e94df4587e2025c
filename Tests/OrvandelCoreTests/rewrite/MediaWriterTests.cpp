#include <gtest/gtest.h>

#include "TestSupport.hpp"
#include "TimingFixtures.hpp"
#include "rewrite/MediaWriter.hpp"

using namespace orvandel;
using namespace orvandel::test;

namespace {

std::string video(const std::string& nodeType, const std::string& delay) {
    return slide(timing(step(mediaCall(nodeType, "10000", delay))));
}

}  // namespace

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
}

TEST(MediaWriterTest, OnlyAClickStartedMainSequenceCallCanBeConverted) {
    const auto e =
        thrown<MediaWriter::MediaError>([] { MediaWriter::convertOnClickToAutoplay(video("afterEffect", "0")); });
    EXPECT_STREQ(e.what(), "no mainSeq mediacall effect to convert to autoplay");
    EXPECT_THROW(MediaWriter::convertOnClickToAutoplay(slide("")), MediaWriter::MediaError);
    EXPECT_EQ(MediaWriter::setAutoplayPreroll(slide(""), 500), slide(""));
}
