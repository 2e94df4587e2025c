#pragma once
// The network side of the update check: one GET of a small JSON feed
// ({"version", "url", "notes"?}), its version compared with this build's.
// Says nothing to the user and keeps no setting: `answered` carries the
// result, on the GUI thread.
#include <QNetworkAccessManager>
#include <QObject>
#include <QString>
#include <QUrl>

#include <optional>

namespace orvandel {

class UpdateFeed : public QObject {
    Q_OBJECT
public:
    struct Release {
        QString version;  // dot-separated numbers
        QString url;      // the download page
        QString notes;    // empty when the feed has none
        bool operator==(const Release&) const = default;
    };
    // What one check found.
    enum class Verdict { failed, upToDate, newer };
    struct Answer {
        Verdict verdict = Verdict::failed;
        Release release;  // empty when failed
    };

    // The environment variable that replaces the feed's address.
    static constexpr const char* kFeedVariable = "ORVANDEL_UPDATE_FEED";

    using QObject::QObject;

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

    // One GET of the feed, answered once under the number returned: failed
    // on no answer, a status other than 200 or a body that does not decode.
    int check();

signals:
    void answered(int check, const orvandel::UpdateFeed::Answer& answer);

private:
    QNetworkAccessManager network_;
    int checks_ = 0;
};

}  // namespace orvandel
