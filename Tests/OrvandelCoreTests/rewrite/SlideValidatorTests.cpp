#include <gtest/gtest.h>

#include "rewrite/SlideValidator.hpp"
#include "rewrite/TransitionWriter.hpp"

using namespace orvandel;

namespace {

const std::string open = "<p:sld xmlns:p=\"http://schemas.openxmlformats.org/presentationml/2006/main\">";
const std::string root = open + "<p:cSld></p:cSld>";

std::string reason(const std::string& xml) { return SlideValidator::validationFailure(xml).value_or("valid"); }

}  // namespace

TEST(SlideValidatorTest, Messages) {
    const std::string b = TransitionWriter::block(2000);
    EXPECT_EQ(reason(root + b + "<p:timing/></p:sld>"), "valid");
    EXPECT_TRUE(SlideValidator::isValid(root + b + "</p:sld>"));

    EXPECT_EQ(reason(root + b + "<p:timing></p:sld>"), "not well-formed XML");
    EXPECT_EQ(reason(root + b + "<x:y/></p:sld>"), "not well-formed XML");  // undeclared prefix
    EXPECT_EQ(reason(root + "</p:sld>"), "expected exactly one transition (2 <p:transition>), found 0");
    EXPECT_EQ(reason(root + b + b + "</p:sld>"), "expected exactly one transition (2 <p:transition>), found 4");
    EXPECT_EQ(reason(root + "<p:transition/><p:transition/></p:sld>"),
              "expected exactly one transition <mc:AlternateContent>, found 0");
    const std::string otherBlock = "<mc:AlternateContent xmlns:mc=\"m\"><mc:Fallback/></mc:AlternateContent>";
    EXPECT_EQ(reason(root + b + otherBlock + "</p:sld>"), "expected exactly one transition <mc:AlternateContent>, found 2");
    // Only what follows the shape tree counts.
    EXPECT_EQ(reason(open + "<p:cSld>" + otherBlock + "</p:cSld>" + b + "</p:sld>"), "valid");
    EXPECT_EQ(reason(root + "<p:timing/>" + b + "</p:sld>"), "transition appears after <p:timing> (ECMA-376 order)");
    EXPECT_FALSE(SlideValidator::isValid(root + "<p:timing/>" + b + "</p:sld>"));
}
