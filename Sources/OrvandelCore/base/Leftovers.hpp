#pragma once
// What a process must not leave behind if it has to end at once (a second
// Ctrl-C): the scratch folders and temporary files it made, and the process
// groups of the children it runs. Each owner registers for its lifetime; the
// normal paths clean up on their own, and cleanUpNow() is the last resort.
#include <filesystem>
#include <sys/types.h>

namespace orvandel::Leftovers {

// Removes its registration when it goes out of scope.
class Registration {
public:
    Registration() = default;
    explicit Registration(unsigned long id) : id_(id) {}  // an id the registry handed out
    ~Registration();
    Registration(Registration&& other) noexcept : id_(other.id_) { other.id_ = 0; }
    Registration& operator=(Registration&& other) noexcept;
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

private:
    unsigned long id_ = 0;
};

// A file or folder to remove (with everything in it).
Registration path(const std::filesystem::path& path);
// A process group to kill.
Registration processGroup(pid_t group);

// Kills every registered process group (SIGKILL), then removes every
// registered path. Safe to call from any thread, not from a signal handler.
void cleanUpNow();

}  // namespace orvandel::Leftovers
