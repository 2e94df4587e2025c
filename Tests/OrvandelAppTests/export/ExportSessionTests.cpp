#include <QComboBox>
#include <QLabel>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QToolButton>
#include <QtTest>

#include <fstream>
#include <iterator>

#include "AppTestSupport.hpp"
#include "HeadlessRenderer.hpp"
#include "TestSupport.hpp"
#include "base/Bytes.hpp"
#include "export/ExportSession.hpp"
#include "export/GifDurations.hpp"
#include "export/OptionsPanel.hpp"

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

// A slide as the scanner would report it, with GIFs (animated, own loop length).
SlideReport slide(std::int64_t index, std::vector<std::pair<bool, std::optional<std::int64_t>>> gifs,
                  bool hidden = false) {
    SlideReport report;
    report.displayIndex = index;
    report.isHidden = hidden;
    report.hasGif = !gifs.empty();
    for (const auto& [animated, loopMs] : gifs) report.gifs.push_back({"ppt/media/a.gif", animated, loopMs, true});
    return report;
}

std::string contents(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace

class ExportSessionTest : public QObject {
    Q_OBJECT
    QTemporaryDir settings_;

private slots:
    void initTestCase() {
        // The remembered video choices go to a scratch folder, never the user's own settings.
        QStandardPaths::setTestModeEnabled(true);
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings_.path());
        QCoreApplication::setOrganizationName("OrvandelTests");
    }

    void packageGoesBesideTheDeck() {
        QCOMPARE(ExportSession::outputPath("/a/Aula.pptx"), fs::path("/a/Aula.orv"));
        QCOMPARE(ExportSession::outputPath("/a/Aula.final.PPTX"), fs::path("/a/Aula.final.orv"));
    }

    // Seconds as people type them, to the millisecond, and nothing for what is no length.
    void typedSecondsAreMilliseconds() {
        for (const auto& [typed, ms] :
             std::vector<std::pair<QString, std::optional<std::int64_t>>>{{"5", 5000},
                                                                          {"+5", 5000},
                                                                          {"05", 5000},
                                                                          {"2,5", 2500},
                                                                          {"2.5", 2500},
                                                                          {"0,25", 250},
                                                                          {",5", 500},
                                                                          {"5,", 5000},
                                                                          {"1,234", 1234},
                                                                          {"1,2340", 1234},
                                                                          {"1,2345", {}},
                                                                          {"0,0005", {}},
                                                                          {"0", {}},
                                                                          {"0,000", {}},
                                                                          {"", {}},
                                                                          {",", {}},
                                                                          {"-5", {}},
                                                                          {"2,5,1", {}},
                                                                          {"2 5", {}},
                                                                          {"٥", {}},
                                                                          {"86400", 86'400'000},
                                                                          {"86400,001", {}},
                                                                          {"000000000000000000000086400", 86'400'000},
                                                                          {"9223372036854775808", {}}}) {
            QVERIFY2(GifDurations::milliseconds(typed) == ms, qPrintable(typed));
        }
        for (const auto& [ms, shown] : std::vector<std::pair<std::int64_t, QString>>{
                 {2400, "2,4"}, {250, "0,25"}, {5000, "5"}, {1001, "1,001"}}) {
            QCOMPARE(GifDurations::field(ms), shown);
            QCOMPARE(GifDurations::milliseconds(shown), ms);
        }
        QCOMPARE(GifDurations::keepNumbers("a2,5 s."), QStringLiteral("2,5."));
    }

    // Only moving GIFs on visible slides ask for a length, offering their own
    // loop; what is typed decides whether the export may start.
    void movingGifsAskForALength() {
        QTemporaryDir dir;
        Session s;
        s.session.setScanner([](const fs::path&) {
            auto undescribed = slide(6, {});  // a GIF the scan could not describe
            undescribed.hasGif = true;
            return std::vector<SlideReport>{slide(1, {}),
                                            slide(2, {{true, std::nullopt}}),
                                            slide(3, {{true, 1000}}, true),
                                            slide(4, {{false, std::nullopt}}),
                                            slide(5, {{false, std::nullopt}, {true, 2400}, {true, 900}}),
                                            undescribed};
        });
        const auto deck = exampleCopy(dir.path());
        s.open(deck);
        QCOMPARE(s.session.gifSlides(), (std::vector<std::int64_t>{2, 5, 6}));
        s.session.typeDuration(6, "1");
        QCOMPARE(s.session.gifField(5), QStringLiteral("2,4"));
        QCOMPARE(s.session.gifField(2), QString());
        QVERIFY(!s.session.canExport());
        for (const auto& [typed, kept, ms] : std::vector<std::tuple<QString, QString, std::int64_t>>{
                 {"", "", 0}, {"abc", "", 0}, {"0", "0", 0}, {"2.5 s", "2.5", 2500}, {"+5", "5", 5000}}) {
            QCOMPARE(s.session.typeDuration(2, typed), kept);
            QVERIFY2(s.session.canExport() == (ms > 0), qPrintable(typed));
            QCOMPARE(s.session.gifMilliseconds(2).value_or(0), ms);
        }

        // The example's GIF, as the scan reads it, moves and offers its own loop.
        Session real;
        QDir(dir.path()).mkdir("real");
        real.open(exampleCopy(dir.filePath("real")));
        QVERIFY(real.session.gifSlides() == std::vector<std::int64_t>{4} && real.session.gifMilliseconds(4));

        // A deck whose GIFs stand still asks nothing.
        s.session.setScanner([](const fs::path&) { return std::vector<SlideReport>{slide(1, {{false, {}}})}; });
        s.open(deck);
        QVERIFY(s.session.gifSlides().empty() && s.session.canExport());
    }

    // A failed scan keeps Exportar off until another deck is chosen; so do two videos on a slide.
    void failedScanKeepsExportOff() {
        QTemporaryDir dir;
        Session s;
        const fs::path notADeck = dir.filePath("notes.pptx").toStdString();
        writeFile(notADeck, "not a zip");
        s.open(notADeck);
        QVERIFY(s.session.scanError() && !s.session.canExport());
        s.openExample(dir);
        QVERIFY(!s.session.scanError() && s.session.canExport());
        s.open(mediaDeck(dir.filePath("videos.pptx").toStdString(), true));
        QCOMPARE(s.session.multiVideoSlides(), (std::vector<std::int64_t>{4}));
        QVERIFY(!s.session.canExport());
    }

    // Decks in other formats: a PDF or a deck that cannot be converted says
    // why, and the folder a conversion used goes with the session.
    void otherFormatsLeaveNoScratch() {
        QTemporaryDir dir;
        const fs::path tmp = dir.filePath("tmp").toStdString();
        fs::create_directories(tmp);
        const test::ScopedEnv env{{{"TMPDIR", tmp.string()}}};
        auto s = std::make_unique<Session>();
        // The odp's copy lives as long as it is the deck chosen.
        for (const auto& [name, scratch] : {std::pair{"Aula.odp", true}, {"Aula.pdf", false}, {"Aula.odp", true}}) {
            const fs::path deck = dir.filePath(name).toStdString();
            writeFile(deck, "x");
            QVERIFY(ExportSession::looksLikeDeck(deck));
            s->open(deck);
            QVERIFY(s->session.scanError() && !s->session.canExport());
            QCOMPARE(!fs::is_empty(tmp), scratch);
        }
        s.reset();
        QVERIFY(fs::is_empty(tmp));
        QVERIFY(!ExportSession::looksLikeDeck("/a/notes.txt"));
    }

    // The video choices made in the panel are remembered and reach the renderer;
    // PowerPoint, which takes none of them, shows no panel.
    void videoChoicesReachTheRenderer() {
        QTemporaryDir dir;
        Session s;
        std::optional<RendererChoice::Settings> made;
        s.session.setExporterFactory(
            [&](RendererChoice::Renderer, const fs::path&, const RendererChoice::Settings& settings) {
                made = settings;
                return s.renderer;
            });
        {
            // Folded into one line until "Alterar" opens the choices.
            OptionsPanel panel(s.session);
            QVERIFY(!panel.isHidden() && panel.findChild<QWidget*>("videoChoices")->isHidden());
            panel.findChild<QToolButton*>("videoToggle")->click();
            QVERIFY(!panel.findChild<QWidget*>("videoChoices")->isHidden());
            for (const auto& [name, index] :
                 {std::pair{"resolutionChoice", 1}, {"fpsChoice", 1}, {"qualityChoice", 2}}) {
                auto* box = panel.findChild<QComboBox*>(name);
                box->setCurrentIndex(index);
                emit box->activated(index);
            }
            QVERIFY(panel.findChild<QLabel*>("videoSummary")->text().contains("720p"));
        }
        const VideoSettings chosen{VideoSettings::Resolution::p720, 60, VideoSettings::Quality::small};
        QCOMPARE(s.session.videoSettings(), chosen);
        Session again;
        OptionsPanel remembered(again.session);
        QCOMPARE(again.session.videoSettings(), chosen);

        s.openExample(dir);
        QVERIFY(s.session.startExport());
        QVERIFY(waitUntil([&] { return s.session.outcome().has_value(); }, 20000));
        QVERIFY(made && made->video == chosen);

        ExportSession powerPoint(RendererChoice::Renderer::powerPoint, s.renderer);
        QVERIFY(OptionsPanel(powerPoint).isHidden());
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

    // The time left is told once the export has run a while, on the
    // session's clock, and counts down between reports.
    void timeLeftFollowsTheSessionsClock() {
        for (const auto& [reportedAtMs, told] :
             std::vector<std::pair<std::int64_t, bool>>{{1000, false}, {135'000, true}}) {
            QTemporaryDir dir;
            Session s;
            auto now = std::make_shared<std::int64_t>(1'000'000);
            s.session.setClock([now] { return *now; });
            s.renderer->hold->store(true);
            s.openExample(dir);
            QVERIFY(s.session.startExport());
            *now += reportedAtMs;  // before the drawing stage is taken in, half done
            QVERIFY(waitUntil([&] { return s.session.progressPermille() >= 500; }, 10000));
            const auto left = s.session.remainingMs();
            QCOMPARE(left.has_value(), told);
            if (told) {
                QVERIFY(*left > 60'000 && *left < 180'000);
                *now += 30'000;
                QCOMPARE(*s.session.remainingMs(), *left - 30'000);
            }
            s.session.cancel();
            QVERIFY(waitUntil([&] { return !s.session.isExporting(); }, 10000));
        }
    }

    // Cancelled, or dropped mid-export (the window closed): the export stops
    // and leaves no work directory, no new package, the older one as it was.
    void stoppedExportLeavesNothing() {
        for (const bool dropped : {false, true}) {
            QTemporaryDir dir;
            const fs::path work = dir.filePath("work").toStdString();
            fs::create_directories(work);
            auto s = std::make_unique<Session>();
            s->renderer->workBase = work;
            s->renderer->hold->store(true);
            const auto deck = s->openExample(dir);
            const auto older = ExportSession::outputPath(deck);
            writeFile(older, "the package of last week");
            QSignalSpy ended(&s->session, &ExportSession::exportEnded);
            QVERIFY(s->session.startExport());
            QVERIFY(waitUntil([&] { return !fs::is_empty(work); }, 10000));
            if (dropped) {
                s.reset();
            } else {
                s->session.cancel();
                // Back to Ready without an error to show.
                QVERIFY(ended.wait(10000) && !ended.front().at(0).value<std::exception_ptr>());
                QVERIFY(s->session.wasCancelled() && !s->session.outcome() && s->session.canExport());
            }
            QVERIFY(fs::is_empty(work));
            QCOMPARE(contents(older), "the package of last week");
            QCOMPARE(std::distance(fs::directory_iterator(dir.path().toStdString()), {}), 3);  // deck, package, work
        }
    }
};

QTEST_MAIN(ExportSessionTest)
#include "ExportSessionTests.moc"
