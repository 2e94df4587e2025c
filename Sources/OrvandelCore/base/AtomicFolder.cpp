#include "base/AtomicFolder.hpp"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>

#include "base/Error.hpp"
#include "base/TemporaryDirectory.hpp"
#include "base/Uuid.hpp"

namespace orvandel::AtomicFolder {

namespace fs = std::filesystem;

void replace(const fs::path& destination, const std::function<void(const fs::path& staging)>& write,
             const std::function<void(const fs::path& existing)>& mayReplace) {
    std::error_code ec;
    const bool exists = fs::exists(fs::symlink_status(destination, ec));
    if (exists) mayReplace(destination);
    const fs::path parent = destination.parent_path().empty() ? fs::path(".") : destination.parent_path();
    // After a swap it holds the old folder, removed with it.
    const TemporaryDirectory staging(parent, "." + destination.filename().string() + ".tmp-");
    write(staging.path());
    staging.removeOwnerRecord();
    if (!exists) {
        if (std::rename(staging.path().c_str(), destination.c_str()) != 0) {
            throw FileError("move into place", destination.string(), errno);
        }
        return;
    }
    if (::renameat2(AT_FDCWD, staging.path().c_str(), AT_FDCWD, destination.c_str(), RENAME_EXCHANGE) == 0) return;
    if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP) {
        throw FileError("move into place", destination.string(), errno);
    }
    const fs::path aside = parent / ("." + destination.filename().string() + ".old-" + makeUuid());
    if (std::rename(destination.c_str(), aside.c_str()) != 0) {
        throw FileError("move aside", destination.string(), errno);
    }
    if (std::rename(staging.path().c_str(), destination.c_str()) != 0) {
        const int error = errno;
        std::rename(aside.c_str(), destination.c_str());
        throw FileError("move into place", destination.string(), error);
    }
    fs::remove_all(aside, ec);
}

}  // namespace orvandel::AtomicFolder
