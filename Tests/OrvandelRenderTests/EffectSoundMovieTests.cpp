#include <gtest/gtest.h>

#include "AnimatedSlides.hpp"
#include "HeadlessRenderer.hpp"
#include "MovieFrames.hpp"
#include "TestSupport.hpp"
#include "container/PptxArchive.hpp"
#include "plan/RenderPlan.hpp"
#include "render/Mp4Duration.hpp"
#include "rewrite/DeckTransformer.hpp"

using namespace orvandel;
using namespace orvandel::test;

// A click brings shape 3 in with a fade that plays an embedded WAV tone, as
// PowerPoint stores an effect's sound (p:subTnLst); the slide goes on in
// silence after it.
TEST(EffectSoundMovieTest, AnEffectsSoundIsHeardFromTheEffectsStart) {
    if (!canRender()) GTEST_SKIP() << "needs soffice, poppler and ffmpeg";
    TempDir dir;
    ffmpeg({"-f", "lavfi", "-i", "sine=frequency=880:duration=1", "-c:a", "pcm_s16le", (dir / "tone.wav").string()});
    std::string effect = fade("clickEffect", shape("3"));
    effect.insert(effect.rfind("</p:cTn></p:par>"),
                  "<p:subTnLst><p:audio><p:cMediaNode showWhenStopped=\"0\"><p:cTn display=\"0\" "
                  "masterRel=\"sameClick\"><p:stCondLst><p:cond delay=\"0\"/></p:stCondLst></p:cTn><p:tgtEl>"
                  "<p:sndTgt r:embed=\"rId5\" name=\"tone.wav\"/></p:tgtEl></p:cMediaNode></p:audio></p:subTnLst>");
    DeckBuilder()
        .addSlide(slideXml(textBox("2", 365125, para("Som")) + textBox("3", 1825625, para("Agora")),
                           timing(click(effect))),
                  {{"rId5", "audio", "../media/audio1.wav"}})
        .addSlide(slideXml(textBox("2", 365125, para("Fim"))))
        .addEntry("ppt/media/audio1.wav", readFile(dir / "tone.wav"))
        .write(dir / "deck.pptx");
    DeckTransformer::prepare(dir / "deck.pptx", dir / "prepared.pptx", {}, {}, 1000, 1500);
    // The prepared slide still names the sound through the slide's own relationship.
    EXPECT_NE(PptxArchive::readEntry(dir / "prepared.pptx", "ppt/slides/slide1.xml").find("r:embed=\"rId5\""),
              std::string::npos);
    const auto plan = RenderPlanReader::read(dir / "prepared.pptx");
    ASSERT_GE(plan.slides[0].playout.states.size(), 2u);
    const std::int64_t start = plan.slides[0].playout.states[1].startMs;  // shape 3 comes in
    HeadlessRenderer().export_(dir / "prepared.pptx", dir / "master.mp4", {});
    EXPECT_EQ(Mp4Duration::measureMs(dir / "master.mp4"), plan.totalMs());
    // One AAC frame (1024 samples at 48 kHz) either side of the effect's start.
    constexpr std::int64_t kAudioFrameMs = 22;
    EXPECT_LT(maxVolume(dir / "master.mp4", 0, start - kAudioFrameMs), -80);
    EXPECT_GT(maxVolume(dir / "master.mp4", start + kAudioFrameMs, start + 900), -30);
    EXPECT_LT(maxVolume(dir / "master.mp4", start + 1100, plan.totalMs()), -80);
}
