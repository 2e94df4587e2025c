#include <gtest/gtest.h>

#include "deck/DeckError.hpp"
#include "deck/LengthRules.hpp"

using namespace orvandel;
using Unused = LengthRules::Unused;

namespace {

SlideReport slide(std::int64_t n, std::vector<GifReport> gifs, std::int64_t videos = 0, bool hidden = false) {
    SlideReport s;
    s.displayIndex = n;
    s.gifs = std::move(gifs);
    s.videoCount = videos;
    s.isHidden = hidden;
    return s;
}
const GifReport kStill{"ppt/media/a.gif", false, {}, true};
const GifReport kMoving{"ppt/media/b.gif", true, 2400, true};
const GifReport kUnreadable{"ppt/media/c.gif", false, {}, false};
// 232 repeats of a 10.35 s pass: its own loop would hold the slide 40 minutes.
const GifReport kRepeating{"ppt/media/d.gif", true, 2'411'550, true, 10'350};

}  // namespace

// Slide 1 a still GIF, 2 a moving one (2.4 s), 3 an unreadable one, 4
// nothing, 5 a video, 6 hidden with an unreadable GIF, 7 a still GIF and a
// moving one.
TEST(LengthRulesTest, WhichLengthsAnExportUses) {
    const std::vector<SlideReport> deck{slide(1, {kStill}),
                                        slide(2, {kMoving}),
                                        slide(3, {kUnreadable}),
                                        slide(4, {}),
                                        slide(5, {}, 1),
                                        slide(6, {kUnreadable}, 0, true),
                                        slide(7, {kStill, kMoving})};
    struct Case {
        const char* name;
        SlideDurations videoMs, gifMs;
        Unused unused;
        SlideDurations usedGifMs, usedVideoMs;
        std::vector<Warning> warnings;
        std::optional<std::pair<DeckError::Case, std::vector<std::int64_t>>> refusal;
    };
    const std::vector<Case> cases{
        {"own lengths, still ones ignored",
         {{5, 7000}},
         {{1, 900}, {3, 5000}},
         Unused::refuse,
         {{2, 2400}, {3, 5000}, {7, 2400}},
         {{5, 7000}},
         {Warning::gifLengthIgnored(1, false), Warning::gifLengthAssumed(2, 2400), Warning::gifLengthAssumed(7, 2400)}},
        {"a given length wins", {}, {{2, 1000}, {3, 1}, {7, 1}}, Unused::refuse, {{2, 1000}, {3, 1}, {7, 1}}, {}, {}},
        {"an unreadable GIF without a length",
         {},
         {},
         Unused::refuse,
         {},
         {},
         {},
         std::pair(DeckError::Case::gifWithoutDuration, std::vector<std::int64_t>{3})},
        {"lengths for slides without: refused, all named",
         {{4, 1}, {9, 1}},
         {{3, 1}, {4, 1}, {5, 1}, {9, 1}},
         Unused::refuse,
         {},
         {},
         {},
         std::pair(DeckError::Case::lengthForSlideWithout, std::vector<std::int64_t>{4, 5, 9})},
        {"lengths for slides without: ignored in a batch",
         {{4, 1}, {5, 2}},
         {{3, 1}, {5, 1}},
         Unused::ignore,
         {{2, 2400}, {3, 1}, {7, 2400}},
         {{5, 2}},
         {Warning::gifLengthIgnored(5, true), Warning::videoLengthIgnored(4), Warning::gifLengthAssumed(2, 2400),
          Warning::gifLengthAssumed(7, 2400)}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        try {
            const auto used = LengthRules::apply(deck, c.videoMs, c.gifMs, c.unused);
            EXPECT_FALSE(c.refusal);
            EXPECT_EQ(used.gifMs, c.usedGifMs);
            EXPECT_EQ(used.videoMs, c.usedVideoMs);
            EXPECT_EQ(used.warnings, c.warnings);
        } catch (const DeckError& e) {
            ASSERT_TRUE(c.refusal) << e.what();
            EXPECT_EQ(std::pair(e.errorCase(), e.slides()), *c.refusal) << e.what();
        }
    }
}

// A GIF's own loop holds its slide at most about a minute, in whole passes.
TEST(LengthRulesTest, AGifsOwnLengthIsCutToWholePassesWithinAMinute) {
    const GifReport longPass{"ppt/media/e.gif", true, 210'000, true, 70'000};
    const GifReport aMinute{"ppt/media/f.gif", true, 60'000, true, 20'000};
    const std::vector<std::pair<std::vector<GifReport>, std::optional<std::int64_t>>> cases{
        {{kMoving}, 2400},
        {{kRepeating}, 51'750},  // five passes
        {{longPass}, 70'000},    // one pass, however long
        {{aMinute}, 60'000},     // a minute exactly is kept whole
        {{kMoving, kRepeating}, 51'750},
        {{kStill}, std::nullopt},
        {{kRepeating, kUnreadable}, std::nullopt},
    };
    for (const auto& [gifs, own] : cases) EXPECT_EQ(slide(1, gifs).ownGifLengthMs(), own) << gifs.front().part;
}
