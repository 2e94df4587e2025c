#pragma once
// The one flag, shared by the window and the quit and close guards, that
// says an export is running. Touched only on the GUI thread.
#include <QObject>

#include <functional>

namespace orvandel {

class ExportCoordinator : public QObject {
    Q_OBJECT
public:
    static ExportCoordinator& shared();

    bool inFlight() const { return inFlight_; }
    // The user chose to let the running export finish and then quit.
    bool finishingToQuit() const { return finishingToQuit_; }
    void setFinishingToQuit(bool value);
    // Run once by end(), then forgotten.
    void setOnFinish(std::function<void()> action) { onFinish_ = std::move(action); }

    // `cancel` stops the export that begins (from the GUI thread; the export
    // still ends through end(), once its worker has unwound).
    void begin(std::function<void()> cancel = {});
    // Asks the running export to stop; nothing when none runs.
    void cancel() const;
    // Clears both flags, then runs and forgets onFinish.
    void end();

signals:
    void changed();

private:
    bool inFlight_ = false;
    bool finishingToQuit_ = false;
    std::function<void()> onFinish_;
    std::function<void()> cancel_;
};

}  // namespace orvandel
