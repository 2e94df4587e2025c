#include <CLI/CLI.hpp>

#include "Commands.hpp"
#include "Error.hpp"

namespace orvandel::cli {

void setupExportCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err) {
    auto* cmd = app.add_subcommand("export", "(not yet available)");
    cmd->callback([&action, &out, &err] {
        action = [&out, &err]() -> int {
            (void)out;
            (void)err;
            throw Error("orvandel export is not available yet");
        };
    });
}

}  // namespace orvandel::cli
