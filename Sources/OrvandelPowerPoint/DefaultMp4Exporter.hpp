#pragma once
// The renderer that drives PowerPoint for Mac: the default parameters, the
// osascript runner, PowerPoint's CPU use as the liveness test when the caller
// gives none, and work directories inside PowerPoint's sandbox container
// (PowerPoint may only write there).
#include "render/Mp4Exporting.hpp"

namespace orvandel {

class DefaultMp4Exporter : public Mp4Exporting {
public:
    using Mp4Exporting::export_;
    // PowerPoint plays the prepared deck's own transitions: the source's are not needed.
    void export_(const RenderRequest& request, const std::filesystem::path& to,
                 const std::function<bool()>& isRenderAlive, const RenderHooks& hooks = {}) const override;

    // PowerPoint's sandbox container's "tmp" when that container exists, else
    // the system temporary directory.
    std::filesystem::path workDirectoryBase() const override;
};

}  // namespace orvandel
