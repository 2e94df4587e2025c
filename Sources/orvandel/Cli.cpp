#include "Cli.hpp"

#include <CLI/CLI.hpp>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <iostream>

#include "Commands.hpp"
#include "HelpFormatter.hpp"
#include "StandardOutput.hpp"
#include "Suggestion.hpp"
#include "base/ByteSize.hpp"
#include "base/Bytes.hpp"
#include "base/Error.hpp"
#include "base/Numbers.hpp"
#include "deck/DeckModel.hpp"
#include "deck/TimingPolicy.hpp"

namespace orvandel::cli {

std::map<std::int64_t, std::int64_t> parseSlideDurations(const std::vector<std::string>& pairs,
                                                         const std::string& optionName) {
    std::map<std::int64_t, std::int64_t> out;
    for (const auto& pair : pairs) {
        const auto colon = pair.find(':');
        const auto slide = colon == std::string::npos ? std::nullopt : parseInt64(pair.substr(0, colon));
        const auto ms = colon == std::string::npos ? std::nullopt : parseInt64(pair.substr(colon + 1));
        if (!slide || !ms || *slide < 1) {
            throw CLI::ValidationError(optionName,
                                       "expected SLIDE:MILLISECONDS (for example 3:12000), got \"" + pair + "\"");
        }
        if (*ms < 1 || *ms > TimingPolicy::LONGEST_TIMING) {
            throw CLI::ValidationError(optionName, "the length in \"" + pair +
                                                       "\" must be from 1 to 86400000 milliseconds (24 hours)");
        }
        out[*slide] = *ms;
    }
    return out;
}

void checkSlidesExist(const std::map<std::int64_t, std::int64_t>& videoMs,
                      const std::map<std::int64_t, std::int64_t>& gifMs, DeckModel& deck) {
    if (videoMs.empty() && gifMs.empty()) return;
    std::int64_t slideCount = 0;
    try {
        slideCount = static_cast<std::int64_t>(deck.slideFiles().size());
    } catch (const std::exception&) {
        return;
    }
    for (const auto& [optionName, durations] : {std::pair{"--video", &videoMs}, {"--gif", &gifMs}}) {
        for (const auto& [slide, ms] : *durations) {
            if (slide <= slideCount) continue;
            throw CLI::ValidationError(optionName, "slide " + formatInt(slide) + " in \"" + formatInt(slide) + ":" +
                                                       formatInt(ms) + "\" does not exist: the deck has " +
                                                       formatInt(slideCount) + " slides");
        }
    }
}

const CLI::Validator RegularFile(
    [](std::string& path) -> std::string {
        struct stat st {};
        if (::stat(path.c_str(), &st) != 0) return "no such file: " + path;
        if (S_ISDIR(st.st_mode)) return path + " is a folder, not a file";
        if (!S_ISREG(st.st_mode)) return path + " is not a regular file (a FIFO, a socket or a device)";
        return {};
    },
    "");

void checkFolderExists(const std::filesystem::path& file, const std::string& optionName) {
    const auto folder = file.parent_path();
    std::error_code ec;
    if (folder.empty() || std::filesystem::is_directory(folder, ec)) return;
    if (std::filesystem::exists(folder, ec)) {
        throw CLI::ValidationError(optionName, folder.string() + " is a file, not a folder: choose another place");
    }
    throw CLI::ValidationError(optionName,
                               "the folder " + folder.string() + " does not exist: create it or choose another");
}

std::int64_t parseMemorySize(const std::string& text, const std::string& optionName) {
    const auto size = parseByteSize(text);
    if (!size || *size > (std::int64_t{1} << 62)) {
        throw CLI::ValidationError(optionName, "expected a size such as 2G, 1500M or 4294967296, got \"" + text + "\"");
    }
    const std::int64_t bytes = *size;
    if (bytes < (std::int64_t{64} << 20)) {
        throw CLI::ValidationError(optionName, "\"" + text + "\" is too little: LibreOffice needs at least 64M");
    }
    return bytes;
}

void addLargestPartOption(CLI::App& command) {
    command
        .add_option_function<std::int64_t>(
            "--max-part-mib", [](std::int64_t mib) { PptxArchive::setLargestPart(mib << 20); },
            "the most one slide, notes or other text part may unpack to, in MiB (default 256): a larger part "
            "is refused as damaged or hostile")
        ->check(CLI::Range(std::int64_t{1}, std::int64_t{1} << 20))
        ->type_name("MIB");
}

std::string stageName(ExportStage stage) {
    switch (stage) {
        case ExportStage::scan: return "scanning the deck";
        case ExportStage::prepare: return "preparing the deck";
        case ExportStage::render: return "rendering";
        case ExportStage::readPlan: return "reading the deck";
        case ExportStage::media: return "reading the media";
        case ExportStage::storyboard: return "writing the storyboard";
        case ExportStage::pdf: return "converting slides";
        case ExportStage::draw: return "drawing slides";
        case ExportStage::frames: return "preparing the frames";
        case ExportStage::encode: return "encoding movie";
        case ExportStage::chapters: return "adding the chapters";
        case ExportStage::readChapters: return "reading the chapters";
        case ExportStage::package: return "writing the package";
        case ExportStage::copyMovie: return "copying the movie";
    }
    return "working";
}

std::string timeLeft(std::int64_t remainingMs) {
    if (remainingMs < 10'000) return "a few seconds left";
    // Rounded to what a person plans with: 5 s steps under two minutes, whole
    // minutes after, hours beyond.
    const std::int64_t seconds = (remainingMs + 2500) / 5000 * 5;
    if (seconds < 60) return "about " + formatInt(seconds) + " s left";
    if (seconds < 120) {
        return "about 1 min" + (seconds % 60 ? " " + formatInt(seconds % 60) + " s" : std::string()) + " left";
    }
    const std::int64_t minutes = (remainingMs + 30'000) / 60'000;
    if (minutes < 60) return "about " + formatInt(minutes) + " min left";
    return "about " + formatInt(minutes / 60) + " h " + formatInt(minutes % 60) + " min left";
}

std::string progressText(int permille, const std::string& stage, std::optional<std::int64_t> remainingMs) {
    std::string text = formatInt(permille / 10) + "% " + stage;
    if (remainingMs) text += ", " + timeLeft(*remainingMs);
    return text;
}

WarningCallback printWarnings(std::ostream& err) {
    return [&err](const Warning& w) { err << "warning: " << w.text << "\n"; };
}

void addSlideDurationOptions(CLI::App& command, std::vector<std::string>& video, std::vector<std::string>& gif) {
    command
        .add_option("--video", video,
                    "N:MS, the length in milliseconds of the video on slide N (1-based, hidden slides counted); "
                    "needed when the slide does not state it, and wins over the slide's own value")
        ->type_name("N:MS")
        ->allow_extra_args(false);
    command
        .add_option("--gif", gif,
                    "N:MS, how long the animated GIF on slide N plays, in milliseconds (default: its own loop, "
                    "at most a minute; a GIF of one frame needs none)")
        ->type_name("N:MS")
        ->allow_extra_args(false);
}

namespace {

std::vector<std::string> optionNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::Option* option : app.get_options()) {
        for (const auto& name : option->get_lnames()) names.push_back("--" + name);
        for (const auto& name : option->get_snames()) names.push_back("-" + name);
    }
    return names;
}

// A word that is no command: said with the command meant, or the commands.
int unknownCommand(const CLI::App& app, const std::string& typed, std::ostream& err) {
    std::vector<std::string> commands;
    for (const CLI::App* sub : app.get_subcommands({})) commands.push_back(sub->get_name());
    err << "orvandel: unknown command \"" << typed << "\"";
    if (const auto meant = closest(typed, commands)) {
        err << "; did you mean \"" << *meant << "\"?\n";
    } else {
        err << "; the commands are";
        for (std::size_t i = 0; i < commands.size(); ++i) err << (i ? ", " : " ") << commands[i];
        err << "\n";
    }
    err << "Run 'orvandel --help' for more information.\n";
    return kExitUsage;
}

// The options of the command given that it does not know, each with the one
// meant when it is close to one; false when there are none to name (another
// kind of extra argument, left to the parser's words).
bool unknownOptions(const CLI::App& app, int argc, char** argv, std::ostream& err) {
    const CLI::App* command = &app;
    std::vector<std::string> unknown;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--") break;
        if (command == &app && arg.front() != '-') {
            for (const CLI::App* sub : app.get_subcommands({})) {
                if (sub->check_name(arg)) command = sub;
            }
            continue;
        }
        if (arg.rfind("--", 0) != 0) continue;
        const std::string name = arg.substr(0, arg.find('='));
        auto known = optionNames(*command);
        const auto top = optionNames(app);
        known.insert(known.end(), top.begin(), top.end());
        if (std::find(known.begin(), known.end(), name) != known.end()) continue;
        const std::string who = command == &app ? "orvandel" : "orvandel " + command->get_name();
        err << who << ": unknown option " << name;
        if (const auto meant = closest(name, known)) err << "; did you mean " << *meant << "?";
        err << "\n";
        unknown.push_back(name);
    }
    if (unknown.empty()) return false;
    err << "Run '" << (command == &app ? std::string("orvandel") : "orvandel " + command->get_name())
        << " --help' for its options.\n";
    return true;
}

}  // namespace

