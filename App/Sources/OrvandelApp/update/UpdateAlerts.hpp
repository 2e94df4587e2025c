#pragma once
// The update check's three alerts, over the window.
#include <QString>
#include <QUrl>

#include <optional>

#include "UpdateFeed.hpp"

class QWidget;

namespace orvandel::UpdateAlerts {

// "Nova versão disponível", whose "Baixar" opens the release's page.
void presentUpdate(QWidget* window, const UpdateFeed::Release& release);
void presentUpToDate(QWidget* window);
void presentError(QWidget* window);

// What "Baixar" opens for a release's url: a web page, nothing else (the
// feed must not make the desktop open a file or start a program).
std::optional<QUrl> downloadPage(const QString& url);

}  // namespace orvandel::UpdateAlerts
