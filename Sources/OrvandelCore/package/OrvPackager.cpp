#include "package/OrvPackager.hpp"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

#include "base/AtomicFile.hpp"
#include "base/Bytes.hpp"
#include "base/Cancellation.hpp"
#include "deck/DeckError.hpp"

namespace orvandel::OrvPackager {

void package(const std::string& manifestJSON, const std::filesystem::path& masterMp4, const std::filesystem::path& to,
             const ArchiveWriter& writer) {
    // The movie is checked before anything is written: an unreadable movie is
    // the file system's error, not a failure to write the package.
    {
        // Non-blocking: a FIFO given as the movie must not hang the open.
        const int fd = ::open(masterMp4.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
        if (fd < 0) throw FileError("open", masterMp4.string(), errno);
        ::close(fd);
        std::error_code ec;
        if (std::filesystem::is_directory(masterMp4, ec)) throw FileError("read", masterMp4.string(), EISDIR);
        if (!std::filesystem::is_regular_file(masterMp4, ec)) throw FileError("read", masterMp4.string(), EINVAL);
    }
    try {
        AtomicFile::replace(to,
                            [&](const std::filesystem::path& temporary) {
                                writer({{"manifest.json", toBytes(manifestJSON), std::nullopt},
                                        {"assets/master.mp4", {}, masterMp4}},
                                       temporary);
                            },
                            {masterMp4});
    } catch (const CancelledError&) {
        throw;  // stopping on request is not a failure to write
    } catch (const OutputError&) {
        throw;  // refused before anything was written
    } catch (const std::exception& e) {
        auto failure = DeckError::orvWriteFailed(to.string());
        failure.keepCause(e);  // a full disk or a missing folder says so
        throw failure;
    }
}

}  // namespace orvandel::OrvPackager
