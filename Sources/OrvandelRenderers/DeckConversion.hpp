#pragma once
// Decks that are not .pptx: .ppt, .pps, .odp (and .key, where the installed
// LibreOffice opens it) are converted to a .pptx copy in the export's
// scratch folder, with the same sandbox as every LibreOffice run (a private
// profile, time and memory limits, nothing fetched from any network); the
// export then reads the copy, and says so (Warning::deckConverted). A PDF
// has no slides to animate and is refused.
#include <filesystem>
#include <optional>
#include <string>

#include "base/Cancellation.hpp"
#include "base/Error.hpp"

namespace orvandel::DeckConversion {

enum class Kind {
    pptx,         // read as it is (.pptx, .ppsx, .pptm and any file that is not one of the others)
    convertible,  // .ppt, .pps, .odp, .key
    pdf,          // refused
};

// By the file name's extension, in any case.
Kind kindOf(const std::filesystem::path& deck);

// A deck that cannot be converted: a PDF ("a PDF has no slides to animate:
// export the deck itself"), or one LibreOffice could not open or convert
// (naming the file and what to do).
class ConversionError : public Error {
public:
    enum class Case { pdf, failed };
    ConversionError(Case errorCase, const std::string& description, const std::string& cause = {})
        : Error(description, cause), case_(errorCase) {}
    Case errorCase() const { return case_; }

private:
    Case case_;
};

// The .pptx to read for `deck`: deck itself when its kind is pptx, else its
// converted copy written under scratch (which the caller removes). Throws
// ConversionError, CancelledError.
std::filesystem::path toPptx(const std::filesystem::path& deck, const std::filesystem::path& scratch,
                             const std::optional<CancellationToken>& cancel = std::nullopt);

}  // namespace orvandel::DeckConversion
