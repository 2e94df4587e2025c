#include <CLI/CLI.hpp>

#include "Cli.hpp"
#include "Commands.hpp"
#include "Interrupt.hpp"
#include "LessonLabels.hpp"
#include "deck/SlideTitles.hpp"
#include "package/H5pPackage.hpp"

namespace orvandel::cli {

namespace {

struct H5pOptions {
    std::string package;
    std::string output;
    std::string deck;
};

int runH5p(const H5pOptions& options, std::ostream& out, std::ostream& err) {
    const std::filesystem::path destination = options.output.empty() ? H5pPackage::defaultPath(options.package)
                                                                     : std::filesystem::path(options.output);
    checkFolderExists(destination, "-o");
    H5pPackage::checkDestination(destination, options.package);
    InterruptGuard interrupt;
    try {
        const auto chapters = movieChapters(options.package);
        if (chapters.empty()) {
            err << "orvandel: " << options.package
                << "'s movie has no chapters to say where each slide appears: the bookmarks come from the "
                   "cues, and come early after a slide that animates by itself or mixes steps with a video or GIF (export the "
                   "deck with --chapters or --h5p for exact ones)\n";
        }
        H5pPackage::write(options.package, destination, chapters,
                          options.deck.empty() ? std::map<std::int64_t, std::string>()
                                               : SlideTitles::titlesBySlide(options.deck),
                          {.cancel = interrupt.token()});
    } catch (...) {
        if (!interrupt.signal()) throw;
        err << "orvandel: interrupted; nothing was written\n";
        return interrupt.exitStatus();
    }
    out << "H5P written to " << destination.string() << "\n";
    return kExitOk;
}

}  // namespace

void setupH5pCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err) {
    auto options = std::make_shared<H5pOptions>();
    auto* cmd = app.add_subcommand(
        "h5p",
        "Write a lesson package as an H5P Interactive Video (.h5p) for a learning platform that has that content "
        "type, such as Moodle: the movie with one bookmark per visible slide, named after the slide's title, where "
        "the slide appears (exactly when the movie has chapters: export with --chapters or --h5p). The file holds the content only; the platform supplies the player.");
    cmd->add_option("PACKAGE", options->package, "the .orv package")->required()->check(RegularFile);
    cmd->add_option("-o,--output", options->output,
                    "the file to write (default: beside the package, named after it: aula.orv gives aula.h5p)")
        ->type_name("FILE");
    cmd->add_option("--deck", options->deck,
                    "the deck the package was exported from, for the slides' titles (without it: the movie's "
                    "chapter titles, when it has chapters, else \"Slide N\")")
        ->type_name("DECK")
        ->check(RegularFile);
    cmd->footer("Example:\n  orvandel h5p aula.orv --deck aula.pptx\n");
    cmd->callback(
        [&action, &out, &err, options] { action = [&out, &err, options] { return runH5p(*options, out, err); }; });
}

}  // namespace orvandel::cli
