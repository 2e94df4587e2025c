#include <gtest/gtest.h>

#include "container/SlideXML.hpp"
#include "container/XMLEmitter.hpp"

using namespace orvandel;

namespace {

// Real timings are checked as they are read, by the archive's walk over the corpus.
std::string roundTrip(std::string_view fragment, XMLEmitter::Options options) {
    return XMLEmitter::emit(SlideXML::parseFragment(fragment, "p:par"), options);
}

}  // namespace

TEST(XMLEmitterTest, AttributeOrderIsKeptOrSorted) {
    const auto identity = XMLEmitter::Options::identity;
    EXPECT_EQ(roundTrip("<p:par b=\"2\" a=\"1\"></p:par>", identity), "<p:par b=\"2\" a=\"1\"/>");
    EXPECT_EQ(roundTrip("<p:par b=\"2\" a=\"1\"></p:par>", XMLEmitter::Options::canonical), "<p:par a=\"1\" b=\"2\"/>");
    EXPECT_EQ(roundTrip("<p:par z=\"1\" p14:y=\"2\" a=\"3\"/>", {.sortAttributes = true}),
              "<p:par a=\"3\" p14:y=\"2\" z=\"1\"/>");
    // Declarations on the fragment itself are never written either.
    EXPECT_EQ(roundTrip("<p:par xmlns:x=\"urn:x\" x:k=\"v\"><a:b/></p:par>", identity),
              "<p:par x:k=\"v\"><a:b/></p:par>");
}

TEST(XMLEmitterTest, EscapesOnceAndWritesCdataAsText) {
    const auto identity = XMLEmitter::Options::identity;
    EXPECT_EQ(roundTrip("<p:par v=\"&lt;&amp;&quot;x&quot;'\">&lt;&amp;\"x\"&gt;'</p:par>", identity),
              "<p:par v=\"&lt;&amp;&quot;x&quot;'\">&lt;&amp;\"x\"&gt;'</p:par>");
    EXPECT_EQ(roundTrip("<p:par><![CDATA[a<b&c]]><!-- gone --><?pi gone?></p:par>", identity),
              "<p:par>a&lt;b&amp;c</p:par>");
    EXPECT_EQ(roundTrip("<p:par><!-- only a comment --></p:par>", identity), "<p:par/>");
}

TEST(XMLEmitterTest, WhitespaceTextIsKeptUnlessNormalised) {
    const std::string xml = "<p:par>\n  <p:cTn id=\"1\">  \t</p:cTn>\n  <a:t>\xC2\xA0 hi \n</a:t></p:par>";
    EXPECT_EQ(roundTrip(xml, XMLEmitter::Options::identity), xml);
    EXPECT_EQ(roundTrip(xml, {.normalizeWhitespace = true}), "<p:par><p:cTn id=\"1\"/><a:t>hi</a:t></p:par>");
}
