#pragma once
// One job at a time on Qt's thread pool, its result handed back on the GUI
// thread.
//
// Lifetime: the helper is a member of its owner (the export session, which
// the window owns), and the owner outlives every job it starts: the helper's
// destructor waits for a running job, so a job may report to its owner until
// it returns. Nobody deletes a job; it is a task of the pool that ends by
// returning. When the window closes mid-export, the session cancels the
// export's token first, so the wait is only as long as the export takes to
// unwind (its child processes stopped, its work directory removed).
#include <QFutureWatcher>
#include <QtConcurrent/QtConcurrentRun>

#include <functional>
#include <utility>

namespace orvandel {

template <class Result>
class OffThread {
public:
    // `done` runs on the GUI thread with each job's result, unless the helper
    // is gone by then or a newer job was started meanwhile.
    OffThread(QObject* receiver, std::function<void(const Result&)> done) {
        QObject::connect(&watcher_, &QFutureWatcherBase::finished, receiver,
                         [this, done = std::move(done)] { done(watcher_.result()); });
    }
    ~OffThread() { watcher_.waitForFinished(); }
    OffThread(const OffThread&) = delete;
    OffThread& operator=(const OffThread&) = delete;

    // A job still running is waited for first; its result is dropped.
    template <class Job>
    void start(Job job) {
        watcher_.waitForFinished();
        watcher_.setFuture(QtConcurrent::run(std::move(job)));
    }
    void wait() { watcher_.waitForFinished(); }

private:
    QFutureWatcher<Result> watcher_;
};

}  // namespace orvandel
