#pragma once
// What the app's tests and the screenshot writer share: a renderer that
// writes a movie of the planned length, its headers only, instead of rendering (so the
// window can be driven end to end in milliseconds), small decks, and waits.
#include <QStringList>

#include <atomic>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "base/Warning.hpp"
#include "render/Mp4Exporting.hpp"

class QWidget;

namespace orvandel {
class ExportSession;
}

namespace orvandel::apptest {

std::filesystem::path exampleDeck();
// A copy of the example deck in `dir`, named Aula.pptx.
std::filesystem::path exampleCopy(const QString& dir);
// Chooses `deck` in `session`; whether its scan ended in time.
bool scan(ExportSession& session, const std::filesystem::path& deck);

// Renders nothing: reports the drawing stage half done and `reused` (when
// given) as the render cache would, holds while `hold`
// is set (until the export is cancelled), then throws `failure` or writes a
// movie's headers (one still a second) exactly as long as the prepared deck's plan.
class FakeExporter : public Mp4Exporting {
public:
    std::shared_ptr<std::atomic<bool>> hold = std::make_shared<std::atomic<bool>>(false);
    std::exception_ptr failure;
    std::filesystem::path workBase;             // where the flow's work directory goes; empty: the system's
    std::vector<Warning> warnings;              // reported as a real render would, before the movie
    std::optional<std::pair<int, int>> reused;  // slides from earlier exports, of how many

    using Mp4Exporting::export_;
    void export_(const RenderRequest& request, const std::filesystem::path& to,
                 const std::function<bool()>& isRenderAlive, const RenderHooks& hooks = {}) const override;
    std::filesystem::path workDirectoryBase() const override;
};

// Slide 1 text, slide 2 a GIF, slide 3 a hidden GIF, and, with twoVideos,
// slide 4 holding two videos.
std::filesystem::path mediaDeck(const std::filesystem::path& path, bool twoVideos);
// Slide 1 text, slide 2 a GIF of one frame: a still picture.
std::filesystem::path stillGifDeck(const std::filesystem::path& path);

// Runs the event loop until `done` or `timeoutMs`; whether done.
bool waitUntil(const std::function<bool()>& done, int timeoutMs);

// The labels and buttons under `root` whose text does not fit them (cut,
// shortened or wrapped past their height), by object name or text.
QStringList clippedTexts(QWidget& root);

}  // namespace orvandel::apptest
