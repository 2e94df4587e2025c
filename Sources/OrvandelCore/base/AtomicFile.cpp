#include "base/AtomicFile.hpp"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/Bytes.hpp"
#include "base/Leftovers.hpp"
#include "base/Uuid.hpp"

namespace orvandel {

OutputError::OutputError(Case c, std::filesystem::path destination, const std::string& description)
    : Error(description), case_(c), destination_(std::move(destination)) {}

OutputError OutputError::sameAsInput(const std::filesystem::path& destination, const std::filesystem::path& input) {
    const bool sameName = destination.lexically_normal() == input.lexically_normal();
    return OutputError(Case::sameAsInput, destination,
                       "refusing to write " + destination.string() + ": it is " +
                           (sameName ? std::string("the input file itself")
                                     : "the same file as the input " + input.string()) +
                           "; choose another output file");
}

OutputError OutputError::notARegularFile(const std::filesystem::path& destination) {
    return OutputError(Case::notARegularFile, destination,
                       "refusing to write " + destination.string() +
                           ": something that is not a regular file (a folder or a device) is there");
}

namespace AtomicFile {

namespace {

// Flushes a file or a folder to disk.
void flush(const std::filesystem::path& path, bool directory, const std::filesystem::path& reportAs) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | (directory ? O_DIRECTORY : 0));
    if (fd < 0) throw FileError("write", reportAs.string(), errno);
    const int rc = ::fsync(fd);
    const int err = errno;
    ::close(fd);
    // Some file systems cannot flush a folder; the rename is done either way.
    if (rc != 0 && !(directory && (err == EINVAL || err == ENOTSUP))) throw FileError("write", reportAs.string(), err);
}

}  // namespace

std::filesystem::path temporaryPath(const std::filesystem::path& destination) {
    return destination.parent_path() / ("." + destination.filename().string() + ".tmp-" + makeUuid());
}

void checkDestination(const std::filesystem::path& destination, const std::vector<std::filesystem::path>& inputs) {
    struct stat out {};
    if (::stat(destination.c_str(), &out) != 0) return;  // nothing there yet (or not reachable: the write will say)
    for (const auto& input : inputs) {
        struct stat in {};
        if (::stat(input.c_str(), &in) == 0 && in.st_dev == out.st_dev && in.st_ino == out.st_ino) {
            throw OutputError::sameAsInput(destination, input);
        }
    }
    if (!S_ISREG(out.st_mode)) throw OutputError::notARegularFile(destination);
}

void replace(const std::filesystem::path& destination,
             const std::function<void(const std::filesystem::path& temporary)>& write,
             const std::vector<std::filesystem::path>& inputs) {
    checkDestination(destination, inputs);
    struct stat existing {};
    const bool exists = ::stat(destination.c_str(), &existing) == 0;
    const auto temporary = temporaryPath(destination);
    const auto leftover = Leftovers::path(temporary);
    try {
        write(temporary);
        if (exists && ::chmod(temporary.c_str(), existing.st_mode & 07777) != 0) {
            throw FileError("set the permissions of", destination.string(), errno);
        }
        flush(temporary, false, destination);
        if (std::rename(temporary.c_str(), destination.c_str()) != 0) {
            throw FileError("move into place", destination.string(), errno);
        }
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove(temporary, ignored);
        throw;
    }
    const auto folder = destination.parent_path().empty() ? std::filesystem::path(".") : destination.parent_path();
    flush(folder, true, destination);
}

void write(const std::filesystem::path& destination, std::string_view contents,
           const std::vector<std::filesystem::path>& inputs) {
    replace(
        destination,
        [&](const std::filesystem::path& temporary) {
            try {
                writeFile(temporary, contents);
            } catch (const FileError& e) {
                throw FileError("write", destination.string(), e.errnoValue());
            }
        },
        inputs);
}

}  // namespace AtomicFile

}  // namespace orvandel
