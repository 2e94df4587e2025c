#pragma once
// Reads back the two facts of a written package that the user is shown: how
// many cues its manifest holds and how long the master video is. A check of
// the written file, not part of writing it.
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "base/Error.hpp"

namespace orvandel::ManifestReader {

struct Probe {
    // Only counted; none of a cue's keys is read.
    struct Cue {
        bool operator==(const Cue&) const = default;
    };

    std::vector<Cue> cues;
    double masterVideoDuration = 0;  // seconds

    bool operator==(const Probe&) const = default;
};

// manifest.json could not be extracted from the package; status is the
// extraction's exit status.
class ReadError : public Error {
public:
    enum class Case { unzipFailed };

    static ReadError unzipFailed(std::int32_t status);

    Case errorCase() const { return Case::unzipFailed; }
    std::int32_t status() const { return status_; }

private:
    explicit ReadError(std::int32_t status);
    std::int32_t status_;
};

// The manifest text is not JSON (what() is the JSON parser's own message), or
// lacks one of the two keys, or holds a value of the wrong type there.
class DecodeError : public Error {
public:
    explicit DecodeError(const std::string& message) : Error(message) {}
};

// Decodes "cues" (an array; its elements are not inspected) and
// "masterVideoDuration" (a number) from a manifest; other keys are ignored.
// Throws DecodeError.
Probe decode(const std::string& manifestJson);

// Reads "manifest.json" out of the package with the in-process archive
// reader and decodes it. An archive that cannot be read, or lacks the entry,
// is ReadError::unzipFailed with the status the unzip tool would give (9 not
// a ZIP, 11 no such entry, 2 damaged); a bad manifest is DecodeError.
Probe read(const std::filesystem::path& orv);

// The text of the package's manifest.json, with the errors of read.
std::string manifestText(const std::filesystem::path& orv);

}  // namespace orvandel::ManifestReader
