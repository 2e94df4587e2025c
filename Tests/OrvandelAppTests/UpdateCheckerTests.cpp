#include <QMessageBox>
#include <QSettings>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include "ExportCopy.hpp"
#include "UpdateChecker.hpp"

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
        qputenv(UpdateChecker::kFeedVariable, "http://127.0.0.1:" + QByteArray::number(server.serverPort()) +
                                                  "/exporter/latest.json");
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
        const struct {
            QString remote, current;
            bool newer;
        } cases[] = {{"1.10", "1.9", true},   {"2.0", "2", false},   {"1.2.0", "1.2", false}, {"1.2.1", "1.2", true},
                     {"1.2", "1.2.1", false}, {"1.x", "1.0", false}, {"10", "9.99", true},    {"", "0", false}};
        for (const auto& c : cases) {
            QVERIFY2(UpdateChecker::isNewer(c.remote, c.current) == c.newer, qPrintable(c.remote));
        }
    }

    // On demand every outcome has its alert.
    void manualCheckAlwaysAnswers() {
        FeedServer server;
        const QString failed = ExportCopy::kUpdateCheckFailedTitle;
        const struct {
            int status;
            QByteArray body;
            QString title;
        } cases[] = {{200, feed("99.0"), ExportCopy::kUpdateTitle},
                     {200, feed(UpdateChecker::currentVersion()), ExportCopy::kUpToDateTitle},
                     {304, {}, failed},
                     {500, feed("99.0"), failed},
                     {200, "{\"version\": \"99.0\", ", failed},
                     {200, "{\"version\": 99, \"url\": \"https://example.org\"}", failed},
                     {200, "{\"version\": \"99.0\"}", failed}};
        for (const auto& c : cases) {
            server.status = c.status;
            server.body = c.body;
            QCOMPARE(check(&UpdateChecker::checkManually), c.title);
        }
        QCOMPARE(server.requests, 7);
    }

    // At launch: news only, at most one request a day, a failure counting as the day's check.
    void launchCheckIsDailyAndQuiet() {
        FeedServer server;
        server.body = feed("99.0");
        QCOMPARE(check(&UpdateChecker::checkOnLaunch), ExportCopy::kUpdateTitle);
        QCOMPARE(check(&UpdateChecker::checkOnLaunch), QString());
        QCOMPARE(server.requests, 1);

        const auto aDayAgo = QDateTime::currentDateTimeUtc().addSecs(-24 * 60 * 60 - 5).toString(Qt::ISODate);
        for (const int status : {500, 200}) {
            QSettings().setValue(UpdateChecker::kLastAutoCheckKey, aDayAgo);
            server.status = status;
            server.body = feed(UpdateChecker::currentVersion());
            QCOMPARE(check(&UpdateChecker::checkOnLaunch), QString());
        }
        QCOMPARE(check(&UpdateChecker::checkOnLaunch), QString());
        QCOMPARE(server.requests, 3);
    }

    // "Baixar" opens only a web page.
    void downloadOpensOnlyAWebPage() {
        QCOMPARE(UpdateChecker::downloadPage("https://example.org/baixar"), QUrl("https://example.org/baixar"));
        for (const char* url : {"file:///etc/passwd", "/usr/bin/xterm", "https://", "não é um endereço"}) {
            QVERIFY2(!UpdateChecker::downloadPage(url), url);
        }
    }

private:
    QTemporaryDir settings_;
};

QTEST_MAIN(UpdateCheckerTest)
#include "UpdateCheckerTests.moc"
