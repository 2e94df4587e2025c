#include <gtest/gtest.h>

#include "base/Regex.hpp"

using namespace orvandel;

TEST(RegexTest, DotStopsAtEveryLineTerminatorUnlessDotAll) {
    const std::string text = "<a:t>x\xE2\x80\xA8y</a:t><a:t>z</a:t>";  // U+2028 inside the first run
    Regex plain(R"(<a:t>(.*?)</a:t>)");
    EXPECT_EQ(plain.captures(text, 1), std::vector<std::string>{"z"});
    Regex dotAll(R"(<a:t>(.*?)</a:t>)", Regex::Options{.dotAll = true});
    EXPECT_EQ(dotAll.captures(text, 1), (std::vector<std::string>{"x\xE2\x80\xA8y", "z"}));
    EXPECT_EQ(Regex("a.b").captures("a\rb a\x0b"
                                    "b a\xc2\x85"
                                    "b axb",
                                    0),
              std::vector<std::string>{"axb"});
}

// Groups are read by every scanner of relationships and notes.
TEST(RegexTest, InvalidPatternMatchesNothingAndEmptyMatchesMoveOn) {
    Regex bad("(unclosed");
    EXPECT_FALSE(bad.isValid());
    EXPECT_TRUE(bad.allMatches("(unclosed").empty());

    EXPECT_EQ(Regex("x*").allMatches("axx").size(), 3u);  // "", "xx", "" as ICU and PCRE agree
}

TEST(RegexTest, LazyScanOverLargeTextDoesNotFailOrRecurse) {
    std::string big = "<p:pic>" + std::string(8 << 20, 'x') + "</p:pic>";
    Regex pic(R"(<p:pic\b[\s\S]*?</p:pic>)");
    EXPECT_EQ(pic.allMatches(big).size(), 1u);
}
