#pragma once
// One setup function per subcommand. Each adds its subcommand to the app and,
// when that subcommand is chosen, stores in `action` the function that runs it
// and returns the exit status. Errors escape as exceptions; Cli.cpp maps them.
#include <functional>
#include <ostream>

namespace CLI {
class App;
}

namespace orvandel::cli {

void setupScanCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err);
void setupNotesCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err);
void setupPrepareCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err);
void setupPlanCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err);
void setupExportCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err);
void setupProbeCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err);
void setupPreviewCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err);
void setupChaptersCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err);
void setupScormCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err);
void setupH5pCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err);

}  // namespace orvandel::cli
