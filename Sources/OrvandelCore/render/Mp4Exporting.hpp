#pragma once
// The renderer interface shared by the export flow and its implementations
// (PowerPoint through AppleScript, and the headless renderer). A renderer
// that cannot make the movie throws Mp4Exporter::ExportError (or an error of
// its own, which the flow passes on unchanged).
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "base/Cancellation.hpp"
#include "base/Warning.hpp"

namespace orvandel {

struct RenderHooks {
    ProgressCallback progress;                // may be empty
    std::optional<CancellationToken> cancel;  // may be absent
    WarningCallback warn;                     // may be empty
    // How many of the movie's slides a renderer took from earlier exports
    // (its cache) instead of drawing and encoding them again, once it knows;
    // may be empty.
    std::function<void(int reused, int slides)> reused;

    void warning(const Warning& w) const {
        if (warn) warn(w);
    }

    void reportReused(int count, int slides) const {
        if (reused) reused(count, slides);
    }

    void report(ExportStage stage, double fraction) const {
        if (progress) progress(stage, fraction);
    }
    void throwIfCancelled() const {
        if (cancel && cancel->isCancelled()) throw CancelledError();
    }
};

// What a renderer is asked to render.
struct RenderRequest {
    std::filesystem::path preparedDeck;
    // The source deck's slide transitions as its author wrote them (each
    // slide's transition markup, by slide part name): the prepared deck's are
    // all instant advances. A renderer that plays the prepared deck's own
    // ignores them.
    std::map<std::string, std::string> sourceTransitions;
};

class Mp4Exporting {
public:
    virtual ~Mp4Exporting() = default;
    // Renders the request's prepared deck into a movie at `to`, or throws.
    // isRenderAlive may be empty (absent).
    virtual void export_(const RenderRequest& request, const std::filesystem::path& to,
                         const std::function<bool()>& isRenderAlive, const RenderHooks& hooks = {}) const = 0;
    // A prepared deck alone, without the source's transitions.
    void export_(const std::filesystem::path& preparedDeck, const std::filesystem::path& to,
                 const std::function<bool()>& isRenderAlive, const RenderHooks& hooks = {}) const {
        export_(RenderRequest{preparedDeck, {}}, to, isRenderAlive, hooks);
    }
    // Where the export flow makes its work directory (the prepared deck and
    // the movie go there): the system temporary directory unless the
    // renderer can only reach some other place.
    virtual std::filesystem::path workDirectoryBase() const { return std::filesystem::temp_directory_path(); }
};

}  // namespace orvandel
