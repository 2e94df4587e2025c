#pragma once
// The app's alerts, all alike: the message in bold above its explanation,
// the explanation wide enough to read as a paragraph, window-modal over the
// window, deleted when closed. Shown with open(), never exec(): the event
// loop keeps running, so an export can end while an alert is up.
#include <QMessageBox>

namespace orvandel::AlertBox {

// An alert with no buttons yet; `warning` picks the warning icon over the
// information one.
QMessageBox* make(QWidget* window, bool warning, const QString& message, const QString& informative);

}  // namespace orvandel::AlertBox
