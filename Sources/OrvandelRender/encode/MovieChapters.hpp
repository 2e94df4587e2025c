#pragma once
// Chapter marks inside an MP4, the ones desktop players list: written with
// ffmpeg's metadata chapters (stream copy, nothing re-encoded; ffmpeg writes
// them both as a chapter text track and as a chapter list in the user data)
// and read back with ffprobe, also from the movie stored inside a package.
// ffmpeg and ffprobe read local files only, whatever the names look like.
#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "base/Error.hpp"
#include "render/Chapter.hpp"

namespace orvandel::MovieChapters {

// The package's movie holds no chapters.
class ChaptersError : public Error {
public:
    enum class Case { noChapters };

    static ChaptersError noChapters(const std::filesystem::path& package);

    Case errorCase() const { return Case::noChapters; }

private:
    explicit ChaptersError(const std::string& description) : Error(description) {}
};

// The longest title a chapter keeps, in bytes: a longer one is cut at a
// character boundary. Below it, every title is read back exactly as it was
// given (any character: line breaks, backslashes, "=", ";", "#"), except
// that bytes that are not UTF-8, and NUL, become U+FFFD.
inline constexpr std::size_t kLongestTitleBytes = 1024;
// Every title travels to ffmpeg as an argument of its own, and all of them
// together must leave room below the system's limit: with more chapters
// than 512 KiB / kLongestTitleBytes each title's share of 512 KiB is less,
// and more than kMostChapters are refused.
inline constexpr std::size_t kMostChapters = 10000;

// A ChapterWriter: `in` with the chapters (replacing any it had) at `out`,
// every stream copied. Chapters are cut at the movie's end (a movie handed
// in may be shorter than the plan). Its length is measured before and
// after: a movie the chapters made longer or shorter is
// RenderError::badOutput. More than kMostChapters chapters within the movie
// are RenderError::badDeck, before anything runs. Throws
// RenderError, CancelledError; the metadata file beside `out` is removed.
void embed(const std::filesystem::path& in, const std::vector<Chapter>& chapters, const std::filesystem::path& out,
           const RenderHooks& hooks);

// The chapters of the movie inside a package in movie order, empty ones left
// out, read where the movie is stored (nothing is extracted). Throws
// ArchiveError when the package has no readable movie, ChaptersError when
// the movie has no chapters, RenderError when ffprobe is missing, fails or
// says something it cannot understand.
std::vector<Chapter> readPackage(const std::filesystem::path& orv, const RenderHooks& hooks = {});

}  // namespace orvandel::MovieChapters
