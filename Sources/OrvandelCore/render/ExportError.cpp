#include "render/ExportError.hpp"

namespace orvandel::Mp4Exporter {

ExportError::ExportError(Case c, std::string message)
    : Error([&] {
          switch (c) {
              case Case::powerPointUnavailable: return "PowerPoint unavailable: " + message;
              case Case::automationDenied: return "Automation permission denied: " + message;
              case Case::timedOut:
                  return "PowerPoint did not respond in time (a dialog/modal may be open — "
                         "close it and retry, or export manually and pass --mp4): " +
                         message;
              case Case::exportFailed: return "MP4 export failed: " + message;
              case Case::unmeasurableOutput: return "MP4 export produced an unmeasurable file: " + message;
          }
          return message;
      }()),
      case_(c),
      message_(std::move(message)) {}

ExportError ExportError::powerPointUnavailable(std::string m) { return {Case::powerPointUnavailable, std::move(m)}; }
ExportError ExportError::automationDenied(std::string m) { return {Case::automationDenied, std::move(m)}; }
ExportError ExportError::timedOut(std::string m) { return {Case::timedOut, std::move(m)}; }
ExportError ExportError::exportFailed(std::string m) { return {Case::exportFailed, std::move(m)}; }
ExportError ExportError::unmeasurableOutput(std::string m) { return {Case::unmeasurableOutput, std::move(m)}; }

}  // namespace orvandel::Mp4Exporter
