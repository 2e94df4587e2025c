// Writes the window in each of its states as PNGs, at the size it opens at
// and at its smallest size, for a person to look at (make screenshots). The
// renderer is faked, so that every state can be held still; the deck, the
// scan and the export flow are real. Prints any text that does not fit.
#include <QApplication>
#include <QDir>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

#include <iostream>

#include "AppTestSupport.hpp"
#include "ContentView.hpp"
#include "OrvandelAppApp.hpp"
#include "RecentDecks.hpp"
#include "export/ResultPanel.hpp"
#include "tools/LibreOffice.hpp"
#include "tools/RenderError.hpp"
#include "update/UpdateAlerts.hpp"

using namespace orvandel;
using namespace orvandel::apptest;

namespace {

QString outputDir;
int problems = 0;

// The window, its open menus where they popped up, and its alert over it as
// the desktop would place it: centred, the window dimmed.
QImage picture(ContentView& view) {
    QImage image = view.grab().toImage();
    // A menu may reach past the window, as on the desktop: the picture grows to hold it.
    const QPoint origin = view.mapToGlobal(QPoint(0, 0));
    QList<QWidget*> menus;
    QRect whole = image.rect();
    for (auto* widget : QApplication::topLevelWidgets()) {
        if (!qobject_cast<QMenu*>(widget) || !widget->isVisible()) continue;
        menus << widget;
        whole |= QRect(widget->pos() - origin, widget->size()).adjusted(0, 0, 3, 4);
    }
    if (!menus.isEmpty()) {
        QImage grown(whole.size(), QImage::Format_ARGB32);
        grown.fill(Qt::transparent);
        QPainter p(&grown);
        p.drawImage(0, 0, image);
        for (auto* menu : menus) {
            const QPoint at = menu->pos() - origin;
            p.fillRect(QRect(at + QPoint(2, 3), menu->size()), QColor(0, 0, 0, 50));
            p.drawPixmap(at, menu->grab());
        }
        return grown;
    }
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

// At the smallest size the window scrolls; `scrolledTo`, when named, is
// brought into view there, as the user would scroll to it.
void shoot(ContentView& view, const QString& name, const QString& scrolledTo = {}) {
    for (const QSize size : {OrvandelAppApp::kInitialSize, OrvandelAppApp::kMinimumSize}) {
        view.resize(size);
        waitUntil([] { return false; }, 150);  // let the layout and the alert settle
        if (auto* target = scrolledTo.isEmpty() ? nullptr : view.findChild<QWidget*>(scrolledTo)) {
            view.findChild<QScrollArea*>()->ensureWidgetVisible(target, 0, 8);
        }
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

// `menu` of the menu bar open, and `submenu` (an action of it) beside it.
void openMenu(ContentView& view, const QString& menu, const QString& submenu = {}) {
    auto* bar = view.findChild<QMenuBar*>();
    auto* popup = view.findChild<QMenu*>(menu);
    popup->popup(bar->mapToGlobal(bar->actionGeometry(popup->menuAction()).bottomLeft()));
    if (submenu.isEmpty()) return;
    auto* sub = view.findChild<QMenu*>(submenu);
    emit sub->aboutToShow();  // as when it opens: it fills itself
    popup->setActiveAction(sub->menuAction());
    sub->popup(popup->mapToGlobal(popup->actionGeometry(sub->menuAction()).topRight()));
}

void closeMenus() {
    for (auto* menu : QApplication::topLevelWidgets()) {
        if (qobject_cast<QMenu*>(menu)) menu->hide();
    }
}

// "Mostrar na pasta" on a desktop where `fileManager` does not answer and
// `opens` says whether anything opens the folder.
void revealWith(ContentView& view, bool fileManager, bool opens) {
    auto* panel = view.findChild<ResultPanel*>();
    panel->setDesktop(
        {.openUrl = [opens](const QUrl&) { return opens; },
         .showInFileManager = [fileManager](const QUrl&,
                                            const std::function<void(bool)>& answered) { answered(fileManager); }});
    view.findChild<QPushButton*>("revealButton")->click();
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
    view.openDeck(deck);
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

    // The recent decks in a scratch folder, the first gone since.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, dir.path());
    RecentDecks recent;
    recent.add(root / "Aula 2 - Células.pptx");
    recent.add(root / "Aula 1 - Introdução à Biologia.pptx");
    std::filesystem::copy_file(exampleDeck(), root / "Aula 1 - Introdução à Biologia.pptx");

    auto renderer = std::make_shared<FakeExporter>();
    renderer->warnings = {Warning::linkNotFollowed(2, "picture", "../fotos/folha.png",
                                                   "is outside the deck's folder and was not read", 0),
                          Warning::fontSubstituted(1, "Franklin Gothic Book", "Liberation Sans")};
    auto shell = window(renderer);
    auto* view = shell.window.get();
    shoot(*view, "idle");

    open(*view, deck);  // its moving GIF offers its own loop
    shoot(*view, "gif-form");
    view->findChild<QToolButton*>("videoToggle")->click();
    shoot(*view, "options-open", "videoOptions");
    view->findChild<QToolButton*>("videoToggle")->click();

    renderer->hold->store(true);
    renderer->reused = {{37, 40}};
    // The export reports itself half-way through drawing 2 min 15 s in: the
    // time left is then known, as it would be after a while.
    auto now = std::make_shared<std::int64_t>(0);
    view->session().setClock([now] { return *now; });
    view->runExport();
    *now = 135'000;
    waitUntil([&] { return view->session().remainingMs().has_value(); }, 20000);
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
    shoot(*view, "done", "resultView");
    revealWith(*view, false, true);
    shoot(*view, "done-folder-opened", "resultView");
    revealWith(*view, false, false);
    shoot(*view, "done-nothing-opens-folder", "resultView");

    openMenu(*view, "fileMenu", "recentMenu");
    shoot(*view, "menu-file-recent");
    closeMenus();
    openMenu(*view, "helpMenu");
    shoot(*view, "menu-help", "resultView");
    closeMenus();
    view->findChild<QAction*>("about")->trigger();
    shoot(*view, "about", "resultView");
    closeAlert(*view);

    // Cancelled half-way: the window says so and is ready again.
    renderer->hold->store(true);
    view->runExport();
    waitUntil([&] { return view->session().progressPermille() >= 0; }, 20000);
    view->findChild<QPushButton*>("cancelButton")->click();
    waitUntil([&] { return !view->session().isExporting(); }, 20000);
    renderer->hold->store(false);
    shoot(*view, "cancelled");

    // A deck saved in another format: converted first, and the alert says so.
    // The .odp is made here from the example deck by the same LibreOffice.
    const auto odp = root / "Aula 4 - Ecossistemas.odp";
    try {
        const auto made = LibreOffice::convert(exampleDeck(), "odp", "odp", root / "odp",
                                               {.workDir = root / "odp-work", .timeout = std::chrono::minutes(3)});
        std::filesystem::rename(made, odp);
        shell = window(std::make_shared<FakeExporter>());
        view = shell.window.get();
        open(*view, odp);
        view->runExport();
        waitUntil([&] { return !view->session().isExporting(); }, 60000);
        shoot(*view, "converted-odp-warnings");
        closeAlert(*view);
    } catch (const std::exception& e) {
        std::cerr << "no .odp deck to show: " << e.what() << "\n";
        ++problems;
    }

    // A GIF that does not move plays as the picture it is: nothing to ask.
    shell = window(renderer);
    view = shell.window.get();
    open(*view, stillGifDeck(root / "Aula 5 - Mapas.pptx"));
    shoot(*view, "still-gif");

    auto failing = std::make_shared<FakeExporter>();
    failing->failure = std::make_exception_ptr(
        RenderError(RenderError::Case::missingTool, ExportStage::pdf, "missing soffice"));
    shell = window(failing);
    view = shell.window.get();
    open(*view, deck);
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
