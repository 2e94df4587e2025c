#pragma once
// The one way the core library talks to PowerPoint: run a whole AppleScript
// program text. An interface so that the renderer can be driven by a stand-in.
#include <string>

namespace orvandel {

class AppleScriptRunning {
public:
    virtual ~AppleScriptRunning() = default;
    // Runs the script to its end; whatever it prints is dropped. Throws
    // Mp4Exporter::ExportError on failure (CancelledError when cancelled).
    virtual void run(const std::string& script) const = 0;
};

}  // namespace orvandel
