#include <gtest/gtest.h>

#include <cstdlib>

#include "TestSupport.hpp"
#include "base/Subprocess.hpp"
#include "pixels/FrameConverter.hpp"
#include "tools/RenderError.hpp"

using namespace orvandel;
using namespace orvandel::test;

// Stills as pdftocairo writes them (RGB, PackBits), made by ffmpeg: a box on
// white, then a second box below it.
TEST(FrameConverterTest, FramesAgreeWithFfmpegAndOnlyChangedStripsAreConvertedAgain) {
    if (slowTestsSkipped() || !haveProgram("ffmpeg")) GTEST_SKIP() << "needs ffmpeg";
    TempDir dir;
    const std::string box = "color=c=white:s=64x36,drawbox=x=8:y=6:w=20:h=10:color=0x3366CC:t=fill";
    for (const auto& [name, filter] :
         {std::pair{"a.tif", box}, {"b.tif", box + ",drawbox=x=30:y=20:w=16:h=8:color=0xE07020:t=fill"}}) {
        ASSERT_TRUE(Subprocess::run({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", filter, "-frames:v", "1", "-pix_fmt",
                                     "rgb24", "-compression_algo", "packbits", (dir / name).string()})
                        .succeeded());
    }
    const auto frames = FrameConverter::convert({{1, dir / "a.tif"}, {2, dir / "b.tif"}}, {64, 36}, dir / "frames", 1,
                                                std::nullopt);
    const Bytes b = FrameConverter::frame(readFile(dir / "b.tif"), {64, 36});
    EXPECT_EQ(readFile(frames.at(2)), b);  // converted after a, or alone: the same frame

    // Luma as ffmpeg computes it; chroma within a few levels (ffmpeg's filter
    // blends the rows next to an edge, the 2x2 average does not).
    const std::string ffmpeg = Subprocess::run({"ffmpeg", "-v", "error", "-i", (dir / "b.tif").string(), "-pix_fmt",
                                                "yuv420p", "-f", "rawvideo", "-"})
                                   .standardOutput;
    ASSERT_EQ(b.size() - ffmpeg.size(),
              std::string("YUV4MPEG2 W64 H36 F1000:1 Ip A1:1 C420jpeg XYSCSS=420JPEG\nFRAME\n").size());
    const std::size_t header = b.size() - ffmpeg.size();
    for (std::size_t i = 0; i < ffmpeg.size(); ++i) {
        const int diff = std::abs(int(b[header + i]) - int(static_cast<unsigned char>(ffmpeg[i])));
        EXPECT_LE(diff, i < 64 * 36 ? 0 : 4) << "sample " << i;
    }
    EXPECT_THROW(FrameConverter::frame(readFile(dir / "b.tif"), {32, 18}), RenderError);
}
