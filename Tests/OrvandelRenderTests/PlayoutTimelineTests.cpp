#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <tuple>

#include "AnimatedSlides.hpp"
#include "PrepareSupport.hpp"
#include "TestSupport.hpp"
#include "container/PptxArchive.hpp"
#include "container/SlideXML.hpp"
#include "deck/DeckScanner.hpp"
#include "package/CueCalculator.hpp"
#include "package/CueInputAssembler.hpp"
#include "plan/PlayoutTimeline.hpp"
#include "rewrite/DeckTransformer.hpp"
#include "rewrite/ExitWriter.hpp"
#include "rewrite/TimingTransformer.hpp"
#include "rewrite/UnifiedBulletPlanBuilder.hpp"
#include "storyboard/Storyboard.hpp"

using namespace orvandel;
using namespace orvandel::test;

namespace {

PlayoutTarget p3(std::int64_t n) { return {"3", n}; }
PlayoutTarget whole(const std::string& spid) { return {spid, std::nullopt}; }

}  // namespace

TEST(PlayoutTimelineTest, PreparedClickStepsShowAtTheirPlannedTimesAndExitsLeaveWhenTheyEnd) {
    const std::string source =
        slideXml("", timing(click(fade("clickEffect", paragraph(0))) +
                            click(fade("clickEffect", paragraph(1)) + fade("withEffect", shape("4"))) +
                            click(fade("clickEffect", paragraph(2)))));
    // Nobody clicks the source: everything that enters stays hidden.
    const auto unprepared = PlayoutTimeline::evaluate(source);
    EXPECT_EQ(unprepared.states, (std::vector<PlayoutState>{{0, {p3(0), p3(1), p3(2), whole("4")}}}));
    // Groups start at 0, 1500 and 3000; each head after its 1000 ms pause,
    // and the shape that comes with the second bullet with it.
    const auto prepared = PlayoutTimeline::evaluate(
        TimingTransformer::transformBulletSlide(source, {6000, 1000, 1500}));
    EXPECT_EQ(prepared.states, (std::vector<PlayoutState>{{0, {p3(0), p3(1), p3(2), whole("4")}},
                                                          {1000, {p3(1), p3(2), whole("4")}},
                                                          {2500, {p3(2)}},
                                                          {4000, {}}}));

    // A chart built by series shows one more series per step, unless it is
    // to be shown whole: then it appears with its first part.
    const auto series = [](int n) {
        return "<p:spTgt spid=\"7\"><p:graphicEl><a:chart seriesIdx=\"" + std::to_string(n) +
               "\" categoryIdx=\"-4\" bldStep=\"series\"/></p:graphicEl></p:spTgt>";
    };
    const std::string chart = TimingTransformer::transformBulletSlide(
        slideXml("", timing(click(fade("clickEffect", series(0))) + click(fade("clickEffect", series(1))))),
        {4500, 1000, 1500});
    const auto part = [](std::int64_t n) {
        return PlayoutTarget{"7", std::nullopt, GraphicPart{GraphicPart::Kind::chartSeries, n, 0, {}}};
    };
    EXPECT_EQ(PlayoutTimeline::evaluate(chart).states,
              (std::vector<PlayoutState>{{0, {part(0), part(1)}}, {1000, {part(1)}}, {2500, {}}}));
    EXPECT_EQ(PlayoutTimeline::evaluate(chart, {"7"}).states,
              (std::vector<PlayoutState>{{0, {whole("7")}}, {1000, {}}}));

    // Converted exits play by themselves, 500 and 2000 ms into the slide,
    // each hiding its shape as its fade ends.
    const auto exits = PlayoutTimeline::evaluate(ExitWriter::convertExitToAfterEffect(slideXml(
        "", timing(click(fade("clickEffect", shape("4"), false)) + click(fade("clickEffect", shape("5"), false))))));
    EXPECT_EQ(exits.states,
              (std::vector<PlayoutState>{{0, {}}, {1000, {whole("4")}}, {2500, {whole("4"), whole("5")}}}));
}

