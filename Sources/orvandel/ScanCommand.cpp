#include <CLI/CLI.hpp>

#include "Commands.hpp"
#include "Error.hpp"

namespace orvandel::cli {

void setupScanCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err) {
    auto* cmd = app.add_subcommand("scan", "(not yet available)");
    cmd->callback([&action, &out, &err] {
        action = [&out, &err]() -> int {
            (void)out;
            (void)err;
            throw Error("orvandel scan is not available yet");
        };
    });
}

}  // namespace orvandel::cli
