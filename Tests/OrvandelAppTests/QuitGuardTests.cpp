#include <QLabel>
#include <QLineEdit>
#include <QtTest>

#include "AppTestSupport.hpp"
#include "ExportCoordinator.hpp"
#include "ExportCopy.hpp"
#include "OrvandelAppApp.hpp"
#include "PowerPointProcess.hpp"
#include "TestSupport.hpp"
#include "UnsavedDecksGate.hpp"
#include "base/Bytes.hpp"

using namespace orvandel;
using namespace orvandel::apptest;
using Choice = QuitController::Choice;
namespace fs = std::filesystem;

namespace {

const std::string kOldPackage = "an older package, kept unless replaced whole";

// The application's window with its quit guard, exporting a copy of the
// example deck over an older package. The test answers the question and
// counts the quits. `renderer` null: the real headless renderer.
struct Guarded {
    fs::path deck;
    OrvandelAppApp::Shell shell;
    std::vector<std::function<void(Choice)>> questions;
    int quits = 0;

    Guarded(const QTemporaryDir& dir, std::shared_ptr<FakeExporter> renderer)
        : deck(exampleCopy(dir.path())),
          shell(OrvandelAppApp::makeShell(RendererChoice::Renderer::headless, std::move(renderer))) {
        writeFile(ExportSession::outputPath(deck), kOldPackage);
        shell.quitController->ask = [this](QWidget&, auto answer) { questions.push_back(answer); };
        shell.quitController->quit = [this] { ++quits; };
        shell.window->show();
        scan(view().session(), deck);
        QTest::keyClicks(view().findChild<QLineEdit*>("gifField-4"), "3");
        view().runExport();
    }
    ContentView& view() const { return *shell.window; }
    // Closes the window (held: an export runs) and waits for the question.
    bool closeIsQuestioned() {
        return !view().close() && waitUntil([&] { return !questions.empty(); }, 2000);
    }
    std::string package() const { return toString(readFile(ExportSession::outputPath(deck))); }
};

}  // namespace

class QuitGuardTest : public QObject {
    Q_OBJECT
private slots:
    // During an export a close is questioned, once however often the user
    // insists, and the answer is carried out; without one it closes at once.
    // "Terminar e sair" answered after the export has ended quits at once.
    void choicesDuringAnExport() {
        for (const auto& [choice, afterTheEnd] : {std::pair{Choice::cancel, false},
                                                  {Choice::finishThenQuit, false},
                                                  {Choice::forceQuit, false},
                                                  {Choice::finishThenQuit, true}}) {
            QTemporaryDir dir;
            const fs::path work = dir.filePath("work").toStdString();
            fs::create_directories(work);
            auto renderer = std::make_shared<FakeExporter>();
            renderer->workBase = work;
            renderer->hold->store(true);
            Guarded g(dir, renderer);
            QVERIFY(g.closeIsQuestioned() && !g.view().close());
            waitUntil([] { return false; }, 50);
            QCOMPARE(g.questions.size(), std::size_t(1));
            if (afterTheEnd) renderer->hold->store(false);
            QVERIFY(waitUntil([&] { return g.view().session().isExporting() != afterTheEnd; }, 10000));
            g.questions.front()(choice);
            if (choice == Choice::forceQuit) {
                // The renderer still holds: only the cancellation ends the export.
                QVERIFY(waitUntil([&] { return g.quits == 1; }, 10000));
            } else if (!afterTheEnd) {
                waitUntil([] { return false; }, 100);
                QVERIFY(g.view().session().isExporting() && g.quits == 0);
                if (choice == Choice::finishThenQuit) {
                    QCOMPARE(g.view().findChild<QLabel*>("progressLine")->text(), ExportCopy::kFinishingToQuit);
                }
                renderer->hold->store(false);
                QVERIFY(waitUntil([&] { return !g.view().session().isExporting(); }, 10000));
            }
            QCOMPARE(g.quits, choice == Choice::cancel ? 0 : 1);
            QCOMPARE(g.view().isVisible(), choice == Choice::cancel);
            QCOMPARE(g.package() == kOldPackage, choice == Choice::forceQuit);
            QVERIFY(fs::is_empty(work) && !ExportCoordinator::shared().finishingToQuit());
            if (choice == Choice::cancel) QVERIFY(g.view().close() && g.questions.size() == 1);
        }
    }

