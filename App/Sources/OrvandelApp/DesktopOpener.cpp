#include "DesktopOpener.hpp"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>

namespace orvandel {

namespace {

void showItems(const QUrl& file, const std::function<void(bool)>& answered) {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return answered(false);
    auto call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.FileManager1"),
                                               QStringLiteral("/org/freedesktop/FileManager1"),
                                               QStringLiteral("org.freedesktop.FileManager1"),
                                               QStringLiteral("ShowItems"));
    call << QStringList{file.toString()} << QString();
    // Asynchronous, so that a file manager slow to start never freezes the window.
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, 5000));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, [answered](QDBusPendingCallWatcher* finished) {
        finished->deleteLater();
        answered(!finished->isError());
    });
}

}  // namespace

DesktopOpener DesktopOpener::system() {
    return {.openUrl = [](const QUrl& url) { return QDesktopServices::openUrl(url); }, .showInFileManager = showItems};
}

}  // namespace orvandel
