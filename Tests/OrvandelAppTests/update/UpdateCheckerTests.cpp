#include <QMessageBox>
#include <QSettings>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include "ExportCopy.hpp"
#include "update/UpdateAlerts.hpp"
#include "update/UpdateChecker.hpp"

using namespace orvandel;

namespace {

// The feed, on the loopback interface: every GET gets `status` and `body`.
struct FeedServer {
    int status = 200;
    QByteArray body;
    int requests = 0;
    QTcpServer server;

    FeedServer() {
        server.listen(QHostAddress::LocalHost);
        QObject::connect(&server, &QTcpServer::newConnection, [this] {
            QTcpSocket* socket = server.nextPendingConnection();
            QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                socket->setProperty("got", socket->property("got").toByteArray() + socket->readAll());
                if (!socket->property("got").toByteArray().contains("\r\n\r\n")) return;
                ++requests;
                const QByteArray payload = status == 304 ? QByteArray() : body;
                socket->write("HTTP/1.1 " + QByteArray::number(status) + " X\r\nConnection: close\r\nContent-Length: " +
                              QByteArray::number(payload.size()) + "\r\n\r\n" + payload);
                socket->disconnectFromHost();
            });
        });
        qputenv(UpdateFeed::kFeedVariable,
                "http://127.0.0.1:" + QByteArray::number(server.serverPort()) + "/exporter/latest.json");
    }
};

QByteArray feed(const QString& version) {
    return "{\"version\": \"" + version.toUtf8() + "\", \"url\": \"https://example.org/baixar\", \"notes\": \"Novo.\"}";
}

// A check run to its end over a fresh window: the title of the alert it left open, if any.
QString check(void (UpdateChecker::*run)()) {
    QWidget window;
    UpdateChecker checker(&window);
    QSignalSpy done(&checker, &UpdateChecker::checked);
    (checker.*run)();
    if (done.isEmpty() && !done.wait(10000)) return "no answer";
    const auto* alert = window.findChild<QMessageBox*>();
    return alert ? alert->text() : QString();
}

}  // namespace

class UpdateCheckerTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() {
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings_.path());
        QCoreApplication::setOrganizationName("OrvandelTests");
    }

    void versionsCompare() {
        for (const auto& [remote, current, newer] :
             std::vector<std::tuple<QString, QString, bool>>{{"1.10", "1.9", true},
                                                             {"2.0", "2", false},
                                                             {"1.2.0", "1.2", false},
                                                             {"1.2.1", "1.2", true},
                                                             {"1.2", "1.2.1", false},
                                                             {"1.x", "1.0", false},
                                                             {"10", "9.99", true},
                                                             {"", "0", false}}) {
            QVERIFY2(UpdateFeed::isNewer(remote, current) == newer, qPrintable(remote));
        }
    }

    // On demand every outcome has its alert. At launch only news shows, and at
    // most one request is made a day, a failure counting as the day's check.
    void checksAndTheirAlerts() {
        FeedServer server;
        const QString failed = ExportCopy::kUpdateCheckFailedTitle, news = ExportCopy::kUpdateTitle;
        const auto manual = &UpdateChecker::checkManually, launch = &UpdateChecker::checkOnLaunch;
        const QByteArray newer = feed("99.0"), same = feed(UpdateFeed::currentVersion());
        const auto aDayAgo = QDateTime::currentDateTimeUtc().addSecs(-24 * 60 * 60 - 5).toString(Qt::ISODate);
        using Step = std::tuple<void (UpdateChecker::*)(), int, QByteArray, bool, QString, int>;
        // The check, the feed's status and body, whether the last check at launch was a day ago: the alert's
        // title and the requests so far.
        for (const auto& [run, status, body, aDayLater, title, requests] :
             std::vector<Step>{{manual, 200, newer, false, news, 1},
                               {manual, 200, same, false, ExportCopy::kUpToDateTitle, 2},
                               {manual, 304, {}, false, failed, 3},
                               {manual, 500, newer, false, failed, 4},
                               {manual, 200, "{\"version\": \"99.0\", ", false, failed, 5},
                               {manual, 200, "{\"version\": 99, \"url\": \"https://example.org\"}", false, failed, 6},
                               {manual, 200, "{\"version\": \"99.0\"}", false, failed, 7},
                               {launch, 200, newer, false, news, 8},
                               {launch, 200, newer, false, {}, 8},
                               {launch, 500, same, true, {}, 9},
                               {launch, 200, same, true, {}, 10},
                               {launch, 200, same, false, {}, 10}}) {
            server.status = status;
            server.body = body;
            if (aDayLater) QSettings().setValue(UpdateChecker::kLastAutoCheckKey, aDayAgo);
            QCOMPARE(check(run), title);
            QCOMPARE(server.requests, requests);
        }
    }

    // "Baixar" opens only a web page.
    void downloadOpensOnlyAWebPage() {
        QCOMPARE(UpdateAlerts::downloadPage("https://example.org/baixar"), QUrl("https://example.org/baixar"));
        for (const char* url : {"file:///etc/passwd", "/usr/bin/xterm", "https://", "não é um endereço"}) {
            QVERIFY2(!UpdateAlerts::downloadPage(url), url);
        }
    }

private:
    QTemporaryDir settings_;
};

QTEST_MAIN(UpdateCheckerTest)
#include "UpdateCheckerTests.moc"
