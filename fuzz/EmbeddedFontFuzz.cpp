// The embedded-font decoder on an arbitrary part: EOT headers, XOR,
// MicroType Express through libeot, obfuscated fonts, the sfnt check.
#include <cstddef>
#include <cstdint>

#include "tools/EmbeddedFontData.hpp"

using namespace orvandel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes part(data, data + size);
    for (const char* name : {"ppt/fonts/font1.fntdata", "ppt/fonts/{6C1E5BA4-2A6E-4F5B-B6A4-0123456789AB}.odttf"}) {
        try {
            (void)EmbeddedFontData::decode(part, name, "");
        } catch (const Error&) {
        }
    }
    return 0;
}
