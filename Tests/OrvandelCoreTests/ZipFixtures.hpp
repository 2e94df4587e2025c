#pragma once
// Hand-built archives for the ZIP tests: deflated entries, data descriptors,
// flags and sizes that lie. ZipArchive::create only writes stored entries.
#include <zlib.h>

#include <optional>
#include <string>
#include <vector>

#include "Bytes.hpp"
#include "ZipArchive.hpp"

namespace orvandel::test {

inline Bytes rawDeflate(const Bytes& data) {
    z_stream zs{};
    deflateInit2(&zs, Z_BEST_COMPRESSION, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
    Bytes out(deflateBound(&zs, static_cast<uLong>(data.size())));
    zs.next_in = const_cast<Bytef*>(data.data());
    zs.avail_in = static_cast<uInt>(data.size());
    zs.next_out = out.data();
    zs.avail_out = static_cast<uInt>(out.size());
    deflate(&zs, Z_FINISH);
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
            putU32(b, central ? 0x02014b50 : 0x04034b50);
            if (central) putU16(b, 20);
            putU16(b, 20);
            putU16(b, flags);
            putU16(b, method);
            putU32(b, 0);
            const bool zeros = !central && e.descriptor;
            putU32(b, zeros ? 0 : crc);
            putU32(b, zeros ? 0 : csize);
            putU32(b, zeros ? 0 : usize);
            putU16(b, static_cast<std::uint16_t>(e.name.size()));
            putU16(b, 0);
            if (central) {
                for (int k = 0; k < 3; ++k) putU16(b, 0);  // comment length, disk, internal attributes
                putU32(b, 0);
                putU32(b, offset);
            }
            b.insert(b.end(), e.name.begin(), e.name.end());
        };
        header(out, false);
        out.insert(out.end(), payload.begin(), payload.end());
        if (e.descriptor) {
            putU32(out, 0x08074b50);
            putU32(out, crc);
            putU32(out, csize);
            putU32(out, usize);
        }
        header(cd, true);
    }
    const auto cdOffset = static_cast<std::uint32_t>(out.size());
    out.insert(out.end(), cd.begin(), cd.end());
    putU32(out, 0x06054b50);
    putU32(out, 0);
    putU16(out, static_cast<std::uint16_t>(entries.size()));
    putU16(out, static_cast<std::uint16_t>(entries.size()));
    putU32(out, static_cast<std::uint32_t>(cd.size()));
    putU32(out, cdOffset);
    putU16(out, static_cast<std::uint16_t>(comment.size()));
    out.insert(out.end(), comment.begin(), comment.end());
    return out;
}

// Offset of the end record of an archive built above without a comment.
inline std::size_t endRecordOf(const Bytes& zip) { return zip.size() - 22; }

}  // namespace orvandel::test
