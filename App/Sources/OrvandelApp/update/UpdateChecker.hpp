#pragma once
// Tells the user when a newer version is published. Once a day at launch it
// says something only when there is news; from the menu it always answers.
// The feed (UpdateFeed) answers; this decides when to ask, keeps the day of
// the last launch check in the settings, and picks the alert (UpdateAlerts).
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QWidget>

#include "UpdateFeed.hpp"

namespace orvandel {

class UpdateChecker : public QObject {
    Q_OBJECT
public:
    // The setting that holds when the last automatic check was made.
    static inline const QString kLastAutoCheckKey = QStringLiteral("UpdateChecker.lastAutoCheck");

    // Alerts open over `window`.
    explicit UpdateChecker(QWidget* window);

    // At most once a day (the day counted from the last attempt, failed or
    // not): the update alert when there is news, nothing otherwise.
    void checkOnLaunch();
    // Always one of the three alerts. Leaves the daily check's date alone.
    void checkManually();

signals:
    // A check is over; its alert, when it has one, is open.
    void checked();

private:
    // Whether a day has passed since the last launch check; if so, today's is noted.
    static bool claimTodaysCheck();
    void answered(int check, const UpdateFeed::Answer& answer);

    UpdateFeed feed_;
    QPointer<QWidget> window_;
    QSet<int> manualChecks_;  // asked from the menu, not yet answered
};

}  // namespace orvandel
