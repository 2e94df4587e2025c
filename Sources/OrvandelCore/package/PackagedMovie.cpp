#include "package/PackagedMovie.hpp"

#include <cmath>

#include "base/Numbers.hpp"
#include "container/PptxArchive.hpp"
#include "package/LessonPackage.hpp"
#include "render/Mp4Duration.hpp"

namespace orvandel::PackagedMovie {

namespace {

std::string movieIn(const std::filesystem::path& package) {
    return std::string(LessonPackage::kMovieEntry) + " in " + package.string();
}

}  // namespace

MovieError::MovieError(Case c, std::filesystem::path package, const std::string& description, const std::string& cause)
    : Error(description, cause), case_(c), package_(std::move(package)) {}

MovieError MovieError::notAMovie(const std::filesystem::path& package, const std::string& reason) {
    return MovieError(Case::notAMovie, package, movieIn(package) + " is not a movie: " + reason, reason);
}

MovieError MovieError::noVideoTrack(const std::filesystem::path& package) {
    return MovieError(Case::noVideoTrack, package, movieIn(package) + " has no video track");
}

MovieError MovieError::lengthMismatch(const std::filesystem::path& package, std::int64_t movieMs,
                                      double manifestSeconds) {
    return MovieError(Case::lengthMismatch, package,
                      movieIn(package) + " lasts " + formatFixed(static_cast<double>(movieMs) / 1000, 3) +
                          " s where the manifest says " + formatFixed(manifestSeconds, 3) + " s");
}

void check(const std::filesystem::path& package, double manifestSeconds) {
    const auto range = PptxArchive::Deck(package).storedRange(LessonPackage::kMovieEntry);
    Mp4Duration::Movie movie;
    try {
        movie = Mp4Duration::inspect(package, range.begin, range.end);
    } catch (const Mp4Duration::Mp4Error& e) {
        throw MovieError::notAMovie(package, e.underlying());
    }
    if (!movie.video || movie.video->frames == 0) throw MovieError::noVideoTrack(package);
    const double apartMs = std::abs(static_cast<double>(movie.video->durationMs) - manifestSeconds * 1000);
    if (!(apartMs <= static_cast<double>(movie.video->meanFrameMs))) {
        throw MovieError::lengthMismatch(package, movie.video->durationMs, manifestSeconds);
    }
}

}  // namespace orvandel::PackagedMovie
