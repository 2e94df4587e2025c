#pragma once
// The movie inside a written package, checked against its manifest before
// anything reports on the package or shows it: assets/master.mp4 must be a
// movie with a video track as long as the manifest says. It is read in place
// inside the package (a few box headers), never copied or loaded.
#include <cstdint>
#include <filesystem>
#include <string>

#include "base/Error.hpp"

namespace orvandel::PackagedMovie {

// What is wrong with the package's movie. Its cause, for notAMovie, is the
// movie reader's own reason.
class MovieError : public Error {
public:
    enum class Case { notAMovie, noVideoTrack, lengthMismatch };

    static MovieError notAMovie(const std::filesystem::path& package, const std::string& reason);
    // A video track without frames counts as none.
    static MovieError noVideoTrack(const std::filesystem::path& package);
    static MovieError lengthMismatch(const std::filesystem::path& package, std::int64_t movieMs,
                                     double manifestSeconds);

    Case errorCase() const { return case_; }
    const std::filesystem::path& package() const { return package_; }

private:
    MovieError(Case c, std::filesystem::path package, const std::string& description, const std::string& cause = {});
    Case case_;
    std::filesystem::path package_;
};

// Checks the package's movie: an ISO base media file, with a video track,
// whose length (the track's) is the manifest's within one of its frames (the
// track's mean frame length, at least a millisecond: the two lengths are one
// length measured twice, apart only by rounding). Throws MovieError, and
// ArchiveError when the package has no stored movie entry.
void check(const std::filesystem::path& package, double manifestSeconds);

}  // namespace orvandel::PackagedMovie