TEST(PlayoutTimelineTest, ReferencesMediaAndTriggersFollowTheTimingTree) {
    EXPECT_EQ(PlayoutTimeline::evaluate(slideXml()).states, (std::vector<PlayoutState>{{0, {}}}));

    // The video plays 500 ms in; shape 6 enters when the video's call ends
    // plus 250 ms; shape 5 only on a click on shape 2, so never.
    const std::string afterVideo = "<p:par><p:cTn><p:stCondLst><p:cond evt=\"onEnd\" delay=\"250\"><p:tn val=\"9\"/>"
                                   "</p:cond></p:stCondLst><p:childTnLst>" +
                                   fade("withEffect", shape("6")) + "</p:childTnLst></p:cTn></p:par>";
    const std::string trigger =
        "<p:seq><p:cTn id=\"20\" nodeType=\"interactiveSeq\"><p:stCondLst><p:cond evt=\"onClick\" "
        "delay=\"0\"><p:tgtEl>" +
        shape("2") + "</p:tgtEl></p:cond></p:stCondLst><p:childTnLst>" + click(fade("clickEffect", shape("5"))) +
        "</p:childTnLst></p:cTn></p:seq>";
    const auto playout = PlayoutTimeline::evaluate(
        slideXml("", timing(opening(playVideo("3", "4000", "500", " id=\"9\""), afterVideo), "mainSeq", trigger)));
    EXPECT_EQ(playout.media, (std::vector<MediaStart>{{"3", 500}}));
    EXPECT_EQ(playout.states, (std::vector<PlayoutState>{{0, {whole("5"), whole("6")}}, {4750, {whole("5")}}}));
}

// Over every deck of the corpus, without LibreOffice: each step of a
// prepared bullet slide, started where the timing plan put its group, shows
// between its slide's cue before it and its own cue (where cues follow the steps: no interleaved entry and exit groups,
// no media, and no group after a click group that keeps the delay it had within its click, which the timing rewrite
// does not move); and every state of every slide makes a well-formed storyboard slide.
TEST(PlayoutTimelineTest, OnEveryCorpusDeckStepsShowWhereThePlanAndTheCuesPutThem) {
    ORVANDEL_REQUIRE_CORPUS();
    TempDir dir;
    int steps = 0, states = 0;
    for (const auto& deck : corpusDecks()) {
        SCOPED_TRACE(deck.filename().string());
        std::vector<SlideReport> reports;
        try {
            reports = prepareSupplyingVideoLengths(deck, dir / "prepared.pptx");
        } catch (const Error&) {
            continue;  // decks refused on purpose; the deck transformer's tests cover them
        }
        const auto inputs = CueInputAssembler::cueInputs(reports, {}, {});
        PptxArchive::Deck source(deck), prepared(dir / "prepared.pptx");
        for (std::size_t i = 0; i < reports.size(); ++i) {
            const auto& r = reports[i];
            const std::string xml = prepared.readEntry(r.file);
            const auto playout = PlayoutTimeline::evaluate(xml);
            for (const auto& state : playout.states) {
                ++states;
                EXPECT_NO_THROW(XmlElement::parseDocument(Storyboard::slideInState(xml, state.hidden))) << r.file;
            }
            if (r.bulletCount < 1) continue;
            const auto plan = UnifiedBulletPlanBuilder::buildPlan(
                *SlideXML::parseElement(source.readEntry(r.file), "p:timing"), {*r.advTmMs, 1000, 1500});
            std::vector<std::int64_t> starts;
            bool followers = false;  // groups after a click group that keep their own delay
            for (std::size_t g = 0; g < plan.groups.size(); ++g) {
                followers = followers || (!starts.empty() && !plan.groups[g].startDelayMs);
                if (!plan.groups[g].startDelayMs) continue;
                starts.push_back(*plan.groups[g].startDelayMs);
            }
            const CueInput& alone = inputs[i];
            if (alone.isHidden || (alone.exitGroupCount >= 1 && !alone.orderedGroupKinds.empty()) ||
                alone.videoDurationMs || alone.gifDurationMs || followers ||
                starts.size() != std::size_t(r.bulletCount)) {
                continue;
            }
            const auto cues = CueCalculator::calculateCues({alone});  // [lead-in, step 1, ..., step n]
            for (std::size_t k = 0; k < starts.size(); ++k) {
                const std::int64_t next = k + 1 < starts.size() ? starts[k + 1] : r.advTmMs.value_or(0);
                // What the step shows: the first change of what is hidden (an emphasis changes nothing shown).
                const auto change = std::find_if(playout.states.begin() + 1, playout.states.end(),
                                                 [&](const PlayoutState& s) {
                                                     return s.startMs >= starts[k] && s.hidden != (&s - 1)->hidden;
                                                 });
                if (change == playout.states.end() || change->startMs >= next) continue;  // shows nothing new
                ++steps;
                EXPECT_GE(change->startMs, cues[k].timeMs) << r.file << " step " << k + 1;
                EXPECT_LT(change->startMs, cues[k + 1].timeMs) << r.file << " step " << k + 1;
            }
        }
    }
    std::cout << steps << " steps of bullet slides show between their cues; " << states << " states\n";
}

