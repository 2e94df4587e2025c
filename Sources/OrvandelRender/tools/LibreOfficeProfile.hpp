#pragma once
// A LibreOffice profile that reaches no network: a backstop behind the
// storyboard, which already holds no link out of itself (LinkSweep). Every
// proxy LibreOffice knows (HTTP, HTTPS, FTP) is set, for every host,
// 127.0.0.1 included, to a port of 127.0.0.1 where nothing is expected to
// listen, so that a request that would still be made goes nowhere.
#include <filesystem>

namespace orvandel::LibreOfficeProfile {

// Writes the settings into `profile`, the folder LibreOffice is given as
// -env:UserInstallation, before it first starts with it (LibreOffice keeps
// them). Throws FileError.
void closeToNetwork(const std::filesystem::path& profile);

}  // namespace orvandel::LibreOfficeProfile
