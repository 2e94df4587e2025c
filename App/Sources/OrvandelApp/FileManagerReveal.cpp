#include "FileManagerReveal.hpp"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QUrl>

namespace orvandel::FileManagerReveal {

namespace {

void openFolder(const std::filesystem::path& file) {
    QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(file.parent_path().string())));
}

}  // namespace

void reveal(const std::filesystem::path& file) {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return openFolder(file);
    auto call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.FileManager1"),
                                               QStringLiteral("/org/freedesktop/FileManager1"),
                                               QStringLiteral("org.freedesktop.FileManager1"),
                                               QStringLiteral("ShowItems"));
    call << QStringList{QUrl::fromLocalFile(QString::fromStdString(file.string())).toString()} << QString();
    // Asynchronous, so that a file manager slow to start never freezes the window.
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, 5000));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, [file](QDBusPendingCallWatcher* finished) {
        if (finished->isError()) openFolder(file);
        finished->deleteLater();
    });
}

}  // namespace orvandel::FileManagerReveal
