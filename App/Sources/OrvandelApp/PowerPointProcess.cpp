#include "PowerPointProcess.hpp"

#include <csignal>
#include <limits>
#include <sstream>

#include "base/Error.hpp"
#include "base/Numbers.hpp"
#include "base/Subprocess.hpp"

namespace orvandel::PowerPointProcess {

namespace {

// The executable inside the application bundle, wherever the bundle lies.
const std::string kExecutable = "Microsoft PowerPoint.app/Contents/MacOS/Microsoft PowerPoint";

}  // namespace

std::optional<pid_t> runningApp(const std::string& psOutput) {
    std::istringstream lines(psOutput);
    for (std::string line; std::getline(lines, line);) {
        const auto pidStart = line.find_first_not_of(' ');
        const auto pidEnd = line.find(' ', pidStart);
        const auto commandStart = line.find_first_not_of(' ', pidEnd);
        const auto commandEnd = line.find_last_not_of(" \r");
        if (pidStart == std::string::npos || commandStart == std::string::npos) continue;
        const std::string_view command = std::string_view(line).substr(commandStart, commandEnd + 1 - commandStart);
        // The path must end with the executable: a helper inside the bundle
        // (".../Microsoft PowerPoint.app/Contents/XPCServices/...") is not PowerPoint.
        if (!command.ends_with(kExecutable)) continue;
        const auto pid = parseInt64(std::string_view(line).substr(pidStart, pidEnd - pidStart));
        if (pid && *pid > 0 && *pid <= std::numeric_limits<pid_t>::max()) return static_cast<pid_t>(*pid);
    }
    return std::nullopt;
}

std::optional<pid_t> runningApp() {
    try {
        const auto ps = Subprocess::run({"/bin/ps", "-Ao", "pid=,comm="}, {.timeout = std::chrono::seconds(5)});
        if (!ps.succeeded()) return std::nullopt;
        return runningApp(ps.standardOutput);
    } catch (const Error&) {
        return std::nullopt;
    }
}

void forceTerminate(pid_t pid) { ::kill(pid, SIGKILL); }

}  // namespace orvandel::PowerPointProcess
