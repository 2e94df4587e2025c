#include <gtest/gtest.h>

#include "TestSupport.hpp"
#include "container/XmlElement.hpp"

using namespace orvandel;

TEST(XmlElementTest, ReadsNamesAttributesAndTextAsWritten) {
    auto root = XmlElement::parseDocument(
        "<w xmlns:p=\"urn:p\"><p:a z=\"1\" p:y=\"2\" x=\"&amp;&lt;\"> <![CDATA[<raw>]]></p:a></w>");
    auto a = root.firstChildElement("p:a");
    ASSERT_TRUE(a);
    EXPECT_EQ(a.name(), "p:a");
    const std::vector<std::pair<std::string, std::string>> attrs{{"z", "1"}, {"p:y", "2"}, {"x", "&<"}};
    EXPECT_EQ(a.attributes(), attrs);
    std::vector<std::string> texts;
    a.visitChildren([&](XmlElement::NodeKind kind, const XmlElement&, std::string_view text) {
        if (kind == XmlElement::NodeKind::text) texts.emplace_back(text);
    });
    EXPECT_EQ(texts, (std::vector<std::string>{" ", "<raw>"}));
}

TEST(XmlElementTest, UndeclaredPrefixAndMalformedTextFail) {
    EXPECT_THROW(XmlElement::parseDocument("<w><a></w>"), XmlParseError);
    EXPECT_THROW(XmlElement::parseDocument(""), XmlParseError);
    const auto undeclared = test::thrown<XmlParseError>([] { XmlElement::parseDocument("<w><q:a/></w>"); });
    EXPECT_NE(std::string(undeclared.what()).find("q"), std::string::npos) << undeclared.what();
}

TEST(XmlElementTest, EditsSurviveTheirHandlesAndDetachedNodesAreFreed) {
    XmlElement moved;
    {
        auto root = XmlElement::parseDocument("<w xmlns:p=\"urn:p\"><p:s id=\"1\"/><p:s id=\"2\"><p:k/></p:s></w>");
        auto steps = root.childElements("p:s");
        ASSERT_EQ(steps.size(), 2u);
        auto kid = steps[1].firstChildElement("p:k");
        kid.detach();
        steps[0].appendChild(kid);
        steps[1].detach();  // never reattached: freed with the document
        auto created = root.createElement("p:cond");
        created.addAttribute("evt", "onBegin");
        created.addAttribute("p:delay", "0");
        steps[0].appendChild(created);
        auto orphan = root.createElement("p:never");  // never attached
        steps[0].replaceAttribute("id", "9");
        steps[0].addAttribute("q", "1");
        steps[0].removeAttribute("q");
        moved = created;
    }
    // The document lives on through the last handle.
    EXPECT_EQ(moved.name(), "p:cond");
    EXPECT_EQ(moved.attribute("p:delay"), "0");
    auto parent = moved.parent();
    EXPECT_EQ(parent.attribute("id"), "9");
    std::vector<std::string> names;
    parent.parent().walk([&](const XmlElement& e) { names.push_back(e.name()); });
    EXPECT_EQ(names, (std::vector<std::string>{"w", "p:s", "p:k", "p:cond"}));
}
