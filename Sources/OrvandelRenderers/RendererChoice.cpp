#include "RendererChoice.hpp"

#include "DefaultMp4Exporter.hpp"
#include "LibreOfficeMp4Exporter.hpp"
#include "Mp4Exporter.hpp"
#include "SlideTransitions.hpp"
#include "base/Error.hpp"

namespace orvandel::RendererChoice {

std::optional<Renderer> fromName(std::string_view name) {
    if (name == "auto") return Renderer::automatic;
    if (name == "libreoffice") return Renderer::headless;
    if (name == "powerpoint") return Renderer::powerPoint;
    return std::nullopt;
}

Renderer resolve(Renderer requested) {
    if (requested != Renderer::automatic) return requested;
    return Mp4Exporter::isPowerPointAvailable() ? Renderer::powerPoint : Renderer::headless;
}

std::unique_ptr<Mp4Exporting> make(Renderer requested, const std::filesystem::path& deck, bool drawEffects) {
    if (resolve(requested) == Renderer::powerPoint) return std::make_unique<DefaultMp4Exporter>();
    LibreOfficeMp4Exporter::Options options;
    options.drawEffects = drawEffects;
    if (!deck.empty()) {
        std::error_code ec;
        const auto absolute = std::filesystem::absolute(deck, ec);
        options.linkedMediaDir = (ec ? deck : absolute).parent_path();
        if (drawEffects) {
            try {
                options.transitions = SlideTransitions::ofDeck(deck);
            } catch (const Error&) {
                // The export reads the deck again and reports what is wrong with it.
            }
        }
    }
    return std::make_unique<LibreOfficeMp4Exporter>(options);
}

}  // namespace orvandel::RendererChoice
