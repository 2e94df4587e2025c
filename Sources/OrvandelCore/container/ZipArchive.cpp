#include "container/ZipArchive.hpp"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/Checked.hpp"

#include <zlib.h>

namespace orvandel::ZipArchive {

namespace {

constexpr std::uint32_t kLocalSig = 0x04034b50;
constexpr std::uint32_t kCentralSig = 0x02014b50;
constexpr std::uint32_t kEndSig = 0x06054b50;
constexpr std::int64_t kEndSize = 22;
constexpr std::int64_t kCentralSize = 46;
constexpr std::int64_t kMaxComment = 65535;
constexpr std::int64_t kMax32 = 0xFFFFFFFF;
constexpr std::uint16_t kUtf8NameFlag = 0x0800;
constexpr std::uint16_t kDataDescriptorFlag = 0x0008;

// Writing past the classic format's limits would produce an archive that
// lies about its sizes; no caller can recover from that, so it aborts.
[[noreturn]] void limitFault(const char* what, std::int64_t value) {
    std::fprintf(stderr, "orvandel: fatal: ZIP %s %" PRId64 " exceeds the classic format's limit\n", what,
                 value);
    std::abort();
}

std::uint32_t fit32(const char* what, std::int64_t value) {
    if (value < 0 || value > kMax32) limitFault(what, value);
    return static_cast<std::uint32_t>(value);
}

std::uint16_t fit16(const char* what, std::int64_t value) {
    if (value < 0 || value > 0xFFFF) limitFault(what, value);
    return static_cast<std::uint16_t>(value);
}

std::int64_t size64(const Bytes& b) { return static_cast<std::int64_t>(b.size()); }

std::size_t idx(std::int64_t v) { return static_cast<std::size_t>(v); }

void append(Bytes& out, std::span<const std::uint8_t> bytes) { out.insert(out.end(), bytes.begin(), bytes.end()); }

void putLocalHeader(Bytes& out, const std::string& name, std::uint16_t flags, std::uint32_t timeDate,
                    std::uint32_t crc, std::int64_t size) {
    putU32(out, kLocalSig);
    putU16(out, 20);
    putU16(out, flags);
    putU16(out, 0);
    putU32(out, timeDate);
    putU32(out, crc);
    putU32(out, fit32("entry size", size));
    putU32(out, fit32("entry size", size));
    putU16(out, fit16("name length", static_cast<std::int64_t>(name.size())));
    putU16(out, 0);
    out.insert(out.end(), name.begin(), name.end());
}

void appendLocalHeader(Bytes& out, const std::string& name, const Bytes& data, std::uint16_t flags,
                       std::uint32_t timeDate) {
    putLocalHeader(out, name, flags, timeDate, crc32(data), size64(data));
    append(out, data);
}

void putCentralRecord(Bytes& out, const std::string& name, std::uint32_t crc, std::int64_t size,
                      std::uint32_t localOffset) {
    putU32(out, kCentralSig);
    putU16(out, 20);
    putU16(out, 20);
    putU16(out, 0);
    putU16(out, 0);
    putU32(out, 0);  // time and date
    putU32(out, crc);
    putU32(out, fit32("entry size", size));
    putU32(out, fit32("entry size", size));
    putU16(out, fit16("name length", static_cast<std::int64_t>(name.size())));
    putU16(out, 0);
    putU16(out, 0);
    putU16(out, 0);
    putU16(out, 0);
    putU32(out, 0);
    putU32(out, localOffset);
    out.insert(out.end(), name.begin(), name.end());
}

void putEndRecord(Bytes& out, std::size_t count, std::uint32_t cdSize, std::uint32_t cdStart) {
    putU32(out, kEndSig);
    putU16(out, 0);
    putU16(out, 0);
    putU16(out, static_cast<std::uint16_t>(count));
    putU16(out, static_cast<std::uint16_t>(count));
    putU32(out, cdSize);
    putU32(out, cdStart);
    putU16(out, 0);
}

}  // namespace

ZipError::ZipError(Case c, std::string name, const std::string& description)
    : Error(description), case_(c), name_(std::move(name)) {}

ZipError ZipError::entryNotFound(const std::string& name) {
    return ZipError(Case::entryNotFound, name, "entry not in archive: " + name);
}
ZipError ZipError::notAZip() {
    return ZipError(Case::notAZip, "", "no end-of-central-directory record (not a ZIP)");
}
ZipError ZipError::zip64Unsupported() {
    return ZipError(Case::zip64Unsupported, "", "ZIP64 archives are not supported");
}
ZipError ZipError::badCentralDirectory() {
    return ZipError(Case::badCentralDirectory, "", "malformed central directory");
}

const std::array<std::uint32_t, 256>& crcTable() {
    static const std::array<std::uint32_t, 256> table = [] {
        std::array<std::uint32_t, 256> t{};
        for (std::uint32_t i = 0; i < 256; ++i) {
            std::uint32_t c = i;
            for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            t[i] = c;
        }
        return t;
    }();
    return table;
}

std::uint32_t crc32Continue(std::uint32_t crc, std::span<const std::uint8_t> data) {
    // Small inputs (slide parts, manifests) go through the table; large ones
    // (master movies, up to gigabytes) through zlib's word-at-a-time CRC of
    // the same polynomial, several times faster.
    if (data.size() >= 4096) {
        return static_cast<std::uint32_t>(::crc32_z(crc, data.data(), data.size()));
    }
    const auto& table = crcTable();
    std::uint32_t c = crc ^ 0xFFFFFFFFu;
    for (const std::uint8_t b : data) c = table[(c ^ b) & 0xFF] ^ (c >> 8);
    return c ^ 0xFFFFFFFFu;
}

std::uint32_t crc32(std::span<const std::uint8_t> data) { return crc32Continue(0, data); }

std::uint16_t u16(std::span<const std::uint8_t> data, std::size_t offset) {
    return static_cast<std::uint16_t>(data[offset] | (data[offset + 1] << 8));
}

std::uint32_t u32(std::span<const std::uint8_t> data, std::size_t offset) {
    return static_cast<std::uint32_t>(data[offset]) | (static_cast<std::uint32_t>(data[offset + 1]) << 8) |
           (static_cast<std::uint32_t>(data[offset + 2]) << 16) |
           (static_cast<std::uint32_t>(data[offset + 3]) << 24);
}

void putU16(Bytes& out, std::uint16_t value) {
    out.push_back(static_cast<std::uint8_t>(value));
    out.push_back(static_cast<std::uint8_t>(value >> 8));
}

void putU32(Bytes& out, std::uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) out.push_back(static_cast<std::uint8_t>(value >> shift));
}

