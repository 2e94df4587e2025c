#include "container/XMLEmitter.hpp"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

namespace orvandel::XMLEmitter {

namespace {

// Unicode white space and line breaks (the separator categories plus the
// ASCII controls 9 to 13 and NEL).
bool isWhitespace(char32_t c) {
    return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
           (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F || c == 0x3000;
}

// Decodes the UTF-8 sequence of `length` bytes at `at` (the parser hands out
// valid UTF-8 only).
char32_t decodeAt(std::string_view s, std::size_t at, std::size_t length) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(s[at + i]); };
    if (length == 1) return byte(0);
    char32_t c = byte(0) & (0xFF >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) c = (c << 6) | (byte(i) & 0x3F);
    return c;
}

std::size_t sequenceLength(unsigned char lead) {
    if (lead < 0x80) return 1;
    if ((lead >> 5) == 0x6) return 2;
    if ((lead >> 4) == 0xE) return 3;
    return 4;
}

std::string_view trimmed(std::string_view s) {
    while (!s.empty()) {
        const std::size_t n = std::min(sequenceLength(static_cast<unsigned char>(s.front())), s.size());
        if (!isWhitespace(decodeAt(s, 0, n))) break;
        s.remove_prefix(n);
    }
    while (!s.empty()) {
        std::size_t start = s.size() - 1;
        while (start > 0 && (static_cast<unsigned char>(s[start]) & 0xC0) == 0x80) --start;
        if (!isWhitespace(decodeAt(s, start, s.size() - start))) break;
        s.remove_suffix(s.size() - start);
    }
    return s;
}

void appendEscaped(std::string& out, std::string_view text, bool forAttribute) {
    for (char c : text) {
        switch (c) {
            case '&': out += "&amp;"; break;
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '"':
                if (forAttribute) {
                    out += "&quot;";
                    break;
                }
                [[fallthrough]];
            default: out += c; break;
        }
    }
}

void emitInto(const XmlElement& element, std::string& out, Options options);

void renderChildren(const XmlElement& element, std::string& out, Options options) {
    element.visitChildren([&](XmlElement::NodeKind kind, const XmlElement& child, std::string_view text) {
        switch (kind) {
            case XmlElement::NodeKind::element: emitInto(child, out, options); break;
            case XmlElement::NodeKind::text:
                appendEscaped(out, options.normalizeWhitespace ? trimmed(text) : text, false);
                break;
            case XmlElement::NodeKind::other: break;
        }
    });
}

void emitInto(const XmlElement& element, std::string& out, Options options) {
    const std::string name = element.name();
    out += '<';
    out += name;

    auto attributes = element.attributes();
    if (options.sortAttributes) {
        std::stable_sort(attributes.begin(), attributes.end(),
                         [](const auto& x, const auto& y) { return x.first < y.first; });
    }
    for (const auto& [attrName, value] : attributes) {
        out += ' ';
        out += attrName;
        out += "=\"";
        appendEscaped(out, value, true);
        out += '"';
    }

    // Children go straight into the shared buffer; if they add nothing, the
    // provisional ">" becomes "/>".
    out += '>';
    const std::size_t mark = out.size();
    renderChildren(element, out, options);
    if (out.size() == mark) {
        out.back() = '/';
        out += '>';
        return;
    }
    out += "</";
    out += name;
    out += '>';
}

}  // namespace

std::string emit(const XmlElement& element, Options options) {
    std::string out;
    if (element) emitInto(element, out, options);
    return out;
}

std::string escapeAttribute(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    appendEscaped(out, text, true);
    return out;
}

}  // namespace orvandel::XMLEmitter
