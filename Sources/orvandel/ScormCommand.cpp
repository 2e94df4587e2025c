#include <CLI/CLI.hpp>

#include "Cli.hpp"
#include "Commands.hpp"
#include "Interrupt.hpp"
#include "LessonLabels.hpp"
#include "package/ScormPackage.hpp"

namespace orvandel::cli {

namespace {

struct ScormOptions {
    std::string package;
    std::string output;
    bool withNotes = false;
    std::string deck;
};

int runScorm(const ScormOptions& options, std::ostream& out, std::ostream& err) {
    const std::filesystem::path zip = options.output.empty() ? ScormPackage::defaultPath(options.package)
                                                             : std::filesystem::path(options.output);
    InterruptGuard interrupt;
    try {
        const auto outline = [&](const LessonPackage::Lesson& lesson) {
            return outlineOf(options.package, options.deck, lesson.cues);
        };
        ScormPackage::write(options.package, zip, {.withNotes = options.withNotes, .outline = outline},
                            {.cancel = interrupt.token()});
    } catch (...) {
        if (!interrupt.signal()) throw;
        err << "orvandel: interrupted; nothing was written\n";
        return interrupt.exitStatus();
    }
    out << "SCORM package written to " << zip.string() << "\n";
    return kExitOk;
}

}  // namespace

void setupScormCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err) {
    auto options = std::make_shared<ScormOptions>();
    auto* cmd = app.add_subcommand(
        "scorm",
        "Write a lesson package as a SCORM 1.2 package for a learning management system (LMS): a ZIP with "
        "imsmanifest.xml, the lesson page and the movie. The LMS learns when the student has watched the movie to "
        "its end or reached every slide, and the student goes on where they left off.");
    cmd->add_option("PACKAGE", options->package, "the .orv package")->required()->check(RegularFile);
    cmd->add_option("-o,--output", options->output,
                    "the ZIP to write (default: beside the package, named after it: aula.orv gives "
                    "aula-scorm.zip); an existing file is replaced")
        ->type_name("FILE");
    cmd->add_flag("--with-notes", options->withNotes,
                  "show the speaker notes of the visible slides under the movie (left out by default)");
    cmd->add_option("--deck", options->deck,
                    "the deck the package was exported from, to label the steps with the text they bring in "
                    "(without it: the titles of the movie's chapters, else \"Slide N\")")
        ->type_name("DECK")
        ->check(RegularFile);
    cmd->footer("Example:\n  orvandel scorm aula.orv -o aula-scorm.zip\n");
    cmd->callback(
        [&action, &out, &err, options] { action = [&out, &err, options] { return runScorm(*options, out, err); }; });
}

}  // namespace orvandel::cli
