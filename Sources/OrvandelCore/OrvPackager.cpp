#include "OrvPackager.hpp"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

#include "Bytes.hpp"
#include "Cancellation.hpp"
#include "DeckError.hpp"
#include "Uuid.hpp"

namespace orvandel::OrvPackager {

std::filesystem::path temporaryPath(const std::filesystem::path& to) {
    return to.parent_path() / ("." + to.filename().string() + ".tmp-" + makeUuid());
}

void package(const std::string& manifestJSON, const std::filesystem::path& masterMp4,
             const std::filesystem::path& to, const ArchiveWriter& writer) {
    // The movie is checked before anything is written: an unreadable movie is
    // the file system's error, not a failure to write the package.
    {
        const int fd = ::open(masterMp4.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) throw FileError("open", masterMp4.string(), errno);
        ::close(fd);
        if (std::filesystem::is_directory(masterMp4)) throw FileError("read", masterMp4.string(), EISDIR);
    }
    const auto temporary = temporaryPath(to);
    try {
        writer({{"manifest.json", toBytes(manifestJSON), std::nullopt}, {"assets/master.mp4", {}, masterMp4}},
               temporary);
        // rename(2) within one directory replaces an existing file atomically.
        if (std::rename(temporary.c_str(), to.c_str()) != 0) throw FileError("move into place", to.string(), errno);
    } catch (const CancelledError&) {
        // Stopping on request is not a failure to write.
        std::error_code ec;
        std::filesystem::remove(temporary, ec);
        throw;
    } catch (const std::exception&) {
        std::error_code ec;
        std::filesystem::remove(temporary, ec);
        throw DeckError::orvWriteFailed(to.string());
    }
}

}  // namespace orvandel::OrvPackager
