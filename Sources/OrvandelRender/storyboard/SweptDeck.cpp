#include "storyboard/SweptDeck.hpp"

#include "base/Error.hpp"

namespace orvandel {

std::string SweptDeck::text(const std::string& part) {
    const auto swept = sweep_.replaced.find(part);
    return swept == sweep_.replaced.end() ? deck_.part(part) : toString(swept->second);
}

std::string SweptDeck::textOrEmpty(const std::string& part) {
    if (!sweep_.replaced.contains(part) && !deck_.contains(part)) return "";
    try {
        return text(part);
    } catch (const PptxArchive::ArchiveError&) {
        return "";
    }
}

Bytes SweptDeck::bytes(const std::string& part) {
    const auto swept = sweep_.replaced.find(part);
    return swept == sweep_.replaced.end() ? deck_.archive().readEntryBytes(part) : swept->second;
}

std::optional<Bytes> SweptDeck::picture(const std::string& part, std::int64_t largest) {
    for (const auto& [name, bytes] : sweep_.added) {
        if (name == part) return bytes;
    }
    if (const auto swept = sweep_.replaced.find(part); swept != sweep_.replaced.end()) return swept->second;
    try {
        if (!deck_.contains(part) || deck_.archive().unpackedSize(part) > largest) return std::nullopt;
        return deck_.archive().readEntryBytes(part);
    } catch (const PptxArchive::ArchiveError&) {
        return std::nullopt;
    }
}

std::vector<Relationship> SweptDeck::relationships(const std::string& part) {
    const std::string relsPart = Relationships::relsPath(part);
    try {
        // Parts the sweep left alone are read once, through the deck model.
        if (const auto swept = sweep_.replaced.find(relsPart); swept != sweep_.replaced.end()) {
            return Relationships::parse(toString(swept->second));
        }
        return deck_.relationships(part);
    } catch (const Error&) {
        return {};
    }
}

std::string SweptDeck::related(const std::string& part, std::string_view kind) {
    if (part.empty()) return "";
    for (const auto& r : relationships(part)) {
        if (!r.external() && r.type.ends_with("/" + std::string(kind))) {
            return Relationships::resolveEntry(r.target, part);
        }
    }
    return "";
}

std::set<std::string> SweptDeck::names() {
    const auto all = deck_.archive().entryNames();
    std::set<std::string> used(all.begin(), all.end());
    for (const auto& [name, bytes] : sweep_.added) used.insert(name);
    return used;
}

}  // namespace orvandel
