#include "tools/FontResolver.hpp"

#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <cctype>

#include "tools/FontAliases.hpp"
#include "tools/RenderError.hpp"

namespace orvandel {

namespace {

bool sameName(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
    });
}

bool generic(std::string_view family) {
    for (const char* g : {"sans", "sans-serif", "serif", "monospace"}) {
        if (sameName(family, g)) return true;
    }
    return false;
}

bool inside(const std::filesystem::path& file, const std::filesystem::path& folder) {
    const auto f = file.lexically_normal().string(), d = (folder.lexically_normal() / "").string();
    return f.compare(0, d.size(), d) == 0;
}

[[noreturn]] void fail(const std::string& what) {
    throw RenderError(RenderError::Case::toolFailed, ExportStage::pdf, "finding the deck's fonts: " + what);
}

}  // namespace

struct FontResolver::Config {
    FcConfig* config = nullptr;
    ~Config() {
        if (config) FcConfigDestroy(config);
    }
};

FontResolver::FontResolver(const std::string& configuration, const std::vector<std::filesystem::path>& fontFolders)
    : config_(std::make_unique<Config>()), fontFolders_(fontFolders) {
    config_->config = FcConfigCreate();
    if (!config_->config) fail("fontconfig could not create a configuration");
    if (!FcConfigParseAndLoadFromMemory(config_->config, reinterpret_cast<const FcChar8*>(configuration.c_str()),
                                        FcTrue)) {
        fail("fontconfig rejected the font configuration");
    }
    // Reads the caches the configuration names, writing only into its own
    // cache folder, which comes first.
    if (!FcConfigBuildFonts(config_->config)) fail("fontconfig could not list the fonts");
    for (const auto& folder : fontFolders_) {
        if (!FcConfigAppFontAddDir(config_->config, reinterpret_cast<const FcChar8*>(folder.c_str()))) {
            fail("fontconfig could not read the font folder " + folder.string());
        }
    }
}

FontResolver::~FontResolver() = default;

FontResolver::Resolved FontResolver::resolve(std::string_view typeface) const {
    const std::string family(typeface);
    FcPattern* pattern = FcPatternCreate();
    FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(family.c_str()));
    FcConfigSubstitute(config_->config, pattern, FcMatchPattern);
    FcDefaultSubstitute(pattern);
    FcResult result = FcResultNoMatch;
    FcPattern* match = FcFontMatch(config_->config, pattern, &result);
    FcPatternDestroy(pattern);

    // A font may carry several family names ("sans" and "Aerial"): any of
    // them may be the one asked for; the first that is not generic is shown.
    std::vector<std::string> families;
    std::string file;
    if (match) {
        FcChar8* value = nullptr;
        for (int i = 0; FcPatternGetString(match, FC_FAMILY, i, &value) == FcResultMatch; ++i) {
            families.emplace_back(reinterpret_cast<const char*>(value));
        }
        if (FcPatternGetString(match, FC_FILE, 0, &value) == FcResultMatch) file = reinterpret_cast<const char*>(value);
        FcPatternDestroy(match);
    }
    const auto named = [&](std::string_view name) {
        return std::any_of(families.begin(), families.end(), [&](const std::string& f) { return sameName(f, name); });
    };

    Resolved resolved;
    const auto shown = std::find_if(families.begin(), families.end(), [](const std::string& f) { return !generic(f); });
    resolved.drawnWith = shown != families.end() ? *shown : families.empty() ? "" : families.front();
    if (named(typeface)) {
        resolved.drawnWith = family;
        const bool fromFolder = std::any_of(fontFolders_.begin(), fontFolders_.end(),
                                            [&](const std::filesystem::path& folder) { return inside(file, folder); });
        resolved.resolution = fromFolder ? Resolution::embedded : Resolution::installed;
    } else if (const auto* alias = FontAliases::find(typeface); alias && named(alias->drawnWith)) {
        resolved.drawnWith = std::string(alias->drawnWith);
        resolved.resolution = alias->metricCompatible ? Resolution::twin : Resolution::lookAlike;
    }
    return resolved;
}

std::string_view FontResolver::name(Resolution resolution) {
    switch (resolution) {
        case Resolution::installed: return "installed";
        case Resolution::embedded: return "embedded";
        case Resolution::twin: return "twin";
        case Resolution::lookAlike: return "lookAlike";
        case Resolution::fallback: return "fallback";
    }
    return "fallback";
}

}  // namespace orvandel
