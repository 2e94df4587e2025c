#include "UpdateChecker.hpp"

#include <QDateTime>
#include <QSettings>

#include "UpdateAlerts.hpp"

namespace orvandel {

namespace {

constexpr qint64 kDaySeconds = 24 * 60 * 60;

}  // namespace

UpdateChecker::UpdateChecker(QWidget* window) : window_(window) {
    connect(&feed_, &UpdateFeed::answered, this, &UpdateChecker::answered);
}

bool UpdateChecker::claimTodaysCheck() {
    QSettings settings;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QDateTime last = QDateTime::fromString(settings.value(kLastAutoCheckKey).toString(), Qt::ISODate);
    // A date in the future (a clock put right since) does not hold the check back.
    if (last.isValid() && last <= now && last.secsTo(now) < kDaySeconds) return false;
    // Stored before asking, so that a failed check still counts as the day's.
    settings.setValue(kLastAutoCheckKey, now.toString(Qt::ISODate));
    return true;
}

void UpdateChecker::checkOnLaunch() {
    if (!claimTodaysCheck()) {
        emit checked();
        return;
    }
    feed_.check();
}

void UpdateChecker::checkManually() { manualChecks_.insert(feed_.check()); }

void UpdateChecker::answered(int check, const UpdateFeed::Answer& answer) {
    using Verdict = UpdateFeed::Verdict;
    const bool manual = manualChecks_.remove(check);
    if (answer.verdict == Verdict::newer) {
        UpdateAlerts::presentUpdate(window_, answer.release);
    } else if (manual && answer.verdict == Verdict::failed) {
        UpdateAlerts::presentError(window_);
    } else if (manual) {
        UpdateAlerts::presentUpToDate(window_);
    }
    emit checked();
}

}  // namespace orvandel
