#include <gtest/gtest.h>

#include "TestSupport.hpp"
#include "container/PptxArchive.hpp"
#include "container/SlideXML.hpp"
#include "container/XMLEmitter.hpp"
#include "container/ZipArchive.hpp"

using namespace orvandel;

namespace {

std::string roundTrip(std::string_view fragment, XMLEmitter::Options options, std::string_view root = "p:par") {
    return XMLEmitter::emit(SlideXML::parseFragment(fragment, root), options);
}

}  // namespace

TEST(XMLEmitterTest, AttributeOrderIsKeptOrSorted) {
    const auto identity = XMLEmitter::Options::identity;
    EXPECT_EQ(roundTrip("<p:par b=\"2\" a=\"1\"></p:par>", identity), "<p:par b=\"2\" a=\"1\"/>");
    EXPECT_EQ(roundTrip("<p:par b=\"2\" a=\"1\"></p:par>", XMLEmitter::Options::canonical), "<p:par a=\"1\" b=\"2\"/>");
    EXPECT_EQ(roundTrip("<p:par z=\"1\" p14:y=\"2\" a=\"3\"/>", {.sortAttributes = true}),
              "<p:par a=\"3\" p14:y=\"2\" z=\"1\"/>");
    // Declarations on the fragment itself are never written either.
    EXPECT_EQ(roundTrip("<p:par xmlns:x=\"urn:x\" x:k=\"v\"><a:b/></p:par>", identity), "<p:par x:k=\"v\"><a:b/></p:par>");
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

TEST(XMLEmitterTest, EveryCorpusTimingIsAFixedPointOfParseAndEmit) {
    ORVANDEL_REQUIRE_CORPUS();
    int timings = 0;
    for (const auto& deck : test::corpusDecks()) {
        if (test::isBrokenDeck(deck)) continue;
        for (const auto& entry : ZipArchive::entryNames(deck)) {
            if (!entry.starts_with("ppt/slides/slide")) continue;
            const std::string xml = PptxArchive::readEntry(deck, entry);
            const auto range = SlideXML::elementRange(xml, "p:timing");
            if (!range) continue;
            ++timings;
            const auto timing = std::string_view(xml).substr(range->first, range->second - range->first);
            const std::string first = roundTrip(timing, XMLEmitter::Options::identity, "p:timing");
            EXPECT_EQ(roundTrip(first, XMLEmitter::Options::identity, "p:timing"), first) << deck << ":" << entry;
        }
    }
    EXPECT_GT(timings, 0);
}
