#include "package/ScormPackage.hpp"

#include <cstdio>

#include "base/AtomicFile.hpp"
#include "base/TemporaryDirectory.hpp"
#include "container/PptxArchive.hpp"
#include "container/ZipArchive.hpp"
#include "package/PackagedMovie.hpp"
#include "package/PreviewPage.hpp"
#include "package/ScormManifest.hpp"
#include "package/ScormSchemas.hpp"
#include "package/ScormScript.hpp"

namespace orvandel::ScormPackage {

namespace fs = std::filesystem;

namespace {

// The same lesson gives the same identifier, so that an LMS sees a new
// upload of it as the same package.
std::string identifier(const LessonPackage::Lesson& lesson) {
    const std::string key = lesson.sourceFileName + "\n" + std::to_string(lesson.masterVideoDurationMs);
    char hex[9];
    std::snprintf(hex, sizeof hex, "%08x",
                  ZipArchive::crc32({reinterpret_cast<const std::uint8_t*>(key.data()), key.size()}));
    return std::string("orvandel-") + hex;
}

fs::path folderOf(const fs::path& file) { return file.parent_path().empty() ? fs::path(".") : file.parent_path(); }

}  // namespace

fs::path defaultPath(const fs::path& orv) { return orv.parent_path() / (orv.stem().string() + "-scorm.zip"); }

std::vector<std::pair<std::string, std::string>> textEntries(const LessonPackage::Lesson& lesson,
                                                             const Options& options) {
    std::string title = fs::path(lesson.sourceFileName).stem().string();
    if (title.empty()) title = "Aula";
    std::vector<std::pair<std::string, std::string>> entries{
        {"imsmanifest.xml", ScormManifest::xml(title, identifier(lesson), {PreviewPage::kPage, PreviewPage::kMovie})}};
    for (const auto& schema : ScormSchemas::files()) entries.emplace_back(schema.name, schema.bytes);
    // The page leaves the notes out (and always a hidden slide's) as the preview does.
    entries.emplace_back(PreviewPage::kPage,
                         PreviewPage::html(lesson, {.withNotes = options.withNotes,
                                                    .outline = options.outline ? std::optional(options.outline(lesson))
                                                                               : std::nullopt,
                                                    .extraScript = ScormScript::script(lesson)}));
    return entries;
}

void checkDestination(const fs::path& zip, const fs::path& orv) {
    AtomicFile::checkDestination(zip, {orv});
    AtomicFile::checkWritable(zip);
}

void write(const fs::path& orv, const fs::path& zip, const Options& options, const RenderHooks& hooks) {
    const auto lesson = LessonPackage::read(orv);
    PackagedMovie::check(orv, static_cast<double>(lesson.masterVideoDurationMs) / 1000);
    checkDestination(zip, orv);
    std::vector<ZipArchive::StreamedEntry> entries;
    for (auto& [name, text] : textEntries(lesson, options)) entries.push_back({name, toBytes(text), std::nullopt});

    // The movie is copied out of the package first: the ZIP writer streams
    // from a file. The scratch folder beside the ZIP goes however this ends.
    TemporaryDirectory scratch(folderOf(zip), ".orvandel-scorm-");
    const auto movie = scratch.path() / PreviewPage::kMovie;
    PptxArchive::Deck package(orv);
    hooks.report(ExportStage::copyMovie, 0);
    package.extractStored(LessonPackage::kMovieEntry, movie, [&](std::int64_t copied, std::int64_t total) {
        hooks.throwIfCancelled();
        hooks.report(ExportStage::copyMovie, double(copied) / double(total));
    });
    entries.push_back({PreviewPage::kMovie, {}, movie});
    AtomicFile::replace(zip, [&](const fs::path& temporary) { ZipArchive::createStreaming(entries, temporary); },
                        {orv});
}

}  // namespace orvandel::ScormPackage
