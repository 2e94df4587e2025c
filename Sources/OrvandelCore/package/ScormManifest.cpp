#include "package/ScormManifest.hpp"

#include <cstdint>

#include "container/XMLEmitter.hpp"

namespace orvandel::ScormManifest {

namespace {

constexpr std::size_t kTitleCharacters = 200;

// The title as XML may carry it and SCORM allows: control characters other
// than tab and line breaks become spaces (XML 1.0 has no way to write them),
// and at most kTitleCharacters characters are kept, never half of one. The
// text comes from the package's manifest, decoded JSON, so it is UTF-8.
std::string titleText(std::string_view title) {
    std::string out;
    std::size_t characters = 0;
    for (std::size_t i = 0; i < title.size();) {
        const auto lead = static_cast<std::uint8_t>(title[i]);
        const std::size_t width = lead < 0x80 ? 1 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
        if (characters == kTitleCharacters || i + width > title.size()) break;
        if (lead < 0x20 && lead != '\t' && lead != '\n' && lead != '\r') {
            out += ' ';
        } else {
            out.append(title, i, width);
        }
        i += width;
        ++characters;
    }
    return out;
}

}  // namespace

std::string xml(std::string_view title, std::string_view identifier, const std::vector<std::string>& files) {
    const std::string name = XMLEmitter::escapeAttribute(titleText(title));
    std::string out =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<manifest identifier=\"" +
        std::string(identifier) +
        "\" version=\"1.0\"\n"
        "          xmlns=\"http://www.imsproject.org/xsd/imscp_rootv1p1p2\"\n"
        "          xmlns:adlcp=\"http://www.adlnet.org/xsd/adlcp_rootv1p2\"\n"
        "          xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"\n"
        "          xsi:schemaLocation=\"http://www.imsproject.org/xsd/imscp_rootv1p1p2 imscp_rootv1p1p2.xsd "
        "http://www.imsglobal.org/xsd/imsmd_rootv1p2p1 imsmd_rootv1p2p1.xsd "
        "http://www.adlnet.org/xsd/adlcp_rootv1p2 adlcp_rootv1p2.xsd\">\n"
        "  <metadata>\n"
        "    <schema>ADL SCORM</schema>\n"
        "    <schemaversion>1.2</schemaversion>\n"
        "  </metadata>\n"
        "  <organizations default=\"lesson\">\n"
        "    <organization identifier=\"lesson\">\n"
        "      <title>" +
        name +
        "</title>\n"
        "      <item identifier=\"item\" identifierref=\"sco\" isvisible=\"true\">\n"
        "        <title>" +
        name +
        "</title>\n"
        "      </item>\n"
        "    </organization>\n"
        "  </organizations>\n"
        "  <resources>\n"
        "    <resource identifier=\"sco\" type=\"webcontent\" adlcp:scormtype=\"sco\" href=\"" +
        XMLEmitter::escapeAttribute(files.empty() ? std::string() : files.front()) + "\">\n";
    for (const auto& file : files) out += "      <file href=\"" + XMLEmitter::escapeAttribute(file) + "\"/>\n";
    out += "    </resource>\n  </resources>\n</manifest>\n";
    return out;
}

}  // namespace orvandel::ScormManifest
