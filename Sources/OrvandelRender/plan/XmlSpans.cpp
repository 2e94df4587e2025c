#include "plan/XmlSpans.hpp"

#include <algorithm>

#include "base/Numbers.hpp"

namespace orvandel::XmlSpans {

std::vector<Span> elementSpans(std::string_view xml) {
    std::vector<Span> spans;
    std::vector<int> open;
    auto skipPast = [&](std::size_t from, std::string_view closing) {
        const auto at = xml.find(closing, from);
        return at == std::string_view::npos ? xml.size() : at + closing.size();
    };
    for (std::size_t i = xml.find('<'); i != std::string_view::npos && i < xml.size(); i = xml.find('<', i)) {
        const std::string_view rest = xml.substr(i);
        if (rest.starts_with("<!--")) {
            i = skipPast(i, "-->");
        } else if (rest.starts_with("<![CDATA[")) {
            i = skipPast(i, "]]>");
        } else if (rest.starts_with("<?") || rest.starts_with("<!")) {
            i = skipPast(i, ">");
        } else if (rest.starts_with("</")) {
            i = skipPast(i, ">");
            if (!open.empty()) {
                spans[static_cast<std::size_t>(open.back())].end = i;
                open.pop_back();
            }
        } else {
            std::size_t j = i + 1;
            for (char quote = 0; j < xml.size() && (quote || xml[j] != '>'); ++j) {
                if (quote) {
                    if (xml[j] == quote) quote = 0;
                } else if (xml[j] == '"' || xml[j] == '\'') {
                    quote = xml[j];
                }
            }
            if (j >= xml.size()) break;
            const std::size_t nameEnd = std::min(xml.find_first_of(" \t\r\n/>", i + 1), j);
            spans.push_back({xml.substr(i + 1, nameEnd - i - 1), i, j + 1, j + 1, open.empty() ? -1 : open.back()});
            if (xml[j - 1] != '/') open.push_back(static_cast<int>(spans.size() - 1));
            i = j + 1;
        }
    }
    return spans;
}

std::vector<Attribute> attributesOf(std::string_view tag) {
    std::vector<Attribute> out;
    auto space = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    std::size_t i = tag.find_first_of(" \t\r\n/>");
    while (i < tag.size()) {
        while (i < tag.size() && (space(tag[i]) || tag[i] == '/')) ++i;
        if (i >= tag.size() || tag[i] == '>') break;
        const std::size_t nameBegin = i;
        while (i < tag.size() && tag[i] != '=' && !space(tag[i]) && tag[i] != '>' && tag[i] != '/') ++i;
        const std::string_view name = tag.substr(nameBegin, i - nameBegin);
        while (i < tag.size() && space(tag[i])) ++i;
        if (i >= tag.size() || tag[i] != '=') {
            if (name.empty()) break;
            continue;  // a name without a value
        }
        ++i;
        while (i < tag.size() && space(tag[i])) ++i;
        if (i >= tag.size()) break;
        if (tag[i] == '"' || tag[i] == '\'') {
            const std::size_t close = tag.find(tag[i], i + 1);
            if (close == std::string_view::npos) break;
            out.push_back({name, i + 1, close});
            i = close + 1;
        } else {
            const std::size_t begin = i;
            while (i < tag.size() && !space(tag[i]) && tag[i] != '>') ++i;
            out.push_back({name, begin, i});
        }
    }
    return out;
}

std::optional<std::string> attributeOf(std::string_view tag, std::string_view name) {
    for (const auto& a : attributesOf(tag)) {
        if (a.name == name) return std::string(tag.substr(a.valueBegin, a.valueEnd - a.valueBegin));
    }
    return std::nullopt;
}

std::optional<std::string> attributeOf(std::string_view xml, const Span& span, std::string_view name) {
    return attributeOf(xml.substr(span.begin, span.tagEnd - span.begin), name);
}

std::vector<int> childrenOf(const std::vector<Span>& spans, int parent) {
    std::vector<int> out;
    const auto& p = spans[static_cast<std::size_t>(parent)];
    for (std::size_t m = std::size_t(parent) + 1; m < spans.size() && spans[m].begin < p.end; ++m) {
        if (spans[m].parent == parent) out.push_back(static_cast<int>(m));
    }
    return out;
}

std::optional<int> firstChild(const std::vector<Span>& spans, int parent, std::string_view name) {
    for (const int c : childrenOf(spans, parent)) {
        if (spans[static_cast<std::size_t>(c)].name == name) return c;
    }
    return std::nullopt;
}

std::string withAttribute(std::string_view tag, std::string_view name, std::string_view value) {
    std::string out(tag);
    for (const auto& a : attributesOf(tag)) {
        if (a.name == name) return out.replace(a.valueBegin, a.valueEnd - a.valueBegin, value);
    }
    const auto end = out.size() - (out.ends_with("/>") ? 2 : 1);
    return out.insert(end, " " + std::string(name) + "=\"" + std::string(value) + "\"");
}

std::string applied(std::string_view xml, std::vector<Edit> edits) {
    // Outer edits first, an insertion before an edit that starts where it
    // goes; an edit inside one already kept is dropped.
    std::stable_sort(edits.begin(), edits.end(), [](const Edit& a, const Edit& b) {
        if (a.begin != b.begin) return a.begin < b.begin;
        if ((a.begin == a.end) != (b.begin == b.end)) return a.begin == a.end;
        return a.end > b.end;
    });
    std::vector<Edit> kept;
    for (auto& e : edits) {
        if (kept.empty() || e.begin >= kept.back().end) kept.push_back(std::move(e));
    }
    std::string out(xml);
    for (auto it = kept.rbegin(); it != kept.rend(); ++it) out.replace(it->begin, it->end - it->begin, it->text);
    return out;
}

std::optional<std::int64_t> integerAttribute(std::string_view xml, const Span& span, std::string_view name) {
    const auto text = attributeOf(xml, span, name);
    return text ? parseInt64(*text) : std::nullopt;
}

}  // namespace orvandel::XmlSpans
