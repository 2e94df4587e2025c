#pragma once
// Process groups that die with this process, however it ends (SIGKILL and the
// out-of-memory killer included). Linux only.
//
// A watcher process, forked at the first request, holds the one end of a
// socket whose other end only this process holds. For each child it makes a
// group: it starts an anchor (a process that shares the watcher's memory and
// only waits) that leads a new process group, and the child joins that group
// before it runs. When the
// socket reaches end of file (this process is gone) the watcher kills every
// group it still holds and exits.
//
// The anchor is the watcher's own child and is reaped only when its group is
// released, so a group's id stays taken (the anchor, alive or a zombie, is a
// member) for as long as the watcher might signal it: no kill ever reaches a
// reused group id. A child that leaves the group (setsid, setpgid) escapes.
//
// The watcher is in a process group of its own, ignores the terminal's and
// the terminal-less termination signals and holds no file but the socket and
// /dev/null. A process forked from this one (without exec) drops the
// inherited connection and gets a watcher of its own at its first request.
#include <string>
#include <sys/types.h>

namespace orvandel::ProcessWatcher {

// One group held by the watcher. Destroying it kills what is left in the
// group (SIGKILL) and has the watcher reap the anchor, after which the id may
// be reused and must not be signalled: the caller drops every other record of
// it first (its Leftovers registration among them).
class Group {
public:
    Group() = default;
    explicit Group(pid_t id) : id_(id) {}
    ~Group();
    Group(Group&& other) noexcept : id_(other.id_) { other.id_ = 0; }
    Group& operator=(Group&& other) noexcept;
    Group(const Group&) = delete;
    Group& operator=(const Group&) = delete;

    // The process group id for setpgid(child, id()).
    pid_t id() const { return id_; }

private:
    pid_t id_ = 0;
};

// A new group for one child of `program`. Thread-safe. Throws LaunchError
// naming `program` with the system's errno when neither the running watcher
// nor a fresh one can make it (no memory, no processes left).
Group newGroup(const std::string& program);

}  // namespace orvandel::ProcessWatcher
