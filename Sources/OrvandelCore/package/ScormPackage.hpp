#pragma once
// A lesson package (.orv) as a SCORM 1.2 content package, a ZIP an LMS
// imports: imsmanifest.xml (ScormManifest) and the schema files it names at
// the root, the lesson page (PreviewPage's, made a SCO by ScormScript) and
// the movie beside it. Speaker notes stay out unless asked for.
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "package/LessonOutline.hpp"
#include "package/LessonPackage.hpp"
#include "render/Mp4Exporting.hpp"

namespace orvandel::ScormPackage {

struct Options {
    bool withNotes = false;
    // Asked for the page's labels once the package is read (see
    // PreviewPage::Options::outline); empty: those of the cues alone.
    std::function<LessonOutline::Outline(const LessonPackage::Lesson&)> outline;
};

// Beside the package, named after it: /a/aula.orv -> /a/aula-scorm.zip.
std::filesystem::path defaultPath(const std::filesystem::path& orv);

// Every entry but the movie, in the order written: imsmanifest.xml, the
// schema files, index.html. The movie (PreviewPage::kMovie) follows them.
std::vector<std::pair<std::string, std::string>> textEntries(const LessonPackage::Lesson& lesson,
                                                             const Options& options);

// Throws what write would throw about the destination before anything is
// read (OutputError: not a file, one of the inputs, a folder where nothing
// can be written). For a caller with work to do first (an export).
void checkDestination(const std::filesystem::path& zip, const std::filesystem::path& orv);

// Reads the package, checks its movie (PackagedMovie::check) and writes the
// ZIP atomically (AtomicFile): an existing file is replaced whole or left as
// it was, and no scratch file is left behind. Throws what reading the
// package throws (ManifestReader's errors, ArchiveError,
// PackagedMovie::MovieError), OutputError, FileError and CancelledError.
// hooks.progress hears the copy of the movie.
void write(const std::filesystem::path& orv, const std::filesystem::path& zip, const Options& options = {},
           const RenderHooks& hooks = {});

}  // namespace orvandel::ScormPackage
