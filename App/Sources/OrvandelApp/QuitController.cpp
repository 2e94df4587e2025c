#include "QuitController.hpp"

#include <QCoreApplication>
#include <QEvent>
#include <QMessageBox>
#include <QPushButton>

#include "AlertBox.hpp"
#include "ExportCoordinator.hpp"
#include "ExportCopy.hpp"
#include "PowerPointProcess.hpp"

namespace orvandel {

QuitController::QuitController(RendererChoice::Renderer renderer)
    : ask(dialog(RendererChoice::resolve(renderer))),
      quit(&QCoreApplication::quit),
      renderer_(RendererChoice::resolve(renderer)) {
#ifdef Q_OS_MACOS
    // There the window closes without quitting; a quit request passes
    // through the window's close first, and is noted here.
    closeQuits_ = false;
    QCoreApplication::instance()->installEventFilter(this);
#endif
}

QuitController::Ask QuitController::dialog(RendererChoice::Renderer renderer) {
    return [renderer](QWidget& window, std::function<void(Choice)> answer) {
        QMessageBox* box = AlertBox::make(&window, true, ExportCopy::kQuitTitle, ExportCopy::quitQuestion(renderer));
        auto* finish = box->addButton(ExportCopy::kFinishThenQuit, QMessageBox::AcceptRole);
        auto* force = box->addButton(ExportCopy::kForceQuit, QMessageBox::DestructiveRole);
        auto* stay = box->addButton(ExportCopy::kCancelQuit, QMessageBox::RejectRole);
        box->setDefaultButton(finish);
        box->setEscapeButton(stay);
        QObject::connect(box, &QMessageBox::finished, [box, finish, force, answer] {
            const auto* clicked = box->clickedButton();
            answer(clicked == finish ? Choice::finishThenQuit : clicked == force ? Choice::forceQuit : Choice::cancel);
        });
        box->open();
    };
}

void QuitController::install(QWidget& window) {
    window_ = &window;
    window.installEventFilter(this);
}

bool QuitController::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Quit && watched == QCoreApplication::instance()) closeQuits_ = true;
    if (event->type() != QEvent::Close || watched != window_) return false;
    if (windowShouldClose()) return false;
    event->ignore();
    return true;
}

bool QuitController::windowShouldClose() {
    if (committed_ || !ExportCoordinator::shared().inFlight()) return true;
    if (!asking_ && window_) {
        asking_ = true;
        // Asked from the event loop, not from inside the close event.
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (!window_) return;
                ask(*window_, [self = QPointer(this)](Choice choice) {
                    if (self) self->carryOut(choice);
                });
            },
            Qt::QueuedConnection);
    }
    return false;
}

void QuitController::carryOut(Choice choice) {
    asking_ = false;
    auto& coordinator = ExportCoordinator::shared();
    switch (choice) {
        case Choice::cancel:
#ifdef Q_OS_MACOS
            closeQuits_ = false;
#endif
            return;
        case Choice::finishThenQuit:
            // The export may have ended while the question was up.
            if (!coordinator.inFlight()) return finish();
            coordinator.setFinishingToQuit(true);
            return finishWhenExportEnds();
        case Choice::forceQuit: return forceQuit();
    }
}

void QuitController::forceQuit() {
    committed_ = true;
    auto& coordinator = ExportCoordinator::shared();
    if (!coordinator.inFlight()) return finish();
    if (renderer_ == RendererChoice::Renderer::powerPoint) {
        if (const auto powerPoint = PowerPointProcess::runningApp()) PowerPointProcess::forceTerminate(*powerPoint);
    }
    // The window goes at once; the process ends when the export has
    // stopped its children and removed its files.
    finishWhenExportEnds();
    coordinator.cancel();
    if (window_) window_->hide();
}

void QuitController::finishWhenExportEnds() {
    ExportCoordinator::shared().setOnFinish([self = QPointer(this)] {
        if (self) self->finish();
    });
}

void QuitController::finish() {
    committed_ = true;
    if (window_) window_->close();
    if (closeQuits_ && quit) quit();
}

}  // namespace orvandel
