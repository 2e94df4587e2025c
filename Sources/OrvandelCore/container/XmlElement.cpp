#include "container/XmlElement.hpp"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <mutex>
#include <unordered_set>

namespace orvandel {

namespace detail {

struct XmlDocHolder {
    xmlDocPtr doc = nullptr;
    std::unordered_set<xmlNodePtr> orphans;

    ~XmlDocHolder() {
        // Collect first, free second: an orphan may sit inside another one,
        // and reading its parent after the outer one was freed would be a
        // use-after-free.
        std::vector<xmlNodePtr> roots;
        for (xmlNodePtr n : orphans) {
            if (n->parent == nullptr) roots.push_back(n);
        }
        for (xmlNodePtr n : roots) xmlFreeNode(n);
        if (doc) xmlFreeDoc(doc);
    }
};

}  // namespace detail

namespace {

xmlNodePtr asNode(void* p) { return static_cast<xmlNodePtr>(p); }

const char* cstr(const xmlChar* s) { return reinterpret_cast<const char*>(s); }

std::string qualifiedName(const xmlNs* ns, const xmlChar* name) {
    std::string out;
    if (ns && ns->prefix) {
        out = cstr(ns->prefix);
        out += ':';
    }
    if (name) out += cstr(name);
    return out;
}

std::string attrValue(xmlAttrPtr attr) {
    xmlChar* v = xmlNodeListGetString(attr->doc, attr->children, 1);
    std::string out = v ? cstr(v) : "";
    xmlFree(v);
    return out;
}

// Splits "p:cTn" into ("p", "cTn"); no colon gives ("", name).
std::pair<std::string, std::string> splitName(std::string_view qname) {
    const auto colon = qname.find(':');
    if (colon == std::string_view::npos) return {"", std::string(qname)};
    return {std::string(qname.substr(0, colon)), std::string(qname.substr(colon + 1))};
}

xmlNsPtr resolvePrefix(xmlNodePtr node, const std::string& prefix) {
    if (prefix.empty()) return nullptr;
    const auto* p = reinterpret_cast<const xmlChar*>(prefix.c_str());
    if (xmlNsPtr ns = xmlSearchNs(node->doc, node, p)) return ns;
    if (xmlNodePtr root = xmlDocGetRootElement(node->doc)) return xmlSearchNs(node->doc, root, p);
    return nullptr;
}

struct ErrorSink {
    std::string first;
};

void collectError(void* ctx, xmlErrorPtr error) {
    auto* sink = static_cast<ErrorSink*>(ctx);
    if (!error || !sink->first.empty()) return;
    std::string msg = error->message ? error->message : "unknown XML error";
    while (!msg.empty() && (msg.back() == '\n' || msg.back() == '\r' || msg.back() == ' ')) msg.pop_back();
    if (error->line > 0) msg += " (line " + std::to_string(error->line) + ")";
    sink->first = msg;
}

// Routes libxml2's messages into sink for the lifetime of the guard; nothing
// reaches stderr. libxml2 keeps this handler per thread.
class ErrorCapture {
public:
    explicit ErrorCapture(ErrorSink* sink) : oldHandler_(xmlStructuredError), oldContext_(xmlStructuredErrorContext) {
        xmlSetStructuredErrorFunc(sink, collectError);
    }
    ~ErrorCapture() { xmlSetStructuredErrorFunc(oldContext_, oldHandler_); }

private:
    xmlStructuredErrorFunc oldHandler_;
    void* oldContext_;
};

}  // namespace

std::optional<std::string> XmlElement::wellFormednessError(std::string_view text) {
    static std::once_flag init;
    std::call_once(init, [] { xmlInitParser(); });
    if (text.size() > static_cast<std::size_t>(INT_MAX)) return "document too large";
    ErrorSink sink;
    ErrorCapture capture(&sink);
    // A SAX2 handler without callbacks: the parser checks names, nesting and
    // namespaces as it goes and builds nothing. Fed in chunks, so that it
    // holds only what it has not read yet, not a copy of the whole text.
    xmlSAXHandler sax;
    std::memset(&sax, 0, sizeof sax);
    sax.initialized = XML_SAX2_MAGIC;
    xmlParserCtxtPtr ctxt = xmlCreatePushParserCtxt(&sax, nullptr, nullptr, 0, nullptr);
    if (!ctxt) return "out of memory";
    // UTF-8 whatever the declaration says, as the tree parser reads it; told
    // the encoding, the push parser no longer skips a byte-order mark itself.
    xmlCtxtResetPush(ctxt, nullptr, 0, nullptr, "UTF-8");
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    xmlCtxtUseOptions(ctxt, XML_PARSE_NONET | XML_PARSE_HUGE);
    constexpr std::size_t kChunk = std::size_t(1) << 20;
    for (std::size_t at = 0; at < text.size() && ctxt->wellFormed; at += kChunk) {
        const std::size_t n = std::min(kChunk, text.size() - at);
        xmlParseChunk(ctxt, text.data() + at, static_cast<int>(n), 0);
    }
    if (ctxt->wellFormed) xmlParseChunk(ctxt, nullptr, 0, 1);
    const bool ok = ctxt->wellFormed && ctxt->nsWellFormed;
    if (ctxt->myDoc) xmlFreeDoc(ctxt->myDoc);
    xmlFreeParserCtxt(ctxt);
    if (ok) return std::nullopt;
    return sink.first.empty() ? std::string("not well-formed") : sink.first;
}

XmlStartTag XmlElement::rootStartTag(std::string_view text) {
    static std::once_flag init;
    std::call_once(init, [] { xmlInitParser(); });
    if (text.size() > static_cast<std::size_t>(INT_MAX)) throw XmlParseError("document too large");
    ErrorSink sink;
    ErrorCapture capture(&sink);
    // The tree builder, fed a little at a time: the root exists as soon as
    // its start tag has been read, and reading stops there.
    xmlParserCtxtPtr ctxt = xmlCreatePushParserCtxt(nullptr, nullptr, nullptr, 0, nullptr);
    if (!ctxt) throw XmlParseError("out of memory");
    xmlCtxtResetPush(ctxt, nullptr, 0, nullptr, "UTF-8");
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    xmlCtxtUseOptions(ctxt, XML_PARSE_NONET);
    const auto root = [&] { return ctxt->myDoc ? xmlDocGetRootElement(ctxt->myDoc) : nullptr; };
    constexpr std::size_t kChunk = 4096;
    std::size_t at = 0;
    for (; at < text.size() && ctxt->wellFormed && !root(); at += kChunk) {
        const std::size_t n = std::min(kChunk, text.size() - at);
        xmlParseChunk(ctxt, text.data() + at, static_cast<int>(n), 0);
    }
    if (at >= text.size() && ctxt->wellFormed && !root()) xmlParseChunk(ctxt, nullptr, 0, 1);
    std::optional<XmlStartTag> tag;
    if (xmlNodePtr r = root()) {
        tag.emplace();
        tag->name = qualifiedName(r->ns, r->name);
        if (r->ns && r->ns->href) tag->namespaceName = cstr(r->ns->href);
        for (xmlAttrPtr a = r->properties; a; a = a->next) {
            tag->attributes.emplace_back(qualifiedName(a->ns, a->name), attrValue(a));
        }
    }
    if (ctxt->myDoc) xmlFreeDoc(ctxt->myDoc);
    xmlFreeParserCtxt(ctxt);
    if (!tag) throw XmlParseError(sink.first.empty() ? "document has no root element" : sink.first);
    return *tag;
}

XmlElement XmlElement::parseDocument(std::string_view text) {
    static std::once_flag init;
    std::call_once(init, [] { xmlInitParser(); });
    if (text.size() > static_cast<std::size_t>(INT_MAX)) throw XmlParseError("document too large");
    // The tree parser stops at a NUL as if the text ended there; the
    // streaming check (and every other reader) refuses it.
    if (const auto nul = text.find('\0'); nul != std::string_view::npos) {
        throw XmlParseError("NUL byte at offset " + std::to_string(nul));
    }

    ErrorSink sink;
    ErrorCapture capture(&sink);
    xmlParserCtxtPtr ctxt = xmlNewParserCtxt();
    if (!ctxt) throw XmlParseError("out of memory");
    xmlDocPtr doc = xmlCtxtReadMemory(ctxt, text.data(), static_cast<int>(text.size()), nullptr, "UTF-8",
                                      XML_PARSE_NONET);
    const bool ok = doc && ctxt->wellFormed && ctxt->nsWellFormed;
    xmlFreeParserCtxt(ctxt);
    if (!ok) {
        if (doc) xmlFreeDoc(doc);
        throw XmlParseError(sink.first.empty() ? "not well-formed" : sink.first);
    }
    auto holder = std::make_shared<detail::XmlDocHolder>();
    holder->doc = doc;
    xmlNodePtr root = xmlDocGetRootElement(doc);
    if (!root) throw XmlParseError("document has no root element");
    return XmlElement(holder, root);
}

std::string XmlElement::name() const {
    xmlNodePtr n = asNode(node_);
    return qualifiedName(n->ns, n->name);
}

std::string XmlElement::localName() const { return cstr(asNode(node_)->name); }

std::string XmlElement::namespaceName() const {
    const xmlNs* ns = asNode(node_)->ns;
    return ns && ns->href ? cstr(ns->href) : "";
}

bool XmlElement::is(std::string_view namespaceName, std::string_view localName) const {
    const xmlNodePtr n = asNode(node_);
    const std::string_view href = n->ns && n->ns->href ? cstr(n->ns->href) : "";
    return href == namespaceName && std::string_view(cstr(n->name)) == localName;
}

std::optional<std::string> XmlElement::attributeIn(std::string_view namespaceName, std::string_view localName) const {
    for (xmlAttrPtr a = asNode(node_)->properties; a; a = a->next) {
        const std::string_view href = a->ns && a->ns->href ? cstr(a->ns->href) : "";
        if (href == namespaceName && std::string_view(cstr(a->name)) == localName) return attrValue(a);
    }
    return std::nullopt;
}

std::optional<std::string> XmlElement::attribute(std::string_view qname) const {
    for (xmlAttrPtr a = asNode(node_)->properties; a; a = a->next) {
        if (qualifiedName(a->ns, a->name) == qname) return attrValue(a);
    }
    return std::nullopt;
}

std::vector<std::pair<std::string, std::string>> XmlElement::attributes() const {
    std::vector<std::pair<std::string, std::string>> out;
    for (xmlAttrPtr a = asNode(node_)->properties; a; a = a->next) {
        out.emplace_back(qualifiedName(a->ns, a->name), attrValue(a));
    }
    return out;
}

void XmlElement::removeAttribute(std::string_view qname) {
    xmlAttrPtr a = asNode(node_)->properties;
    while (a) {
        xmlAttrPtr next = a->next;
        if (qualifiedName(a->ns, a->name) == qname) xmlRemoveProp(a);
        a = next;
    }
}

void XmlElement::addAttribute(std::string_view qname, std::string_view value) {
    xmlNodePtr n = asNode(node_);
    const auto [prefix, local] = splitName(qname);
    const std::string v(value);
    const auto* vx = reinterpret_cast<const xmlChar*>(v.c_str());
    if (xmlNsPtr ns = resolvePrefix(n, prefix)) {
        xmlNewNsProp(n, ns, reinterpret_cast<const xmlChar*>(local.c_str()), vx);
    } else {
        const std::string whole(qname);
        xmlNewProp(n, reinterpret_cast<const xmlChar*>(whole.c_str()), vx);
    }
}

void XmlElement::replaceAttribute(std::string_view qname, std::string_view value) {
    removeAttribute(qname);
    addAttribute(qname, value);
}

XmlElement XmlElement::parent() const {
    xmlNodePtr p = asNode(node_)->parent;
    if (!p || p->type != XML_ELEMENT_NODE) return XmlElement();
    return wrap(p);
}

std::vector<XmlElement> XmlElement::childElements() const {
    std::vector<XmlElement> out;
    for (xmlNodePtr c = asNode(node_)->children; c; c = c->next) {
        if (c->type == XML_ELEMENT_NODE) out.push_back(wrap(c));
    }
    return out;
}

std::vector<XmlElement> XmlElement::childElements(std::string_view qname) const {
    std::vector<XmlElement> out;
    for (xmlNodePtr c = asNode(node_)->children; c; c = c->next) {
        if (c->type == XML_ELEMENT_NODE && qualifiedName(c->ns, c->name) == qname) out.push_back(wrap(c));
    }
    return out;
}

XmlElement XmlElement::firstChildElement(std::string_view qname) const {
    for (xmlNodePtr c = asNode(node_)->children; c; c = c->next) {
        if (c->type == XML_ELEMENT_NODE && qualifiedName(c->ns, c->name) == qname) return wrap(c);
    }
    return XmlElement();
}

void XmlElement::visitChildren(const std::function<void(NodeKind, const XmlElement&, std::string_view)>& visit) const {
    for (xmlNodePtr c = asNode(node_)->children; c; c = c->next) {
        switch (c->type) {
            case XML_ELEMENT_NODE: visit(NodeKind::element, wrap(c), {}); break;
            case XML_TEXT_NODE:
            case XML_CDATA_SECTION_NODE: visit(NodeKind::text, XmlElement(), c->content ? cstr(c->content) : ""); break;
            default: visit(NodeKind::other, XmlElement(), {}); break;
        }
    }
}

void XmlElement::walk(const std::function<void(const XmlElement&)>& visit) const {
    // Iterative pre-order, so that deep trees cannot exhaust the stack.
    xmlNodePtr top = asNode(node_);
    xmlNodePtr n = top;
    while (n) {
        visit(wrap(n));
        xmlNodePtr next = nullptr;
        for (xmlNodePtr c = n->children; c; c = c->next) {
            if (c->type == XML_ELEMENT_NODE) {
                next = c;
                break;
            }
        }
        while (!next && n && n != top) {
            for (xmlNodePtr s = n->next; s; s = s->next) {
                if (s->type == XML_ELEMENT_NODE) {
                    next = s;
                    break;
                }
            }
            if (!next) n = n->parent;
        }
        n = next;
    }
}

void XmlElement::detach() {
    xmlNodePtr n = asNode(node_);
    xmlUnlinkNode(n);
    doc_->orphans.insert(n);
}

void XmlElement::appendChild(const XmlElement& child) {
    xmlNodePtr c = asNode(child.node_);
    xmlUnlinkNode(c);
    doc_->orphans.insert(c);  // harmless once attached: only parentless orphans are freed
    xmlAddChild(asNode(node_), c);
}

XmlElement XmlElement::createElement(std::string_view qname) const {
    xmlNodePtr n = asNode(node_);
    const auto [prefix, local] = splitName(qname);
    xmlNodePtr created;
    if (xmlNsPtr ns = resolvePrefix(n, prefix)) {
        created = xmlNewDocNode(n->doc, ns, reinterpret_cast<const xmlChar*>(local.c_str()), nullptr);
    } else {
        const std::string whole(qname);
        created = xmlNewDocNode(n->doc, nullptr, reinterpret_cast<const xmlChar*>(whole.c_str()), nullptr);
    }
    if (!created) throw Error("out of memory creating element " + std::string(qname));
    doc_->orphans.insert(created);
    return XmlElement(doc_, created);
}

}  // namespace orvandel
