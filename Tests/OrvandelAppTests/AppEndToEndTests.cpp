#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

#include "AppTestSupport.hpp"
#include "ContentView.hpp"
#include "OrvandelAppApp.hpp"
#include "package/ManifestReader.hpp"

using namespace orvandel;

// The window with the real renderer: the example deck, "3" typed for its GIF
// slide, a click on "Exportar", and a package that reads back.
class AppEndToEndTest : public QObject {
    Q_OBJECT
private slots:
    void exampleDeckBecomesAPackage() {
        if (apptest::slowTestsSkipped()) QSKIP("slow tests skipped");
        if (!apptest::haveHeadlessRenderer()) QSKIP("LibreOffice, poppler or ffmpeg missing");
        QTemporaryDir dir;
        const std::filesystem::path deck = dir.filePath("aula-exemplo.pptx").toStdString();
        std::filesystem::copy_file(apptest::exampleDeck(), deck);
        const auto view = OrvandelAppApp::makeWindow(RendererChoice::Renderer::headless);
        view->show();
        view->openDeck(deck);
        QVERIFY(apptest::waitUntil([&] { return !view->isScanning(); }, 20000));
        QTest::keyClicks(view->findChild<QLineEdit*>("gifField-4"), "3");
        QTest::mouseClick(view->findChild<QPushButton*>("exportButton"), Qt::LeftButton);
        QVERIFY(view->isExporting());
        QVERIFY(apptest::waitUntil([&] { return !view->isExporting(); }, 15 * 60 * 1000));

        QVERIFY(view->findChild<QWidget*>("resultView")->isVisible());
        const auto probe = ManifestReader::read(dir.filePath("aula-exemplo.orv").toStdString());
        QCOMPARE(view->outcome()->cueCount, static_cast<std::int64_t>(probe.cues.size()));
        QVERIFY(probe.cues.size() >= 8);
        QVERIFY(probe.masterVideoDuration > 10);
    }
};

QTEST_MAIN(AppEndToEndTest)
#include "AppEndToEndTests.moc"
