#include "DeckConversion.hpp"

#include "base/Bytes.hpp"
#include "tools/LibreOffice.hpp"
#include "tools/RenderError.hpp"

namespace orvandel::DeckConversion {

namespace {

// A conversion reads the deck once and writes it once: far less than drawing
// it, but a large .ppt still takes a while.
constexpr std::chrono::milliseconds kTimeLimit{180'000};
// Enough for LibreOffice to open a large deck; a conversion that wants more
// is a hostile or broken file.
constexpr std::int64_t kMemoryLimit = std::int64_t{2} << 30;

}  // namespace

Kind kindOf(const std::filesystem::path& deck) {
    const std::string extension = asciiLowercased(deck.extension().string());
    if (extension == ".pdf") return Kind::pdf;
    if (extension == ".ppt" || extension == ".pps" || extension == ".odp" || extension == ".key") {
        return Kind::convertible;
    }
    return Kind::pptx;
}

std::filesystem::path toPptx(const std::filesystem::path& deck, const std::filesystem::path& scratch,
                             const std::optional<CancellationToken>& cancel) {
    const std::string name = deck.filename().string();
    switch (kindOf(deck)) {
        case Kind::pptx: return deck;
        case Kind::pdf:
            throw ConversionError(ConversionError::Case::pdf,
                                  name + ": a PDF has no slides to animate: export the deck itself");
        case Kind::convertible: break;
    }
    // LibreOffice names its output after the input: a deck called "x.ppt"
    // beside an "x.pptx" must not be mistaken for it, hence a folder of its own.
    const auto outDir = scratch / "converted";
    try {
        // The same sandbox as every render: a private profile closed to the
        // network, run in a network namespace of its own where the system allows.
        return LibreOffice::convert(deck, "pptx:Impress Office Open XML", "pptx", outDir,
                                    {.workDir = scratch / "conversion",
                                     .timeout = kTimeLimit,
                                     .cancel = cancel,
                                     .memoryLimit = kMemoryLimit,
                                     .deckName = name});
    } catch (const CancelledError&) {
        throw;
    } catch (const RenderError& e) {
        // A tool that is not installed says so itself, with what to install.
        if (e.errorCase() == RenderError::Case::missingTool) throw;
        ConversionError error(ConversionError::Case::failed,
                              "could not convert " + name +
                                  " to .pptx: LibreOffice could not open it or write the copy; open it in "
                                  "PowerPoint or LibreOffice Impress and save it as .pptx");
        error.keepCause(e);
        throw error;
    }
}

}  // namespace orvandel::DeckConversion
