#pragma once
// The running PowerPoint for Mac, found in the process list, so that
// "Forçar saída" can end a render that hangs. Never found on Linux.
#include <sys/types.h>

#include <optional>
#include <string>

namespace orvandel::PowerPointProcess {

// The process id of the running PowerPoint, from `ps`; nothing when it is not running.
std::optional<pid_t> runningApp();
// The same out of `ps -Ao pid=,comm=` output.
std::optional<pid_t> runningApp(const std::string& psOutput);

// Ends it at once (SIGKILL), as the system's own force quit does.
void forceTerminate(pid_t pid);

}  // namespace orvandel::PowerPointProcess
