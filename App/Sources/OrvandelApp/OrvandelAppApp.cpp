#include "OrvandelAppApp.hpp"

#include <QApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QScreen>
#include <QStyle>
#include <QTranslator>

namespace orvandel::OrvandelAppApp {

void installPortuguese(QCoreApplication& app) {
    const QLocale brazil(QLocale::Portuguese, QLocale::Brazil);
    QLocale::setDefault(brazil);
    const QString directory = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
    auto* translator = new QTranslator(&app);
    if (translator->load(brazil, QStringLiteral("qtbase"), QStringLiteral("_"), directory)) {
        QCoreApplication::installTranslator(translator);
    } else {
        delete translator;
    }
}

std::unique_ptr<ContentView> makeWindow(RendererChoice::Renderer renderer,
                                        std::shared_ptr<const Mp4Exporting> exporter) {
    auto window = std::make_unique<ContentView>(renderer, std::move(exporter));
    window->setMinimumSize(kMinimumSize);
    window->resize(kInitialSize);
    if (const auto* screen = QGuiApplication::primaryScreen()) {
        window->setGeometry(QStyle::alignedRect(Qt::LeftToRight, Qt::AlignCenter, kInitialSize,
                                                screen->availableGeometry()));
    }
    return window;
}

int run(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Orvandel"));
    QApplication::setApplicationDisplayName(QStringLiteral("Orvandel"));
    QApplication::setDesktopFileName(QStringLiteral("orvandel"));
    installPortuguese(app);
    const auto window = makeWindow();
    window->show();
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() > 1) window->openDeck(arguments.at(1).toStdString());
    return QApplication::exec();
}

}  // namespace orvandel::OrvandelAppApp
