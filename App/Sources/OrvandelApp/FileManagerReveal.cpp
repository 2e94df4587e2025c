#include "FileManagerReveal.hpp"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QUrl>

namespace orvandel::FileManagerReveal {

void reveal(const std::filesystem::path& file) {
    const auto url = QUrl::fromLocalFile(QString::fromStdString(file.string()));
    auto bus = QDBusConnection::sessionBus();
    if (bus.isConnected()) {
        auto call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.FileManager1"),
                                                   QStringLiteral("/org/freedesktop/FileManager1"),
                                                   QStringLiteral("org.freedesktop.FileManager1"),
                                                   QStringLiteral("ShowItems"));
        call << QStringList{url.toString()} << QString();
        // A short wait: a desktop without a file manager service answers at once.
        if (bus.call(call, QDBus::Block, 3000).type() == QDBusMessage::ReplyMessage) return;
    }
    QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(file.parent_path().string())));
}

}  // namespace orvandel::FileManagerReveal
