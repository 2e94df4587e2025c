#include "UpdateChecker.hpp"

#include <QDateTime>
#include <QDesktopServices>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMessageBox>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPushButton>
#include <QSettings>

#include <algorithm>
#include <vector>

#include "AlertBox.hpp"
#include "ExportCopy.hpp"
#include "base/Numbers.hpp"

namespace orvandel {

namespace {

const char* const kPublishedFeed = "https://updates.orvandel.app/exporter/latest.json";
constexpr qint64 kDaySeconds = 24 * 60 * 60;
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

UpdateChecker::UpdateChecker(QWidget* window) : window_(window) {}

QUrl UpdateChecker::feedURL() {
    const QString override = qEnvironmentVariable(kFeedVariable);
    return QUrl(override.isEmpty() ? QString::fromLatin1(kPublishedFeed) : override);
}

QString UpdateChecker::currentVersion() { return QStringLiteral(ORVANDEL_VERSION); }

bool UpdateChecker::isNewer(const QString& remote, const QString& current) {
    const auto r = versionParts(remote);
    const auto c = versionParts(current);
    for (std::size_t i = 0; i < std::max(r.size(), c.size()); ++i) {
        const std::int64_t a = i < r.size() ? r[i] : 0;
        const std::int64_t b = i < c.size() ? c[i] : 0;
        if (a != b) return a > b;
    }
    return false;
}

std::optional<UpdateChecker::Release> UpdateChecker::decode(const QByteArray& body) {
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

void UpdateChecker::fetch(std::function<void(std::optional<Release>)> completion) {
    QNetworkRequest request(feedURL());
    request.setTransferTimeout(kTimeoutMs);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    QNetworkReply* reply = network_.get(request);
    connect(reply, &QNetworkReply::downloadProgress, reply, [reply](qint64 received, qint64) {
        if (received > kMaxFeedBytes) reply->abort();
    });
    connect(reply, &QNetworkReply::finished, this, [reply, completion = std::move(completion)] {
        reply->deleteLater();
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (reply->error() != QNetworkReply::NoError || status != 200) return completion(std::nullopt);
        completion(decode(reply->readAll()));
    });
}

void UpdateChecker::checkOnLaunch() {
    QSettings settings;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QDateTime last = QDateTime::fromString(settings.value(kLastAutoCheckKey).toString(), Qt::ISODate);
    // A date in the future (a clock put right since) does not hold the check back.
    if (last.isValid() && last <= now && last.secsTo(now) < kDaySeconds) {
        emit checked();
        return;
    }
    // Stored before asking, so that a failed check still counts as the day's.
    settings.setValue(kLastAutoCheckKey, now.toString(Qt::ISODate));
    fetch([this](const std::optional<Release>& release) {
        if (release && isNewer(release->version, currentVersion())) presentUpdate(*release);
        emit checked();
    });
}

void UpdateChecker::checkManually() {
    fetch([this](const std::optional<Release>& release) {
        if (!release) {
            presentError();
        } else if (isNewer(release->version, currentVersion())) {
            presentUpdate(*release);
        } else {
            presentUpToDate();
        }
        emit checked();
    });
}

std::optional<QUrl> UpdateChecker::downloadPage(const QString& url) {
    const QUrl page(url, QUrl::StrictMode);
    const bool web = page.scheme() == QLatin1String("https") || page.scheme() == QLatin1String("http");
    if (!page.isValid() || !web || page.host().isEmpty()) return std::nullopt;
    return page;
}

void UpdateChecker::presentUpdate(const Release& release) {
    QMessageBox* box = AlertBox::make(window_, false, ExportCopy::kUpdateTitle,
                                      ExportCopy::updateText(release.version, currentVersion(), release.notes));
    auto* download = box->addButton(ExportCopy::kDownload, QMessageBox::AcceptRole);
    auto* notNow = box->addButton(ExportCopy::kNotNow, QMessageBox::RejectRole);
    box->setDefaultButton(download);
    box->setEscapeButton(notNow);
    connect(box, &QMessageBox::finished, box, [box, download, url = release.url] {
        if (box->clickedButton() != download) return;
        if (const auto page = downloadPage(url)) QDesktopServices::openUrl(*page);
    });
    box->open();
}

void UpdateChecker::presentUpToDate() {
    QMessageBox* box = AlertBox::make(window_, false, ExportCopy::kUpToDateTitle,
                                      ExportCopy::upToDateText(currentVersion()));
    box->addButton(QMessageBox::Ok);
    box->open();
}

void UpdateChecker::presentError() {
    QMessageBox* box = AlertBox::make(window_, true, ExportCopy::kUpdateCheckFailedTitle,
                                      ExportCopy::kUpdateCheckFailedText);
    box->addButton(QMessageBox::Ok);
    box->open();
}

}  // namespace orvandel
