#pragma once
// Hand-built archives for the ZIP tests: deflated entries, data descriptors,
// flags and sizes that lie. ZipArchive::create only writes stored entries.
#include <zlib.h>

#include <optional>
#include <string>
#include <vector>

#include "base/Bytes.hpp"
#include "container/ZipArchive.hpp"

namespace orvandel::test {

// Z_FULL_FLUSH instead of Z_FINISH leaves the stream open, so that copies of it can follow each other.
// windowBits 16 + MAX_WBITS makes a gzip stream instead.
inline Bytes rawDeflate(const Bytes& data, int flush = Z_FINISH, int windowBits = -15) {
    z_stream zs{};
    deflateInit2(&zs, Z_BEST_COMPRESSION, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY);
    Bytes out(deflateBound(&zs, static_cast<uLong>(data.size())));
    zs.next_in = const_cast<Bytef*>(data.data());
    zs.avail_in = static_cast<uInt>(data.size());
    zs.next_out = out.data();
    zs.avail_out = static_cast<uInt>(out.size());
    deflate(&zs, flush);
    out.resize(zs.total_out);
    deflateEnd(&zs);
    return out;
}

struct RawEntry {
    std::string name;
    Bytes data;
    bool deflated = true;
    bool descriptor = false;  // sizes and CRC after the data, zeros in the local header (flag bit 3)
    std::uint16_t extraFlags = 0;
    std::optional<std::uint16_t> method;        // overrides the method field
    std::optional<std::uint32_t> declaredSize;  // overrides the uncompressed size fields
    std::optional<std::uint32_t> crc;           // overrides the CRC fields
    std::optional<Bytes> payload;               // overrides the stored/compressed bytes
};

inline Bytes buildZip(const std::vector<RawEntry>& entries, const std::string& comment = "") {
    using namespace ZipArchive;
    Bytes out;
    Bytes cd;
    for (const auto& e : entries) {
        const Bytes payload = e.payload ? *e.payload : e.deflated ? rawDeflate(e.data) : e.data;
        const auto flags = static_cast<std::uint16_t>(e.extraFlags | (e.descriptor ? 8 : 0));
        const std::uint16_t method = e.method.value_or(e.deflated ? 8 : 0);
        const std::uint32_t crc = e.crc.value_or(ZipArchive::crc32(e.data));
        const auto csize = static_cast<std::uint32_t>(payload.size());
        const std::uint32_t usize = e.declaredSize.value_or(static_cast<std::uint32_t>(e.data.size()));
        const auto offset = static_cast<std::uint32_t>(out.size());
        auto header = [&](Bytes& b, bool central) {
            const bool zeros = !central && e.descriptor;
            putU32(b, central ? 0x02014b50 : 0x04034b50);
            if (central) putU16(b, 20);
            for (const std::uint16_t v : {std::uint16_t(20), flags, method}) putU16(b, v);
            putU32(b, 0);  // time and date
            for (const std::uint32_t v : {crc, csize, usize}) putU32(b, zeros ? 0 : v);
            putU32(b, static_cast<std::uint32_t>(e.name.size()));  // with an empty extra field
            if (central) {
                putU16(b, 0);  // comment length, then disk, internal and external attributes
                for (const std::uint32_t v : {0u, 0u, offset}) putU32(b, v);
            }
            b.insert(b.end(), e.name.begin(), e.name.end());
        };
        header(out, false);
        out.insert(out.end(), payload.begin(), payload.end());
        if (e.descriptor) {
            for (const std::uint32_t v : {0x08074b50u, crc, csize, usize}) putU32(out, v);
        }
        header(cd, true);
    }
    const auto cdOffset = static_cast<std::uint32_t>(out.size());
    out.insert(out.end(), cd.begin(), cd.end());
    const auto count = static_cast<std::uint32_t>(entries.size());
    for (const std::uint32_t v : {0x06054b50u, 0u, count | count << 16, std::uint32_t(cd.size()), cdOffset}) {
        putU32(out, v);
    }
    putU16(out, static_cast<std::uint16_t>(comment.size()));
    out.insert(out.end(), comment.begin(), comment.end());
    return out;
}

// Offset of the end record of an archive built above without a comment.
inline std::size_t endRecordOf(const Bytes& zip) { return zip.size() - 22; }

}  // namespace orvandel::test
