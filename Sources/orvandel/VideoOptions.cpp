#include "VideoOptions.hpp"

#include <optional>
#include <string>
#include <vector>

namespace orvandel::cli {

namespace {

std::string listed(const std::vector<std::string>& names) {
    std::string out;
    for (std::size_t i = 0; i < names.size(); ++i) {
        out += (i == 0 ? "" : i + 1 == names.size() ? " or " : ", ") + names[i];
    }
    return out;
}

// A validator that accepts exactly the names `read` knows.
template <typename Read>
CLI::Validator oneOf(const std::vector<std::string>& names, Read read) {
    const std::string accepted = listed(names);
    return CLI::Validator(
        [accepted, read](std::string& value) -> std::string {
            if (read(value)) return {};
            return "expected " + accepted + ", got \"" + value + "\"";
        },
        [&names] {
            std::string shown;
            for (const auto& n : names) shown += (shown.empty() ? "" : "|") + n;
            return shown;
        }());
}

std::optional<int> fpsNamed(const std::string& name) {
    if (name == "30") return 30;
    if (name == "60") return 60;
    return std::nullopt;
}

}  // namespace

void addVideoOptions(CLI::App& command, VideoSettings& settings) {
    std::vector<std::string> resolutions;
    for (const auto r : VideoSettings::resolutions()) resolutions.push_back(VideoSettings::nameOf(r));
    std::vector<std::string> qualities;
    for (const auto q : VideoSettings::qualities()) qualities.push_back(VideoSettings::nameOf(q));

    command
        .add_option_function<std::string>(
            "--resolution",
            [&settings](const std::string& name) { settings.resolution = *VideoSettings::resolutionNamed(name); },
            "the movie's height in lines; the deck's aspect is kept within the 16:9 frame of that height (default "
            "1080p: 1920x1080; 2160p is 4K). The PowerPoint renderer keeps its own")
        ->check(oneOf(resolutions, [](const std::string& n) { return VideoSettings::resolutionNamed(n).has_value(); }));
    command
        .add_option_function<std::string>(
            "--fps", [&settings](const std::string& name) { settings.fps = *fpsNamed(name); },
            "frames a second while something moves (animations, transitions, videos, GIFs): 30 (default) or 60, "
            "smoother motion for a somewhat larger file; still slides cost the same")
        ->check(oneOf({"30", "60"}, [](const std::string& n) { return fpsNamed(n).has_value(); }));
    command
        .add_option_function<std::string>(
            "--quality",
            [&settings](const std::string& name) { settings.quality = *VideoSettings::qualityNamed(name); },
            "the trade between picture and file size: standard (default); high, a finer picture in a larger "
            "file (about 1.4 times standard's); small, a smaller file (about 0.7 times) with a coarser picture")
        ->check(oneOf(qualities, [](const std::string& n) { return VideoSettings::qualityNamed(n).has_value(); }));
}

}  // namespace orvandel::cli
