#include "Mp4Exporter.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <string_view>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

#include "OsascriptRunner.hpp"
#include "base/Bytes.hpp"
#include "base/Numbers.hpp"
#include "base/Subprocess.hpp"
#include "render/Mp4Duration.hpp"

namespace orvandel {

namespace Mp4Exporter {

namespace {

using Clock = std::chrono::steady_clock;

// Waits are cut into slices this long so that a cancellation is seen promptly.
constexpr auto kSleepSlice = std::chrono::milliseconds(50);

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// A parameter as the whole seconds the failure texts show (900.0 -> "900").
std::string wholeSeconds(double seconds) {
    if (!std::isfinite(seconds) || std::fabs(seconds) >= 9.0e18) return formatFixed(seconds, 0);
    return formatInt(static_cast<std::int64_t>(seconds));
}

void sleepFor(double seconds, const RenderHooks& hooks) {
    if (!(seconds > 0)) {
        hooks.throwIfCancelled();
        return;
    }
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                             std::chrono::duration<double>(std::min(seconds, 1.0e9)));
    for (;;) {
        hooks.throwIfCancelled();
        const auto now = Clock::now();
        if (now >= deadline) return;
        auto step = deadline - now;
        if (hooks.cancel) step = std::min<Clock::duration>(step, kSleepSlice);
        std::this_thread::sleep_for(step);
    }
}

// Escaped for an AppleScript string literal: backslashes first, then quotes.
std::string escaped(const std::string& text) {
    std::string out;
    out.reserve(text.size() + 8);
    for (char c : text) {
        if (c == '\\') out += "\\\\";
        else if (c == '"') out += "\\\"";
        else out += c;
    }
    return out;
}

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f'; }

}  // namespace

std::string startScript(const std::filesystem::path& preparedDeck, const std::filesystem::path& outputMp4) {
    return "with timeout of 30 seconds\n"
           "    tell application \"Microsoft PowerPoint\"\n"
           "        activate\n"
           "        open POSIX file \"" +
           escaped(preparedDeck.string()) +
           "\"\n"
           "        save active presentation in (POSIX file \"" +
           escaped(outputMp4.string()) +
           "\") as save as movie\n"
           "    end tell\n"
           "end timeout";
}

std::string closeScript(const std::string& fileName) {
    return "with timeout of 10 seconds\n"
           "    tell application \"Microsoft PowerPoint\"\n"
           "        repeat with p in (get every presentation)\n"
           "            if (name of p) is \"" +
           escaped(fileName) +
           "\" then close p saving no\n"
           "        end repeat\n"
           "    end tell\n"
           "end timeout";
}

void closeDeck(const std::string& fileName, const AppleScriptRunning& runner) { runner.run(closeScript(fileName)); }

std::int64_t fileSize(const std::filesystem::path& path) {
    std::error_code ec;
    const auto size = std::filesystem::file_size(path, ec);
    if (ec || size > static_cast<std::uintmax_t>(INT64_MAX)) return 0;
    return static_cast<std::int64_t>(size);
}

std::optional<ExportError> pollUntilStable(const std::filesystem::path& output, const Parameters& params,
                                           const std::function<bool()>& isRenderAlive, const RenderHooks& hooks) {
    const auto start = Clock::now();
    bool idle = false;  // the idle mark is set
    Clock::time_point idleMark = start;
    int stableCount = 0;
    std::int64_t lastSize = -1;
    const auto reset = [&] {
        stableCount = 0;
        lastSize = 0;
    };

    while (secondsSince(start) < params.maxWait) {
        sleepFor(params.pollInterval, hooks);
        const std::int64_t size = fileSize(output);
        const double elapsed = secondsSince(start);
        if (hooks.progress) {
            const double share = params.maxWait > 0 ? elapsed / params.maxWait : 1.0;
            hooks.progress(ExportStage::render, std::clamp(share, 0.0, 1.0));
        }

        if (size == 0) {
            if (!isRenderAlive) {
                if (elapsed > params.startupTimeout) {
                    return ExportError::exportFailed("render did not start within " +
                                                     wholeSeconds(params.startupTimeout) + " s " +
                                                     "(output still 0 bytes at " + output.string() + ")");
                }
                reset();
            } else if (elapsed <= params.livenessGrace || isRenderAlive()) {
                idle = false;
                reset();
            } else {
                if (!idle) {
                    idle = true;
                    idleMark = Clock::now();
                }
                if (secondsSince(idleMark) >= params.deadWindow) {
                    return ExportError::exportFailed("render appears dead: PowerPoint idle for " +
                                                     wholeSeconds(params.deadWindow) +
                                                     " s with output still 0 bytes at " + output.string());
                }
                reset();
            }
        } else if (size == lastSize) {
            if (++stableCount == 3) return std::nullopt;
        } else {
            lastSize = size;
            stableCount = 0;
        }
    }
    return ExportError::exportFailed("render started but did not finish within " + wholeSeconds(params.maxWait) +
                                     " s " + "(last size " + formatInt(fileSize(output)) + " bytes at " +
                                     output.string() + ")");
}

void export_(const std::filesystem::path& preparedDeck, const std::filesystem::path& to, const Parameters& params,
             const std::function<bool()>& isRenderAlive, const AppleScriptRunning& runner, const RenderHooks& hooks) {
    hooks.throwIfCancelled();
    std::error_code ignored;
    std::filesystem::remove(to, ignored);

    runner.run(startScript(preparedDeck, to));

    // On failure the deck stays open: PowerPoint may still be busy with it.
    if (auto failure = pollUntilStable(to, params, isRenderAlive, hooks)) throw *failure;

    try {
        closeDeck(preparedDeck.filename().string(), runner);
    } catch (const CancelledError&) {
        throw;
    } catch (const std::exception&) {
        // The movie is complete; a deck left open is harmless.
    }

    std::int64_t durationMs = 0;
    try {
        durationMs = Mp4Duration::measureMs(to);
    } catch (const Mp4Duration::Mp4Error& e) {
        throw ExportError::unmeasurableOutput("rendered file at " + to.string() +
                                              " could not be measured: " + e.what());
    }
    if (durationMs < params.minPlausibleMs) {
        throw ExportError::unmeasurableOutput("rendered movie is implausibly short (" + formatInt(durationMs) +
                                              " ms < " + formatInt(params.minPlausibleMs) + " ms)");
    }
}

ExportError classify(const std::string& failureText) {
    struct Group {
        std::vector<std::string_view> needles;
        ExportError (*make)(std::string);
    };
    // Tried in this order: a text that both denies permission and times out
    // is a permission problem.
    static const Group groups[] = {
        {{"-1743", "not authori", "not allowed to send"}, &ExportError::automationDenied},
        {{"-600", "-10810", "-10814", "-1728", "isn't running", "can\u2019t get application", "can't get application",
          "application isn't running"},
         &ExportError::powerPointUnavailable},
        {{"-1712", "timed out", "apple event timed out"}, &ExportError::timedOut},
    };
    const std::string lowered = asciiLowercased(failureText);
    for (const auto& group : groups) {
        for (const auto needle : group.needles) {
            if (lowered.find(needle) != std::string::npos) return group.make(failureText);
        }
    }
    return ExportError::exportFailed(failureText);
}

std::optional<double> powerPointCPU(const std::string& psOutput) {
    static const std::string kCommand = "Microsoft PowerPoint.app/Contents/MacOS/Microsoft PowerPoint";
    if (!isValidUtf8(psOutput)) return std::nullopt;
    std::size_t lineStart = 0;
    while (lineStart < psOutput.size()) {
        auto lineEnd = psOutput.find('\n', lineStart);
        if (lineEnd == std::string::npos) lineEnd = psOutput.size();
        const std::string_view line(psOutput.data() + lineStart, lineEnd - lineStart);
        if (line.find(kCommand) != std::string_view::npos) {
            std::size_t b = 0;
            while (b < line.size() && isBlank(line[b])) ++b;
            std::size_t e = b;
            while (e < line.size() && !isBlank(line[e])) ++e;
            return parseDouble(line.substr(b, e - b));
        }
        lineStart = lineEnd + 1;
    }
    return std::nullopt;
}

std::optional<double> powerPointCPU() {
    try {
        return powerPointCPU(Subprocess::run({"/bin/ps", "-Ao", "%cpu=,comm="}).standardOutput);
    } catch (const Error&) {
        return std::nullopt;
    }
}

bool powerPointLivenessProbe() {
    const auto cpu = powerPointCPU();
    return cpu && *cpu > 15.0;
}

bool isPowerPointAvailable() {
    std::error_code ec;
    return ::access("/usr/bin/osascript", X_OK) == 0 &&
           std::filesystem::is_directory("/Applications/Microsoft PowerPoint.app", ec);
}

}  // namespace Mp4Exporter

}  // namespace orvandel
