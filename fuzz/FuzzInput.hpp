#pragma once
// Fuzz inputs as the code under test meets them: bytes in memory, or a file.
// The file is an anonymous in-memory one (memfd), opened by path like any
// deck or movie, so that a run does no disk I/O and leaves nothing behind.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

namespace orvandel::fuzz {

class MemoryFile {
public:
    MemoryFile(const std::uint8_t* data, std::size_t size) : fd_(::memfd_create("fuzz-input", MFD_CLOEXEC)) {
        for (std::size_t done = 0; fd_ >= 0 && done < size;) {
            const ssize_t w = ::write(fd_, data + done, size - done);
            if (w <= 0) break;
            done += static_cast<std::size_t>(w);
        }
    }
    ~MemoryFile() {
        if (fd_ >= 0) ::close(fd_);
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    bool ok() const { return fd_ >= 0; }
    std::filesystem::path path() const { return "/proc/self/fd/" + std::to_string(fd_); }

private:
    int fd_;
};

}  // namespace orvandel::fuzz
