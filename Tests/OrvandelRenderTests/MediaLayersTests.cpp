#include <gtest/gtest.h>

#include "DeckBuilder.hpp"
#include "media/EffectSounds.hpp"
#include "media/MediaLayers.hpp"
#include "media/MediaProbe.hpp"
#include "media/SlideMedia.hpp"

using namespace orvandel;
using namespace orvandel::test;

TEST(SlideMediaTest, MediaAreFoundWithTheirFileRectangleAndPlayback) {
    // A group halving its children and moving them by (1000, 2000); in it a
    // cropped, rotated, trimmed video that loops at 80 %.
    const std::string video = pictureWith(
        "4",
        "<a:videoFile r:link=\"rId2\"/><p:extLst><p:ext uri=\"x\"><p14:media xmlns:p14="
        "\"http://schemas.microsoft.com/office/powerpoint/2010/main\" r:embed=\"rId3\"><p14:trim st=\"1500.6\" end=\"250\"/></p14:media></p:ext></p:extLst>",
        "<a:blip r:embed=\"rId9\"/><a:srcRect l=\"10000\" t=\"-5000\" r=\"20000\"/>",
        "<a:xfrm rot=\"5400000\" flipH=\"1\"><a:off x=\"400\" y=\"600\"/><a:ext cx=\"2000\" cy=\"1000\"/></a:xfrm>");
    const std::string group =
        "<p:grpSp><p:nvGrpSpPr><p:cNvPr id=\"9\" name=\"g\"/><p:cNvGrpSpPr/><p:nvPr/></p:nvGrpSpPr><p:grpSpPr>"
        "<a:xfrm><a:off x=\"1000\" y=\"2000\"/><a:ext cx=\"5000\" cy=\"5000\"/><a:chOff x=\"0\" y=\"0\"/>"
        "<a:chExt cx=\"10000\" cy=\"10000\"/></a:xfrm></p:grpSpPr>" +
        video + "</p:grpSp>";
    const std::string timing =
        "<p:timing><p:tnLst><p:par><p:cTn id=\"1\"><p:childTnLst><p:video><p:cMediaNode vol=\"80000\"><p:cTn id=\"2\" "
        "repeatCount=\"indefinite\"/><p:tgtEl><p:spTgt spid=\"4\"/></p:tgtEl></p:cMediaNode></p:video><p:audio>"
        "<p:cMediaNode mute=\"1\"><p:cTn id=\"3\"/><p:tgtEl><p:spTgt spid=\"6\"/></p:tgtEl></p:cMediaNode></p:audio>"
        "</p:childTnLst></p:cTn></p:par></p:tnLst></p:timing>";
    const std::string slide =
        slideXml(group + picture("5", "rId9") + picture("6", "rId9", "<a:wavAudioFile r:embed=\"rId4\"/>") +
                     picture("7", "rId9") + picture("8", "rId9", "<a:videoFile r:link=\"rId5\"/>"),
                 timing);
    const std::string rels = relationshipsXml(
        {{"rId2", "video", "../media/media1.mp4"},
         {"rId3", "http://schemas.microsoft.com/office/2007/relationships/media", "../media/media1.mp4"},
         {"rId4", "audio", "/ppt/media/sound.WAV"},
         {"rId9", "image", "../media/anim.GIF"}});
    // The external link, as the deck's own writer marks it.
    const std::string linked = std::string(rels).insert(
        rels.rfind("</Relationships>"),
        "<Relationship Id=\"rId5\" Type=\"x/video\" Target=\"file:///srv/clip.mp4\" TargetMode=\"External\"/>");

    const auto media = SlideMedia::find(slide, linked, "ppt/slides/slide1.xml");
    ASSERT_EQ(media.size(), 5u);
    using Kind = SlideMedium::Kind;
    EXPECT_EQ(media[0], (SlideMedium{.kind = Kind::video,
                                     .shapeId = "4",
                                     .entry = "ppt/media/media1.mp4",
                                     .xEmu = 1200,
                                     .yEmu = 2300,
                                     .widthEmu = 1000,
                                     .heightEmu = 500,
                                     .rotation = 5400000,
                                     .flipH = true,
                                     .cropLeft = 10000,
                                     .cropRight = 20000,
                                     .trimStartMs = 1501,
                                     .trimEndMs = 250,
                                     .volume = 80000,
                                     .loops = true}));
    // Every picture of shape 5 and 7 shows the GIF; the clip is muted.
    EXPECT_EQ(media[1], (SlideMedium{.kind = Kind::gif, .shapeId = "5", .entry = "ppt/media/anim.GIF"}));
    EXPECT_EQ(media[2],
              (SlideMedium{.kind = Kind::audio, .shapeId = "6", .entry = "ppt/media/sound.WAV", .volume = 0}));
    EXPECT_EQ(media[4], (SlideMedium{.kind = Kind::video, .shapeId = "8", .externalTarget = "file:///srv/clip.mp4"}));

    EXPECT_TRUE(SlideMedia::find("<p:sld", rels, "ppt/slides/slide1.xml").empty());
}

