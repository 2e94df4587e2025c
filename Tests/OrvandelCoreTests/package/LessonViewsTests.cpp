// What shows a lesson outside a lesson player: its chapters.
#include <gtest/gtest.h>

#include <algorithm>

#include "TestSupport.hpp"
#include "package/ChapterList.hpp"
#include "package/ChapterVtt.hpp"
#include "package/CueCalculator.hpp"

using namespace orvandel;
using namespace orvandel::test;

namespace {

CueInput visible(std::int64_t slide, std::int64_t advanceMs, std::int64_t bullets = 0) {
    return {.slideIndex = slide, .advanceTimeMs = advanceMs, .bulletCount = bullets};
}

}  // namespace

TEST(ChapterListTest, OneChapterPerVisibleSlideHoldingItsCues) {
    const std::string longTitle =
        "Como as plantas transformam a luz do Sol em alimento e por que isso importa a todos nós";
    std::vector<CueInput> inputs{visible(1, 1500), visible(2, 4000), visible(3, 6000, 2), visible(4, 0),
                                 visible(5, 12000)};
    inputs[1].isHidden = true;
    inputs[2].bulletDursMs = {500, 2000};
    inputs[4].videoDurationMs = 10000;
    const auto chapters = ChapterList::chapters(inputs, {{1, "Fotossíntese"}, {5, longTitle}, {2, "Oculto"}});
    ASSERT_EQ(chapters.size(), 3u);
    EXPECT_EQ(chapters[0], (Chapter{0, 1500, "Fotossíntese"}));
    EXPECT_EQ(chapters[1], (Chapter{1500, 7500, "Slide 3"}));
    EXPECT_EQ(std::pair(chapters[2].startMs, chapters[2].endMs), std::pair(std::int64_t{7500}, std::int64_t{19500}));
    // Cut at a word, within the longest a title may be.
    EXPECT_EQ(chapters[2].title, "Como as plantas transformam a luz do Sol em alimento e por que isso importa a…");

    // Every cue of a slide falls inside its chapter: both come from one arithmetic.
    const std::vector<std::int64_t> slideOfChapter{1, 3, 5};
    for (const auto& cue : CueCalculator::calculateCues(inputs)) {
        const auto at = std::find(slideOfChapter.begin(), slideOfChapter.end(), cue.slideIndex);
        if (at == slideOfChapter.end()) continue;  // the slide that takes no time
        const auto& chapter = chapters[static_cast<std::size_t>(at - slideOfChapter.begin())];
        EXPECT_TRUE(cue.timeMs > chapter.startMs && cue.timeMs <= chapter.endMs) << cue.label << " " << cue.timeMs;
    }
}

TEST(ChapterVttTest, TimesFromWholeMillisecondsAndTitlesWithoutMarkup) {
    EXPECT_EQ(ChapterVtt::webVtt({{0, 1500, "Luz & <sombra> --> fim"}, {3'723'004, 360'000'000, "Resumo"}}),
              "WEBVTT\n\n1\n00:00:00.000 --> 00:00:01.500\nLuz &amp; &lt;sombra&gt; --&gt; fim\n\n"
              "2\n01:02:03.004 --> 100:00:00.000\nResumo\n");
}

