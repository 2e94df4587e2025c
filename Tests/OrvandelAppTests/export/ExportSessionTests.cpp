#include <QSignalSpy>
#include <QtTest>

#include "AppTestSupport.hpp"
#include "HeadlessRenderer.hpp"
#include "base/Bytes.hpp"
#include "export/ExportSession.hpp"
#include "export/GifDurations.hpp"

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

    // What the renderer took from earlier exports shows while it works and
    // stays with the outcome; nothing when it took none.
    void reusedSlidesShowUntilTheOutcome() {
        for (const int reused : {99, 0}) {
            QTemporaryDir dir;
            Session s;
            s.renderer->reused = {{reused, 100}};
            s.renderer->hold->store(true);
            s.openExample(dir);
            QVERIFY(s.session.startExport());
            if (reused) QVERIFY(waitUntil([&] { return s.session.reuseLine().has_value(); }, 10000));
            s.renderer->hold->store(false);
            QVERIFY(waitUntil([&] { return s.session.outcome().has_value(); }, 20000));
            QCOMPARE(s.session.reuseLine().has_value(), reused > 0);
            QCOMPARE(s.session.outcome()->reusedSlides, reused);
        }
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
