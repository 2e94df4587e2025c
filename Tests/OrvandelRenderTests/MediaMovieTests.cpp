#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "AnimatedSlides.hpp"
#include "HeadlessRenderer.hpp"
#include "MovieFrames.hpp"
#include "TestSupport.hpp"
#include "plan/RenderPlan.hpp"
#include "render/Mp4Duration.hpp"
#include "rewrite/DeckTransformer.hpp"

using namespace orvandel;
using namespace orvandel::test;

namespace {

// The part of a quarter-size gray frame inside (or, with outside, around) the media's rectangle.
std::string region(const std::string& frame, bool outside = false) {
    std::string out;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const bool in = x >= kMediaLeft && x < kMediaLeft + kMediaWide && y >= kMediaTop &&
                            y < kMediaTop + kMediaHigh;
            if (in != outside) out += frame[std::size_t(y) * kWidth + std::size_t(x)];
        }
    }
    return out;
}

double psnr(const std::string& a, const std::string& b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const double d = double(static_cast<unsigned char>(a[i])) - double(static_cast<unsigned char>(b[i]));
        sum += d * d;
    }
    return sum == 0 ? 99 : 10 * std::log10(255.0 * 255.0 / (sum / double(a.size())));
}

}  // namespace

// One deck built in code, prepared and rendered once for the suite:
// 1. a 3 s video (test pattern, 25 frames a second, and a tone) that a click
//    plays: once prepared it starts at 500 ms of the slide's 4.5 s;
// 2. an animated GIF of four frames of 250 ms looping forever: 3.5 s;
// 3. a video whose entry is not a movie: its poster stays, 4.5 s.
class MediaMovieTest : public RenderedOnce<MediaMovieTest> {
public:
    static void render() {
        const auto& d = *dir_;
        ffmpeg({"-f", "lavfi", "-i", "testsrc=size=320x192:rate=25:duration=3", "-f", "lavfi", "-i",
                "sine=frequency=440:duration=3", "-c:v", "libx264", "-pix_fmt", "yuv420p", "-c:a", "aac", "-shortest",
                (d / "clip.mp4").string()});
        ffmpeg({"-ss", "0", "-i", (d / "clip.mp4").string(), "-frames:v", "1", (d / "poster.png").string()});
        // Four frames of one gray each, far apart.
        ffmpeg({"-f", "lavfi", "-i", "nullsrc=s=160x96:r=4:d=1,geq=lum='20+60*N':cb=128:cr=128", "-loop", "0",
                (d / "anim.gif").string()});
        const std::string video = "<a:videoFile r:link=\"rId2\"/>", poster = "<a:blip r:embed=\"rId9\"/>";
        const std::vector<Rel> videoRels{{"rId2", "video", "../media/clip.mp4"},
                                         {"rId9", "image", "../media/poster.png"}};
        DeckBuilder()
            .addSlide(slideXml(textBox("2", 365125, para("Video")) + mediaPicture("3", video, poster),
                               playOnClick("3000")),
                      videoRels)
            .addSlide(slideXml(mediaPicture("3", "", poster)), {{"rId9", "image", "../media/anim.gif"}})
            .addSlide(slideXml(mediaPicture("3", video, poster), playOnClick("3000")),
                      {{"rId2", "video", "../media/broken.mp4"}, {"rId9", "image", "../media/poster.png"}})
            .addEntry("ppt/media/clip.mp4", readFile(d / "clip.mp4"))
            .addEntry("ppt/media/poster.png", readFile(d / "poster.png"))
            .addEntry("ppt/media/anim.gif", readFile(d / "anim.gif"))
            .addEntry("ppt/media/broken.mp4", std::string(4000, 'x'))
            .write(d / "deck.pptx");
        DeckTransformer::prepare(d / "deck.pptx", d / "prepared.pptx", {}, {{2, 2000}}, 1000, 1500);
        HeadlessRenderer().export_(d / "prepared.pptx", d / "master.mp4", {},
                                   {.warn = [](const Warning& w) { warnings_.push_back(w); }});
        movie_ = std::make_unique<MovieFrames>(d / "master.mp4");
    }
    // The source video's frame on screen `ms` after its start (25 a second), scaled to the rectangle.
    static std::string sourceAt(std::int64_t ms) {
        return Subprocess::run({"ffmpeg", "-v", "error", "-i", (*dir_ / "clip.mp4").string(), "-vf",
                                "select=eq(n\\," + std::to_string(ms / 40) + "),scale=" + std::to_string(kMediaWide) +
                                    ":" + std::to_string(kMediaHigh),
                                "-frames:v", "1", "-pix_fmt", "gray", "-f", "rawvideo", "-"})
            .standardOutput;
    }

    static inline std::unique_ptr<MovieFrames> movie_;
    static inline std::vector<Warning> warnings_;
};

TEST_F(MediaMovieTest, TheVideoPlaysInItsRectangleWithItsSoundAndTheSlideAroundItStays) {
    EXPECT_EQ(Mp4Duration::measureMs(*dir_ / "master.mp4"), RenderPlanReader::read(*dir_ / "prepared.pptx").totalMs());
    EXPECT_EQ(Mp4Duration::measureMs(*dir_ / "master.mp4"), 12500);
    const std::string before = movie_->shownAt(400);
    std::vector<std::string> seen;
    // Late in each source frame: the movie's frame at most 34 ms earlier shows it too.
    for (std::int64_t offset : {439, 1239, 2439}) {
        const std::string now = movie_->shownAt(500 + offset);
        EXPECT_GE(psnr(region(now), sourceAt(offset)), 30) << offset;
        EXPECT_GE(psnr(region(now, true), region(before, true)), 40) << offset;
        for (const auto& earlier : seen) EXPECT_LT(psnr(region(now), earlier), 25) << offset;
        seen.push_back(region(now));
    }
    // After its end the last frame holds until the slide ends.
    EXPECT_GE(psnr(movie_->shownAt(3600), movie_->shownAt(4499)), 40);
    EXPECT_LT(maxVolume(*dir_ / "master.mp4", 0, 450), -80);
    EXPECT_GT(maxVolume(*dir_ / "master.mp4", 600, 3400), -30);
    EXPECT_LT(maxVolume(*dir_ / "master.mp4", 3600, 12500), -80);
}

TEST_F(MediaMovieTest, TheGifCyclesThroughItsFramesAndABrokenVideoKeepsItsPosterWithAWarning) {
    // Slide 2 runs from 4.5 s; its GIF shows frame k of 4 from 250 k ms, again and again.
    for (std::int64_t k = 0; k < 4; ++k) {
        const std::string frame = region(movie_->shownAt(4500 + 250 * k + 125));
        EXPECT_GE(psnr(frame, region(movie_->shownAt(4500 + 250 * (k + 4) + 125))), 35) << k;
        EXPECT_LT(psnr(frame, region(movie_->shownAt(4500 + 250 * (k + 1) + 125))), 30) << k;
    }
    ASSERT_EQ(warnings_.size(), 1u);
    EXPECT_EQ(std::tie(warnings_[0].kind, warnings_[0].slide), std::make_tuple(Warning::Kind::mediaNotPlayed, 3));
    EXPECT_GE(psnr(movie_->shownAt(8100), movie_->shownAt(12400)), 40);
}
