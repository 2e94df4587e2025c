#include <CLI/CLI.hpp>

#include <memory>
#include <nlohmann/json.hpp>

#include "Cli.hpp"
#include "Commands.hpp"
#include "base/Numbers.hpp"
#include "deck/NotesScanner.hpp"

namespace orvandel::cli {

namespace {

struct NotesOptions {
    std::string deck;
    bool json = false;
};

int runNotes(const NotesOptions& options, std::ostream& out, std::ostream& err) {
    const auto notes = NotesScanner::notesBySlide(options.deck, printWarnings(err));
    if (options.json) {
        nlohmann::ordered_json object = nlohmann::ordered_json::object();
        for (const auto& [slide, text] : notes) object[formatInt(slide)] = text;
        out << object.dump(2) << "\n";
        return kExitOk;
    }
    if (notes.empty()) err << "no speaker notes in " << options.deck << "\n";
    bool first = true;
    for (const auto& [slide, text] : notes) {
        if (!first) out << "\n";
        first = false;
        out << "Slide " << slide << ":\n" << text << "\n";
    }
    return kExitOk;
}

}  // namespace

void setupNotesCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err) {
    auto options = std::make_shared<NotesOptions>();
    auto* cmd = app.add_subcommand(
        "notes",
        "Print the speaker notes of every slide as plain text, numbered as the slides are shown (hidden slides "
        "counted). Slides without notes are left out.");
    cmd->add_option("DECK", options->deck, "The deck to read (.pptx)")->required();
    addLargestPartOption(*cmd);
    cmd->add_flag("--json", options->json, "Print a JSON object from slide number (as a string) to that slide's notes");
    cmd->footer("Example:\n  orvandel notes examples/aula-exemplo.pptx --json\n");
    cmd->callback([&action, &out, &err, options] {
        action = [&out, &err, options]() -> int { return runNotes(*options, out, err); };
    });
}

}  // namespace orvandel::cli
