#include "base/AtomicFile.hpp"

#include <cerrno>
#include <cstdio>

#include "base/Error.hpp"
#include "base/Uuid.hpp"

namespace orvandel::AtomicFile {

std::filesystem::path temporaryPath(const std::filesystem::path& destination) {
    return destination.parent_path() / ("." + destination.filename().string() + ".tmp-" + makeUuid());
}

void replace(const std::filesystem::path& destination,
             const std::function<void(const std::filesystem::path& temporary)>& write) {
    const auto temporary = temporaryPath(destination);
    try {
        write(temporary);
        if (std::rename(temporary.c_str(), destination.c_str()) != 0) {
            throw FileError("move into place", destination.string(), errno);
        }
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove(temporary, ignored);
        throw;
    }
}

}  // namespace orvandel::AtomicFile
