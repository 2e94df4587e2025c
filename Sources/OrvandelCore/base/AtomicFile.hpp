#pragma once
// Replacing a file so that readers see either the old file or the whole new
// one: the new contents go to a hidden temporary file beside the destination
// (".<name>.tmp-<UUID>", same directory, so rename(2) is atomic), which is
// renamed over it. On any failure the temporary file is removed and the
// destination is left as it was.
#include <filesystem>
#include <functional>

namespace orvandel::AtomicFile {

// ".<name>.tmp-<UUID>" in the destination's directory.
std::filesystem::path temporaryPath(const std::filesystem::path& destination);

// Calls write(temporary), then renames the temporary over the destination.
// Rethrows what write throws; a failed rename throws FileError.
void replace(const std::filesystem::path& destination,
             const std::function<void(const std::filesystem::path& temporary)>& write);

}  // namespace orvandel::AtomicFile