// Slides whose opening chain plays before three click bullets: a 9 s video,
// an entrance, and a GIF beside them (the GIF is not in the timing). The
// advance time, the cues and what the play-out shows must agree: each bullet
// appears at or after the cue before it and before its own cue, and the slide
// does not end before the last bullet's fade has played.
TEST(PlayoutTimelineTest, SlidesThatOpenWithMediaShowEachBulletBetweenItsCues) {
    TempDir dir;
    const std::string video = picture("5", "rId9", "<a:videoFile r:link=\"rId2\"/>");
    const std::vector<Rel> rels{{"rId2", "video", "../media/media1.mp4"},
                                {"rId9", "image", "../media/image1.png"},
                                {"rId5", "image", "../media/image2.gif"}};
    const std::string bullets = click(fade("clickEffect", paragraph(0))) + click(fade("clickEffect", paragraph(1))) +
                                click(fade("clickEffect", paragraph(2)));
    const std::string text = textBox("3", 1825625, para("Um", kBullet) + para("Dois", kBullet) + para("Tres", kBullet));
    // What, the slide's shapes and timing, the video's and the GIF's lengths:
    // when the first bullet appears.
    for (const auto& [what, shapes, chain, videoMs, gifMs, firstBulletMs] :
         std::vector<std::tuple<const char*, std::string, std::string, SlideDurations, SlideDurations, std::int64_t>>{
             {"a 9 s opening video", video + text, opening(playVideo("5", "9000", "0")), {{1, 9000}}, {}, 10000},
             {"an opening entrance",
              textBox("4", 365125, para("Titulo")) + text,
              opening(fade("afterEffect", shape("4"))),
              {},
              {},
              1500},
             {"a GIF beside the bullets", picture("6", "rId5") + text, "", {}, {{1, 3000}}, 1000}}) {
        SCOPED_TRACE(what);
        const auto deck =
            DeckBuilder().addSlide(slideXml(shapes, timing(chain + bullets)), rels).write(dir / "in.pptx");
        const auto reports = DeckTransformer::prepare(deck, dir / "out.pptx", videoMs, gifMs, 1000, 1500);
        const auto cues = CueCalculator::calculateCues(CueInputAssembler::cueInputs(reports, videoMs, gifMs));
        const auto playout = PlayoutTimeline::evaluate(PptxArchive::Deck(dir / "out.pptx").readEntry(reports[0].file));
        const std::int64_t advanceMs = *reports[0].advTmMs;
        std::vector<std::int64_t> bulletCues;
        for (const auto& cue : cues) {
            EXPECT_LE(cue.timeMs, advanceMs) << cue.label;  // no cue points into the next slide
            if (cue.label.ends_with("bullet") || cue.kind == CueKind::slide) bulletCues.push_back(cue.timeMs);
            EXPECT_TRUE(!cue.label.ends_with("video") || cue.timeMs >= 9000) << cue.label;
        }
        ASSERT_GE(bulletCues.size(), 3u);
        if (bulletCues.size() == 3) bulletCues.insert(bulletCues.begin(), 0);  // no lead-in cue beside a GIF
        std::int64_t lastShown = 0;
        for (std::int64_t k = 0; k < 3; ++k) {
            const auto shown = std::find_if(playout.states.begin(), playout.states.end(), [&](const PlayoutState& s) {
                return std::ranges::find(s.hidden, p3(k)) == s.hidden.end();
            });
            ASSERT_NE(shown, playout.states.end()) << "bullet " << k + 1;
            if (k == 0) {
                EXPECT_EQ(shown->startMs, firstBulletMs);
            }
            EXPECT_GE(shown->startMs, bulletCues[std::size_t(k)]) << "bullet " << k + 1;
            EXPECT_LT(shown->startMs, bulletCues[std::size_t(k) + 1]) << "bullet " << k + 1;
            lastShown = shown->startMs;
        }
        EXPECT_LE(lastShown + 500, advanceMs);
        if (!videoMs.empty()) {
            EXPECT_EQ(playout.media, (std::vector<MediaStart>{{"5", 0}}));
        }
    }
}

