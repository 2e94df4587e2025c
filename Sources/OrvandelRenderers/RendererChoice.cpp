#include "RendererChoice.hpp"

#include "DefaultMp4Exporter.hpp"
#include "LibreOfficeMp4Exporter.hpp"
#include "Mp4Exporter.hpp"

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

std::unique_ptr<Mp4Exporting> make(Renderer requested, const std::filesystem::path& deck) {
    if (resolve(requested) == Renderer::powerPoint) return std::make_unique<DefaultMp4Exporter>();
    LibreOfficeMp4Exporter::Options options;
    if (!deck.empty()) {
        std::error_code ec;
        const auto absolute = std::filesystem::absolute(deck, ec);
        options.linkedMediaDir = (ec ? deck : absolute).parent_path();
    }
    return std::make_unique<LibreOfficeMp4Exporter>(options);
}

}  // namespace orvandel::RendererChoice
