#include <gtest/gtest.h>

#include "TestSupport.hpp"
#include "base/Numbers.hpp"

using namespace orvandel;

TEST(NumbersTest, IntegersAcceptSignsAndNothingElse) {
    EXPECT_EQ(parseInt64("+500"), 500);
    EXPECT_EQ(parseInt64("-20"), -20);
    EXPECT_EQ(parseInt64("0"), 0);
    for (const char* bad : {"", "+", "+-1", " 1", "1 ", "1.5", "indefinite", "99999999999999999999"}) {
        EXPECT_EQ(parseInt64(bad), std::nullopt) << bad;
    }
}

using NumbersUnderCommaLocaleTest = test::CommaDecimalLocaleTest;

TEST_F(NumbersUnderCommaLocaleTest, DecimalsKeepTheirDot) {
    EXPECT_EQ(formatFixed(12.345, 1), "12.3");
    EXPECT_EQ(formatFixed(0.5999, 1), "0.6");
    EXPECT_EQ(parseDouble("12.5"), 12.5);
    for (const auto& [ms, text] : std::vector<std::pair<std::int64_t, std::string>>{
             {0, "0"}, {2000, "2"}, {1500, "1.5"}, {12345, "12.345"}, {1, "0.001"}, {10010, "10.01"}}) {
        EXPECT_EQ(msAsDecimalSeconds(ms), text);
        EXPECT_EQ(msFromDecimalSeconds(text), ms);
    }
    EXPECT_EQ(msFromDecimalSeconds("1.500"), 1500);
    for (const char* bad : {"", "1.", ".5", "-1", "+1", "1e3", "1.2345", "1,5", "9223372036854775"}) {
        EXPECT_EQ(msFromDecimalSeconds(bad), std::nullopt) << bad;
    }
    // Rounded half up on the first digit dropped, never through a double.
    EXPECT_EQ(roundedDecimal("1.2345", 3), 1235);
    EXPECT_EQ(roundedDecimal("4.0004999", 3), 4000);
    EXPECT_EQ(roundedDecimal("7.5", 0), 8);
    for (const char* bad : {"", "1.", ".5", "-0.5", "+1", "1e3", "1,5", "9223372036854775807.5"}) {
        EXPECT_EQ(roundedDecimal(bad, 0), std::nullopt) << bad;
    }
}
