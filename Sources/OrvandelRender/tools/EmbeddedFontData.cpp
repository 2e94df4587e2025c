#include "tools/EmbeddedFontData.hpp"

#include <algorithm>
#include <array>
#include <optional>

#include "tools/EotUnpacker.hpp"

namespace orvandel::EmbeddedFontData {

namespace {

constexpr std::uint32_t kCompressed = 0x4;            // TTEMBED_TTCOMPRESSED: MicroType Express
constexpr std::uint32_t kXorObfuscated = 0x10000000;  // TTEMBED_XORENCRYPTDATA: every byte XOR 0x50
constexpr std::uint16_t kEotMagic = 0x504C;
constexpr std::size_t kEotFixedHeader = 82;  // up to FamilyNameSize

std::uint32_t bigEndian32(const Bytes& b, std::size_t at) {
    return std::uint32_t{b[at]} << 24 | std::uint32_t{b[at + 1]} << 16 | std::uint32_t{b[at + 2]} << 8 | b[at + 3];
}

// Little-endian fields read in order; a field past the end leaves the reader failed.
class LittleEndian {
public:
    LittleEndian(const Bytes& bytes, std::size_t end) : bytes_(bytes), end_(end) {}
    std::uint32_t field(std::size_t width) {
        if (failed_ || end_ - at_ < width) {
            failed_ = true;
            return 0;
        }
        std::uint32_t value = 0;
        for (std::size_t i = width; i-- > 0;) value = value << 8 | bytes_[at_ + i];
        at_ += width;
        return value;
    }
    void skip(std::size_t bytes) {
        if (failed_ || end_ - at_ < bytes) failed_ = true;
        else at_ += bytes;
    }
    // A 16-bit size followed by that many bytes (the header's names).
    void skipSized() { skip(field(2)); }
    void moveTo(std::size_t at) {
        if (at > end_) failed_ = true;
        else at_ = at;
    }
    std::size_t at() const { return at_; }
    bool failed() const { return failed_; }

private:
    const Bytes& bytes_;
    std::size_t end_;
    std::size_t at_ = 0;
    bool failed_ = false;
};

FontDataError badContainer(std::string_view part, const std::string& why) {
    return FontDataError(FontDataError::Case::badContainer,
                         "the embedded font " + std::string(part) + " is not a readable font container: " + why);
}

std::optional<std::uint8_t> hexDigit(char c) {
    if (c >= '0' && c <= '9') return static_cast<std::uint8_t>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<std::uint8_t>(c - 'a' + 10);
    if (c >= 'A' && c <= 'F') return static_cast<std::uint8_t>(c - 'A' + 10);
    return std::nullopt;
}

// The key of an obfuscated font: the 16 bytes its GUID's hex digits spell,
// in reverse order. The GUID is the part's file name, braces optional.
std::optional<std::array<std::uint8_t, 16>> guidKey(std::string_view part) {
    std::string_view name = part.substr(part.rfind('/') == std::string_view::npos ? 0 : part.rfind('/') + 1);
    name = name.substr(0, name.rfind('.'));
    if (name.size() >= 2 && name.front() == '{' && name.back() == '}') name = name.substr(1, name.size() - 2);
    std::string digits;
    for (std::size_t i = 0; i < name.size(); ++i) {
        // dashes only where a GUID has them: 8-4-4-4-12
        if (name[i] == '-' && (i == 8 || i == 13 || i == 18 || i == 23)) continue;
        digits += name[i];
    }
    if (digits.size() != 32 || name.size() != 36) return std::nullopt;
    std::array<std::uint8_t, 16> key{};
    for (std::size_t i = 0; i < 16; ++i) {
        const auto high = hexDigit(digits[2 * i]), low = hexDigit(digits[2 * i + 1]);
        if (!high || !low) return std::nullopt;
        key[15 - i] = static_cast<std::uint8_t>(*high << 4 | *low);
    }
    return key;
}

Bytes deobfuscated(const Bytes& data, std::string_view part) {
    const auto key = guidKey(part);
    if (!key) {
        throw FontDataError(FontDataError::Case::badName, "the embedded font " + std::string(part) +
                                                              " is obfuscated, but its name is not the GUID that "
                                                              "unlocks it");
    }
    Bytes font = data;
    for (std::size_t i = 0; i < std::min<std::size_t>(32, font.size()); ++i) font[i] ^= (*key)[i % 16];
    return font;
}

bool looksLikeEot(const Bytes& data) {
    if (data.size() < kEotFixedHeader) return false;
    LittleEndian header(data, data.size());
    header.moveTo(8);
    const std::uint32_t version = header.field(4);
    header.moveTo(34);
    return header.field(2) == kEotMagic && (version == 0x00010000 || version == 0x00020001 || version == 0x00020002);
}

// MicroType Express data, made a font by libeot. It is given a container
// whose header this file has already checked, its data no longer obfuscated.
Bytes decompressed(Bytes container, std::string_view part) {
    container[12 + 3] &= static_cast<std::uint8_t>(~(kXorObfuscated >> 24));  // the flags' high byte
    auto unpacked = EotUnpacker::unpack(container, kLargestFont);
    if (!unpacked.font) {
        throw FontDataError(FontDataError::Case::undecodable,
                            "the embedded font " + std::string(part) + " could not be decompressed", unpacked.failure);
    }
    return std::move(*unpacked.font);
}

// The font an Embedded OpenType container holds. The header is walked field
// by field (its names have sizes of their own), so that its font data is
// found where it begins, not guessed from the end.
Bytes fromEot(const Bytes& data, std::string_view part) {
    LittleEndian header(data, data.size());
    const std::uint32_t eotSize = header.field(4), fontDataSize = header.field(4), version = header.field(4),
                        flags = header.field(4);
    if (eotSize > data.size()) {
        throw badContainer(part, "its header says " + std::to_string(eotSize) + " bytes, the part has " +
                                     std::to_string(data.size()));
    }
    LittleEndian fields(data, eotSize);
    fields.moveTo(80);
    for (int name = 0; name < 4; ++name) {  // family, style, version and full names, each after 2 bytes of padding
        fields.skip(2);
        fields.skipSized();
    }
    if (version >= 0x00020001) {
        fields.skip(2);
        fields.skipSized();  // root string
    }
    if (version == 0x00020002) {
        fields.skip(4 + 4 + 2);  // root string checksum, EUDC code page, padding
        fields.skipSized();      // signature
        fields.skip(4);          // EUDC flags
        fields.skip(fields.field(4));
    }
    if (fields.failed() || eotSize - fields.at() < fontDataSize) {
        throw badContainer(part, "its font data (" + std::to_string(fontDataSize) + " bytes) does not fit within it");
    }
    const std::size_t begin = fields.at();
    if (flags & kCompressed) {
        Bytes container(data.begin(), data.begin() + eotSize);
        if (flags & kXorObfuscated) {
            for (std::size_t i = begin; i < begin + fontDataSize; ++i) container[i] ^= 0x50;
        }
        return decompressed(std::move(container), part);
    }
    Bytes font(data.begin() + static_cast<std::ptrdiff_t>(begin),
               data.begin() + static_cast<std::ptrdiff_t>(begin + fontDataSize));
    if (flags & kXorObfuscated) {
        for (auto& b : font) b ^= 0x50;
    }
    return font;
}

}  // namespace

bool isSfnt(const Bytes& font) {
    if (font.size() < 12) return false;
    const std::uint32_t tag = bigEndian32(font, 0);
    if (tag != 0x00010000 && tag != 0x4F54544F /* OTTO */ && tag != 0x74727565 /* true */) return false;
    const std::size_t tables = std::size_t{font[4]} << 8 | font[5];
    if (tables == 0 || font.size() < 12 + 16 * tables) return false;
    for (std::size_t t = 0; t < tables; ++t) {
        const std::size_t record = 12 + 16 * t;
        const std::uint64_t offset = bigEndian32(font, record + 8), length = bigEndian32(font, record + 12);
        if (offset + length > font.size()) return false;
    }
    return true;
}

Bytes decode(const Bytes& data, std::string_view part, std::string_view contentType) {
    if (data.size() > kLargestFont) {
        throw FontDataError(FontDataError::Case::tooLarge,
                            "the embedded font " + std::string(part) + " is larger than 64 MiB and was not used");
    }
    Bytes font;
    if (isSfnt(data)) font = data;
    else if (contentType == kObfuscatedFontType || asciiLowercased(part).ends_with(".odttf"))
        font = deobfuscated(data, part);
    else if (looksLikeEot(data)) font = fromEot(data, part);
    else font = data;
    if (!isSfnt(font)) {
        throw FontDataError(FontDataError::Case::notAFont,
                            "the embedded font " + std::string(part) + " does not hold a TrueType or OpenType font");
    }
    return font;
}

}  // namespace orvandel::EmbeddedFontData
