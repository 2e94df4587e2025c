#include "tools/LibreOfficeProfile.hpp"

#include <string>

#include "base/Bytes.hpp"
#include "base/Error.hpp"

namespace orvandel::LibreOfficeProfile {

void closeToNetwork(const std::filesystem::path& profile) {
    const auto setting = [](const char* name, const char* value) {
        return std::string("<item oor:path=\"/org.openoffice.Inet/Settings\"><prop oor:name=\"") + name +
               "\" oor:op=\"fuse\"><value>" + value + "</value></prop></item>\n";
    };
    std::string xcu =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<oor:items xmlns:oor=\"http://openoffice.org/2001/registry\" "
        "xmlns:xs=\"http://www.w3.org/2001/XMLSchema\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">\n";
    xcu += setting("ooInetProxyType", "1");  // the proxies below, never the system's
    for (const char* scheme : {"HTTP", "HTTPS", "FTP"}) {
        xcu += setting(("ooInet" + std::string(scheme) + "ProxyName").c_str(), "127.0.0.1");
        xcu += setting(("ooInet" + std::string(scheme) + "ProxyPort").c_str(), "9");  // discard: nothing listens
    }
    xcu += setting("ooInetNoProxy", "");
    xcu += "</oor:items>\n";
    std::error_code ec;
    std::filesystem::create_directories(profile / "user", ec);
    if (ec) throw FileError("create", (profile / "user").string(), ec.value());
    writeFile(profile / "user" / "registrymodifications.xcu", xcu);
}

}  // namespace orvandel::LibreOfficeProfile