void patchU16(Bytes& out, std::size_t offset, std::uint16_t value) {
    out[offset] = static_cast<std::uint8_t>(value);
    out[offset + 1] = static_cast<std::uint8_t>(value >> 8);
}

void patchU32(Bytes& out, std::size_t offset, std::uint32_t value) {
    for (int k = 0; k < 4; ++k) out[offset + idx(k)] = static_cast<std::uint8_t>(value >> (8 * k));
}

std::optional<std::int64_t> findEOCD(Window tail) {
    const std::int64_t length = tail.fileLength();
    if (length < kEndSize) return std::nullopt;
    const std::int64_t lowest = std::max({std::int64_t{0}, length - (kEndSize + kMaxComment), tail.fileOffset});
    for (std::int64_t candidate = length - kEndSize; candidate >= lowest; --candidate) {
        const std::size_t at = idx(candidate - tail.fileOffset);
        if (u32(tail.bytes, at) != kEndSig) continue;
        if (candidate + kEndSize + u16(tail.bytes, at + 20) <= length) return candidate;
    }
    return std::nullopt;
}

std::optional<std::int64_t> findEOCD(std::span<const std::uint8_t> data) { return findEOCD(Window{data, 0}); }

EndRecord readEndRecord(Window tail) {
    const auto eocd = findEOCD(tail);
    if (!eocd) throw ZipError::notAZip();
    const std::size_t at = idx(*eocd - tail.fileOffset);
    EndRecord end;
    end.eocd = *eocd;
    end.entryCount = u16(tail.bytes, at + 10);
    end.cdSize = u32(tail.bytes, at + 12);
    end.cdOffset = u32(tail.bytes, at + 16);
    end.commentLen = u16(tail.bytes, at + 20);
    if (end.entryCount == 0xFFFF || end.cdSize == kMax32 || end.cdOffset == kMax32) {
        throw ZipError::zip64Unsupported();
    }
    return end;
}

ParseResult parse(Window window, const EndRecord& end) {
    ParseResult result{{}, end.eocd, end.cdOffset, end.commentLen};
    const std::int64_t length = window.fileLength();
    std::int64_t pos = end.cdOffset;
    for (std::int64_t i = 0; i < end.entryCount; ++i) {
        if (pos + kCentralSize > length) throw ZipError::badCentralDirectory();
        if (pos < window.fileOffset) throw std::logic_error("ZIP window starts after the central directory");
        const auto rec = window.bytes.subspan(idx(pos - window.fileOffset));
        if (u32(rec, 0) != kCentralSig) throw ZipError::badCentralDirectory();
        const std::int64_t nameLen = u16(rec, 28);
        const std::int64_t next = pos + kCentralSize + nameLen + u16(rec, 30) + u16(rec, 32);
        if (next > length) throw ZipError::badCentralDirectory();
        const std::string_view name(reinterpret_cast<const char*>(rec.data()) + kCentralSize, idx(nameLen));
        result.entries.push_back(CDEntry{isValidUtf8(name) ? std::string(name) : std::string(), u16(rec, 8),
                                         u32(rec, 42), ByteRange{pos, next}});
        pos = next;
    }
    return result;
}