    // "Forçar saída" while LibreOffice renders: the app quits once the export
    // has stopped, leaving no process, work directory or package.
    void forceQuitLeavesNothing() {
        if (!test::canRender()) QSKIP("needs soffice, poppler and ffmpeg");
        QTemporaryDir dir;
        const fs::path tmp = dir.filePath("tmp").toStdString();
        fs::create_directories(tmp);
        const test::ScopedEnv env{{{"TMPDIR", tmp.string()}}};
        Guarded g(dir, nullptr);
        // The export's children and theirs are started with a TMPDIR inside `tmp`.
        const auto officeRuns = [&] {
            const auto running = test::processesWith("TMPDIR=" + tmp.string());
            return std::any_of(running.begin(), running.end(), [](const auto& p) { return p.name == "soffice.bin"; });
        };
        QVERIFY(waitUntil(officeRuns, 120000) && g.closeIsQuestioned());
        g.questions.front()(Choice::forceQuit);
        QVERIFY(waitUntil([&] { return g.quits == 1; }, 60000));

        QVERIFY(!g.view().isVisible());
        QVERIFY(test::processesWith("TMPDIR=" + tmp.string()).empty());
        QVERIFY(fs::is_empty(tmp));
        // The deck, the old package as it was, the temporary folder: nothing else.
        QCOMPARE(std::distance(fs::directory_iterator(dir.path().toStdString()), {}), 3);
        QCOMPARE(g.package(), kOldPackage);
    }

    // PowerPoint's side, which never runs on Linux: the unsaved decks other
    // than the exported one, as osascript would list them, and PowerPoint in `ps`.
    void powerPointGuards() {
        QTemporaryDir dir;
        const auto fake = [&](const std::string& name, const std::string& body) {
            const fs::path program = dir.filePath(QString::fromStdString(name)).toStdString();
            writeFile(program, "#!/bin/sh\n" + body);
            fs::permissions(program, fs::perms::owner_all);
            return program;
        };
        const auto listing = fake("lists", "printf 'false\\t/a/Outra.pptx\\ntrue\\t/a/Salva.pptx\\n\\nfalse\\t\\n"
                                           "sem tab\\nfalse\\t/a/Aula.pptx\\nfalse\\t/a/com\\ttab.pptx\\n'");
        QCOMPARE(UnsavedDecksGate::decksNeedingAttention(UnsavedDecksGate::openDecks(listing), "/a/Aula.pptx"),
                 (std::vector<OpenDeck>{{"/a/Outra.pptx", false}, {"", false}, {"/a/com\ttab.pptx", false}}));
        for (const auto& broken : {fake("fails", "echo 'false\t/a/b.pptx'; exit 1"),
                                   fake("latin1", "printf 'false\\t/a/Aula\\347\\343o.pptx\\n'"),
                                   fs::path(dir.filePath("absent").toStdString())}) {
            QVERIFY(UnsavedDecksGate::openDecks(broken).empty());
        }
        const std::string app = "/Applications/Microsoft PowerPoint.app/Contents/MacOS/Microsoft PowerPoint";
        QCOMPARE(PowerPointProcess::runningApp("  101 /sbin/launchd\n  4242 " + app + "\n"),
                 std::optional<pid_t>(4242));
        QVERIFY(!PowerPointProcess::runningApp("77 " + app + " Helper\n88 /usr/bin/ps\n"));
    }
};

QTEST_MAIN(QuitGuardTest)
#include "QuitGuardTests.moc"
