// End to end with media: a 20-slide deck in which every fourth slide plays a
// 30-second video with sound (1280x720, 30 frames a second, started by a
// click that the export turns into autoplay) and the others bring in four
// bullets, exported with the headless renderer twice in the same run: with
// the media playing (the default) and with every medium kept as its poster
// frame (the static movie). Prints the wall time of each stage, each export
// against real time, and what the media cost per second of media played.
//   media_export_bench
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "BenchDecks.hpp"
#include "DeckBuilder.hpp"
#include "HeadlessRenderer.hpp"
#include "TimedExport.hpp"
#include "TimingFixtures.hpp"
#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"
#include "base/Uuid.hpp"
#include "package/ManifestReader.hpp"
#include "package/OrvExporter.hpp"

using namespace orvandel;
namespace fs = std::filesystem;

namespace {

constexpr int kSlides = 20, kEvery = 4, kVideoMs = 30000;

// Shape 3 of the slide, a video in the right half under the title.
std::string videoSlide(int n) {
    const std::string pic =
        "<p:pic><p:nvPicPr><p:cNvPr id=\"3\" name=\"Video " + std::to_string(n) +
        "\"/><p:cNvPicPr/><p:nvPr>"
        "<a:videoFile r:link=\"rId2\"/></p:nvPr></p:nvPicPr><p:blipFill><a:blip r:embed=\"rId9\"/></p:blipFill>"
        "<p:spPr><a:xfrm><a:off x=\"3048000\" y=\"1600200\"/><a:ext cx=\"6096000\" cy=\"3429000\"/></a:xfrm>"
        "</p:spPr></p:pic>";
    return test::slideXml(pic, test::playOnClick(std::to_string(kVideoMs)));
}

test::TimedExport exportOnce(const fs::path& deck, const fs::path& out, bool playMedia) {
    HeadlessRenderer::Options options;
    options.playMedia = playMedia;
    return test::timedExport(deck, out, {}, options);
}

}  // namespace

int main() {
    const fs::path dir = fs::temp_directory_path() / ("orvandel-media-bench-" + makeUuid());
    fs::create_directories(dir);
    int status = 0;
    try {
        const auto clip = dir / "clip.mp4", poster = dir / "poster.png";
        const auto made = Subprocess::run(
            {"ffmpeg",    "-v",         "error",   "-y",
             "-f",        "lavfi",      "-i",      "testsrc2=size=1280x720:rate=30:duration=30",
             "-f",        "lavfi",      "-i",      "sine=frequency=440:duration=30",
             "-c:v",      "libx264",    "-preset", "veryfast",
             "-pix_fmt",  "yuv420p",    "-c:a",    "aac",
             "-shortest", clip.string()});
        const auto still = Subprocess::run(
            {"ffmpeg", "-v", "error", "-y", "-i", clip.string(), "-frames:v", "1", poster.string()});
        if (!made.succeeded() || !still.succeeded()) throw std::runtime_error("ffmpeg could not make the clip");
        test::DeckBuilder deck;
        int videos = 0;
        for (int n = 1; n <= kSlides; ++n) {
            if (n % kEvery != 0) {
                deck.addSlide(test::bulletSlideXml(n, 4));
                continue;
            }
            // Each video its own entry: five files to decode.
            const std::string media = "../media/clip" + std::to_string(++videos) + ".mp4";
            deck.addSlide(videoSlide(n), {{"rId2", "video", media}, {"rId9", "image", "../media/poster.png"}});
            deck.addEntry("ppt/media/clip" + std::to_string(videos) + ".mp4", readFile(clip));
        }
        deck.addEntry("ppt/media/poster.png", readFile(poster));
        deck.write(dir / "media-deck.pptx");

        const auto playing = exportOnce(dir / "media-deck.pptx", dir / "media.orv", true);
        const double movieSeconds = ManifestReader::read(dir / "media.orv").masterVideoDuration;
        const double mediaSeconds = videos * kVideoMs / 1000.0;
        std::printf("%d slides, %d videos of %d s, movie %.1f s\n", kSlides, videos, kVideoMs / 1000, movieSeconds);
        test::printTimedExport("media playing (the default):", playing, movieSeconds);
        const auto still_ = exportOnce(dir / "media-deck.pptx", dir / "static.orv", false);
        test::printTimedExport("media as poster frames (static):", still_, movieSeconds);
        std::printf("per second of media: %.3f s of export with media playing, %.3f s more than the static export\n",
                    playing.total / mediaSeconds, (playing.total - still_.total) / mediaSeconds);
        std::printf("whole export: %.1fx faster than real time playing media, %.1fx static\n",
                    movieSeconds / playing.total, movieSeconds / still_.total);
        std::printf("CPU per second of media: %.3f s more than the static export\n",
                    (playing.cpu - still_.cpu) / mediaSeconds);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "media_export_bench: %s\n", e.what());
        status = 1;
    }
    fs::remove_all(dir);
    return status;
}
