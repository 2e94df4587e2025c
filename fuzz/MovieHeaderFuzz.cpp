// The movie-length reader on an arbitrary file: box walking, sizes, versions,
// and the video track's boxes.
#include <cstddef>
#include <cstdint>

#include "FuzzInput.hpp"
#include "render/Mp4Duration.hpp"

using namespace orvandel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::MemoryFile file(data, size);
    if (!file.ok()) return 0;
    try {
        (void)Mp4Duration::measureMs(file.path());
    } catch (const Error&) {
    }
    try {
        (void)Mp4Duration::inspect(file.path(), 0, static_cast<std::int64_t>(size));
    } catch (const Error&) {
    }
    return 0;
}
