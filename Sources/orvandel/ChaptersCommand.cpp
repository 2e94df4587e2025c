#include <CLI/CLI.hpp>

#include "Cli.hpp"
#include "Commands.hpp"
#include "base/AtomicFile.hpp"
#include "encode/MovieChapters.hpp"
#include "package/ChapterVtt.hpp"

namespace orvandel::cli {

namespace {

struct ChaptersOptions {
    std::string package;
    bool vtt = false;
    std::string output;
};

// "1:02:03.456", or "2:03.456" under an hour.
std::string clock(std::int64_t ms) {
    const auto two = [](std::int64_t v) { return (v < 10 ? "0" : "") + std::to_string(v); };
    const std::int64_t s = ms / 1000;
    std::string text = s >= 3600 ? std::to_string(s / 3600) + ":" + two(s / 60 % 60) : std::to_string(s / 60);
    const std::string millis = std::to_string(1000 + ms % 1000).substr(1);
    return text + ":" + two(s % 60) + "." + millis;
}

int runChapters(const ChaptersOptions& options, std::ostream& out) {
    const auto chapters = MovieChapters::readPackage(options.package);
    std::string text;
    if (options.vtt) {
        text = ChapterVtt::webVtt(chapters);
    } else {
        for (const auto& c : chapters) text += clock(c.startMs) + "  " + c.title + "\n";
    }
    if (options.output.empty()) {
        out << text;
    } else {
        AtomicFile::write(options.output, text, {options.package});
    }
    return kExitOk;
}

}  // namespace

void setupChaptersCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream&) {
    auto options = std::make_shared<ChaptersOptions>();
    auto* cmd = app.add_subcommand("chapters",
                                   "Print the chapters of a lesson package's movie (one per visible slide, put "
                                   "there by 'export --chapters'): their start and title, or a WebVTT file.");
    cmd->add_option("PACKAGE", options->package, "the .orv package")->required()->check(RegularFile);
    cmd->add_flag("--vtt", options->vtt, "print a WebVTT chapters file, as web players read them");
    cmd->add_option("-o,--output", options->output, "write to this file instead of standard output")->type_name("FILE");
    cmd->footer("Example:\n  orvandel chapters aula.orv --vtt -o aula.vtt\n");
    cmd->callback([&action, &out, options] { action = [&out, options] { return runChapters(*options, out); }; });
}

}  // namespace orvandel::cli