TEST(MediaLayersTest, AMediumPlaysFromItsStartInItsRectangleUntilItEndsOrTheSlideDoes) {
    // A tenth of each side of a 4:3-framed 16:9 slide in from its corner.
    const SlideMedium video{.xEmu = 1219200,
                            .yEmu = 685800,
                            .widthEmu = 6096000,
                            .heightEmu = 3429000,
                            .trimStartMs = 500,
                            .trimEndMs = 500};
    const MediaInfo info{4000, true, true};
    const FrameSize frame{1440, 1080};
    // Slide from 10 s to 16 s of the movie; the shape hidden from 2 s to 3 s.
    MediaLayers::SlideTime time{10000, 6000, 1000, {{0, 2000}, {3000, 6000}}};

    const auto l = MediaLayers::place(video, info, time, frame, 12192000, 6858000);
    ASSERT_TRUE(l);
    EXPECT_EQ(std::tie(l->left, l->top, l->width, l->height), std::make_tuple(144, 108, 720, 540));
    EXPECT_EQ(std::tie(l->startMs, l->trimStartMs, l->playMs), std::make_tuple(11000, 500, 3000));
    EXPECT_EQ(l->shown, (std::vector<MsRange>{{11000, 12000}, {13000, 16000}}));
    EXPECT_EQ(MediaLayers::moving(*l), (MsRange{11000, 14000}));

    // Cut at the slide's end when longer than what is left, or looping.
    time.playStartMs = 4000;
    EXPECT_EQ(MediaLayers::place(video, info, time, frame, 12192000, 6858000)->playMs, 2000);
    // A GIF from the slide's start whatever the timing says; a sound is not drawn.
    SlideMedium gif = video;
    gif.kind = SlideMedium::Kind::gif;
    const auto g = MediaLayers::place(gif, {std::nullopt, true, false}, time, frame, 12192000, 6858000);
    EXPECT_EQ(std::tie(g->startMs, g->playMs, g->sound), std::make_tuple(10000, 6000, false));
    SlideMedium audio = video;
    audio.kind = SlideMedium::Kind::audio;
    EXPECT_FALSE(MediaLayers::moving(*MediaLayers::place(audio, info, time, frame, 12192000, 6858000)));
    // Never started, or started after the slide has gone: nothing plays.
    time.playStartMs.reset();
    EXPECT_FALSE(MediaLayers::place(video, info, time, frame, 12192000, 6858000));
    time.playStartMs = 6000;
    EXPECT_FALSE(MediaLayers::place(video, info, time, frame, 12192000, 6858000));
}

TEST(MediaProbeTest, TheProbeTellsPlayableFilesFromDamagedOnes) {
    using Probe = std::variant<MediaInfo, std::string>;
    // ffprobe's lines, what they mean
    const std::vector<std::tuple<std::string, Probe>> cases{
        {"media_type=video\ncodec_type=video\nDISPOSITION:attached_pic=0\nduration=4.0004\n",
         MediaInfo{4000, true, false}},
        {"media_type=audio\ncodec_type=audio\ncodec_type=video\nDISPOSITION:attached_pic=1\nduration=2.5005\n",
         MediaInfo{2501, false, true}},
        {"codec_type=video\nduration=N/A\n", std::string("its pictures do not decode")},
        {"codec_type=audio\n", std::string("its sound does not decode")},
        {"duration=1.0\n", std::string("no picture or sound in it")},
    };
    for (const auto& [output, expected] : cases) EXPECT_EQ(MediaProbe::parse(output), expected) << output;
}

TEST(EffectSoundsTest, SoundsStartWithTheirEffectsAndLoopUntilTheNextSoundOrTheSlideEnds) {
    const auto sounding = [](std::string id, bool loop = false, bool stops = false) {
        DrawnEffect e;
        e.sound = EffectSound{std::move(id), "", loop, stops};
        return e;
    };
    SlidePlayout playout;
    playout.planned = {{500, {}, sounding("rLoop", true)},
                       {1000, {}, DrawnEffect{}},
                       {1500, {}, sounding("", false, true)},
                       {2000, {}, sounding("rLong")},
                       {3000, {}, sounding("rLate")}};  // after the advance: never plays
    const auto cues = EffectSounds::cues(playout, 3000, sounding("rChime"));
    ASSERT_EQ(cues.size(), 4u);
    // The slide from 10 s of a 20 s movie.
    const EffectSounds::SlideSpan span{10000, 3000, 20000};
    struct Case {
        std::size_t cue;
        std::optional<std::int64_t> fileMs;
        std::optional<std::tuple<std::int64_t, std::int64_t, bool>> played;  // start, length, loops
    };
    const std::vector<Case> cases{
        {0, 800, std::tuple{10000, 800, false}},     // the transition's, to its own end
        {1, 800, std::tuple{10500, 1000, true}},     // looped until the stop
        {2, 800, std::nullopt},                      // the stop plays nothing
        {3, 15000, std::tuple{12000, 8000, false}},  // over the slides after it, cut with the movie
        {3, std::nullopt, std::tuple{12000, 8000, false}},
    };
    for (const auto& c : cases) {
        const auto l = EffectSounds::place(cues, c.cue, c.fileMs, span);
        ASSERT_EQ(l.has_value(), c.played.has_value()) << c.cue;
        if (!l) continue;
        EXPECT_EQ(std::tuple(l->startMs, l->playMs, l->loops), *c.played) << c.cue;
        EXPECT_TRUE(l->sound && !l->picture && l->volume == 100000) << c.cue;
    }
    // The last sound loops until the slide ends.
    EXPECT_EQ(EffectSounds::place({{2500, {"r", "", true}}}, 0, 100, span)->playMs, 500);
}
