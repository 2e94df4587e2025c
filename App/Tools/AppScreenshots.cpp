// Writes the window in each of its states as PNGs, at the size it opens at
// and at its smallest size, for a person to look at (make screenshots). The
// renderer is faked, so that every state can be held still; the deck, the
// scan and the export flow are real. Prints any text that does not fit.
#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QMessageBox>
#include <QPainter>
#include <QProgressBar>
#include <QTemporaryDir>
#include <QTest>

#include <iostream>

#include "AppTestSupport.hpp"
#include "ContentView.hpp"
#include "OrvandelAppApp.hpp"
#include "tools/RenderError.hpp"
#include "update/UpdateAlerts.hpp"

using namespace orvandel;
using namespace orvandel::apptest;

namespace {

QString outputDir;
int problems = 0;

// The window, and its alert over it as the desktop would place it: centred, the window dimmed.
QImage picture(ContentView& view) {
    QImage image = view.grab().toImage();
    auto* alert = view.findChild<QMessageBox*>();
    if (!alert || !alert->isVisible()) return image;
    QPainter p(&image);
    p.fillRect(image.rect(), QColor(0, 0, 0, 70));
    const QPixmap box = alert->grab();
    const QPoint at((image.width() - box.width()) / 2, std::max(0, (image.height() - box.height()) / 2));
    p.fillRect(QRect(at + QPoint(2, 3), box.size()), QColor(0, 0, 0, 50));
    p.drawPixmap(at, box);
    p.setPen(QColor(0, 0, 0, 90));
    p.drawRect(QRect(at, box.size()).adjusted(0, 0, -1, -1));
    return image;
}

void shoot(ContentView& view, const QString& name) {
    for (const QSize size : {OrvandelAppApp::kInitialSize, OrvandelAppApp::kMinimumSize}) {
        view.resize(size);
        waitUntil([] { return false; }, 150);  // let the layout and the alert settle
        const bool smallest = size == OrvandelAppApp::kMinimumSize;
        const QString file = outputDir + "/" + name + (smallest ? "-392x420" : "") + ".png";
        picture(view).save(file);
        const QStringList clipped = clippedTexts(view);
        if (!clipped.isEmpty()) {
            std::cerr << name.toStdString() << " at " << size.width() << "x" << size.height()
                      << ": text cut: " << clipped.join(" | ").toStdString() << "\n";
            ++problems;
        }
        std::cout << file.toStdString() << "\n";
    }
}

void closeAlert(ContentView& view) {
    if (auto* alert = view.findChild<QMessageBox*>()) {
        alert->done(QMessageBox::Ok);
        waitUntil([&] { return !view.findChild<QMessageBox*>(); }, 2000);
    }
}

// The window as the application shows it: menus, quit guard, update checker.
OrvandelAppApp::Shell window(const std::shared_ptr<FakeExporter>& renderer) {
    auto shell = OrvandelAppApp::makeShell(RendererChoice::Renderer::headless, renderer);
    shell.window->show();
    return shell;
}

void open(ContentView& view, const std::filesystem::path& deck) {
    view.session().chooseDeck(deck);
    waitUntil([&] { return !view.session().isScanning(); }, 20000);
}

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    OrvandelAppApp::installPortuguese(app);
    outputDir = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("app-screenshots");
    QDir().mkpath(outputDir);
    QTemporaryDir dir;
    const std::filesystem::path root = dir.path().toStdString();
    const auto deck = root / "Aula 3 - Fotossíntese e respiração celular.pptx";
    std::filesystem::copy_file(exampleDeck(), deck);

    auto renderer = std::make_shared<FakeExporter>();
    renderer->warnings = {Warning::linkNotFollowed(2, "picture", "../fotos/folha.png",
                                                   "is outside the deck's folder and was not read", 0),
                          Warning::fontSubstituted(1, "Franklin Gothic Book", "Liberation Sans")};
    auto shell = window(renderer);
    auto* view = shell.window.get();
    shoot(*view, "idle");

    open(*view, deck);
    QTest::keyClicks(view->findChild<QLineEdit*>("gifField-4"), "3");
    shoot(*view, "gif-form");

    renderer->hold->store(true);
    renderer->reused = {{37, 40}};
    view->runExport();
    waitUntil([&] { return view->findChild<QProgressBar*>("progressBar")->isVisible(); }, 20000);
    shoot(*view, "exporting");
    view->resize(OrvandelAppApp::kInitialSize);  // the alert takes its width from the window's
    view->close();                               // held by the quit guard, which asks
    waitUntil([&] { return view->findChild<QMessageBox*>() != nullptr; }, 2000);
    shoot(*view, "quit-dialog");
    if (auto* question = view->findChild<QMessageBox*>()) question->reject();  // "Cancelar saída"
    waitUntil([&] { return !view->findChild<QMessageBox*>(); }, 2000);
    renderer->hold->store(false);
    waitUntil([&] { return !view->session().isExporting(); }, 20000);
    shoot(*view, "done-warnings");
    closeAlert(*view);
    shoot(*view, "done");

    auto failing = std::make_shared<FakeExporter>();
    failing->failure = std::make_exception_ptr(
        RenderError(RenderError::Case::missingTool, ExportStage::pdf, "missing soffice"));
    shell = window(failing);
    view = shell.window.get();
    open(*view, deck);
    QTest::keyClicks(view->findChild<QLineEdit*>("gifField-4"), "3");
    view->runExport();
    waitUntil([&] { return !view->session().isExporting(); }, 20000);
    shoot(*view, "error-alert");

    shell = window(renderer);
    view = shell.window.get();
    open(*view, mediaDeck(root / "Revisão de Ciências.pptx", true));
    shoot(*view, "multi-video");

    shell = window(renderer);
    view = shell.window.get();
    UpdateAlerts::presentUpdate(view, {"0.2.0", "https://orvandel.app/baixar",
                                       "Novidades: a exportação ficou mais rápida e os GIFs agora aparecem em "
                                       "movimento no vídeo."});
    shoot(*view, "update-alert");
    return problems == 0 ? 0 : 1;
}
