// The central-directory parser on arbitrary bytes: a whole archive in memory,
// and the tail window a seeking reader passes.
#include <cstddef>
#include <cstdint>

#include "container/ZipArchive.hpp"

using namespace orvandel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span<const std::uint8_t> bytes(data, size);
    try {
        (void)ZipArchive::parse(bytes);
    } catch (const Error&) {
    }
    // The last 64 KiB and a bit, as the entry reader sees a large file.
    const std::size_t tail = std::min<std::size_t>(size, 22 + 65535);
    try {
        const ZipArchive::Window window{bytes.subspan(size - tail), static_cast<std::int64_t>(size - tail)};
        const auto end = ZipArchive::readEndRecord(window);
        if (end.cdOffset >= window.fileOffset) (void)ZipArchive::parse(window, end);
    } catch (const Error&) {
    }
    return 0;
}
