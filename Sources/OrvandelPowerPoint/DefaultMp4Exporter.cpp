#include "DefaultMp4Exporter.hpp"

#include <cstdlib>
#include <system_error>

#include "Mp4Exporter.hpp"
#include "OsascriptRunner.hpp"

namespace orvandel {

void DefaultMp4Exporter::export_(const RenderRequest& request, const std::filesystem::path& to,
                                 const std::function<bool()>& isRenderAlive, const RenderHooks& hooks) const {
    const std::function<bool()> alive = isRenderAlive ? isRenderAlive : Mp4Exporter::powerPointLivenessProbe;
    Mp4Exporter::export_(request.preparedDeck, to, Mp4Exporter::Parameters{}, alive, OsascriptRunner(hooks.cancel),
                         hooks);
}

std::filesystem::path DefaultMp4Exporter::workDirectoryBase() const {
    if (const char* home = std::getenv("HOME")) {
        const auto container = std::filesystem::path(home) / "Library/Containers/com.microsoft.Powerpoint/Data";
        std::error_code ec;
        if (std::filesystem::is_directory(container, ec)) return container / "tmp";
    }
    return Mp4Exporting::workDirectoryBase();
}

}  // namespace orvandel
