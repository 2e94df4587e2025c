#include "deck/DeckModel.hpp"

#include <utility>

#include "base/Bytes.hpp"
#include "container/SlideXML.hpp"
#include "container/XmlElement.hpp"

namespace orvandel {

namespace {

std::vector<std::string_view> pieces(std::string_view path) {
    std::vector<std::string_view> out;
    std::size_t from = 0;
    while (from <= path.size()) {
        auto slash = path.find('/', from);
        if (slash == std::string_view::npos) slash = path.size();
        if (slash > from) out.push_back(path.substr(from, slash - from));
        from = slash + 1;
    }
    return out;
}

// A part of the deck parsed as a document; a parse error names the part.
XmlElement parsed(const std::string& text, const std::string& part) {
    try {
        return XmlElement::parseDocument(text);
    } catch (const XmlParseError& e) {
        throw SlideXMLError::parseFailed(e.what()).inPart(part);
    }
}

}  // namespace

namespace Relationships {

std::string relsPath(std::string_view part) {
    const auto parts = pieces(part);
    std::string directory;
    for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
        directory += parts[i];
        directory += '/';
    }
    const std::string_view last = parts.empty() ? std::string_view{} : parts.back();
    return directory + "_rels/" + std::string(last) + ".rels";
}

std::string relativeTarget(const std::string& part, const std::string& owner) {
    const auto slash = owner.rfind('/');
    if (slash == std::string::npos) return part;
    return std::filesystem::path(part).lexically_relative(owner.substr(0, slash)).generic_string();
}

std::string resolveEntry(std::string_view target, std::string_view relativeTo) {
    if (target.starts_with('/')) return std::string(target.substr(1));
    auto parts = pieces(relativeTo);
    if (!parts.empty()) parts.pop_back();
    for (const auto& piece : pieces(target)) {
        if (piece == "..") {
            if (!parts.empty()) parts.pop_back();
        } else if (piece != ".") {
            parts.push_back(piece);
        }
    }
    std::string out;
    for (const auto& piece : parts) {
        if (!out.empty()) out += '/';
        out += piece;
    }
    return out;
}

std::vector<Relationship> parse(std::string_view relsXml) {
    const XmlElement root = XmlElement::parseDocument(relsXml);
    std::vector<Relationship> out;
    root.walk([&](const XmlElement& e) {
        if (localName(e.name()) != "Relationship") return;
        Relationship r;
        for (const auto& [name, value] : e.attributes()) {
            const auto local = localName(name);
            if (local == "Id") r.id = value;
            if (local == "Type") r.type = value;
            if (local == "Target") r.target = value;
            if (local == "TargetMode") r.mode = value;
        }
        out.push_back(std::move(r));
    });
    return out;
}

std::map<std::string, Relationship> byId(const std::vector<Relationship>& relationships) {
    std::map<std::string, Relationship> out;
    for (const auto& r : relationships) out.insert_or_assign(r.id, r);
    return out;
}

}  // namespace Relationships

DeckModel::DeckModel(std::filesystem::path deck) : archive_(std::move(deck)) {}

const std::string& DeckModel::part(const std::string& entry) {
    if (const auto found = parts_.find(entry); found != parts_.end()) return found->second;
    return parts_.emplace(entry, archive_.readEntry(entry)).first->second;
}

const std::string& DeckModel::repairedPart(const std::string& entry, bool& repaired) {
    repaired = false;
    if (const auto found = parts_.find(entry); found != parts_.end()) return found->second;
    if (const auto found = repairedParts_.find(entry); found != repairedParts_.end()) {
        repaired = true;
        return found->second;
    }
    std::string text = archive_.readEntryUnchecked(entry);
    if (isValidUtf8(text)) return parts_.emplace(entry, std::move(text)).first->second;
    repaired = true;
    return repairedParts_.emplace(entry, repairedUtf8(text)).first->second;
}

const std::string& DeckModel::relationshipsText(const std::string& owner) {
    static const std::string none;
    const std::string rels = Relationships::relsPath(owner);
    return contains(rels) ? part(rels) : none;
}

