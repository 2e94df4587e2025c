#include "media/MediaProbe.hpp"

#include <sstream>
#include <string_view>

#include "base/Numbers.hpp"
#include "tools/RenderError.hpp"
#include "tools/RenderTools.hpp"

namespace orvandel::MediaProbe {

namespace {
// How the errors of this stage begin.
const char* const kErrorLead = "reading the media";

// ffprobe's seconds ("4.000000", "N/A") to whole milliseconds, rounded,
// without floating point.
std::optional<std::int64_t> secondsAsMs(const std::string& text) { return roundedDecimal(text, 3); }

}  // namespace

std::variant<MediaInfo, std::string> parse(const std::string& output) {
    MediaInfo info;
    bool decodedPicture = false, decodedSound = false;
    std::string lastStream;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        if (line == "media_type=video") decodedPicture = true;
        if (line == "media_type=audio") decodedSound = true;
        if (line.starts_with("codec_type=")) {
            lastStream = line.substr(11);
            if (lastStream == "video") info.hasPicture = true;
            if (lastStream == "audio") info.hasSound = true;
        }
        // A still that comes with sound (an album cover) is not a picture to play.
        if (line == "DISPOSITION:attached_pic=1" && lastStream == "video") info.hasPicture = false;
        if (line.starts_with("duration=")) {
            info.durationMs = secondsAsMs(line.substr(9));
        }
    }
    if (!info.hasPicture && !info.hasSound) return std::string("no picture or sound in it");
    if (info.hasPicture && !decodedPicture) return std::string("its pictures do not decode");
    if (!info.hasPicture && !decodedSound) return std::string("its sound does not decode");
    return info;
}

std::variant<MediaInfo, std::string> probe(const std::filesystem::path& file,
                                           const std::optional<CancellationToken>& cancel) {
    // The first packets are decoded too: a damaged stream fails here, not
    // in the middle of the movie's encode.
    try {
        std::vector<std::string> args{
            "-v",
            "error",
            "-read_intervals",
            "%+#16",
            "-show_entries",
            "frame=media_type:stream=codec_type:stream_disposition=attached_pic:format=duration",
            "-of",
            "default=nw=1"};
        const auto input = RenderTools::mediaInput(file, false);
        args.insert(args.end(), input.begin(), input.end());
        const auto r = RenderTools::runTool(ExportStage::media, kErrorLead, "ffprobe", "ffmpeg", args,
                                            {.timeout = std::chrono::minutes(1), .cancel = cancel});
        return parse(r.standardOutput);
    } catch (const RenderError& e) {
        if (e.errorCase() == RenderError::Case::missingTool) throw;
        // ffprobe's last line then only says "Invalid argument".
        if (std::string_view(e.what()).find("Format not on whitelist") != std::string_view::npos) {
            return std::string("it is a list of other files to play, which are not read");
        }
        return e.cause().empty() ? std::string(e.what()) : e.cause();
    }
}

}  // namespace orvandel::MediaProbe
