#include "deck/NotesScanner.hpp"

#include <charconv>
#include <cstdint>
#include <map>
#include <vector>

#include "base/Bytes.hpp"
#include "base/Regex.hpp"
#include "container/PptxArchive.hpp"
#include "container/XmlElement.hpp"

namespace orvandel::NotesScanner {

namespace {

// Every pattern looks across line breaks: attributes may be wrapped, a
// paragraph may be laid out on several lines, and a run's text may hold any
// line terminator, none of which may cost the text around it.
const Regex& paragraphPattern() {
    static const Regex re(R"re(<a:p\b[^>]*>(.*?)</a:p>)re", Regex::Options{.dotAll = true});
    return re;
}
const Regex& runPattern() {
    // Not an empty run "<a:t/>": it would take the markup up to the next run's end.
    static const Regex re(R"re(<a:t\b[^>]*(?<!/)>(.*?)</a:t>)re", Regex::Options{.dotAll = true});
    return re;
}
const Regex& numericReferencePattern() {
    static const Regex re(R"re(&#(x?[0-9A-Fa-f]+);)re");
    return re;
}

// Capture `group` of every match, in order; a pattern that did not compile matches nothing.
std::vector<std::string> allMatches(std::string_view in, const Regex& pattern, std::size_t group) {
    return pattern.captures(in, group);
}

// Replaces every occurrence, left to right, without searching the inserted text.
// Returns how many were replaced.
std::size_t replaceAll(std::string& text, std::string_view what, std::string_view with) {
    std::size_t count = 0;
    std::string out;
    std::size_t from = 0;
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, from)) {
        out.append(text, from, at - from);
        out.append(with);
        from = at + what.size();
        ++count;
    }
    if (count == 0) return 0;
    out.append(text, from, std::string::npos);
    text = std::move(out);
    return count;
}

std::string utf8(std::uint32_t cp) {
    std::string out;
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
    return out;
}

// "233" as decimal, "xE9" as hexadecimal; nothing when it does not fit 32 bits
// or is not a Unicode scalar value.
std::optional<std::uint32_t> scalarOf(std::string_view value) {
    const bool hex = value.starts_with('x');
    if (hex) value.remove_prefix(1);
    std::uint32_t cp = 0;
    const auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), cp, hex ? 16 : 10);
    if (ec != std::errc{} || end != value.data() + value.size() || value.empty()) return std::nullopt;
    if ((cp >= 0xD800 && cp <= 0xDFFF) || cp >= 0x110000) return std::nullopt;
    return cp;
}

// Characters that can take part in a numeric reference's text.
bool canFormReference(std::uint32_t cp) {
    return cp == '&' || cp == '#' || cp == ';' || cp == 'x' || (cp >= '0' && cp <= '9') || (cp >= 'A' && cp <= 'F') ||
           (cp >= 'a' && cp <= 'f');
}

// Named entities first, then numeric references, "&amp;" last: a doubly
// escaped "&amp;lt;" loses one level and stays the text "&lt;".
std::string xmlUnescape(std::string text) {
    replaceAll(text, "&lt;", "<");
    replaceAll(text, "&gt;", ">");
    replaceAll(text, "&quot;", "\"");
    replaceAll(text, "&apos;", "'");

    // Each reference found replaces every occurrence of its text, in the order
    // found; a decoded "&", "#", digit... may form a new occurrence that a later
    // reference of the same value then replaces. A value is only searched again
    // when such a character has been inserted since its last pass, so a run of
    // thousands of equal references costs one pass.
    std::map<std::string, std::uint64_t> passAt;
    std::uint64_t generation = 0;
    for (const auto& value : allMatches(text, numericReferencePattern(), 1)) {
        const auto cp = scalarOf(value);
        if (!cp) continue;
        const auto seen = passAt.find(value);
        if (seen != passAt.end() && seen->second == generation) continue;
        const std::size_t replaced = replaceAll(text, "&#" + value + ";", utf8(*cp));
        // Its own insertions may have formed new occurrences of this very value too.
        passAt[value] = generation;
        if (replaced > 0 && canFormReference(*cp)) ++generation;
    }

    replaceAll(text, "&amp;", "&");
    return text;
}

// Every line terminator (CR LF, CR, NEL, U+2028...) made "\n", the notes' one line break.
std::string withPlainLineBreaks(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        if (const std::size_t length = lineBreakAt(text, i)) {
            out += '\n';
            i += length;
        } else {
            out += text[i++];
        }
    }
    return out;
}

// One code point at `at` (which must start one), and its length; invalid bytes count as one.
std::pair<std::uint32_t, std::size_t> decodeAt(std::string_view s, std::size_t at) {
    const auto b = static_cast<unsigned char>(s[at]);
    std::size_t len = b < 0x80 ? 1 : b >= 0xF0 ? 4 : b >= 0xE0 ? 3 : b >= 0xC0 ? 2 : 1;
    if (at + len > s.size()) return {b, 1};
    std::uint32_t cp = len == 1 ? b : b & (0x7F >> len);
    for (std::size_t i = 1; i < len; ++i) cp = (cp << 6) | (static_cast<unsigned char>(s[at + i]) & 0x3F);
    return {cp, len};
}

