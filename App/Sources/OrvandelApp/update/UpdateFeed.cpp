#include "UpdateFeed.hpp"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <algorithm>
#include <vector>

#include "base/Numbers.hpp"

namespace orvandel {

namespace {

const char* const kPublishedFeed = "https://updates.orvandel.app/exporter/latest.json";
// A feed is a few hundred bytes; anything far larger is not one.
constexpr qint64 kMaxFeedBytes = 1 << 20;
constexpr int kTimeoutMs = 20000;

std::vector<std::int64_t> versionParts(const QString& version) {
    std::vector<std::int64_t> parts;
    for (const QString& part : version.split(QLatin1Char('.'))) {
        parts.push_back(parseInt64(part.toStdString()).value_or(0));
    }
    return parts;
}

}  // namespace

QUrl UpdateFeed::feedURL() {
    const QString override = qEnvironmentVariable(kFeedVariable);
    return QUrl(override.isEmpty() ? QString::fromLatin1(kPublishedFeed) : override);
}

QString UpdateFeed::currentVersion() { return QStringLiteral(ORVANDEL_VERSION); }

bool UpdateFeed::isNewer(const QString& remote, const QString& current) {
    const auto r = versionParts(remote);
    const auto c = versionParts(current);
    for (std::size_t i = 0; i < std::max(r.size(), c.size()); ++i) {
        const std::int64_t a = i < r.size() ? r[i] : 0;
        const std::int64_t b = i < c.size() ? c[i] : 0;
        if (a != b) return a > b;
    }
    return false;
}

std::optional<UpdateFeed::Release> UpdateFeed::decode(const QByteArray& body) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) return std::nullopt;
    const QJsonObject object = document.object();
    const auto version = object.value(QStringLiteral("version"));
    const auto url = object.value(QStringLiteral("url"));
    const auto notes = object.value(QStringLiteral("notes"));
    if (!version.isString() || !url.isString()) return std::nullopt;
    if (!notes.isString() && !notes.isNull() && !notes.isUndefined()) return std::nullopt;
    return Release{version.toString(), url.toString(), notes.toString()};
}

int UpdateFeed::check() {
    const int number = ++checks_;
    QNetworkRequest request(feedURL());
    request.setTransferTimeout(kTimeoutMs);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    QNetworkReply* reply = network_.get(request);
    connect(reply, &QNetworkReply::downloadProgress, reply, [reply](qint64 received, qint64) {
        if (received > kMaxFeedBytes) reply->abort();
    });
    connect(reply, &QNetworkReply::finished, this, [this, reply, number] {
        reply->deleteLater();
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        std::optional<Release> release;
        if (reply->error() == QNetworkReply::NoError && status == 200) release = decode(reply->readAll());
        if (!release) return emit answered(number, {});
        emit answered(number,
                      {isNewer(release->version, currentVersion()) ? Verdict::newer : Verdict::upToDate, *release});
    });
    return number;
}

}  // namespace orvandel