const std::vector<Relationship>& DeckModel::relationships(const std::string& owner) {
    if (const auto found = relationships_.find(owner); found != relationships_.end()) return found->second;
    const std::string& text = relationshipsText(owner);
    return relationships_.emplace(owner, text.empty() ? std::vector<Relationship>{} : Relationships::parse(text))
        .first->second;
}

std::optional<std::string> DeckModel::notesPart(const std::string& slideFile) {
    for (const auto& r : relationships(slideFile)) {
        if (r.type.ends_with("/notesSlide")) return Relationships::resolveEntry(r.target, slideFile);
    }
    return std::nullopt;
}

std::map<std::string, std::string> DeckModel::transitions() {
    std::map<std::string, std::string> out;
    for (const auto& file : slideFiles()) {
        const std::string& xml = part(file);
        if (const auto range = SlideXML::transitionBlockRange(xml)) {
            out.emplace(file, xml.substr(range->first, range->second - range->first));
        }
    }
    return out;
}

bool DeckModel::isHidden(std::string_view slideXml) {
    XmlStartTag root;
    try {
        root = XmlElement::rootStartTag(slideXml);
    } catch (const XmlParseError&) {
        return false;
    }
    if (root.namespaceName != OOXML::p || localName(root.name) != "sld") return false;
    for (const auto& [name, value] : root.attributes) {
        if (name == "show") return value == "0" || asciiLowercased(value) == "false";
    }
    return false;
}

std::optional<XmlElement> DeckModel::slideSize() {
    slideList();
    return slideSize_;
}

const std::vector<Slide>& DeckModel::slides() {
    if (slides_) return *slides_;
    std::vector<Slide> out;
    const auto& files = slideFiles();
    out.reserve(files.size());
    for (const auto& file : files) {
        out.push_back({file, static_cast<std::int64_t>(out.size()) + 1, isHidden(part(file))});
    }
    slides_ = std::move(out);
    return *slides_;
}

const SlideList& DeckModel::slideList() {
    if (slideList_) return *slideList_;
    static const std::string presentationPart = "ppt/presentation.xml";
    const XmlElement presentation = parsed(part(presentationPart), presentationPart);
    static const std::string relsPart = "ppt/_rels/presentation.xml.rels";
    // Read as a part so that a missing one says so, as the presentation does.
    std::vector<Relationship> listed;
    try {
        listed = Relationships::parse(part(relsPart));
    } catch (const XmlParseError& e) {
        throw SlideXMLError::parseFailed(e.what()).inPart(relsPart);
    }

    // Slide relationships by id; a later one with the same id wins.
    std::map<std::string, std::string> targets;
    for (const auto& r : listed) {
        if (!r.type.ends_with("/slide") || r.mode == "External" || r.id.empty()) continue;
        targets[r.id] = r.target;
    }

    for (const auto& child : presentation.childElements()) {
        if (!slideSize_ && child.is(OOXML::p, "sldSz")) slideSize_ = child;
    }
    SlideList list;
    std::int64_t position = 0;
    for (const auto& idList : presentation.childElements()) {
        if (localName(idList.name()) != "sldIdLst") continue;
        for (const auto& slideId : idList.childElements()) {
            if (localName(slideId.name()) != "sldId") continue;
            ++position;
            // The relationship id is the namespaced "id" (r:id); the plain one is the slide's number.
            std::optional<std::string> relationshipId;
            for (const auto& [name, value] : slideId.attributes()) {
                if (name.find(':') != std::string::npos && localName(name) == "id") relationshipId = value;
            }
            const auto target = relationshipId ? targets.find(*relationshipId) : targets.end();
            if (target == targets.end()) {
                list.warnings.push_back(
                    Warning::slidePartMissing(position, "relationship " + relationshipId.value_or("(none)")));
                list.droppedIds.push_back(relationshipId.value_or(""));
                continue;
            }
            std::string file = Relationships::resolveEntry(target->second, presentationPart);
            if (!contains(file)) {
                list.warnings.push_back(Warning::slidePartMissing(position, std::move(file)));
                list.droppedIds.push_back(*relationshipId);
                continue;
            }
            list.files.push_back(std::move(file));
        }
    }
    slideList_ = std::move(list);
    return *slideList_;
}

}  // namespace orvandel