// White space and line breaks as Unicode counts them (separators, tab, the
// line terminators).
bool isWhitespaceOrNewline(std::uint32_t cp) {
    return (cp >= 0x09 && cp <= 0x0D) || cp == 0x20 || cp == 0x85 || cp == 0xA0 || cp == 0x1680 ||
           (cp >= 0x2000 && cp <= 0x200A) || cp == 0x2028 || cp == 0x2029 || cp == 0x202F || cp == 0x205F ||
           cp == 0x3000;
}

std::string trimmed(std::string_view s) {
    std::size_t begin = 0;
    while (begin < s.size()) {
        const auto [cp, len] = decodeAt(s, begin);
        if (!isWhitespaceOrNewline(cp)) break;
        begin += len;
    }
    std::size_t end = s.size();
    while (end > begin) {
        std::size_t start = end - 1;
        while (start > begin && (static_cast<unsigned char>(s[start]) & 0xC0) == 0x80) --start;
        if (!isWhitespaceOrNewline(decodeAt(s, start).first)) break;
        end = start;
    }
    return std::string(s.substr(begin, end - begin));
}

// The shape around the first body placeholder, from "<p:sp" through "</p:sp>".
std::optional<std::string_view> bodyPlaceholderSp(std::string_view xml) {
    const auto body = xml.find("type=\"body\"");
    if (body == std::string_view::npos) return std::nullopt;
    const auto start = xml.rfind("<p:sp", body);
    if (start == std::string_view::npos) return std::nullopt;
    static constexpr std::string_view close = "</p:sp>";
    const auto end = xml.find(close, body);
    if (end == std::string_view::npos) return std::nullopt;
    return xml.substr(start, end + close.size() - start);
}

// The notes part a slide lists: none is no notes; relationships that cannot
// be read (damaged) hide the notes, which is said.
std::optional<std::string> notesPartOf(DeckModel& deck, const std::string& slide, std::int64_t displayIndex,
                                       const WarningCallback& warn) {
    try {
        return deck.notesPart(slide);
    } catch (const PptxArchive::ArchiveError& e) {
        if (warn) warn(Warning::notesUnreadable(displayIndex, e.what()));
    } catch (const XmlParseError& e) {
        if (warn) warn(Warning::notesUnreadable(displayIndex, Relationships::relsPath(slide) + ": " + e.what()));
    }
    return std::nullopt;
}

// The notes part the slide lists: missing or damaged, it is said; text that
// is not valid UTF-8 is repaired and said.
std::optional<std::string> readNotes(DeckModel& deck, const std::string& entry, std::int64_t slide,
                                     const WarningCallback& warn) {
    const auto say = [&](const Warning& w) {
        if (warn) warn(w);
    };
    if (!deck.contains(entry)) {
        say(Warning::notesUnreadable(slide, entry + " is listed but not in the deck"));
        return std::nullopt;
    }
    try {
        bool repaired = false;
        const std::string& text = deck.repairedPart(entry, repaired);
        if (repaired) say(Warning::notesTextRepaired(slide));
        return text;
    } catch (const PptxArchive::ArchiveError& e) {
        say(Warning::notesUnreadable(slide, e.what()));
        return std::nullopt;
    }
}

}  // namespace

std::string bodyText(std::string_view notesSlideXML) {
    const auto shape = bodyPlaceholderSp(notesSlideXML);
    if (!shape) return "";
    std::string text;
    bool first = true;
    for (const auto& paragraph : allMatches(*shape, paragraphPattern(), 1)) {
        if (!first) text += '\n';
        first = false;
        for (const auto& run : allMatches(paragraph, runPattern(), 1)) text += xmlUnescape(run);
    }
    return trimmed(withPlainLineBreaks(text));
}

std::map<std::int64_t, std::string> notesBySlide(DeckModel& deck, const WarningCallback& warn) {
    std::map<std::int64_t, std::string> notes;
    std::int64_t displayIndex = 0;
    for (const auto& slide : deck.slideFiles()) {
        ++displayIndex;
        const auto notesPart = notesPartOf(deck, slide, displayIndex, warn);
        if (!notesPart) continue;
        const auto notesXml = readNotes(deck, *notesPart, displayIndex, warn);
        if (!notesXml) continue;
        std::string text = bodyText(*notesXml);
        if (!text.empty()) notes.emplace(displayIndex, std::move(text));
    }
    return notes;
}

std::map<std::int64_t, std::string> notesBySlide(const std::filesystem::path& deck, const WarningCallback& warn) {
    DeckModel model(deck);
    return notesBySlide(model, warn);
}

}  // namespace orvandel::NotesScanner
