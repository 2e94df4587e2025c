#include "base/AtomicFile.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/Bytes.hpp"
#include "base/Leftovers.hpp"
#include "base/Uuid.hpp"

namespace orvandel {

OutputError::OutputError(Case c, std::filesystem::path destination, const std::string& description, int errnoValue)
    : Error(description, errnoValue ? std::strerror(errnoValue) : "", errnoValue),
      case_(c),
      destination_(std::move(destination)) {}

namespace {

std::filesystem::path folderOf(const std::filesystem::path& destination) {
    return destination.parent_path().empty() ? std::filesystem::path(".") : destination.parent_path();
}

}  // namespace

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

OutputError OutputError::folderMissing(const std::filesystem::path& destination, int errnoValue) {
    return OutputError(Case::folderMissing, destination,
                       "cannot write " + destination.string() + ": the folder " + folderOf(destination).string() +
                           " does not exist",
                       errnoValue);
}

OutputError OutputError::folderNotWritable(const std::filesystem::path& destination, int errnoValue) {
    return OutputError(Case::folderNotWritable, destination,
                       "cannot write " + destination.string() + ": no file can be created in the folder " +
                           folderOf(destination).string(),
                       errnoValue);
}

OutputError OutputError::nameTooLong(const std::filesystem::path& destination, std::int64_t temporaryBytes,
                                     std::int64_t limit) {
    const std::string folder = folderOf(destination).string();
    return OutputError(Case::nameTooLong, destination,
                       "cannot write " + destination.string() + ": it is written first under a temporary name of " +
                           std::to_string(temporaryBytes) + " bytes, " +
                           (limit > 0 ? "and a file name in " + folder + " may take at most " + std::to_string(limit)
                                      : "longer than a file name in " + folder + " may be") +
                           "; choose a shorter name",
                       ENAMETOOLONG);
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

void checkWritable(const std::filesystem::path& destination) {
    const auto folder = folderOf(destination);
    struct stat st {};
    if (::stat(folder.c_str(), &st) != 0) {
        const int error = errno;
        if (error == ENOENT || error == ENOTDIR) throw OutputError::folderMissing(destination, error);
        throw OutputError::folderNotWritable(destination, error);
    }
    if (!S_ISDIR(st.st_mode)) throw OutputError::folderMissing(destination, ENOTDIR);

    const auto temporary = temporaryPath(destination);
    const auto nameBytes = static_cast<std::int64_t>(temporary.filename().native().size());
    const long limit = ::pathconf(folder.c_str(), _PC_NAME_MAX);  // -1: no limit, or none known
    if (limit >= 0 && nameBytes > limit) throw OutputError::nameTooLong(destination, nameBytes, limit);

    const auto leftover = Leftovers::path(temporary);
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0) {
        const int error = errno;
        if (error == ENAMETOOLONG) throw OutputError::nameTooLong(destination, nameBytes, limit);
        throw OutputError::folderNotWritable(destination, error);
    }
    ::close(fd);
    ::unlink(temporary.c_str());
}

void replace(const std::filesystem::path& destination,
             const std::function<void(const std::filesystem::path& temporary)>& write,
             const std::vector<std::filesystem::path>& inputs, bool writtenToDisk) {
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
        // A permission change is metadata the writer's flush did not cover.
        if (!writtenToDisk || exists) flush(temporary, false, destination);
        if (std::rename(temporary.c_str(), destination.c_str()) != 0) {
            throw FileError("move into place", destination.string(), errno);
        }
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove(temporary, ignored);
        throw;
    }
    flush(folderOf(destination), true, destination);
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
