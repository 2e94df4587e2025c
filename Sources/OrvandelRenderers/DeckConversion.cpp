#include "DeckConversion.hpp"

#include "base/Bytes.hpp"

namespace orvandel::DeckConversion {

Kind kindOf(const std::filesystem::path& deck) {
    const std::string extension = asciiLowercased(deck.extension().string());
    if (extension == ".pdf") return Kind::pdf;
    if (extension == ".ppt" || extension == ".pps" || extension == ".odp" || extension == ".key") {
        return Kind::convertible;
    }
    return Kind::pptx;
}

std::filesystem::path toPptx(const std::filesystem::path& deck, const std::filesystem::path&,
                             const std::optional<CancellationToken>&) {
    if (kindOf(deck) == Kind::pptx) return deck;
    throw ConversionError(ConversionError::Case::failed,
                          "converting " + deck.filename().string() + " is not built yet");
}

}  // namespace orvandel::DeckConversion
