#include <CLI/CLI.hpp>

#include "Commands.hpp"
#include "Error.hpp"

namespace orvandel::cli {

void setupNotesCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err) {
    auto* cmd = app.add_subcommand("notes", "(not yet available)");
    cmd->callback([&action, &out, &err] {
        action = [&out, &err]() -> int {
            (void)out;
            (void)err;
            throw Error("orvandel notes is not available yet");
        };
    });
}

}  // namespace orvandel::cli
