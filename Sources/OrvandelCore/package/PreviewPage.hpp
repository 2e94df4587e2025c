#pragma once
// The lesson as a student will see it, in any browser, from a folder on
// disk: index.html with the cues, the notes and the script inside the page
// (browsers refuse to read a neighbouring file into a page opened from
// disk, so nothing is fetched) and the movie beside it. The page plays the
// movie at a chosen speed, lists the cues beside it grouped by slide and
// labelled with what the student sees (LessonOutline), highlights the
// current one, seeks to a cue and pauses there when it is clicked, filters
// the list by the slides' text, and takes space and the left and right
// arrows. The speaker notes are the teacher's: the page holds them only
// when asked, and never those of hidden slides.
//
// For a page that embeds it (a SCORM package), the page dispatches on
// `document` the CustomEvents "orvandel:progress" (detail {ms, durationMs})
// as the movie plays, "orvandel:ended" when it ends and "orvandel:chapter"
// (detail {slide}) when playback enters a slide, and offers
// window.orvandelLesson = {seek(ms), durationMs()}.
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "base/Error.hpp"
#include "package/LessonOutline.hpp"
#include "package/LessonPackage.hpp"
#include "render/Mp4Exporting.hpp"

namespace orvandel::PreviewPage {

inline constexpr const char* kPage = "index.html";
inline constexpr const char* kMovie = "master.mp4";

// The preview folder asked for holds something other than a preview.
class PreviewError : public Error {
public:
    enum class Case { folderInUse };

    static PreviewError folderInUse(const std::filesystem::path& folder);

    Case errorCase() const { return Case::folderInUse; }
    const std::filesystem::path& folder() const { return folder_; }

private:
    PreviewError(std::filesystem::path folder, const std::string& description);
    std::filesystem::path folder_;
};

// Beside the package, named after it: /a/aula.orv -> /a/aula-preview.
std::filesystem::path defaultFolder(const std::filesystem::path& orv);

struct Options {
    // The notes of the visible slides (those with a cue) go into the page;
    // a hidden slide's never do.
    bool withNotes = false;
    // Labels, titles and slide starts; without one, LessonOutline::fromCues.
    std::optional<LessonOutline::Outline> outline;
    // One more script, run at the end of the page after the page's own. Its
    // "</script" is written "<\/script" so that it cannot end itself early.
    std::string extraScript;
};

// The page of a lesson whose movie is kMovie beside it.
std::string html(const LessonPackage::Lesson& lesson, const Options& options = {});

// Throws what write would throw about the folder, before anything is read or
// written: PreviewError when something other than an earlier preview is
// there, OutputError (AtomicFile::checkWritable) when its scratch folder could
// not be made beside it (a missing parent is not checked: write makes it).
// For a caller with work to do first (an export).
void checkFolder(const std::filesystem::path& folder);

// Reads the package and writes the folder whole (see AtomicFolder): a
// failure or a cancel leaves no half folder and an older preview as it was.
// An existing folder is replaced only when it is empty or an earlier
// preview; anything else throws PreviewError. The movie is checked first
// (PackagedMovie::check). Throws what reading the package throws
// (ManifestReader's errors, ArchiveError, PackagedMovie::MovieError), what
// checkFolder throws, FileError and CancelledError. hooks.progress hears the
// copy of the movie.
void write(const std::filesystem::path& orv, const std::filesystem::path& folder, const RenderHooks& hooks = {});
// The same with the page's options; makeOutline, when given, is asked for the
// outline once the package is read.
void write(const std::filesystem::path& orv, const std::filesystem::path& folder, const Options& options,
           const std::function<LessonOutline::Outline(const LessonPackage::Lesson&)>& makeOutline = {},
           const RenderHooks& hooks = {});

}  // namespace orvandel::PreviewPage
