#include <QSignalSpy>
#include <QtTest>

#include "AppTestSupport.hpp"
#include "HeadlessRenderer.hpp"
#include "base/Bytes.hpp"
#include "export/ExportSession.hpp"
#include "export/GifDurations.hpp"
#include "package/ManifestReader.hpp"
#include "tools/RenderError.hpp"

namespace fs = std::filesystem;
using namespace orvandel;
using namespace orvandel::apptest;

namespace {

// A session on the fake renderer; no window.
struct Session {
    std::shared_ptr<FakeExporter> renderer = std::make_shared<FakeExporter>();
    ExportSession session{RendererChoice::Renderer::headless, renderer};

    void open(const fs::path& deck) { QVERIFY(scan(session, deck)); }
    // A copy of the example deck opened, and its GIF given 3 s: ready to export.
    fs::path openExample(const QTemporaryDir& dir) {
        const auto deck = exampleCopy(dir.path());
        open(deck);
        session.typeDuration(4, "3");
        return deck;
    }
    // Starts the export and waits for its end: the error and warnings it ended with.
    QList<QVariant> exportToTheEnd() {
        QSignalSpy ended(&session, &ExportSession::exportEnded);
        if (!session.startExport() || !ended.wait(20000)) return {};
        return ended.takeFirst();
    }
};

}  // namespace

class ExportSessionTest : public QObject {
    Q_OBJECT
private slots:
    void packageGoesBesideTheDeck() {
        QCOMPARE(ExportSession::outputPath("/a/Aula.pptx"), fs::path("/a/Aula.orv"));
        QCOMPARE(ExportSession::outputPath("/a/Aula.final.PPTX"), fs::path("/a/Aula.final.orv"));
    }

    // What is typed for a GIF slide, what is kept of it, and whether the export may start.
    void typedDurationsDecideExport() {
        QTemporaryDir dir;
        Session s;
        s.open(mediaDeck(dir.filePath("gif.pptx").toStdString(), false));
        QCOMPARE(s.session.gifSlides(), (std::vector<std::int64_t>{2}));  // the hidden slide 3 is not asked
        QVERIFY(!s.session.canExport());
        for (const auto& [typed, kept, seconds] : std::vector<std::tuple<QString, QString, std::int64_t>>{
                 {"", "", 0},
                 {"0", "0", 0},
                 {"abc", "", 0},
                 {"+5", "5", 5},
                 {"05", "05", 5},
                 {"1.5", "15", 15},
                 {"٥", "٥", 0},
                 {"𝟓", "𝟓", 0},
                 {"86400", "86400", 86400},
                 {"86401", "86401", 0},
                 {"9223372036854775808", "9223372036854775808", 0}}) {
            QCOMPARE(s.session.typeDuration(2, typed), kept);
            QVERIFY2(s.session.canExport() == (seconds > 0), qPrintable(typed));
            QCOMPARE(GifDurations::seconds(kept).value_or(0), seconds);
        }
        QCOMPARE(GifDurations::seconds("+5"), 5);

        // A slide with two videos refuses the export whatever was typed; a file that is no deck says why.
        s.open(mediaDeck(dir.filePath("videos.pptx").toStdString(), true));
        s.session.typeDuration(2, "5");
        QCOMPARE(s.session.multiVideoSlides(), (std::vector<std::int64_t>{4}));
        QVERIFY(!s.session.canExport());
        const fs::path notADeck = dir.filePath("notes.pptx").toStdString();
        writeFile(notADeck, "not a zip");
        s.open(notADeck);
        QVERIFY(s.session.scanError() && s.session.gifSlides().empty());
    }

    // The run: its stage and progress while the renderer works, then the
    // outcome the export reported (the package holds the same), with its
    // warnings; then a run that fails.
    void exportReportsProgressThenItsOutcome() {
        QTemporaryDir dir;
        Session s;
        s.renderer->hold->store(true);
        const auto deck = s.openExample(dir);
        writeFile(ExportSession::outputPath(deck), "an older package, replaced");
        QSignalSpy started(&s.session, &ExportSession::exportStarted);
        QSignalSpy ended(&s.session, &ExportSession::exportEnded);
        QVERIFY(s.session.startExport() && !s.session.startExport());
        QCOMPARE(started.size(), 1);
        QVERIFY(s.session.isExporting() && !s.session.canExport());
        QVERIFY(waitUntil([&] { return s.session.progressPermille() > 0; }, 10000));
        QVERIFY(s.session.stageLine().has_value());
        s.renderer->hold->store(false);
        QVERIFY(ended.wait(20000));

        QVERIFY(!ended.front().at(0).value<std::exception_ptr>() && !s.session.isExporting());
        QVERIFY(ended.front().at(1).toStringList().join("\n").contains("slide(s) 5"));
        const auto& outcome = *s.session.outcome();
        const auto probe = ManifestReader::read(outcome.orvPath);
        QCOMPARE(outcome.orvPath, ExportSession::outputPath(deck));
        QCOMPARE(outcome.cueCount, static_cast<std::int64_t>(probe.cues.size()));
        QCOMPARE(outcome.masterVideoSeconds, probe.masterVideoDuration);
        QCOMPARE(outcome.convertedOnClickVideoSlides, (std::vector<std::int64_t>{5}));

        s.renderer->failure = std::make_exception_ptr(
            RenderError(RenderError::Case::timedOut, ExportStage::encode, "slow"));
        const auto failed = s.exportToTheEnd();
        QVERIFY(!failed.isEmpty() && failed.at(0).value<std::exception_ptr>() && !s.session.outcome());
    }

    // Cancelled, or dropped mid-export (the window closed): the export stops
    // and leaves no work directory and no package.
    void stoppedExportLeavesNothing() {
        for (const bool dropped : {false, true}) {
            QTemporaryDir dir;
            const fs::path work = dir.filePath("work").toStdString();
            fs::create_directories(work);
            auto s = std::make_unique<Session>();
            s->renderer->workBase = work;
            s->renderer->hold->store(true);
            const auto deck = s->openExample(dir);
            QSignalSpy ended(&s->session, &ExportSession::exportEnded);
            QVERIFY(s->session.startExport());
            QVERIFY(waitUntil([&] { return !fs::is_empty(work); }, 10000));
            if (dropped) {
                s.reset();
            } else {
                s->session.cancel();
                QVERIFY(ended.wait(10000) && ended.front().at(0).value<std::exception_ptr>());
            }
            QVERIFY(fs::is_empty(work));
            QVERIFY(!fs::exists(ExportSession::outputPath(deck)));
        }
    }
};

QTEST_MAIN(ExportSessionTest)
#include "ExportSessionTests.moc"
