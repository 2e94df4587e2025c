#include "Cli.hpp"

#include <CLI/CLI.hpp>

#include "Commands.hpp"
#include "base/Error.hpp"
#include "base/Numbers.hpp"

namespace orvandel::cli {

std::map<std::int64_t, std::int64_t> parseSlideDurations(const std::vector<std::string>& pairs,
                                                         const std::string& optionName) {
    std::map<std::int64_t, std::int64_t> out;
    for (const auto& pair : pairs) {
        const auto colon = pair.find(':');
        const auto slide = colon == std::string::npos ? std::nullopt : parseInt64(pair.substr(0, colon));
        const auto ms = colon == std::string::npos ? std::nullopt : parseInt64(pair.substr(colon + 1));
        if (!slide || !ms || *slide < 1 || *ms < 0) {
            throw CLI::ValidationError(optionName, "expected SLIDE:MILLISECONDS (for example 3:12000), got \"" +
                                                       pair + "\"");
        }
        out[*slide] = *ms;
    }
    return out;
}

void addSlideDurationOptions(CLI::App& command, std::vector<std::string>& video, std::vector<std::string>& gif) {
    command
        .add_option("--video", video,
                    "N:MS, the length in milliseconds of the video on slide N (1-based, hidden slides counted); "
                    "needed when the slide does not state it, and wins over the slide's own value")
        ->type_name("N:MS")
        ->allow_extra_args(false);
    command.add_option("--gif", gif, "N:MS, how long the GIF on slide N plays, in milliseconds")
        ->type_name("N:MS")
        ->allow_extra_args(false);
}

int run(int argc, char** argv, std::ostream& out, std::ostream& err) {
    CLI::App app{"Orvandel turns a slide deck (.pptx) into a lesson package (.orv): one movie of the whole "
                 "deck plus the cue times of every slide and bullet, and the speaker notes.",
                 "orvandel"};
    app.set_version_flag("--version", std::string("orvandel ") + ORVANDEL_VERSION);
    app.require_subcommand(1);
    app.fallthrough(false);

    std::function<int()> action;
    setupScanCommand(app, action, out, err);
    setupNotesCommand(app, action, out, err);
    setupPrepareCommand(app, action, out, err);
    setupExportCommand(app, action, out, err);
    setupProbeCommand(app, action, out, err);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        const int code = app.exit(e, out, err);
        return code == 0 ? kExitOk : kExitUsage;
    }
    try {
        return action ? action() : kExitUsage;
    } catch (const CLI::ParseError& e) {
        const int code = app.exit(e, out, err);
        return code == 0 ? kExitOk : kExitUsage;
    } catch (const std::exception& e) {
        err << "orvandel: " << describe(e) << "\n";
        return kExitFailure;
    }
}

}  // namespace orvandel::cli
