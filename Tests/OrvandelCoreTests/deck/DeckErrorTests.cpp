#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TestSupport.hpp"
#include "deck/DeckError.hpp"

using namespace orvandel;
using testing::HasSubstr;

// Built under a comma-decimal locale: the seconds must still be written with a dot.
using DeckErrorTest = test::CommaDecimalLocaleTest;

// What each text takes from its error: slides, reasons, the path, the seconds.
TEST_F(DeckErrorTest, EachTextNamesItsSlidesPathOrSeconds) {
    for (const auto& [error, part] : std::vector<std::pair<DeckError, std::string>>{
             {DeckError::missingVideoDuration(2), "slide 2 "},
             {DeckError::invalidOutput({{2, "not well-formed XML"}, {5, "why"}}),
              ": slide 2 (not well-formed XML); slide 5 (why)"},
             {DeckError::videoWithoutMediaCall(1), "slide 1 "},
             {DeckError::gifWithoutDuration({3, 7}), "Os slides [3, 7] "},
             {DeckError::gifWithoutDuration({3, 7}), "(ex.: --gif 3:12000)"},
             {DeckError::gifWithoutDuration({}), "(ex.: --gif 0:12000)"},
             {DeckError::multipleVideosOnSlide({2}), "Os slides [2] "},
             {DeckError::masterDurationMismatch(12340, 8000), "(8.0 s) não bate com o tempo esperado do deck (12.3 s)"},
             {DeckError::orvWriteFailed("/a/Aula.orv"), " to /a/Aula.orv "}}) {
        EXPECT_THAT(error.what(), HasSubstr(part));
    }
}
