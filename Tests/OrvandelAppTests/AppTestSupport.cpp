#include "AppTestSupport.hpp"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QThread>

#include <thread>

#include "DeckBuilder.hpp"
#include "HeadlessRenderer.hpp"
#include "MovieFixtures.hpp"
#include "export/ExportSession.hpp"
#include "plan/RenderPlan.hpp"

namespace orvandel::apptest {

std::filesystem::path exampleDeck() {
    return std::filesystem::path(ORVANDEL_SOURCE_DIR) / "examples" / "aula-exemplo.pptx";
}

std::filesystem::path exampleCopy(const QString& dir) {
    const auto deck = std::filesystem::path(dir.toStdString()) / "Aula.pptx";
    std::filesystem::copy_file(exampleDeck(), deck);
    return deck;
}

bool scan(ExportSession& session, const std::filesystem::path& deck) {
    session.chooseDeck(deck);
    return waitUntil([&] { return !session.isScanning(); }, 10000);
}

void FakeExporter::export_(const RenderRequest& request, const std::filesystem::path& to, const std::function<bool()>&,
                           const RenderHooks& hooks) const {
    hooks.report(ExportStage::draw, 0.5);
    if (reused) hooks.reportReused(reused->first, reused->second);
    while (hold->load()) {
        hooks.throwIfCancelled();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    if (failure) std::rethrow_exception(failure);
    for (const auto& w : warnings) hooks.warning(w);
    const auto ms = RenderPlanReader::read(request.preparedDeck).totalMs();
    writeFile(to, test::stillsMovie(static_cast<std::uint32_t>(ms)));
}

std::filesystem::path FakeExporter::workDirectoryBase() const {
    return workBase.empty() ? Mp4Exporting::workDirectoryBase() : workBase;
}

std::filesystem::path mediaDeck(const std::filesystem::path& path, bool twoVideos) {
    using namespace orvandel::test;
    const std::vector<Rel> gif{{"rId5", "image", "../media/image1.gif"}};
    DeckBuilder deck;
    deck.addSlide(slideXml(kTextBox))
        .addSlide(slideXml(picture("4", "rId5")), gif)
        .addSlide(slideXml(picture("4", "rId5"), "", "show=\"0\""), gif);
    if (twoVideos) {
        deck.addSlide(slideXml(kTextBox + kVideo + kVideo),
                      {{"rId2", "video", "../media/media1.mp4"}, {"rId9", "image", "../media/poster.png"}});
    }
    return deck.write(path);
}

std::filesystem::path stillGifDeck(const std::filesystem::path& path) {
    using namespace orvandel::test;
    // A 1×1 GIF: its header, one image and the trailer.
    const std::string gif = std::string("GIF89a\x01\0\x01\0\0\0\0", 13) +
                            std::string("\x2C\0\0\0\0\x01\0\x01\0\0\x02\x02\x4C\x01\0", 15) + ";";
    return DeckBuilder()
        .addSlide(slideXml(kTextBox))
        .addSlide(slideXml(picture("4", "rId5")), {{"rId5", "image", "../media/image1.gif"}})
        .addEntry("ppt/media/image1.gif", gif)
        .write(path);
}

bool waitUntil(const std::function<bool()>& done, int timeoutMs) {
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < timeoutMs) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(5);
    }
    return done();
}

QStringList clippedTexts(QWidget& root) {
    QStringList clipped;
    for (auto* label : root.findChildren<QLabel*>()) {
        if (!label->isVisibleTo(&root) || label->text().isEmpty()) continue;
        const bool fits = label->wordWrap() ? label->height() >= label->heightForWidth(label->width())
                                            : label->width() >= label->sizeHint().width();
        if (!fits) clipped << (label->objectName().isEmpty() ? label->text() : label->objectName());
    }
    for (auto* button : root.findChildren<QAbstractButton*>()) {
        if (button->isVisibleTo(&root) && button->width() < button->sizeHint().width()) clipped << button->text();
    }
    return clipped;
}

}  // namespace orvandel::apptest
