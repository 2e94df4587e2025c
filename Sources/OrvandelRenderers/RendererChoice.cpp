#include "RendererChoice.hpp"

#include <algorithm>

#include "DefaultMp4Exporter.hpp"
#include "HeadlessRenderer.hpp"
#include "Mp4Exporter.hpp"
#include "base/SystemMemory.hpp"

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

std::optional<std::int64_t> defaultMemoryLimit(int exports) {
    const auto total = SystemMemory::total();
    if (!total) return std::nullopt;
    return *total / 2 / std::max(1, exports);
}

std::optional<RenderCache::Options> cacheOptions(const Cache& choice) {
    if (!choice.enabled) return std::nullopt;
    const auto folder = choice.folder.empty() ? RenderCache::defaultFolder() : std::optional(choice.folder);
    if (!folder) return std::nullopt;
    return RenderCache::Options{*folder, choice.maxBytes.value_or(RenderCache::defaultMaxBytes())};
}

std::unique_ptr<Mp4Exporting> make(Renderer requested, const std::filesystem::path& deck, const Settings& settings) {
    if (resolve(requested) == Renderer::powerPoint) return std::make_unique<DefaultMp4Exporter>();
    HeadlessRenderer::Options options;
    options.drawEffects = settings.drawEffects;
    options.allowLinksOutside = settings.allowLinksOutside;
    options.libreOfficeMemoryLimit = settings.maxMemory ? settings.maxMemory : defaultMemoryLimit(1);
    options.cache = cacheOptions(settings.cache);
    options.video = settings.video;
    if (!deck.empty()) {
        std::error_code ec;
        const auto absolute = std::filesystem::absolute(deck, ec);
        options.deckFolder = (ec ? deck : absolute).parent_path();
        options.deckName = deck.filename().string();
    }
    return std::make_unique<HeadlessRenderer>(options);
}

}  // namespace orvandel::RendererChoice
