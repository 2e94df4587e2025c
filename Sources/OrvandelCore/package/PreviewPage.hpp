#pragma once
// The lesson as a student will see it, in any browser, from a folder on
// disk: index.html with the cues, the notes and the script inside the page
// (browsers refuse to read a neighbouring file into a page opened from
// disk, so nothing is fetched) and the movie beside it. The page plays the
// movie, lists the cues beside it and highlights the current one, seeks to
// a cue and pauses there when it is clicked, shows the current slide's
// speaker notes, and takes space and the left and right arrows.
#include <filesystem>
#include <string>
#include <string_view>

#include "base/Error.hpp"
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

// The page of a lesson whose movie is kMovie beside it. extraScript, when
// given, runs last in a <script> of its own (it must not hold "</script>"):
// the page tells it on `document` "orvandel:progress" ({ms, durationMs}),
// "orvandel:ended" and "orvandel:chapter" ({slide}), and gives it
// window.orvandelLesson = {seek(ms), durationMs()}.
std::string html(const LessonPackage::Lesson& lesson, std::string_view extraScript = {});

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

}  // namespace orvandel::PreviewPage
