#pragma once
// An owning handle on one element of a parsed XML tree. The rest of the code
// base sees this wrapper, never libxml2: the document stays alive as long as
// any handle into it exists, and nodes detached from the tree are freed with
// the document unless they were appended somewhere again.
//
// Names are qualified names exactly as written ("p:cTn"): prefix + ":" + local
// name, or the local name alone. Comparison is exact and case-sensitive.
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Error.hpp"

namespace orvandel {

class XmlParseError : public Error {
public:
    explicit XmlParseError(const std::string& message) : Error(message, message) {}
};

namespace detail {
struct XmlDocHolder;
}

// A document's root start tag, as the parser read it.
struct XmlStartTag {
    std::string name;           // qualified, as written
    std::string namespaceName;  // the namespace its prefix (or the default) stands for; "" for none
    std::vector<std::pair<std::string, std::string>> attributes;  // as XmlElement::attributes()
};

// The local part of a qualified name written in the text ("p:sldId" ->
// "sldId"); a name without a prefix is its own.
inline std::string_view localName(std::string_view qualifiedName) {
    const auto colon = qualifiedName.rfind(':');
    return colon == std::string_view::npos ? qualifiedName : qualifiedName.substr(colon + 1);
}

class XmlElement {
public:
    // One child node as the emitter sees it.
    enum class NodeKind { element, text, other };

    XmlElement() = default;

    // Parses a whole document (whitespace text and CDATA kept, no network, no
    // DTD loading). Throws XmlParseError with the parser's first message when
    // the text is not well-formed or uses an undeclared namespace prefix.
    static XmlElement parseDocument(std::string_view text);
    // Whether the text is a well-formed, namespace-well-formed document, the
    // parser's first message when it is not. Nothing is built: memory stays
    // small whatever the size of the text, and no size limit of a text node
    // applies.
    static std::optional<std::string> wellFormednessError(std::string_view text);

    // The root element's start tag, read without going further: what follows
    // it (however long, whatever it holds) is not parsed. Throws
    // XmlParseError when the text up to the end of that tag is not
    // well-formed or holds no element.
    static XmlStartTag rootStartTag(std::string_view text);

    explicit operator bool() const { return node_ != nullptr; }
    bool operator==(const XmlElement& other) const { return node_ == other.node_; }

    std::string name() const;
    // The name without its prefix, and the namespace the prefix (or the
    // default) stands for ("" for none): for readers that accept any prefix.
    std::string localName() const;
    std::string namespaceName() const;
    // Whether the element is `localName` of namespace `namespaceName`.
    bool is(std::string_view namespaceName, std::string_view localName) const;

    std::optional<std::string> attribute(std::string_view qualifiedName) const;
    // The attribute `localName` of namespace `namespaceName` ("": no namespace), whatever its prefix.
    std::optional<std::string> attributeIn(std::string_view namespaceName, std::string_view localName) const;
    // All attributes in document order (namespace declarations are not attributes).
    std::vector<std::pair<std::string, std::string>> attributes() const;
    // Removes every attribute with that qualified name; absent is fine.
    void removeAttribute(std::string_view qualifiedName);
    // Appends a new attribute after the existing ones.
    void addAttribute(std::string_view qualifiedName, std::string_view value);
    // removeAttribute then addAttribute: the attribute moves to the end.
    void replaceAttribute(std::string_view qualifiedName, std::string_view value);

    XmlElement parent() const;  // null for the root
    std::vector<XmlElement> childElements() const;
    std::vector<XmlElement> childElements(std::string_view qualifiedName) const;
    XmlElement firstChildElement(std::string_view qualifiedName) const;

    // Child nodes in order: their kind and, for text (CDATA included), the text.
    // Elements are reported through visitChildren.
    void visitChildren(const std::function<void(NodeKind, const XmlElement&, std::string_view)>& visit) const;

    // Pre-order walk over this element and every element below it.
    void walk(const std::function<void(const XmlElement&)>& visit) const;

    // Unlinks this element from its parent; it stays owned by the document.
    void detach();
    // Appends (moving it if it is attached elsewhere) an element of the same document.
    void appendChild(const XmlElement& child);

    // A new, unattached element of this element's document. A prefix resolves
    // against this element's in-scope namespaces, then the document root's.
    XmlElement createElement(std::string_view qualifiedName) const;

private:
    XmlElement(std::shared_ptr<detail::XmlDocHolder> doc, void* node) : doc_(std::move(doc)), node_(node) {}
    XmlElement wrap(void* node) const { return XmlElement(doc_, node); }

    std::shared_ptr<detail::XmlDocHolder> doc_;
    void* node_ = nullptr;  // xmlNodePtr
};

}  // namespace orvandel
