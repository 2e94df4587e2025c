#pragma once
// A font part of a deck made the TrueType/OpenType file it carries. A deck
// holds its embedded fonts in one of three ways: an Embedded OpenType
// container (what PowerPoint writes: a header, then the font data, maybe
// XOR-obfuscated, maybe MicroType Express compressed), an obfuscated font
// (.odttf: its first 32 bytes XORed with a key from the GUID that names the
// part), or the font file itself. Bytes in, bytes out; compressed data is
// unpacked in a child process (EotUnpacker).
#include <cstdint>
#include <string>
#include <string_view>

#include "base/Bytes.hpp"
#include "base/Error.hpp"

namespace orvandel::EmbeddedFontData {

// The largest font part decoded, and the largest font it may unpack to.
inline constexpr std::size_t kLargestFont = std::size_t{64} << 20;

inline constexpr const char* kObfuscatedFontType = "application/vnd.openxmlformats-officedocument.obfuscatedFont";

class FontDataError : public Error {
public:
    enum class Case { tooLarge, notAFont, badContainer, badName, undecodable };
    FontDataError(Case c, const std::string& description, std::string cause = {})
        : Error(description, std::move(cause)), case_(c) {}
    Case errorCase() const { return case_; }

private:
    Case case_;
};

// The font file `part` holds: an sfnt (version 0x00010000, 'OTTO' or 'true')
// whose table directory lies within it. `part` is the entry's name, whose
// GUID unlocks an obfuscated font; `contentType` is what the deck's content
// types say of it. Throws FontDataError naming the part: over kLargestFont,
// a container whose header does not hold together, an obfuscated font whose
// name has no GUID, compressed data the decoder refuses (its words as the
// cause), or a result that is not an sfnt.
Bytes decode(const Bytes& data, std::string_view part, std::string_view contentType);

// Whether `font` starts as an sfnt and its table directory and tables lie within it.
bool isSfnt(const Bytes& font);

}  // namespace orvandel::EmbeddedFontData
