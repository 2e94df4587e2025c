// The window's shell: what the result's actions ask of the desktop and say
// when it cannot, the decks remembered for "Abrir recentes", the menus, and
// a deck whose scan failed.
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QtTest>

#include <fstream>

#include "AppTestSupport.hpp"
#include "ContentView.hpp"
#include "OrvandelAppApp.hpp"
#include "RecentDecks.hpp"
#include "ShellCopy.hpp"
#include "export/ResultPanel.hpp"

using namespace orvandel;
using namespace orvandel::apptest;
namespace fs = std::filesystem;

namespace {

// A desktop that records what it is asked and answers as told.
struct FakeDesktop {
    QList<QUrl> opened;
    QList<QUrl> shown;
    bool opens = true;
    bool fileManager = true;

    DesktopOpener opener() {
        return {.openUrl =
                    [this](const QUrl& url) {
                        opened << url;
                        return opens;
                    },
                .showInFileManager =
                    [this](const QUrl& file, const std::function<void(bool)>& answered) {
                        shown << file;
                        answered(fileManager);
                    }};
    }
};

QString local(const fs::path& path) { return QString::fromStdString(path.string()); }

}  // namespace

class ShellTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() {
        // The shell's settings (the recent decks) in a scratch folder, not the user's.
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsDir_.path());
    }

    // Each action of the result: the file the desktop is asked to open, and
    // the line the window shows when the desktop could not do it.
    void resultActionsAskTheDesktop() {
        QTemporaryDir dir;
        auto renderer = std::make_shared<FakeExporter>();
        auto view = OrvandelAppApp::makeWindow(RendererChoice::Renderer::headless, renderer);
        view->show();
        QVERIFY(scan(view->session(), exampleCopy(dir.path())));
        view->session().typeDuration(4, "3");
        view->runExport();
        QVERIFY(waitUntil([&] { return !view->session().isExporting(); }, 20000));
        delete view->findChild<QMessageBox*>();  // the warnings
        const fs::path orv = view->session().outcome()->orvPath;
        auto* panel = view->findChild<ResultPanel*>();
        panel->setPreviewRoot(fs::path(dir.path().toStdString()) / "cache");
        auto* status = view->findChild<QLabel*>("resultStatus");
        const QUrl orvUrl = QUrl::fromLocalFile(local(orv));
        const QUrl folderUrl = QUrl::fromLocalFile(local(orv.parent_path()));

        struct Row {
            const char* button;
            bool opens, fileManager;
            QList<QUrl> shown;
            QString opened;  // the file name asked to open; the folder's URL for a reveal
            QString line;
        };
        for (const Row& row : std::vector<Row>{
                 {"watchButton", true, true, {}, "master.mp4", {}},
                 {"previewButton", false, true, {}, "index.html", ShellCopy::kNoBrowser},
                 {"watchButton", false, true, {}, "master.mp4", ShellCopy::kNoPlayer},
                 {"revealButton", true, true, {orvUrl}, {}, {}},
                 {"revealButton", true, false, {orvUrl}, folderUrl.toString(), ShellCopy::folderOpened(orv)},
                 {"revealButton", false, false, {orvUrl}, folderUrl.toString(), ShellCopy::noFileManager(orv)},
             }) {
            FakeDesktop desktop{.opens = row.opens, .fileManager = row.fileManager};
            panel->setDesktop(desktop.opener());
            QTest::mouseClick(view->findChild<QPushButton*>(row.button), Qt::LeftButton);
            QVERIFY(waitUntil([&] { return status->text() != ShellCopy::kPreparing; }, 10000));
            QCOMPARE(desktop.shown, row.shown);
            QCOMPARE(desktop.opened.size(), row.opened.isEmpty() ? 0 : 1);
            if (!row.opened.isEmpty() && !row.opened.contains('/')) {
                // The movie and the page are written, in the cache, not beside the package.
                const QString file = desktop.opened.front().toLocalFile();
                QVERIFY2(file.endsWith("/" + row.opened) && QFileInfo::exists(file), qPrintable(file));
                QVERIFY(file.startsWith(dir.filePath("cache/")));
            } else if (!row.opened.isEmpty()) {
                QCOMPARE(desktop.opened.front().toString(), row.opened);
            }
            QCOMPARE(status->isVisibleTo(view.get()) ? status->text() : QString(), row.line);
        }
        // Beside the deck only its package: the previews are in the cache folder.
        QCOMPARE(std::distance(fs::directory_iterator(orv.parent_path()), fs::directory_iterator()), 3);

        // The package damaged, then moved away since: said so, nothing opened.
        FakeDesktop desktop;
        panel->setDesktop(desktop.opener());
        std::ofstream(orv) << "not a zip";
        QTest::mouseClick(view->findChild<QPushButton*>("watchButton"), Qt::LeftButton);
        QVERIFY(waitUntil([&] { return status->text() != ShellCopy::kPreparing; }, 10000));
        QCOMPARE(status->text(), ShellCopy::packageDamaged(orv));
        fs::remove(orv);
        QTest::mouseClick(view->findChild<QPushButton*>("watchButton"), Qt::LeftButton);
        QCOMPARE(status->text(), ShellCopy::packageGone(orv));
        QVERIFY(desktop.opened.isEmpty());
    }

    // Newest first, each once, no more than kMax; a deck that is gone is greyed out.
    void recentDecksRemembersTheLastOnes() {
        QTemporaryDir dir;
        const QString settings = dir.filePath("recent.ini");
        const auto deck = [&](int n) {
            return fs::path(dir.filePath(QStringLiteral("aula%1.pptx").arg(n)).toStdString());
        };
        {
            RecentDecks recent(settings);
            for (int n = 1; n <= 10; ++n) recent.add(deck(n));
            recent.add(deck(5));
        }
        RecentDecks recent(settings);  // as the next run reads them
        const std::vector<fs::path> expected{deck(5), deck(10), deck(9), deck(8), deck(7), deck(6), deck(4), deck(3)};
        QCOMPARE(recent.decks(), expected);
        std::ofstream(deck(10)) << "x";
        QMenu menu;
        fs::path opened;
        recent.fill(menu, [&](const fs::path& d) { opened = d; });
        QCOMPARE(menu.actions().size(), RecentDecks::kMax + 2);  // and a separator, "Limpar lista"
        QVERIFY(!menu.actions()[0]->isEnabled() && menu.actions()[1]->isEnabled());
        menu.actions()[1]->trigger();
        QCOMPARE(opened, deck(10));
        menu.actions().back()->trigger();
        QVERIFY(recent.decks().empty());
    }

    // The menus follow the session; "Salvar como…" exports where asked; a
    // deck that is opened is remembered; "Sobre" tells the version.
    void menusFollowTheWindow() {
        QTemporaryDir dir;
        auto shell = OrvandelAppApp::makeShell(RendererChoice::Renderer::headless, std::make_shared<FakeExporter>());
        shell.recentDecks->clear();
        auto* view = shell.window.get();
        view->show();
        auto* saveAs = view->findChild<QAction*>("saveAs");
        QVERIFY(!saveAs->isEnabled());
        const auto deck = exampleCopy(dir.path());
        view->openDeck(deck);
        QVERIFY(waitUntil([&] { return !view->session().isScanning(); }, 10000));
        QCOMPARE(shell.recentDecks->decks(), std::vector<fs::path>{deck});
        view->session().typeDuration(4, "3");
        QVERIFY(saveAs->isEnabled());

        for (const auto& [typed, kept] : std::vector<std::pair<std::string, std::string>>{
                 {"/a/aula", "/a/aula.orv"}, {"/a/aula.orv", "/a/aula.orv"}, {"/a/aula.v2", "/a/aula.v2.orv"}}) {
            QCOMPARE(ContentView::withPackageExtension(typed), fs::path(kept));
        }
        const fs::path chosen = fs::path(dir.path().toStdString()) / "outra pasta" / "Aula final.orv";
        fs::create_directories(chosen.parent_path());
        view->runExport(chosen);
        QVERIFY(waitUntil([&] { return !view->session().isExporting(); }, 20000));
        QCOMPARE(view->session().outcome()->orvPath, chosen);
        QVERIFY(fs::exists(chosen) && !fs::exists(ExportSession::outputPath(deck)));
        delete view->findChild<QMessageBox*>();

        view->findChild<QAction*>("about")->trigger();
        auto* about = view->findChild<QMessageBox*>("aboutBox");
        QVERIFY(about && about->isVisible() && about->text().contains(QStringLiteral(ORVANDEL_VERSION)));
    }

    // A deck whose scan failed: "Exportar" stays off, and neither Return
    // nor the menu repeats the error in an alert.
    void failedScanKeepsExportOff() {
        QTemporaryDir dir;
        auto shell = OrvandelAppApp::makeShell(RendererChoice::Renderer::headless, std::make_shared<FakeExporter>());
        auto* view = shell.window.get();
        view->show();
        const fs::path broken = dir.filePath("Quebrada.pptx").toStdString();
        std::ofstream(broken) << "not a zip";
        view->openDeck(broken);
        QVERIFY(waitUntil([&] { return !view->session().isScanning(); }, 10000));
        QVERIFY(view->findChild<QLabel*>("scanError")->isVisible());
        QVERIFY(!view->findChild<QPushButton*>("exportButton")->isEnabled());
        QVERIFY(!view->findChild<QAction*>("saveAs")->isEnabled());
        QTest::keyClick(view, Qt::Key_Return);
        view->runExport();
        QVERIFY(!view->session().isExporting() && !view->findChild<QMessageBox*>());
    }

private:
    QTemporaryDir settingsDir_;
};

QTEST_MAIN(ShellTest)
#include "ShellTests.moc"
