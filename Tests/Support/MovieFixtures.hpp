#pragma once
// Movie files built byte by byte.
#include <cstdint>
#include <string>

#include "base/Bytes.hpp"

namespace orvandel::test {

inline void putBe(Bytes& b, std::uint64_t v, int bytes) {
    for (int i = bytes - 1; i >= 0; --i) b.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}

inline Bytes box(const std::string& type, const Bytes& payload) {
    Bytes b(payload.size() + 8);
    for (int i = 0; i < 4; ++i) {
        b[i] = static_cast<std::uint8_t>(b.size() >> (24 - 8 * i));
        b[4 + i] = static_cast<std::uint8_t>(type.at(i));
    }
    std::copy(payload.begin(), payload.end(), b.begin() + 8);
    return b;
}

// A movie header; creation and modification times and the fields after the duration are zeros.
inline Bytes mvhd(std::uint32_t timescale, std::uint64_t duration, int version = 0) {
    Bytes p{static_cast<std::uint8_t>(version), 0, 0, 0};
    p.resize(p.size() + (version == 0 ? 8 : 16), 0);  // creation and modification times
    putBe(p, timescale, 4);
    putBe(p, duration, version == 0 ? 4 : 8);
    p.resize(p.size() + 80, 0);
    return box("mvhd", p);
}

// ftyp, then moov holding only mvhd: enough to have a duration.
inline Bytes craftedMovie(std::uint32_t timescale, std::uint64_t duration, int version = 0) {
    Bytes m = box("ftyp", toBytes("isom"));
    const Bytes moov = box("moov", mvhd(timescale, duration, version));
    m.insert(m.end(), moov.begin(), moov.end());
    return m;
}

}  // namespace orvandel::test
