#include "tools/FontReport.hpp"

namespace orvandel::FontReport {

std::vector<Font> of(const DeckFonts::Fonts& fonts, const FontResolver& resolver) {
    std::vector<Font> out;
    out.reserve(fonts.typefaces.size());
    for (const auto& typeface : fonts.typefaces) {
        auto resolved = resolver.resolve(typeface.name);
        out.push_back(
            {typeface.name, std::move(resolved.drawnWith), resolved.resolution, typeface.firstSlide, typeface.latin});
    }
    return out;
}

std::vector<Warning> warnings(const std::vector<Font>& fonts) {
    std::vector<Warning> out;
    for (const auto& font : fonts) {
        if (font.firstSlide > 0 && font.latin && FontResolver::substituted(font.resolution)) {
            out.push_back(Warning::fontSubstituted(font.firstSlide, font.name, font.drawnWith));
        }
    }
    return out;
}

}  // namespace orvandel::FontReport
