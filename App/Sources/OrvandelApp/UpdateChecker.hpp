#pragma once
// Tells the user when a newer version is published: one GET of a small JSON
// feed ({"version", "url", "notes"?}), its version compared with ours. Once a
// day at launch it says something only when there is news; from the menu it
// always answers. Replies and alerts come on the GUI thread.
#include <QNetworkAccessManager>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>
#include <QWidget>

#include <functional>
#include <optional>

namespace orvandel {

class UpdateChecker : public QObject {
    Q_OBJECT
public:
    struct Release {
        QString version;  // dot-separated numbers
        QString url;      // the download page
        QString notes;    // empty when the feed has none
        bool operator==(const Release&) const = default;
    };

    // The setting that holds when the last automatic check was made.
    static inline const QString kLastAutoCheckKey = QStringLiteral("UpdateChecker.lastAutoCheck");
    // The environment variable that replaces the feed's address.
    static constexpr const char* kFeedVariable = "ORVANDEL_UPDATE_FEED";

    // Alerts open over `window`.
    explicit UpdateChecker(QWidget* window);

    // ORVANDEL_UPDATE_FEED when set, else the published feed.
    static QUrl feedURL();
    // This build's version (the project's version).
    static QString currentVersion();
    // Part by part from the left, a missing part or one that is not a number
    // counting as 0: 1.10 is newer than 1.9, 2.0 is not newer than 2.
    static bool isNewer(const QString& remote, const QString& current);
    // The feed's body as a Release; nothing unless it is an object with
    // string "version" and "url" (and "notes", when present, a string or null).
    static std::optional<Release> decode(const QByteArray& body);

    // One GET of the feed; `completion` gets the release, or nothing on any
    // failure (no answer, a status other than 200, a body that does not decode).
    void fetch(std::function<void(std::optional<Release>)> completion);

    // At most once a day (the day counted from the last attempt, failed or
    // not): the update alert when there is news, nothing otherwise.
    void checkOnLaunch();
    // Always one of the three alerts. Leaves the daily check's date alone.
    void checkManually();

    // What "Baixar" opens for a release's url: a web page, nothing else (the
    // feed must not make the desktop open a file or start a program).
    static std::optional<QUrl> downloadPage(const QString& url);

    void presentUpdate(const Release& release);
    void presentUpToDate();
    void presentError();

signals:
    // A check is over; its alert, when it has one, is open.
    void checked();

private:
    QNetworkAccessManager network_;
    QPointer<QWidget> window_;
};

}  // namespace orvandel
