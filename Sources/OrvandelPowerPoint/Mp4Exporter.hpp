#pragma once
// Has PowerPoint render a prepared deck as one movie: send the render script,
// watch the output file until its size settles, close the deck, and check
// that the result is a measurable movie of at least minPlausibleMs.
//
// The render script returns as soon as PowerPoint has accepted the save, so
// completion is only seen in the file. An optional liveness test (PowerPoint's
// CPU use) tells a slow render from a dead one while the output is still empty.
//
// Every failure is an ExportError; a cancelled token ends a wait promptly with
// CancelledError. Progress, when asked for, is reported after every look at
// the output as ("rendering", elapsed / maxWait clamped to 0...1): the share of
// the time budget spent, since the render's own progress cannot be seen.
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "AppleScriptRunning.hpp"
#include "render/ExportError.hpp"
#include "render/Mp4Exporting.hpp"

namespace orvandel {

namespace Mp4Exporter {

// Timing of one export; seconds unless marked.
struct Parameters {
    double pollInterval = 3.0;           // pause before each look at the output
    double startupTimeout = 60.0;        // longest wait for a first byte, without a liveness test
    double maxWait = 900.0;              // longest total wait
    std::int64_t minPlausibleMs = 1000;  // shortest acceptable movie, milliseconds
    double livenessGrace = 15.0;         // after the start, an empty output is not judged
    double deadWindow = 12.0;            // idle with empty output this long: the render is dead
    bool operator==(const Parameters&) const = default;
};

// The general form. isRenderAlive may be empty: then the start-up timeout applies.
void export_(const std::filesystem::path& preparedDeck, const std::filesystem::path& to, const Parameters& params,
             const std::function<bool()>& isRenderAlive, const AppleScriptRunning& runner,
             const RenderHooks& hooks = {});

// The script that opens the deck and saves it as a movie at outputMp4.
std::string startScript(const std::filesystem::path& preparedDeck, const std::filesystem::path& outputMp4);
// The script that closes every open presentation named fileName without saving.
std::string closeScript(const std::string& fileName);
// Runs closeScript(fileName); throws as the runner does.
void closeDeck(const std::string& fileName, const AppleScriptRunning& runner);

// Watches `output` until three looks in a row see the same size. Returns the
// failure instead of throwing it; throws only CancelledError.
std::optional<ExportError> pollUntilStable(const std::filesystem::path& output, const Parameters& params,
                                           const std::function<bool()>& isRenderAlive, const RenderHooks& hooks = {});

// The file's size; 0 when it is missing or its size cannot be read.
std::int64_t fileSize(const std::filesystem::path& path);

// Turns an AppleScript failure text into the matching error, carrying the text unchanged.
ExportError classify(const std::string& failureText);

// PowerPoint's CPU use in percent from `ps`, or nothing.
std::optional<double> powerPointCPU();
// The CPU figure out of `ps -Ao %cpu=,comm=` output, or nothing.
std::optional<double> powerPointCPU(const std::string& psOutput);
// The default liveness test: PowerPoint uses more than 15 % CPU.
bool powerPointLivenessProbe();

// Whether PowerPoint can be driven here at all: osascript and the application
// bundle both exist (never on Linux).
bool isPowerPointAvailable();

}  // namespace Mp4Exporter

}  // namespace orvandel
