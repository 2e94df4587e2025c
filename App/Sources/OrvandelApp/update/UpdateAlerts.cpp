#include "UpdateAlerts.hpp"

#include <QDesktopServices>
#include <QMessageBox>
#include <QPushButton>

#include "AlertBox.hpp"
#include "ExportCopy.hpp"

namespace orvandel::UpdateAlerts {

std::optional<QUrl> downloadPage(const QString& url) {
    const QUrl page(url, QUrl::StrictMode);
    const bool web = page.scheme() == QLatin1String("https") || page.scheme() == QLatin1String("http");
    if (!page.isValid() || !web || page.host().isEmpty()) return std::nullopt;
    return page;
}

void presentUpdate(QWidget* window, const UpdateFeed::Release& release) {
    QMessageBox* box = AlertBox::make(window, false, ExportCopy::kUpdateTitle,
                                      ExportCopy::updateText(release.version, UpdateFeed::currentVersion(),
                                                             release.notes));
    auto* download = box->addButton(ExportCopy::kDownload, QMessageBox::AcceptRole);
    auto* notNow = box->addButton(ExportCopy::kNotNow, QMessageBox::RejectRole);
    box->setDefaultButton(download);
    box->setEscapeButton(notNow);
    QObject::connect(box, &QMessageBox::finished, box, [box, download, url = release.url] {
        if (box->clickedButton() != download) return;
        if (const auto page = downloadPage(url)) QDesktopServices::openUrl(*page);
    });
    box->open();
}

void presentUpToDate(QWidget* window) {
    QMessageBox* box = AlertBox::make(window, false, ExportCopy::kUpToDateTitle,
                                      ExportCopy::upToDateText(UpdateFeed::currentVersion()));
    box->addButton(QMessageBox::Ok);
    box->open();
}

void presentError(QWidget* window) {
    QMessageBox* box = AlertBox::make(window, true, ExportCopy::kUpdateCheckFailedTitle,
                                      ExportCopy::kUpdateCheckFailedText);
    box->addButton(QMessageBox::Ok);
    box->open();
}

}  // namespace orvandel::UpdateAlerts
