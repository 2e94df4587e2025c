#pragma once
// Replacing a file so that readers see either the old file or the whole new
// one: the new contents go to a hidden temporary file beside the destination
// (".<name>.tmp-<UUID>", same directory, so rename(2) is atomic), which is
// flushed to disk and renamed over it, and the directory is flushed after the
// rename. On any failure the temporary file is removed and the destination is
// left as it was. An existing destination keeps its permission bits; a new
// one gets the default mode under the process umask.
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.hpp"

namespace orvandel {

// A destination that must not or cannot be written: one of the inputs of the
// same operation, something that is not a regular file (a folder, a device),
// or a place where the temporary file cannot be made (see checkWritable).
// Where the system said why, its words are the error's cause.
class OutputError : public Error {
public:
    enum class Case { sameAsInput, notARegularFile, folderMissing, folderNotWritable, nameTooLong };

    static OutputError sameAsInput(const std::filesystem::path& destination, const std::filesystem::path& input);
    static OutputError notARegularFile(const std::filesystem::path& destination);
    static OutputError folderMissing(const std::filesystem::path& destination, int errnoValue);
    static OutputError folderNotWritable(const std::filesystem::path& destination, int errnoValue);
    // The temporary name takes temporaryBytes where the folder allows limit.
    static OutputError nameTooLong(const std::filesystem::path& destination, std::int64_t temporaryBytes,
                                   std::int64_t limit);

    Case errorCase() const { return case_; }
    const std::filesystem::path& destination() const { return destination_; }

private:
    OutputError(Case c, std::filesystem::path destination, const std::string& description, int errnoValue = 0);
    Case case_;
    std::filesystem::path destination_;
};

namespace AtomicFile {

// ".<name>.tmp-<UUID>" in the destination's directory.
std::filesystem::path temporaryPath(const std::filesystem::path& destination);

// Throws OutputError when the destination exists and is not a regular file,
// or is the same file as one of the inputs (same device and inode, whatever
// the names: a link, "./x" and "x" are all caught). Inputs that do not exist
// are ignored.
void checkDestination(const std::filesystem::path& destination, const std::vector<std::filesystem::path>& inputs);

// Throws OutputError when the temporary file of a replace could not be made
// beside the destination, so that a long job fails before it starts rather
// than at its end: the folder is missing or is not a folder (folderMissing),
// the temporary name is longer than the folder's file system allows
// (nameTooLong, the limit from pathconf), or no file can be created there
// (folderNotWritable: read-only, no permission, no inode or quota left). The
// last is learned by creating and removing an empty file under a temporary
// name: access(2) looks at permission bits and mount flags only, and misses
// what only a creation meets (quotas, a full inode table, a file system that
// decides in a server or a FUSE process). Writes nothing else; the probe file
// is gone when it returns. AtomicFolder names its scratch folder alike, so a
// folder it will write is checked the same way.
void checkWritable(const std::filesystem::path& destination);

// checkDestination, then write(temporary), then the temporary replaces the
// destination. Rethrows what write throws; a failed flush or rename throws
// FileError. writtenToDisk: write flushed the temporary itself (through the
// descriptor it wrote with), so it is not opened again to be flushed unless
// it takes the permissions of a file it replaces.
void replace(const std::filesystem::path& destination,
             const std::function<void(const std::filesystem::path& temporary)>& write,
             const std::vector<std::filesystem::path>& inputs = {}, bool writtenToDisk = false);

// replace() with `contents` as the new file; a write that fails (a full
// disk) is FileError naming the destination, not the temporary file.
void write(const std::filesystem::path& destination, std::string_view contents,
           const std::vector<std::filesystem::path>& inputs = {});

}  // namespace AtomicFile

}  // namespace orvandel