namespace {

// An effect of class `cls` in the opening group, `delay` ms after the one before it started.
std::string effectAt(const std::string& cls, int delay, const std::string& behaviours, const std::string& attrs = "",
                     const std::string& iterate = "") {
    return "<p:par><p:cTn presetClass=\"" + cls + "\" nodeType=\"withEffect\" " + attrs +
           "><p:stCondLst><p:cond delay=\"" + std::to_string(delay) + "\"/></p:stCondLst>" + iterate +
           "<p:childTnLst>" + behaviours + "</p:childTnLst></p:cTn></p:par>";
}
// A behaviour `name` on `target`: its attributes, its p:cTn's, what follows its p:cBhvr.
std::string on(const std::string& target, const std::string& name, const std::string& attrs, const std::string& cTn,
               const std::string& rest = "") {
    return "<p:" + name + attrs + "><p:cBhvr><p:cTn " + cTn + "/><p:tgtEl>" + target + "</p:tgtEl></p:cBhvr>" + rest +
           "</p:" + name + ">";
}

}  // namespace

TEST(PlayoutTimelineTest, EmphasesAndPathsHoldWhatTheyLeaveAndEveryEffectThatStartsIsPlanned) {
    const std::string path = " origin=\"layout\" path=\"M 0 0 L 0.25 -0.1 E\" pathEditMode=\"relative\"";
    const std::string effects =
        // 1000: shape 4 grows to 150% over 2 s and stays so; shape 5 moves along its path for 1 s.
        effectAt("emph", 1000,
                 on(shape("4"), "animScale", "", "dur=\"2000\" fill=\"hold\"", "<p:by x=\"150000\" y=\"150000\"/>")) +
        effectAt("path", 0, on(shape("5"), "animMotion", path, "dur=\"1000\""), "fill=\"hold\"") +
        // 4000: shape 4 turns and turns back, leaving it as it was.
        effectAt("emph", 3000,
                 on(shape("4"), "animRot", " by=\"5400000\"", "dur=\"500\" autoRev=\"1\" fill=\"hold\"")) +
        // 6000: shape 4 leaves; shape 5 moves as far again; 7000: the paragraph enters word by word.
        effectAt("exit", 2000, on(shape("4"), "animEffect", " transition=\"out\" filter=\"fade\"", "dur=\"500\"")) +
        effectAt("path", 0, on(shape("5"), "animMotion", path, "dur=\"1000\""), "fill=\"hold\"") +
        effectAt("entr", 1000, on(paragraph(0), "animEffect", " transition=\"in\" filter=\"fade\"", "dur=\"500\""), "",
                 "<p:iterate type=\"wd\"><p:tmPct val=\"10000\"/></p:iterate>");
    const auto playout = PlayoutTimeline::evaluate(slideXml(
        textBox("3", 0, para("Um dois tres")), timing(opening(effects) + click(fade("clickEffect", shape("9"))))));

    HeldChange grown{whole("4")}, moved{whole("5")}, movedTwice{whole("5")};
    grown.scaleX = grown.scaleY = 150000;
    moved.dx = 25000;
    moved.dy = -10000;
    movedTwice.dx = 50000;
    movedTwice.dy = -20000;
    const std::vector<PlayoutTarget> atStart{p3(0), whole("9")}, withoutFour{p3(0), whole("4"), whole("9")};
    EXPECT_EQ(playout.states, (std::vector<PlayoutState>{{0, atStart, {}},
                                                         {2000, atStart, {moved}},
                                                         {3000, atStart, {grown, moved}},
                                                         {5000, atStart, {grown, moved}},  // the turn, drawn
                                                         {6500, withoutFour, {grown, moved}},
                                                         {7000, {whole("4"), whole("9")}, {grown, movedTwice}}}));
    using Role = DrawnEffect::Role;
    std::vector<std::tuple<Role, std::vector<PlayoutTarget>>> drawn;
    for (std::size_t k = 1; k < playout.states.size(); ++k)
        drawn.emplace_back(playout.effects[k].role, playout.effectTargets[k]);
    EXPECT_EQ(drawn, (std::vector<std::tuple<Role, std::vector<PlayoutTarget>>>{{Role::path, {whole("5")}},
                                                                                {Role::emphasis, {whole("4")}},
                                                                                {Role::emphasis, {whole("4")}},
                                                                                {Role::exit, {whole("4")}},
                                                                                {Role::path, {whole("5")}}}));
    EXPECT_TRUE(playout.effects[3].drawn());

    // The click's effect never starts; the entrance comes into the path's state, drawn with it.
    std::vector<std::tuple<std::int64_t, std::vector<PlayoutTarget>, std::optional<std::size_t>, bool>> planned;
    for (const auto& p : playout.planned) planned.emplace_back(p.startMs, p.targets, p.state, p.drawsState);
    EXPECT_EQ(planned, (decltype(planned){{1000, {whole("4")}, 2, true},
                                          {1000, {whole("5")}, 1, true},
                                          {4000, {whole("4")}, 3, true},
                                          {6000, {whole("4")}, 4, true},
                                          {6000, {whole("5")}, 5, true},
                                          {7000, {p3(0)}, 5, false}}));
    ASSERT_EQ(playout.planned.size(), 6u);
    EXPECT_EQ(playout.planned.back().effect.iterate.units, 3);  // the paragraph's words

    // Grows a deck may hold without end add up to a bounded size.
    std::string grows;
    for (int k = 0; k < 6; ++k) {
        grows += effectAt("emph", 1000,
                          on(shape("4"), "animScale", "", "dur=\"10\" fill=\"hold\"",
                             "<p:by x=\"9223372036854775807\" y=\"100000\"/>"));
    }
    const auto grown6 = PlayoutTimeline::evaluate(slideXml("", timing(opening(grows)))).states.back().held;
    ASSERT_EQ(grown6.size(), 1u);
    EXPECT_EQ(std::tie(grown6[0].scaleX, grown6[0].scaleY),
              std::tuple(std::int64_t(1'000'000'000), std::int64_t(100000)));
}
