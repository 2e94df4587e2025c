#pragma once
// Writing a folder so that nobody ever sees it half written: its contents go
// into a hidden scratch folder beside the destination (".<name>.tmp-<UUID>",
// same directory, so renames are atomic), which then takes the destination's
// place whole. On any failure the scratch folder is removed and whatever was
// at the destination is left as it was.
#include <filesystem>
#include <functional>

namespace orvandel::AtomicFolder {

// When something is at the destination, mayReplace(destination) is asked
// first (before any writing) and throws to keep it. write(staging) fills the
// scratch folder. A new destination is renamed into place; an existing one
// is swapped with the new folder in one step (where the file system cannot
// swap: moved aside, and back if the new folder cannot take its place) and
// then removed with everything it held. Rethrows what the callbacks throw; a
// failed rename throws FileError.
void replace(const std::filesystem::path& destination,
             const std::function<void(const std::filesystem::path& staging)>& write,
             const std::function<void(const std::filesystem::path& existing)>& mayReplace);

}  // namespace orvandel::AtomicFolder
