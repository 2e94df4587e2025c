#include <gtest/gtest.h>

#include "container/SlideXML.hpp"
#include "rewrite/TransitionWriter.hpp"

using namespace orvandel;

TEST(TransitionWriterTest, AnOldTransitionIsReplacedWhereItStood) {
    const std::string b = TransitionWriter::block(4200);
    EXPECT_EQ(b, "<mc:AlternateContent xmlns:mc=\"http://schemas.openxmlformats.org/markup-compatibility/2006\">"
                 "<mc:Choice xmlns:p14=\"http://schemas.microsoft.com/office/powerpoint/2010/main\" Requires=\"p14\">"
                 "<p:transition p14:dur=\"0\" advClick=\"0\" advTm=\"4200\"/></mc:Choice>"
                 "<mc:Fallback><p:transition advClick=\"0\" advTm=\"4200\"/></mc:Fallback></mc:AlternateContent>");
    const std::string expected = "<p:sld><p:cSld></p:cSld>" + b + "<p:timing/></p:sld>";
    EXPECT_EQ(TransitionWriter::insert("<p:sld><p:cSld></p:cSld><p:transition spd=\"slow\"><p:fade/></p:transition>"
                                       "<p:timing/></p:sld>", 4200),
              expected);
    EXPECT_EQ(TransitionWriter::insert("<p:sld><p:cSld></p:cSld><mc:AlternateContent><mc:Choice><p:transition/>"
                                       "</mc:Choice><mc:Fallback><p:transition/></mc:Fallback></mc:AlternateContent>"
                                       "<p:timing/></p:sld>", 4200),
              expected);
    EXPECT_EQ(TransitionWriter::insert(expected, 4200), expected);
}

TEST(TransitionWriterTest, ANewTransitionGoesBeforeTheTimingOrTheEndOfTheSlide) {
    const std::string b = TransitionWriter::block(0);
    EXPECT_EQ(TransitionWriter::insert("<p:sld><p:cSld/><p:clrMapOvr/></p:sld>", 0),
              "<p:sld><p:cSld/><p:clrMapOvr/>" + b + "</p:sld>");
    EXPECT_EQ(TransitionWriter::insert("<p:sld><p:cSld/><p:timing/></p:sld>", 0), "<p:sld><p:cSld/>" + b + "<p:timing/></p:sld>");
    // The slide's extension list stays last.
    const std::string ext = "<p:extLst><p:ext uri=\"{X}\"/></p:extLst>\n";
    EXPECT_EQ(TransitionWriter::insert("<p:sld><p:cSld><p:extLst/></p:cSld>" + ext + "</p:sld>", 0),
              "<p:sld><p:cSld><p:extLst/></p:cSld>" + b + ext + "</p:sld>");
    EXPECT_THROW(TransitionWriter::insert("<p:sld><p:cSld/>", 0), SlideXMLError);
}
