#pragma once
// The headless renderer's own error: the stage that failed, and a
// description that names it, says what happened and what the user can do
// about it.
#include <string>

#include "base/Error.hpp"
#include "base/ExportStage.hpp"

namespace orvandel {

class RenderError : public Error {
public:
    // tooLarge: the deck needs more memory than the renderer may take.
    enum class Case { missingTool, toolFailed, timedOut, badOutput, badDeck, tooLarge };

    // cause: what the tool or the system said, when it said something.
    RenderError(Case c, ExportStage stage, const std::string& description, std::string cause = {}, int causeErrno = 0)
        : Error(description, std::move(cause), causeErrno), case_(c), stage_(stage) {}

    Case errorCase() const { return case_; }
    ExportStage stage() const { return stage_; }

private:
    Case case_;
    ExportStage stage_;
};

}  // namespace orvandel
