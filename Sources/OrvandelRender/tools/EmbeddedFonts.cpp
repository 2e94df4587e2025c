#include "tools/EmbeddedFonts.hpp"

#include <algorithm>
#include <optional>
#include <set>
#include <system_error>

#include "base/Bytes.hpp"
#include "tools/EmbeddedFontData.hpp"

namespace orvandel::EmbeddedFonts {

namespace {

const std::string kPresentation = "ppt/presentation.xml";
constexpr const char* kNsP = "http://schemas.openxmlformats.org/presentationml/2006/main";
constexpr const char* kNsR = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";

// The package's [Content_Types].xml; nothing when it cannot be read (the
// bytes then speak for themselves).
std::optional<XmlElement> contentTypes(DeckModel& deck) {
    try {
        return XmlElement::parseDocument(deck.part("[Content_Types].xml"));
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

// What the content types say of `part`: its Override, else the Default of
// its extension (both compared without case, as packages name parts); "" when neither.
std::string contentType(const XmlElement& types, const std::string& part) {
    const std::string name = asciiLowercased("/" + part);
    const auto dot = name.rfind('.');
    const std::string extension = dot == std::string::npos ? "" : name.substr(dot + 1);
    std::string byExtension;
    for (const auto& entry : types.childElements()) {
        const auto type = entry.attribute("ContentType").value_or("");
        if (entry.localName() == "Override" && asciiLowercased(entry.attribute("PartName").value_or("")) == name) {
            return type;
        }
        if (entry.localName() == "Default" && asciiLowercased(entry.attribute("Extension").value_or("")) == extension) {
            byExtension = type;
        }
    }
    return byExtension;
}

}  // namespace

std::vector<Listed> list(DeckModel& deck) {
    if (!deck.contains(kPresentation)) return {};
    const XmlElement presentation = XmlElement::parseDocument(deck.part(kPresentation));
    const auto relationships = Relationships::byId(deck.relationships(kPresentation));
    std::vector<Listed> fonts;
    std::set<std::string> seen;
    presentation.walk([&](const XmlElement& embedded) {
        if (!embedded.is(kNsP, "embeddedFont")) return;
        std::string typeface;
        for (const auto& child : embedded.childElements()) {
            if (child.is(kNsP, "font")) typeface = child.attribute("typeface").value_or("");
        }
        for (const auto& child : embedded.childElements()) {
            const auto style = child.localName();
            if (child.namespaceName() != kNsP || style == "font") continue;
            const auto id = child.attributeIn(kNsR, "id");
            const auto rel = id ? relationships.find(*id) : relationships.end();
            if (rel == relationships.end() || rel->second.external()) continue;
            const auto part = Relationships::resolveEntry(rel->second.target, kPresentation);
            if (!seen.insert(part).second) continue;
            fonts.push_back({typeface, style, part, ""});
        }
    });
    if (fonts.empty()) return fonts;
    if (const auto types = contentTypes(deck)) {
        for (auto& font : fonts) font.contentType = contentType(*types, font.part);
    }
    return fonts;
}

Written extract(DeckModel& deck, const std::filesystem::path& folder) {
    Written written;
    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    for (const auto& font : list(deck)) {
        Bytes decoded;
        try {
            // The directory's size comes first, so a hostile part is never unpacked.
            const auto size = deck.archive().unpackedSize(font.part);
            if (size > static_cast<std::int64_t>(EmbeddedFontData::kLargestFont)) {
                throw EmbeddedFontData::FontDataError(EmbeddedFontData::FontDataError::Case::tooLarge,
                                                      "the embedded font " + font.part +
                                                          " is larger than 64 MiB and was not used");
            }
            decoded = EmbeddedFontData::decode(deck.archive().readEntryBytes(font.part), font.part, font.contentType);
        } catch (const Error& e) {
            written.warnings.push_back(Warning::embeddedFontNotUsed(font.typeface, font.style, describe(e)));
            continue;
        }
        const bool postScript = decoded[0] == 'O';  // 'OTTO': CFF outlines
        const auto file = folder / ("font" + std::to_string(written.files.size() + 1) + (postScript ? ".otf" : ".ttf"));
        writeFile(file, decoded);
        written.files.push_back(file);
        if (std::find(written.families.begin(), written.families.end(), font.typeface) == written.families.end()) {
            written.families.push_back(font.typeface);
        }
    }
    return written;
}

}  // namespace orvandel::EmbeddedFonts