int run(int argc, char** argv, std::ostream& out, std::ostream& err) {
    CLI::App app{"Orvandel turns a slide deck (.pptx) into a lesson package (.orv): one movie of the whole "
                 "deck plus the cue times of every slide and bullet, and the speaker notes.",
                 "orvandel"};
    app.formatter(std::make_shared<HelpFormatter>());
    app.set_version_flag("-V,--version", std::string("orvandel ") + ORVANDEL_VERSION);
    app.require_subcommand(1);
    app.fallthrough(false);

    std::function<int()> action;
    setupScanCommand(app, action, out, err);
    setupNotesCommand(app, action, out, err);
    setupPrepareCommand(app, action, out, err);
    setupPlanCommand(app, action, out, err);
    setupExportCommand(app, action, out, err);
    setupProbeCommand(app, action, out, err);
    setupPreviewCommand(app, action, out, err);
    setupH5pCommand(app, action, out, err);
    setupChaptersCommand(app, action, out, err);
    setupScormCommand(app, action, out, err);

    // A mistyped command would otherwise be "A subcommand is required".
    if (argc > 1 && argv[1][0] != '-' && argv[1][0] != '\0') {
        bool known = false;
        for (const CLI::App* sub : app.get_subcommands({})) known = known || sub->check_name(argv[1]);
        if (!known) return unknownCommand(app, argv[1], err);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ExtrasError& e) {
        if (unknownOptions(app, argc, argv, err)) return kExitUsage;
        app.exit(e, out, err);
        return kExitUsage;
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

int runOnStandardStreams(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(fd, F_GETFD) != -1 || errno != EBADF) continue;
        // The lowest free number: this very one, as the lower ones are open by now.
        if (::open("/dev/null", fd == STDERR_FILENO ? O_WRONLY : O_RDONLY) != fd) break;
    }
    StandardOutput out;
    const int status = run(argc, argv, out.stream(), std::cerr);
    try {
        out.finish();
    } catch (const StandardOutputError& e) {
        std::cerr << "orvandel: " << describe(e) << "\n";
        return status == kExitOk ? kExitFailure : status;
    }
    return status;
}

}  // namespace orvandel::cli
