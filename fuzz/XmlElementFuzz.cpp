// The XML element parser, the streaming well-formedness check and the
// emitter on arbitrary text: what parses must emit, and what emits must
// parse again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "container/SlideXML.hpp"
#include "container/XMLEmitter.hpp"
#include "container/XmlElement.hpp"

using namespace orvandel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const bool wellFormed = !XmlElement::wellFormednessError(text).has_value();
    try {
        const XmlElement root = XmlElement::parseDocument(text);
        const std::string emitted = XMLEmitter::emit(root, XMLEmitter::Options::identity);
        (void)XmlElement::parseDocument(emitted);
        // Both parsers agree on what a document is (the tree parser also
        // refuses what is too deep or too large for a tree).
        if (!wellFormed) std::abort();
    } catch (const Error&) {
    }
    try {
        (void)SlideXML::parseElement(text, "p:timing");
    } catch (const Error&) {
    }
    return 0;
}
