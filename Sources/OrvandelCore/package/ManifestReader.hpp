#pragma once
// Reads back the two facts of a written package that the user is shown: how
// many cues its manifest holds and how long the master video is. A check of
// the written file, not part of writing it.
#include <cstddef>
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
    enum class Case { readFailed };

    static ReadError readFailed(std::int32_t status);

    Case errorCase() const { return Case::readFailed; }
    std::int32_t status() const { return status_; }

private:
    explicit ReadError(std::int32_t status);
    std::int32_t status_;
};

// What a package's manifest.json may take. The manifest of a 1,000-slide
// deck with eleven cues a slide and 10,000 characters of notes on every slide
// takes 11.5 MiB (1.4 of them cues); 32 MiB leaves room for more and bounds
// the memory a hostile package costs. Its arrays and objects nest 3 deep;
// 16 leaves room for a later format. A cue takes six values, a note one:
// that deck's manifest holds 67,000, one of 1,000 slides of 50 bullets
// 307,000. The bound on values bounds what a reader that builds the whole
// document keeps, which the text's size alone does not: 32 MiB of "{}," is
// 11 million objects.
inline constexpr std::int64_t kLargestManifest = std::int64_t{32} << 20;
inline constexpr std::size_t kDeepestManifest = 16;
inline constexpr std::int64_t kMostManifestValues = 1'000'000;

// The manifest text is not JSON (what() is the JSON parser's own message), or
// lacks one of the two keys, or holds a value of the wrong type there
// (malformed); or it is larger than kLargestManifest (tooLarge, refused
// before it is read), nests deeper than kDeepestManifest (tooDeep, refused
// on the first container too deep) or holds more than kMostManifestValues
// values (tooManyValues, refused on the first one too many, by a reader that
// keeps them).
class DecodeError : public Error {
public:
    enum class Case { malformed, tooLarge, tooDeep, tooManyValues };

    explicit DecodeError(const std::string& message) : DecodeError(Case::malformed, message) {}
    static DecodeError tooLarge(std::int64_t bytes);
    static DecodeError tooDeep();
    static DecodeError tooManyValues();

    Case errorCase() const { return case_; }

private:
    DecodeError(Case c, const std::string& message) : Error(message), case_(c) {}
    Case case_;
};

// Decodes "cues" (an array; its elements are counted, not inspected nor
// kept) and "masterVideoDuration" (a number) from a manifest; other keys are
// ignored. Of a key given twice, the last value counts. Memory stays that of
// the text. Throws DecodeError.
Probe decode(const std::string& manifestJson);

// Reads "manifest.json" out of the package with the in-process archive
// reader and decodes it. An archive that cannot be read, or lacks the entry,
// is ReadError::readFailed with the status the unzip tool would give (9 not
// a ZIP, 11 no such entry, 2 damaged); a bad manifest is DecodeError. The
// movie is not looked at (see PackagedMovie).
Probe read(const std::filesystem::path& orv);

// The text of the package's manifest.json, with the errors of read; one
// larger than kLargestManifest is DecodeError::tooLarge before it is read.
std::string manifestText(const std::filesystem::path& orv);

}  // namespace orvandel::ManifestReader
