#pragma once
// Writes manifest.json, the index a player of the package reads: where each
// slide and bullet ends in the master video, and every slide's notes.
#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "base/Error.hpp"
#include "package/CueCalculator.hpp"

namespace orvandel {

struct ManifestMetadata {
    std::string sourceFileName;   // file name of the source deck
    std::int64_t slideCount = 0;  // hidden slides included
    std::int64_t masterVideoDurationMs = 0;
    std::chrono::system_clock::time_point generatedAt;
    std::string source;         // who produced the package
    std::string pluginVersion;  // the producer's version

    bool operator==(const ManifestMetadata&) const = default;
};

namespace ManifestBuilder {

// The only failure: a text that cannot be written as JSON (not UTF-8), or a
// date that cannot be formatted. what() carries the encoder's reason.
class ManifestError : public Error {
public:
    enum class Case { encodingFailed };

    static ManifestError encodingFailed(const std::string& reason);

    Case errorCase() const { return Case::encodingFailed; }
    const std::string& reason() const { return reason_; }

private:
    explicit ManifestError(const std::string& reason);
    std::string reason_;
};

// Keys "0" to slideCount - 1; key i holds the note of slide i + 1 (notes are
// keyed by 1-based slide number), or "" when that slide has none. The shift
// by one is part of the manifest format. slideCount <= 0 gives no keys.
std::map<std::string, std::string> notesDictionary(const std::map<std::int64_t, std::string>& notes,
                                                   std::int64_t slideCount);

// The manifest as pretty-printed UTF-8 JSON. Keys keep a fixed order, "/" is
// not escaped, non-ASCII text stays as it is, and times are exact decimal
// seconds (1500 ms is 1.5, 2000 ms is 2). Throws ManifestError.
std::string buildManifestV3(const std::vector<Cue>& cues, const std::map<std::int64_t, std::string>& notesBySlide,
                            const ManifestMetadata& metadata);

}  // namespace ManifestBuilder

}  // namespace orvandel
