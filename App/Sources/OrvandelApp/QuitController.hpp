#pragma once
// Guards the window during an export: quitting (on Linux, closing the window
// is quitting) is held and the user chooses to let the export finish and
// then quit, to force the quit, or to stay. Forcing stops the export through
// its cancellation (and, where PowerPoint renders, force-terminates
// PowerPoint), waits for the export's worker to unwind, so that no child
// process, work directory or partial package is left, and then quits.
// Touched only on the GUI thread.
#include <QObject>
#include <QPointer>
#include <QWidget>

#include <functional>

#include "RendererChoice.hpp"

namespace orvandel {

class QuitController : public QObject {
    Q_OBJECT
public:
    enum class Choice { finishThenQuit, forceQuit, cancel };
    // Asks the user over `window` and calls `answer` once with the choice.
    // The event loop keeps running meanwhile: the export may end first.
    using Ask = std::function<void(QWidget& window, std::function<void(Choice)> answer)>;

    explicit QuitController(RendererChoice::Renderer renderer);

    // The "Exportação em andamento" alert, with the texts for `renderer`.
    static Ask dialog(RendererChoice::Renderer renderer);

    // How the question is asked (tests script the answer) and how the
    // application quits (tests count).
    Ask ask;
    std::function<void()> quit;

    // The quit is decided and is no longer questioned.
    bool committed() const { return committed_; }

    // From now on a close of `window` goes through windowShouldClose().
    void install(QWidget& window);
    // True when the window may close now: no export runs, or the quit is
    // committed. Otherwise the close is held and the question is asked (once,
    // however often the user tries to close meanwhile).
    bool windowShouldClose();
    // Quits without asking (a termination signal): as "Forçar saída".
    void forceQuit();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void carryOut(Choice choice);
    // Commits, closes the window and quits.
    void finish();
    // finish() once the running export has ended.
    void finishWhenExportEnds();

    RendererChoice::Renderer renderer_;
    QPointer<QWidget> window_;
    bool committed_ = false;
    bool asking_ = false;
    // Whether closing the window ends the application: always on Linux; on
    // macOS only when the close is part of a quit.
    bool closeQuits_ = true;
};

}  // namespace orvandel
