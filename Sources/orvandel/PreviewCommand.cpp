#include <CLI/CLI.hpp>

#include "Cli.hpp"
#include "Commands.hpp"
#include "Interrupt.hpp"
#include "LessonLabels.hpp"
#include "package/PreviewPage.hpp"

namespace orvandel::cli {

namespace {

struct PreviewOptions {
    std::string package;
    std::string folder;
    bool withNotes = false;
    std::string deck;
};

int runPreview(const PreviewOptions& options, std::ostream& out, std::ostream& err) {
    const std::filesystem::path folder = options.folder.empty() ? PreviewPage::defaultFolder(options.package)
                                                                : std::filesystem::path(options.folder);
    InterruptGuard interrupt;
    try {
        const auto outline = [&](const LessonPackage::Lesson& lesson) {
            return outlineOf(options.package, options.deck, lesson.cues);
        };
        PreviewPage::write(options.package, folder, {.withNotes = options.withNotes}, outline,
                           {.cancel = interrupt.token()});
    } catch (...) {
        if (!interrupt.signal()) throw;
        err << "orvandel: interrupted; nothing was written\n";
        return interrupt.exitStatus();
    }
    out << "Preview written to " << (folder / PreviewPage::kPage).string() << " " << notesNote(options.withNotes)
        << "\n";
    return kExitOk;
}

}  // namespace

void setupPreviewCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err) {
    auto options = std::make_shared<PreviewOptions>();
    auto* cmd = app.add_subcommand(
        "preview",
        "Write a preview of a lesson package to see it as a student will: a folder with index.html and the "
        "movie, opened straight from disk in any browser, no network needed. The page lists the cues beside the "
        "movie by slide, labelled with the slides' titles and what each step brings in (a click goes to a cue "
        "and pauses there), searches the slides' text, plays at 0.75x to 2x, and takes space (play/pause) and "
        "the left and right arrows (previous/next cue). The speaker notes stay out unless --with-notes.");
    cmd->add_option("PACKAGE", options->package, "the .orv package")->required()->check(RegularFile);
    cmd->add_option("-o,--output", options->folder,
                    "the folder to write (default: beside the package, named after it: aula.orv gives "
                    "aula-preview); an earlier preview there is replaced, any other folder is left alone")
        ->type_name("DIR");
    cmd->add_flag("--with-notes", options->withNotes,
                  "also show the speaker notes of the visible slides under the movie (they are the teacher's: "
                  "leave them out of a page students get); a hidden slide's notes never appear");
    cmd->add_option("--deck", options->deck,
                    "the deck the package was exported from, to label the steps with the text they bring in "
                    "(without it: the titles of the movie's chapters, else \"Slide N\")")
        ->type_name("DECK")
        ->check(RegularFile);
    cmd->footer("Example:\n  orvandel preview aula.orv && xdg-open aula-preview/index.html\n");
    cmd->callback(
        [&action, &out, &err, options] { action = [&out, &err, options] { return runPreview(*options, out, err); }; });
}

}  // namespace orvandel::cli
