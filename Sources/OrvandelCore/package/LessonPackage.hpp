#pragma once
// Reads a written package back whole, for what shows a lesson outside a
// lesson player (the preview page): every cue, the speaker notes by slide,
// the movie's length and where the movie lies inside the package.
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "package/CueCalculator.hpp"
#include "package/ManifestReader.hpp"

namespace orvandel::LessonPackage {

inline constexpr const char* kMovieEntry = "assets/master.mp4";

struct Lesson {
    std::string sourceFileName;
    std::int64_t masterVideoDurationMs = 0;
    std::vector<Cue> cues;  // in manifest order
    // Keyed by slide number as the cues' slideIndex counts them (1-based):
    // the manifest's own keys run one lower. Slides without notes are absent.
    std::map<std::int64_t, std::string> notesBySlide;

    bool operator==(const Lesson&) const = default;
};

// Decodes a manifest. Times are read from the JSON text as exact decimals,
// never through floating point. Throws ManifestReader::DecodeError naming
// what is missing or wrong, or the bound it passes (nesting, values).
Lesson decode(const std::string& manifestJson);

// Reads and decodes the package's manifest. Throws as ManifestReader::read.
Lesson read(const std::filesystem::path& orv);

}  // namespace orvandel::LessonPackage
