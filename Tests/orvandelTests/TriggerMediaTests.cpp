#include <gtest/gtest.h>

#include <cstdlib>

#include "DeckBuilder.hpp"
#include "TestSupport.hpp"
#include "TimingFixtures.hpp"
#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;

namespace {

// The movie's frame at `seconds`, small and gray.
std::string frameAt(const fs::path& movie, const std::string& seconds) {
    return Subprocess::run({"ffmpeg", "-v", "error", "-ss", seconds, "-i", movie.string(), "-frames:v", "1", "-f",
                            "rawvideo", "-pix_fmt", "gray", "-s", "96x54", "-"})
        .standardOutput;
}

}  // namespace

// Five slides whose video only a click on the title starts: nobody clicks in
// a lesson, so the deck exports with each video on its poster, the movie as
// long as the plan, and one warning naming them all.
TEST(TriggerMediaTest, VideosAClickOnAnotherShapeStartsStayStillAndAreToldOnce) {
    if (!canRender()) GTEST_SKIP() << "needs soffice, poppler and ffmpeg";
    TempDir dir;
    ffmpeg({"-f", "lavfi", "-i", "testsrc=size=320x192:rate=25:duration=3", "-c:v", "libx264", "-pix_fmt", "yuv420p",
            (dir / "clip.mp4").string()});
    ffmpeg({"-i", (dir / "clip.mp4").string(), "-frames:v", "1", (dir / "poster.png").string()});
    // Shape 3 over the middle of the slide, showing the poster.
    const std::string video = pictureWith(
        "3", "<a:videoFile r:link=\"rId2\"/>", "<a:blip r:embed=\"rId9\"/><a:stretch><a:fillRect/></a:stretch>",
        "<a:xfrm><a:off x=\"3048000\" y=\"1714500\"/><a:ext cx=\"6096000\" cy=\"3429000\"/></a:xfrm>"
        "<a:prstGeom prst=\"rect\"><a:avLst/></a:prstGeom>");
    DeckBuilder deck;
    for (int i = 0; i < 5; ++i) {
        deck.addSlide(slideXml(kTextBox + video, playOnTrigger("3000")),
                      {{"rId2", "video", "../media/clip.mp4"}, {"rId9", "image", "../media/poster.png"}});
    }
    deck.addEntry("ppt/media/clip.mp4", readFile(dir / "clip.mp4"))
        .addEntry("ppt/media/poster.png", readFile(dir / "poster.png"))
        .write(dir / "aula.pptx");

    const auto r = runCli({"export", (dir / "aula.pptx").string(), "-o", (dir / "aula.orv").string()});
    ASSERT_EQ(r.exitStatus, 0) << r.standardError;
    const auto warned = r.standardError.find(
        "warning: slides 1, 2, 3, 4, 5: the video starts only when it or another shape is clicked; it stays still in the "
        "lesson\n");
    EXPECT_NE(warned, std::string::npos) << r.standardError;
    EXPECT_EQ(warned, r.standardError.rfind("warning: slides")) << r.standardError;
    ASSERT_TRUE(
        Subprocess::run({"unzip", "-q", (dir / "aula.orv").string(), "assets/master.mp4", "-d", dir.path().string()})
            .succeeded());
    // The first slide's 1.5 s: a video playing from 0.5 s would change the picture.
    const std::string early = frameAt(dir / "assets" / "master.mp4", "0.2");
    const std::string late = frameAt(dir / "assets" / "master.mp4", "1.2");
    ASSERT_EQ(early.size(), 96u * 54u);
    ASSERT_EQ(late.size(), early.size());
    // Encoding noise only (a mean of 0.02 a pixel); the test pattern playing makes it 1.5.
    std::int64_t difference = 0;
    for (std::size_t i = 0; i < early.size(); ++i) {
        difference += std::abs(int(static_cast<unsigned char>(early[i])) - int(static_cast<unsigned char>(late[i])));
    }
    EXPECT_LT(difference, std::int64_t(early.size() / 4));
}
