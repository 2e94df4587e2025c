#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "Cli.hpp"
#include "Commands.hpp"
#include "base/Numbers.hpp"
#include "package/ManifestReader.hpp"
#include "package/PackagedMovie.hpp"

namespace orvandel::cli {

namespace {

struct ProbeOptions {
    std::string package;
    bool json = false;
};

int runProbe(const ProbeOptions& options, std::ostream& out) {
    const auto probe = ManifestReader::read(options.package);
    PackagedMovie::check(options.package, probe.masterVideoDuration);
    if (options.json) {
        nlohmann::ordered_json j;
        j["cues"] = probe.cues.size();
        j["masterVideoDuration"] = probe.masterVideoDuration;
        out << j.dump(2) << "\n";
    } else {
        out << options.package << ": " << probe.cues.size() << " cues, master video "
            << formatFixed(probe.masterVideoDuration, 3) << " s\n";
    }
    return kExitOk;
}

}  // namespace

void setupProbeCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream&) {
    auto options = std::make_shared<ProbeOptions>();
    auto* cmd = app.add_subcommand("probe",
                                   "Read a lesson package back: how many cues it has and how long its movie is, "
                                   "once the movie is checked to be one, with a video track as long as the "
                                   "manifest says.");
    cmd->add_option("PACKAGE", options->package, "the .orv package")->required();
    cmd->add_flag("--json", options->json, "print {\"cues\": N, \"masterVideoDuration\": S}");
    cmd->footer("Example:\n  orvandel probe aula.orv --json\n");
    cmd->callback([&action, &out, options] { action = [&out, options] { return runProbe(*options, out); }; });
}

}  // namespace orvandel::cli
