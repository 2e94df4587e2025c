#pragma once
// The lesson as an H5P Interactive Video, for a learning platform that has
// that content type (Moodle's own H5P has it): a .h5p archive holding
// h5p.json, content/content.json and the movie as content/videos/master.mp4,
// with one bookmark per visible slide where the slide appears. It carries no
// libraries: h5p.json names the ones it needs and the platform supplies them.
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "package/CueCalculator.hpp"
#include "package/LessonPackage.hpp"
#include "render/Chapter.hpp"
#include "render/Mp4Exporting.hpp"

namespace orvandel::H5pPackage {

inline constexpr const char* kMovieEntry = "content/videos/master.mp4";

// The Interactive Video version the content is written for: 1.27 is the one
// platforms have installed widely, and its content loads unchanged in 1.28.
inline constexpr int kMajorVersion = 1;
inline constexpr int kMinorVersion = 27;

// A bookmark's label keeps at most this many bytes of its title (cut at a
// character): the player shows it in one line above the seek bar.
inline constexpr std::size_t kLongestLabel = 200;
// The content type allows its title no more characters than this.
inline constexpr std::size_t kLongestTitle = 60;

struct Bookmark {
    std::int64_t timeMs = 0;
    std::string label;  // plain text; escaped when written

    bool operator==(const Bookmark&) const = default;
};

// One per visible slide, in movie order. Where the movie's chapters are
// given (one per visible slide, as an export with chapters writes them), each
// bookmark is at its chapter's start, exactly where the slide appears, and
// belongs to the slide whose cues fall inside the chapter. Without them the
// manifest alone cannot tell where a slide appears: the first slide's
// bookmark is at 0 and every other one where the timing ends the slide
// before it, TimingPolicy::MARGEM after that slide's last cue, and never
// after the slide's own first cue. That is exact unless the slide before
// plays animations by itself or mixes steps with a video or GIF; then the
// bookmark comes early, though after everything that slide cues; never
// late. Labelled titles[slide] when there is one, else the chapter's title,
// else "Slide N".
std::vector<Bookmark> bookmarks(const std::vector<Cue>& cues, const std::vector<Chapter>& chapters,
                                const std::map<std::int64_t, std::string>& titles);

std::string h5pJson(const std::string& title);
std::string contentJson(const std::string& title, const std::vector<Bookmark>& bookmarks);

// Beside the package, named after it: /a/aula.orv -> /a/aula.h5p.
std::filesystem::path defaultPath(const std::filesystem::path& orv);

// Throws OutputError when `h5p` could not be written (or is the package
// itself), before anything is read: for a caller with work to do first.
void checkDestination(const std::filesystem::path& h5p, const std::filesystem::path& orv);

// Reads the package, checks its movie (PackagedMovie::check) and writes the
// .h5p atomically: an existing file is replaced whole or left as it was.
// Throws what reading the package throws, what checkDestination throws,
// FileError and CancelledError. hooks.progress hears the copy of the movie.
void write(const std::filesystem::path& orv, const std::filesystem::path& h5p, const std::vector<Chapter>& chapters,
           const std::map<std::int64_t, std::string>& titles, const RenderHooks& hooks = {});

}  // namespace orvandel::H5pPackage
