#pragma once
// The error a renderer reports when it could not produce the movie. The
// export flow wraps it (OrvExporter::FlowError) so that the user is told to
// render by hand; it lives with the renderer interface so that the flow does
// not depend on any one renderer.
#include <string>

#include "base/Error.hpp"

namespace orvandel::Mp4Exporter {

class ExportError : public Error {
public:
    enum class Case { powerPointUnavailable, automationDenied, timedOut, exportFailed, unmeasurableOutput };

    static ExportError powerPointUnavailable(std::string message);
    static ExportError automationDenied(std::string message);
    static ExportError timedOut(std::string message);
    static ExportError exportFailed(std::string message);
    static ExportError unmeasurableOutput(std::string message);

    Case errorCase() const { return case_; }
    const std::string& message() const { return message_; }
    // PowerPoint may still be busy rendering after these.
    bool rendersInFlight() const { return case_ == Case::timedOut || case_ == Case::exportFailed; }

private:
    ExportError(Case c, std::string message);
    Case case_;
    std::string message_;
};

}  // namespace orvandel::Mp4Exporter
