#pragma once
// Which font LibreOffice will draw a typeface with, asked of the fontconfig
// library under the very configuration text LibreOffice is given, and how
// far that font is from the one the deck names. One resolver holds one
// fontconfig configuration: build it once per export and ask it for every
// typeface.
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orvandel {

class FontResolver {
public:
    enum class Resolution {
        installed,  // the font itself
        embedded,   // the font itself, from a folder of fonts the deck embeds
        twin,       // a free font with the same advance widths
        lookAlike,  // a free font of similar design and width, lines may break differently
        fallback,   // whatever fontconfig falls back to
    };

    struct Resolved {
        std::string drawnWith;  // the family drawn, as the font names itself
        Resolution resolution = Resolution::fallback;
        bool operator==(const Resolved&) const = default;
    };

    // `configuration` is fontconfig file text (LibreOffice::fontConfiguration);
    // `fontFolders` are added as the application's own fonts (the deck's
    // embedded fonts). Throws RenderError (ExportStage::pdf) when fontconfig
    // rejects the configuration or a folder.
    explicit FontResolver(const std::string& configuration, const std::vector<std::filesystem::path>& fontFolders = {});
    ~FontResolver();
    FontResolver(const FontResolver&) = delete;
    FontResolver& operator=(const FontResolver&) = delete;

    // The regular face fontconfig matches for the family. Empty names are the caller's to skip.
    Resolved resolve(std::string_view typeface) const;

    // "installed", "embedded", "twin", "lookAlike", "fallback".
    static std::string_view name(Resolution resolution);
    // Whether text in the font may break lines differently than its author saw.
    static bool substituted(Resolution resolution) {
        return resolution == Resolution::lookAlike || resolution == Resolution::fallback;
    }

private:
    struct Config;
    std::unique_ptr<Config> config_;
    std::vector<std::filesystem::path> fontFolders_;
};

}  // namespace orvandel
