#pragma once
// The choices of a video export a person expects: the picture's size, the
// frame rate of what moves, and the trade between picture and file size.
// They change the movie only: the manifest and its cues stay the same.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvandel {

struct VideoSettings {
    // The height of the frame; the deck's aspect ratio is kept within the
    // 16:9 box of that height (1080p: 1920x1080).
    enum class Resolution { p480, p720, p1080, p1440, p2160 };
    // standard: the export's own settings; high: a finer picture, a larger
    // file; small: a smaller file, a coarser picture.
    enum class Quality { standard, high, small };

    Resolution resolution = Resolution::p1080;
    // Frames a second where something moves (drawn effects, media): 30 or 60.
    int fps = 30;
    Quality quality = Quality::standard;

    bool operator==(const VideoSettings&) const = default;

    // "480p" ... "2160p", "standard" | "high" | "small": the names the
    // command line takes and shows; nothing for any other name.
    static std::optional<Resolution> resolutionNamed(std::string_view name);
    static std::optional<Quality> qualityNamed(std::string_view name);
    static std::string nameOf(Resolution resolution);
    static std::string nameOf(Quality quality);
    static const std::vector<Resolution>& resolutions();
    static const std::vector<Quality>& qualities();
    // The largest frame of a resolution: 854x480, 1280x720, 1920x1080, 2560x1440, 3840x2160.
    static int widthOf(Resolution resolution);
    static int heightOf(Resolution resolution);
};

}  // namespace orvandel
