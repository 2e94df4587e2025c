#pragma once
// A directory named prefix + a fresh UUID, created on construction and
// removed with everything in it on destruction, however the scope is left
// (a failure to remove is ignored: there is nobody left to tell).
//
// A process that is killed outright (SIGKILL, the out-of-memory killer)
// cannot remove its folders, so each folder holds an owner record naming the
// process that made it, and making a folder first removes the folders with
// the same prefix beside it whose owner has ended. A folder is removed only
// when it is a directory (not a symbolic link) of this user with a well-formed
// record whose owner is provably gone: on this host, either another boot, or
// the same process namespace and the pid ended or now names another process
// (another start time). A live run's folder, in this process or another, a
// folder of another host or container sharing the parent, and a folder
// without a record are left alone. Removal failures are ignored.
#include <filesystem>
#include <string>

#include "base/Leftovers.hpp"

namespace orvandel {

class TemporaryDirectory {
public:
    // The owner record's file name inside the folder. It holds one line:
    // pid, start time (clock ticks after boot), boot id, pid namespace and
    // host name, separated by single spaces; "-" where unknown.
    static constexpr const char* kOwnerRecord = ".orvandel-owner";

    // Removes the leftovers of ended runs as described above, then creates
    // parent/<prefix><UUID> (and missing parents) with its owner record.
    // Throws std::filesystem::filesystem_error when it cannot create the
    // folder; a record that cannot be written is done without (the folder is
    // then never taken for a leftover).
    TemporaryDirectory(const std::filesystem::path& parent, const std::string& prefix);
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return path_; }

    // For a folder about to be renamed into a place of its own: its record
    // goes (nobody there expects it), so that no later run takes the folder.
    void removeOwnerRecord() const;

private:
    std::filesystem::path path_;
    Leftovers::Registration leftover_;
};

}  // namespace orvandel
