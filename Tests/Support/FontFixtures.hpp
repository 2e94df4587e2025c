#pragma once
// Font parts as decks carry them, for the embedded-font tests: a minimal
// sfnt, an Embedded OpenType container around any font, and a real font
// given another family name.
#include <algorithm>
#include <cstdint>
#include <string>

#include "base/Bytes.hpp"

namespace orvandel::test {

// A small sfnt the decoder accepts: TrueType outlines, one 20-byte table
// (48 bytes in all: more than an obfuscated font's 32).
inline Bytes tinySfnt() {
    Bytes font{0, 1, 0, 0, 0, 1, 0, 16, 0, 0, 0, 0};
    const Bytes record{'h', 'e', 'a', 'd', 0, 0, 0, 0, 0, 0, 0, 28, 0, 0, 0, 20};
    font.insert(font.end(), record.begin(), record.end());
    for (std::uint8_t b = 1; b <= 20; ++b) font.push_back(b);
    return font;
}

// An uncompressed EOT of `version` (0x00010000, 0x00020001 or 0x00020002)
// around `font`, its family name `family` (ASCII), its data XORed with 0x50
// when `flags` says so. `eudc` bytes of EUDC data precede the font in 2.2.
inline Bytes eotContainer(const Bytes& font, std::uint32_t flags = 0, std::uint32_t version = 0x00020001,
                          const std::string& family = "Test", std::uint32_t eudc = 0) {
    Bytes out;
    const auto u16 = [&](std::uint32_t v) {
        out.push_back(std::uint8_t(v));
        out.push_back(std::uint8_t(v >> 8));
    };
    const auto u32 = [&](std::uint32_t v) {
        u16(v & 0xFFFF);
        u16(v >> 16);
    };
    const auto name = [&](const std::string& text) {
        u16(0);  // padding
        u16(std::uint32_t(text.size() * 2));
        for (char c : text) u16(std::uint8_t(c));
    };
    u32(0);  // EOTSize, set below
    u32(std::uint32_t(font.size()));
    u32(version);
    u32(flags);
    out.resize(34, 0);  // PANOSE, charset, italic, weight, fsType
    u16(0x504C);
    out.resize(80, 0);  // Unicode and code page ranges, checksum adjustment, reserved
    name(family);
    name("Regular");
    name("Version 1.0");
    name(family);
    if (version >= 0x00020001) name("");  // root string
    if (version == 0x00020002) {
        u32(0);
        u32(0);
        u16(0);
        u16(0);  // no signature
        u32(0);
        u32(eudc);
        out.resize(out.size() + eudc, 0xEE);
    }
    for (auto b : font) out.push_back((flags & 0x10000000) ? std::uint8_t(b ^ 0x50) : b);
    const auto size = std::uint32_t(out.size());
    for (int i = 0; i < 4; ++i) out[std::size_t(i)] = std::uint8_t(size >> (8 * i));
    return out;
}

// `from` replaced by `to` (same length) wherever the bytes spell it in 8 bits or in UTF-16BE.
inline void renameFont(Bytes& font, const std::string& from, const std::string& to) {
    for (const bool wide : {false, true}) {
        Bytes find, put;
        for (std::size_t i = 0; i < from.size(); ++i) {
            if (wide) find.push_back(0), put.push_back(0);
            find.push_back(std::uint8_t(from[i]));
            put.push_back(std::uint8_t(to[i]));
        }
        for (auto at = font.begin(); (at = std::search(at, font.end(), find.begin(), find.end())) != font.end();) {
            at = std::copy(put.begin(), put.end(), at);
        }
    }
}

}  // namespace orvandel::test
