#include "render/VideoSettings.hpp"

namespace orvandel {

namespace {

struct Named {
    VideoSettings::Resolution resolution;
    const char* name;
    int width;
    int height;
};

// 480p's width is 16:9 rounded up to an even number, as H.264 needs.
constexpr Named kResolutions[] = {
    {VideoSettings::Resolution::p480, "480p", 854, 480},     {VideoSettings::Resolution::p720, "720p", 1280, 720},
    {VideoSettings::Resolution::p1080, "1080p", 1920, 1080}, {VideoSettings::Resolution::p1440, "1440p", 2560, 1440},
    {VideoSettings::Resolution::p2160, "2160p", 3840, 2160},
};

const Named& named(VideoSettings::Resolution resolution) {
    for (const auto& n : kResolutions) {
        if (n.resolution == resolution) return n;
    }
    return kResolutions[2];
}

}  // namespace

std::optional<VideoSettings::Resolution> VideoSettings::resolutionNamed(std::string_view name) {
    for (const auto& n : kResolutions) {
        if (name == n.name) return n.resolution;
    }
    return std::nullopt;
}

std::optional<VideoSettings::Quality> VideoSettings::qualityNamed(std::string_view name) {
    for (const auto quality : qualities()) {
        if (name == nameOf(quality)) return quality;
    }
    return std::nullopt;
}

std::string VideoSettings::nameOf(Resolution resolution) { return named(resolution).name; }

std::string VideoSettings::nameOf(Quality quality) {
    switch (quality) {
        case Quality::standard: return "standard";
        case Quality::high: return "high";
        case Quality::small: return "small";
    }
    return "standard";
}

const std::vector<VideoSettings::Resolution>& VideoSettings::resolutions() {
    static const std::vector<Resolution> all{Resolution::p480, Resolution::p720, Resolution::p1080, Resolution::p1440,
                                             Resolution::p2160};
    return all;
}

const std::vector<VideoSettings::Quality>& VideoSettings::qualities() {
    static const std::vector<Quality> all{Quality::standard, Quality::high, Quality::small};
    return all;
}

int VideoSettings::widthOf(Resolution resolution) { return named(resolution).width; }
int VideoSettings::heightOf(Resolution resolution) { return named(resolution).height; }

}  // namespace orvandel
