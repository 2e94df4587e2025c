#pragma once
// The command-line tool: parses the arguments, dispatches to one subcommand
// and maps the outcome to an exit status (0 success, 1 failure with the
// error's description on standard error, 2 usage error, 130/143 interrupted).
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "base/ExportStage.hpp"
#include "base/Warning.hpp"
#include "deck/DeckModel.hpp"

namespace orvandel::cli {

int run(int argc, char** argv, std::ostream& out, std::ostream& err);

// run() as the process itself, on its standard streams. Standard output is
// checked to the end: when a write to it failed (a full disk, a closed pipe,
// a closed descriptor), the reason is said on standard error and the status
// is 1 (a failure's own status stays). SIGPIPE is ignored for that, so that
// a reader that has gone is the failed write EPIPE; child processes get its
// default back (Subprocess resets it). A standard descriptor that is closed
// is held by /dev/null first, standard output read-only so that writing to
// it still fails: otherwise the next file opened would take its number and
// the output meant for it.
int runOnStandardStreams(int argc, char** argv);

// Exit statuses.
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

// Adds the repeatable --video N:MS and --gif N:MS options; each use takes
// exactly one pair, so that a following positional argument is never taken
// for another one.
void addSlideDurationOptions(CLI::App& command, std::vector<std::string>& video, std::vector<std::string>& gif);

// "N:MS" pairs (slide display number : milliseconds) from repeated options.
// Throws CLI::ValidationError on a malformed pair, a slide number below 1 or
// a length outside 1 ms ... 24 h.
std::map<std::int64_t, std::int64_t> parseSlideDurations(const std::vector<std::string>& pairs,
                                                         const std::string& optionName);

// Throws CLI::ValidationError naming the option and the pair when a slide
// number of --video or --gif is beyond the deck's last slide. A deck that
// cannot be read is left for the command itself to report.
void checkSlidesExist(const std::map<std::int64_t, std::int64_t>& videoMs,
                      const std::map<std::int64_t, std::int64_t>& gifMs, DeckModel& deck);

// An existing regular file: a missing path, a folder, a FIFO, a socket or a
// device is a usage error before anything opens it.
extern const CLI::Validator RegularFile;

// A size in bytes written as a whole number, maybe followed by K, M, G or T
// (powers of 1024; "KiB", "MB" and lower case are read alike). Throws
// CLI::ValidationError naming the option for anything else, or for less than
// 64 MiB (LibreOffice cannot start in less).
std::int64_t parseMemorySize(const std::string& text, const std::string& optionName);

// Throws CLI::ValidationError naming the option when the folder `file` is
// to be written into does not exist ("the folder ... does not exist: create
// it or choose another"), before any work.
void checkFolderExists(const std::filesystem::path& file, const std::string& optionName);

// Adds --max-part-mib N: the most one text part of a deck may unpack to.
void addLargestPartOption(CLI::App& command);

// A stage as the progress lines name it ("converting slides").
std::string stageName(ExportStage stage);

// "37% drawing slides, about 1 min 20 s left": the progress line's text
// (the time left only when there is an estimate).
std::string progressText(int permille, const std::string& stage, std::optional<std::int64_t> remainingMs);

// "about 1 min 20 s left", "about 40 s left", "a few seconds left".
std::string timeLeft(std::int64_t remainingMs);

// Prints each warning on its own line as "warning: <text>".
WarningCallback printWarnings(std::ostream& err);

}  // namespace orvandel::cli