ParseResult parse(std::span<const std::uint8_t> data) {
    const Window whole{data, 0};
    return parse(whole, readEndRecord(whole));
}

std::vector<std::string> entryNames(const std::filesystem::path& url) {
    const Bytes data = readFile(url);
    std::vector<std::string> names;
    for (auto& e : parse(data).entries) names.push_back(std::move(e.name));
    return names;
}

void rewrite(const std::filesystem::path& url, const std::map<std::string, Bytes>& replacing,
             const std::filesystem::path& to) {
    const Bytes src = readFile(url);
    const std::span<const std::uint8_t> srcSpan(src);
    const ParseResult parsed = parse(src);
    for (const auto& [name, bytes] : replacing) {
        const bool known = std::any_of(parsed.entries.begin(), parsed.entries.end(),
                                       [&](const CDEntry& e) { return e.name == name; });
        if (!known) throw ZipError::entryNotFound(name);
    }

    // An entry's extent runs to the next local header (or the directory), so
    // its data, any data descriptor and any padding travel with it.
    std::vector<std::size_t> order(parsed.entries.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return parsed.entries[a].localOffset < parsed.entries[b].localOffset;
    });
    std::vector<ByteRange> extents(order.size());
    for (std::size_t k = 0; k < order.size(); ++k) {
        const std::int64_t begin = parsed.entries[order[k]].localOffset;
        const std::int64_t end = k + 1 < order.size() ? parsed.entries[order[k + 1]].localOffset : parsed.cdOffset;
        if (end < begin || end > size64(src)) throw ZipError::badCentralDirectory();
        extents[order[k]] = ByteRange{begin, end};
    }
    const std::int64_t prefixEnd = order.empty() ? std::min(parsed.cdOffset, size64(src))
                                                 : parsed.entries[order.front()].localOffset;

    Bytes out;
    out.reserve(src.size() + 4096);
    append(out, srcSpan.first(idx(prefixEnd)));
    std::vector<std::int64_t> newOffsets(order.size());
    std::vector<const Bytes*> newData(order.size(), nullptr);
    for (const std::size_t i : order) {
        const CDEntry& e = parsed.entries[i];
        newOffsets[i] = size64(out);
        const auto replacement = replacing.find(e.name);
        if (replacement == replacing.end()) {
            append(out, srcSpan.subspan(idx(extents[i].begin), idx(extents[i].end - extents[i].begin)));
            continue;
        }
        newData[i] = &replacement->second;
        // Readers compare the local and central name-encoding flag; keep them agreeing.
        const auto flags = static_cast<std::uint16_t>(e.flags & kUtf8NameFlag);
        appendLocalHeader(out, e.name, replacement->second, flags, u32(srcSpan, idx(e.cdRange.begin + 12)));
    }

    const std::int64_t cdStart = size64(out);
    for (std::size_t i = 0; i < parsed.entries.size(); ++i) {
        const CDEntry& e = parsed.entries[i];
        const std::size_t at = out.size();
        append(out, srcSpan.subspan(idx(e.cdRange.begin), idx(e.cdRange.end - e.cdRange.begin)));
        patchU32(out, at + 42, fit32("offset", newOffsets[i]));
        if (const Bytes* data = newData[i]) {
            patchU16(out, at + 8, static_cast<std::uint16_t>(e.flags & ~kDataDescriptorFlag));
            patchU16(out, at + 10, 0);
            patchU32(out, at + 16, crc32(*data));
            patchU32(out, at + 20, fit32("entry size", size64(*data)));
            patchU32(out, at + 24, fit32("entry size", size64(*data)));
        }
    }
    const std::int64_t cdEnd = size64(out);
    // The record and its comment only: stray bytes after it are dropped.
    const std::size_t endAt = out.size();
    append(out, srcSpan.subspan(idx(parsed.eocd), idx(kEndSize + parsed.commentLen)));
    patchU32(out, endAt + 12, fit32("central directory size", cdEnd - cdStart));
    patchU32(out, endAt + 16, fit32("offset", cdStart));
    writeFile(to, out);
}

