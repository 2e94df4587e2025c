#include "OsascriptRunner.hpp"

#include <cstring>

#include "Mp4Exporter.hpp"
#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"

namespace orvandel {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f'; }

std::string trimmed(const std::string& text) {
    std::size_t b = 0, e = text.size();
    while (b < e && isBlank(text[b])) ++b;
    while (e > b && isBlank(text[e - 1])) --e;
    return text.substr(b, e - b);
}

}  // namespace

OsascriptRunner::OsascriptRunner(std::optional<CancellationToken> cancel, std::filesystem::path program)
    : cancel_(std::move(cancel)), program_(std::move(program)) {}

void OsascriptRunner::run(const std::string& script) const {
    if (cancel_ && cancel_->isCancelled()) throw CancelledError();
    SubprocessResult result;
    try {
        result = Subprocess::run({program_.string(), "-e", script}, {.cancel = cancel_});
    } catch (const LaunchError& e) {
        throw Mp4Exporter::ExportError::powerPointUnavailable(std::string("could not launch osascript: ") +
                                                              std::strerror(e.errnoValue()));
    }
    if (result.cancelled) throw CancelledError();
    if (result.succeeded()) return;
    const std::string text = isValidUtf8(result.standardError) ? trimmed(result.standardError)
                                                               : "unknown osascript error";
    throw Mp4Exporter::classify(text);
}

}  // namespace orvandel
