#pragma once
// Runs AppleScript through /usr/bin/osascript. A launch failure is
// powerPointUnavailable; a non-zero exit is classified from its standard error
// (Mp4Exporter::classify). No time limit of its own: every script carries its
// own "with timeout" block.
#include <filesystem>
#include <optional>

#include "AppleScriptRunning.hpp"
#include "base/Cancellation.hpp"

namespace orvandel {

class OsascriptRunner : public AppleScriptRunning {
public:
    // A cancelled token kills a running osascript and makes run() throw
    // CancelledError. `program` exists for tests that stand in for osascript.
    explicit OsascriptRunner(std::optional<CancellationToken> cancel = std::nullopt,
                             std::filesystem::path program = "/usr/bin/osascript");

    void run(const std::string& script) const override;

private:
    std::optional<CancellationToken> cancel_;
    std::filesystem::path program_;
};

}  // namespace orvandel