void create(const std::vector<std::pair<std::string, Bytes>>& entries, const std::filesystem::path& to) {
    if (entries.size() >= 0xFFFF) limitFault("entry count", static_cast<std::int64_t>(entries.size()));
    Bytes out;
    std::vector<std::uint32_t> offsets;
    std::vector<std::uint32_t> crcs;
    offsets.reserve(entries.size());
    for (const auto& [name, data] : entries) {
        offsets.push_back(fit32("offset", size64(out)));
        crcs.push_back(crc32(data));
        putLocalHeader(out, name, 0, 0, crcs.back(), size64(data));
        append(out, data);
    }
    const std::uint32_t cdStart = fit32("offset", size64(out));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        putCentralRecord(out, entries[i].first, crcs[i], size64(entries[i].second), offsets[i]);
    }
    putEndRecord(out, entries.size(), fit32("central directory size", size64(out) - cdStart), cdStart);
    writeFile(to, out);
}

void createStreaming(const std::vector<StreamedEntry>& entries, const std::filesystem::path& to) {
    if (entries.size() >= 0xFFFF) limitFault("entry count", static_cast<std::int64_t>(entries.size()));
    const int fd = ::open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) throw FileError("open for writing", to.string(), errno);
    struct Closer {
        int fd;
        ~Closer() {
            if (fd >= 0) ::close(fd);
        }
    } closer{fd};
    auto writeAll = [&](const std::uint8_t* data, std::size_t size) {
        while (size > 0) {
            const ssize_t w = ::write(fd, data, size);
            if (w < 0) {
                if (errno == EINTR) continue;
                throw FileError("write", to.string(), errno);
            }
            data += w;
            size -= static_cast<std::size_t>(w);
        }
    };

    std::int64_t offset = 0;
    std::vector<std::uint32_t> offsets, crcs;
    std::vector<std::int64_t> sizes;
    std::vector<std::uint8_t> chunk;
    for (const auto& entry : entries) {
        offsets.push_back(fit32("offset", offset));
        std::int64_t size = size64(entry.data);
        int in = -1;
        if (entry.file) {
            in = ::open(entry.file->c_str(), O_RDONLY | O_CLOEXEC);
            if (in < 0) throw FileError("open", entry.file->string(), errno);
            struct stat st {};
            if (::fstat(in, &st) != 0 || S_ISDIR(st.st_mode)) {
                const int err = S_ISDIR(st.st_mode) ? EISDIR : errno;
                ::close(in);
                throw FileError("read", entry.file->string(), err);
            }
            size = st.st_size;
        }
        Closer inCloser{in};
        // The CRC is known only after the data went by: write a placeholder
        // and patch it in place afterwards.
        Bytes header;
        putLocalHeader(header, entry.name, 0, 0, 0, size);
        writeAll(header.data(), header.size());
        std::uint32_t crc = 0;
        std::int64_t copied = 0;
        if (entry.file) {
            chunk.resize(std::size_t(1) << 20);
            for (;;) {
                const ssize_t r = ::read(in, chunk.data(), chunk.size());
                if (r < 0) {
                    if (errno == EINTR) continue;
                    throw FileError("read", entry.file->string(), errno);
                }
                if (r == 0) break;
                crc = crc32Continue(crc, std::span(chunk.data(), static_cast<std::size_t>(r)));
                writeAll(chunk.data(), static_cast<std::size_t>(r));
                copied += r;
            }
            if (copied != size) throw FileError("read (it changed while being copied)", entry.file->string(), EIO);
        } else {
            crc = crc32(entry.data);
            writeAll(entry.data.data(), entry.data.size());
            copied = size;
        }
        std::uint8_t crcBytes[4] = {static_cast<std::uint8_t>(crc), static_cast<std::uint8_t>(crc >> 8),
                                    static_cast<std::uint8_t>(crc >> 16), static_cast<std::uint8_t>(crc >> 24)};
        if (::pwrite(fd, crcBytes, 4, static_cast<off_t>(offset + 14)) != 4) throw FileError("write", to.string(), errno);
        crcs.push_back(crc);
        sizes.push_back(size);
        offset = checkedAdd(checkedAdd(offset, size64(header)), copied);
    }
    Bytes tail;
    const std::uint32_t cdStart = fit32("offset", offset);
    for (std::size_t i = 0; i < entries.size(); ++i) putCentralRecord(tail, entries[i].name, crcs[i], sizes[i], offsets[i]);
    putEndRecord(tail, entries.size(), fit32("central directory size", size64(tail)), cdStart);
    writeAll(tail.data(), tail.size());
    const int closing = closer.fd;
    closer.fd = -1;
    if (::close(closing) != 0) throw FileError("write", to.string(), errno);
}

}  // namespace orvandel::ZipArchive
