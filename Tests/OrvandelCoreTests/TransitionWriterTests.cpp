#include <gtest/gtest.h>

#include "SlideValidator.hpp"
#include "SlideXML.hpp"
#include "TransitionWriter.hpp"

using namespace orvandel;

namespace {

const std::string root = "<p:sld xmlns:p=\"http://schemas.openxmlformats.org/presentationml/2006/main\">";

}  // namespace

TEST(TransitionWriterTest, BlockText) {
    EXPECT_EQ(TransitionWriter::block(0),
              "<mc:AlternateContent xmlns:mc=\"http://schemas.openxmlformats.org/markup-compatibility/2006\">"
              "<mc:Choice xmlns:p14=\"http://schemas.microsoft.com/office/powerpoint/2010/main\" Requires=\"p14\">"
              "<p:transition p14:dur=\"0\" advClick=\"0\" advTm=\"0\"/></mc:Choice>"
              "<mc:Fallback><p:transition advClick=\"0\" advTm=\"0\"/></mc:Fallback></mc:AlternateContent>");
}

TEST(TransitionWriterTest, AnOldTransitionIsReplacedWhereItStood) {
    const std::string b = TransitionWriter::block(4200);
    const std::string bare = root + "<p:cSld></p:cSld><p:transition spd=\"slow\"><p:fade/></p:transition>"
                                    "<p:timing><p:tnLst/></p:timing></p:sld>";
    const std::string out = TransitionWriter::insert(bare, 4200);
    EXPECT_EQ(out, root + "<p:cSld></p:cSld>" + b + "<p:timing><p:tnLst/></p:timing></p:sld>");
    EXPECT_EQ(SlideValidator::validationFailure(out), std::nullopt);

    const std::string wrapped =
        root + "<p:cSld></p:cSld><mc:AlternateContent xmlns:mc=\"" + std::string(OOXML::mc) +
        "\"><mc:Choice Requires=\"p14\"><p:transition/></mc:Choice><mc:Fallback><p:transition/></mc:Fallback>"
        "</mc:AlternateContent><p:timing><p:tnLst/></p:timing></p:sld>";
    EXPECT_EQ(TransitionWriter::insert(wrapped, 4200), out);
    EXPECT_EQ(TransitionWriter::insert(out, 4200), out);
}

TEST(TransitionWriterTest, ANewTransitionGoesBeforeTheTimingOrTheEndOfTheSlide) {
    const std::string b = TransitionWriter::block(1500);
    EXPECT_EQ(TransitionWriter::insert(root + "<p:cSld/><p:clrMapOvr/></p:sld>", 1500),
              root + "<p:cSld/><p:clrMapOvr/>" + b + "</p:sld>");
    EXPECT_EQ(TransitionWriter::insert("<p:sld><p:cSld/><p:timing/></p:sld>", 1500),
              "<p:sld><p:cSld/>" + b + "<p:timing/></p:sld>");
    // The slide's extension list stays last.
    const std::string ext = "<p:extLst><p:ext uri=\"{X}\"/></p:extLst>\n";
    EXPECT_EQ(TransitionWriter::insert("<p:sld><p:cSld><p:extLst/></p:cSld>" + ext + "</p:sld>", 1500),
              "<p:sld><p:cSld><p:extLst/></p:cSld>" + b + ext + "</p:sld>");
    try {
        TransitionWriter::insert("<p:sld><p:cSld/>", 1500);
        FAIL() << "no error";
    } catch (const SlideXMLError& e) {
        EXPECT_STREQ(e.what(), "fragment not found: </p:sld>");
    }
}
