#include "container/ZipArchive.hpp"
#include "container/PptxArchive.hpp"

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
constexpr std::uint32_t kZip64EndSig = 0x06064b50;
constexpr std::uint32_t kZip64LocatorSig = 0x07064b50;
constexpr std::uint16_t kZip64ExtraId = 0x0001;
constexpr std::int64_t kZip64EndSize = 56;
constexpr std::int64_t kZip64LocatorSize = 20;
constexpr std::uint16_t kVersionClassic = 20;
constexpr std::uint16_t kVersionZip64 = 45;
constexpr std::int64_t kEndSize = 22;
constexpr std::int64_t kCentralSize = 46;
constexpr std::int64_t kMaxComment = 65535;
constexpr std::int64_t kMax32 = 0xFFFFFFFF;
constexpr std::uint16_t kUtf8NameFlag = 0x0800;
constexpr std::uint16_t kDataDescriptorFlag = 0x0008;

// Writing past the classic format's limits would produce an archive that
// lies about its sizes; no caller can recover from that, so it aborts.
[[noreturn]] void limitFault(const char* what, std::int64_t value) {
    std::fprintf(stderr, "orvandel: fatal: ZIP %s %" PRId64 " exceeds the classic format's limit\n", what, value);
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

std::int64_t size64(std::span<const std::uint8_t> b) { return static_cast<std::int64_t>(b.size()); }

void putU64(Bytes& out, std::uint64_t value) {
    for (int shift = 0; shift < 64; shift += 8) out.push_back(static_cast<std::uint8_t>(value >> shift));
}

std::uint64_t u64(std::span<const std::uint8_t> data, std::size_t offset) {
    return static_cast<std::uint64_t>(u32(data, offset)) | (static_cast<std::uint64_t>(u32(data, offset + 4)) << 32);
}

// A value past the classic 32-bit fields goes into the ZIP64 extra field.
bool needs64(std::int64_t value) { return value >= kMax32; }
std::uint32_t field32(std::int64_t value) { return needs64(value) ? 0xFFFFFFFFu : static_cast<std::uint32_t>(value); }

// The ZIP64 extra field holding, in this order, the values that did not fit.
Bytes zip64Extra(std::initializer_list<std::int64_t> values) {
    Bytes extra;
    for (const std::int64_t v : values) {
        if (needs64(v)) putU64(extra, static_cast<std::uint64_t>(v));
    }
    if (extra.empty()) return extra;
    Bytes field;
    putU16(field, kZip64ExtraId);
    putU16(field, static_cast<std::uint16_t>(extra.size()));
    field.insert(field.end(), extra.begin(), extra.end());
    return field;
}

std::size_t idx(std::int64_t v) { return static_cast<std::size_t>(v); }

void append(Bytes& out, std::span<const std::uint8_t> bytes) { out.insert(out.end(), bytes.begin(), bytes.end()); }

void putLocalHeader(Bytes& out, const std::string& name, std::uint16_t flags, std::uint32_t timeDate, std::uint32_t crc,
                    std::int64_t size) {
    // A local ZIP64 field holds both sizes whenever either does not fit.
    const Bytes extra = needs64(size) ? zip64Extra({size, size}) : Bytes{};
    putU32(out, kLocalSig);
    putU16(out, extra.empty() ? kVersionClassic : kVersionZip64);
    putU16(out, flags);
    putU16(out, 0);
    putU32(out, timeDate);
    putU32(out, crc);
    putU32(out, field32(size));
    putU32(out, field32(size));
    putU16(out, fit16("name length", static_cast<std::int64_t>(name.size())));
    putU16(out, static_cast<std::uint16_t>(extra.size()));
    out.insert(out.end(), name.begin(), name.end());
    out.insert(out.end(), extra.begin(), extra.end());
}

void putCentralRecord(Bytes& out, const std::string& name, std::uint32_t crc, std::int64_t size,
                      std::int64_t localOffset) {
    const Bytes extra = zip64Extra({size, size, localOffset});
    const std::uint16_t version = extra.empty() ? kVersionClassic : kVersionZip64;
    putU32(out, kCentralSig);
    putU16(out, version);
    putU16(out, version);
    putU16(out, 0);
    putU16(out, 0);
    putU32(out, 0);  // time and date
    putU32(out, crc);
    putU32(out, field32(size));
    putU32(out, field32(size));
    putU16(out, fit16("name length", static_cast<std::int64_t>(name.size())));
    putU16(out, static_cast<std::uint16_t>(extra.size()));
    putU16(out, 0);
    putU16(out, 0);
    putU16(out, 0);
    putU32(out, 0);
    putU32(out, field32(localOffset));
    out.insert(out.end(), name.begin(), name.end());
    out.insert(out.end(), extra.begin(), extra.end());
}

// The end of an archive whose central directory runs from cdStart for cdSize
// bytes: the classic end record, preceded by a ZIP64 end record and its
// locator when a count, size or offset does not fit the classic fields.
void putEndRecord(Bytes& out, std::size_t count, std::int64_t cdSize, std::int64_t cdStart) {
    const auto entries = static_cast<std::int64_t>(count);
    const bool zip64 = entries >= 0xFFFF || needs64(cdSize) || needs64(cdStart);
    if (zip64) {
        const std::int64_t zip64End = cdStart + cdSize;
        putU32(out, kZip64EndSig);
        putU64(out, kZip64EndSize - 12);  // the record's size after this field
        putU16(out, kVersionZip64);
        putU16(out, kVersionZip64);
        putU32(out, 0);
        putU32(out, 0);
        putU64(out, static_cast<std::uint64_t>(entries));
        putU64(out, static_cast<std::uint64_t>(entries));
        putU64(out, static_cast<std::uint64_t>(cdSize));
        putU64(out, static_cast<std::uint64_t>(cdStart));
        putU32(out, kZip64LocatorSig);
        putU32(out, 0);
        putU64(out, static_cast<std::uint64_t>(zip64End));
        putU32(out, 1);
    }
    putU32(out, kEndSig);
    putU16(out, 0);
    putU16(out, 0);
    putU16(out, zip64 ? 0xFFFF : static_cast<std::uint16_t>(count));
    putU16(out, zip64 ? 0xFFFF : static_cast<std::uint16_t>(count));
    putU32(out, zip64 ? 0xFFFFFFFFu : static_cast<std::uint32_t>(cdSize));
    putU32(out, zip64 ? 0xFFFFFFFFu : static_cast<std::uint32_t>(cdStart));
    putU16(out, 0);
}

}  // namespace

ZipError::ZipError(Case c, std::string name, const std::string& description)
    : Error(description), case_(c), name_(std::move(name)) {}

ZipError ZipError::entryNotFound(const std::string& name) {
    return ZipError(Case::entryNotFound, name, "entry not in archive: " + name);
}
ZipError ZipError::notAZip() { return ZipError(Case::notAZip, "", "no end-of-central-directory record (not a ZIP)"); }
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
           (static_cast<std::uint32_t>(data[offset + 2]) << 16) | (static_cast<std::uint32_t>(data[offset + 3]) << 24);
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
    if (end.entryCount != 0xFFFF && end.cdSize != kMax32 && end.cdOffset != kMax32) return end;

    // Saturated fields: the ZIP64 end record, found through the locator that
    // stands right before the classic record, holds the real values.
    const std::int64_t locator = *eocd - kZip64LocatorSize;
    if (locator < tail.fileOffset || u32(tail.bytes, idx(locator - tail.fileOffset)) != kZip64LocatorSig) {
        throw ZipError::zip64Unsupported();
    }
    const std::uint64_t recordAt = u64(tail.bytes, idx(locator - tail.fileOffset) + 8);
    if (recordAt > static_cast<std::uint64_t>(locator - kZip64EndSize) ||
        static_cast<std::int64_t>(recordAt) < tail.fileOffset) {
        throw ZipError::badCentralDirectory();
    }
    const std::size_t z = idx(static_cast<std::int64_t>(recordAt) - tail.fileOffset);
    if (u32(tail.bytes, z) != kZip64EndSig) throw ZipError::badCentralDirectory();
    const std::uint64_t count = u64(tail.bytes, z + 32), size = u64(tail.bytes, z + 40),
                        offset = u64(tail.bytes, z + 48);
    if (count > static_cast<std::uint64_t>(locator) || size > recordAt || offset > recordAt - size) {
        throw ZipError::badCentralDirectory();
    }
    end.entryCount = static_cast<std::int64_t>(count);
    end.cdSize = static_cast<std::int64_t>(size);
    end.cdOffset = static_cast<std::int64_t>(offset);
    return end;
}

namespace {

// Replaces the saturated fields of a central record with the values of its
// ZIP64 extra field (which holds, in this order, only those that are
// saturated: uncompressed size, compressed size, local header offset).
void resolveZip64(CDEntry& entry, std::span<const std::uint8_t> extra) {
    std::int64_t* saturated[3] = {};
    int wanted = 0;
    for (std::int64_t* field : {&entry.uncompressedSize, &entry.compressedSize, &entry.localOffset}) {
        if (*field == kMax32) saturated[wanted++] = field;
    }
    if (wanted == 0) return;
    for (std::size_t at = 0; at + 4 <= extra.size();) {
        const std::size_t length = u16(extra, at + 2);
        if (at + 4 + length > extra.size()) break;
        if (u16(extra, at) == kZip64ExtraId) {
            if (length < 8 * static_cast<std::size_t>(wanted)) throw ZipError::badCentralDirectory();
            for (int k = 0; k < wanted; ++k) {
                const std::uint64_t v = u64(extra, at + 4 + 8 * static_cast<std::size_t>(k));
                if (v > static_cast<std::uint64_t>(INT64_MAX)) throw ZipError::badCentralDirectory();
                *saturated[k] = static_cast<std::int64_t>(v);
            }
            return;
        }
        at += 4 + length;
    }
    // Saturated without a ZIP64 field: an archive of exactly 4 GiB - 1, or a lie.
}

}  // namespace

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
        const std::int64_t extraLen = u16(rec, 30);
        const std::int64_t next = pos + kCentralSize + nameLen + extraLen + u16(rec, 32);
        if (next > length) throw ZipError::badCentralDirectory();
        const std::string_view name(reinterpret_cast<const char*>(rec.data()) + kCentralSize, idx(nameLen));
        CDEntry entry{isValidUtf8(name) ? std::string(name) : std::string(),
                      u16(rec, 8),
                      u32(rec, 42),
                      ByteRange{pos, next},
                      u16(rec, 10),
                      u32(rec, 16),
                      u32(rec, 20),
                      u32(rec, 24)};
        resolveZip64(entry, rec.subspan(idx(kCentralSize + nameLen), idx(extraLen)));
        result.entries.push_back(std::move(entry));
        pos = next;
    }
    return result;
}

ParseResult parse(std::span<const std::uint8_t> data) {
    const Window whole{data, 0};
    return parse(whole, readEndRecord(whole));
}

std::vector<std::string> entryNames(const std::filesystem::path& archive) {
    const Bytes data = readFile(archive);
    std::vector<std::string> names;
    for (auto& e : parse(data).entries) names.push_back(std::move(e.name));
    return names;
}

namespace {

// Sets the sizes and local offset of a copied central record at `at`: in
// the classic fields, or, for a field the record saturates (0xFFFFFFFF), in
// its slot of the record's ZIP64 extra field, which keeps the record's layout.
void patchCentralValues(Bytes& out, std::size_t at, std::int64_t uncompressed, std::int64_t compressed,
                        std::int64_t localOffset) {
    const std::size_t nameLen = u16(out, at + 28), extraLen = u16(out, at + 30);
    std::size_t zip64Slot = SIZE_MAX;
    for (std::size_t e = at + kCentralSize + nameLen; e + 4 <= at + kCentralSize + nameLen + extraLen;) {
        if (u16(out, e) == kZip64ExtraId) {
            zip64Slot = e + 4;
            break;
        }
        e += 4 + u16(out, e + 2);
    }
    const std::pair<std::size_t, std::int64_t> fields[] = {{24, uncompressed}, {20, compressed}, {42, localOffset}};
    for (const auto& [offset, value] : fields) {
        if (u32(out, at + offset) == kMax32 && zip64Slot != SIZE_MAX) {
            for (int k = 0; k < 8; ++k)
                out[zip64Slot + idx(k)] = static_cast<std::uint8_t>(static_cast<std::uint64_t>(value) >> (8 * k));
            zip64Slot += 8;
        } else {
            patchU32(out, at + offset, fit32(offset == 42 ? "offset" : "entry size", value));
        }
    }
}

}  // namespace

namespace {

// Writes a file front to back, counting where it is; small pieces gather in a
// buffer, large ones go straight to the file, so nothing is held twice.
class Sink {
public:
    explicit Sink(const std::filesystem::path& to) : to_(to) {
        fd_ = ::open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        if (fd_ < 0) throw FileError("open for writing", to.string(), errno);
    }
    ~Sink() {
        if (fd_ >= 0) ::close(fd_);
    }
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;

    std::int64_t position() const { return written_ + size64(buffer_); }
    Bytes& buffer() { return buffer_; }
    void write(std::span<const std::uint8_t> bytes) {
        if (bytes.size() < (std::size_t(1) << 16)) {
            append(buffer_, bytes);
            return;
        }
        flush();
        writeAll(bytes);
    }
    // Overwrites four bytes already written (or still gathered) at `offset`.
    void patchU32(std::int64_t offset, std::uint32_t value) {
        if (offset >= written_) {
            ZipArchive::patchU32(buffer_, static_cast<std::size_t>(offset - written_), value);
            return;
        }
        const std::uint8_t bytes[4] = {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
                                       static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)};
        if (::pwrite(fd_, bytes, 4, static_cast<off_t>(offset)) != 4) throw FileError("write", to_.string(), errno);
    }
    // synced: the file is flushed to disk too, before its descriptor goes.
    void close(bool synced = false) {
        flush();
        if (synced && ::fsync(fd_) != 0) throw FileError("write", to_.string(), errno);
        const int fd = fd_;
        fd_ = -1;
        if (::close(fd) != 0) throw FileError("write", to_.string(), errno);
    }

private:
    void flush() {
        writeAll(buffer_);
        buffer_.clear();
    }
    void writeAll(std::span<const std::uint8_t> bytes) {
        const std::uint8_t* data = bytes.data();
        std::size_t size = bytes.size();
        while (size > 0) {
            const ssize_t w = ::write(fd_, data, size);
            if (w < 0) {
                if (errno == EINTR) continue;
                throw FileError("write", to_.string(), errno);
            }
            data += w;
            size -= static_cast<std::size_t>(w);
            written_ += w;
        }
    }

    std::filesystem::path to_;
    int fd_ = -1;
    std::int64_t written_ = 0;
    Bytes buffer_;
};

using Replacements = std::map<std::string, std::span<const std::uint8_t>>;

void rewriteArchive(std::span<const std::uint8_t> src, const Replacements& replacing, const std::filesystem::path& to,
                    const std::vector<std::pair<std::string, Bytes>>& appending = {}, bool synced = false) {
    const std::span<const std::uint8_t> srcSpan(src);
    const ParseResult parsed = parse(src);
    for (const auto& replacement : replacing) {
        const std::string& name = replacement.first;
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

    Sink out(to);
    out.write(srcSpan.first(idx(prefixEnd)));
    std::vector<std::int64_t> newOffsets(order.size());
    std::vector<std::optional<std::span<const std::uint8_t>>> newData(order.size());
    for (const std::size_t i : order) {
        const CDEntry& e = parsed.entries[i];
        newOffsets[i] = out.position();
        const auto replacement = replacing.find(e.name);
        if (replacement == replacing.end()) {
            out.write(srcSpan.subspan(idx(extents[i].begin), idx(extents[i].end - extents[i].begin)));
            continue;
        }
        const auto data = replacement->second;
        newData[i] = data;
        // Readers compare the local and central name-encoding flag; keep them agreeing.
        const auto flags = static_cast<std::uint16_t>(e.flags & kUtf8NameFlag);
        putLocalHeader(out.buffer(), e.name, flags, u32(srcSpan, idx(e.cdRange.begin + 12)), crc32(data),
                       static_cast<std::int64_t>(data.size()));
        out.write(data);
    }
    std::vector<std::int64_t> appendedOffsets;
    std::vector<std::uint32_t> appendedCrcs;
    for (const auto& [name, data] : appending) {
        appendedOffsets.push_back(out.position());
        appendedCrcs.push_back(crc32(data));
        putLocalHeader(out.buffer(), name, 0, 0, appendedCrcs.back(), size64(data));
        out.write(data);
    }

    // The directory and the end record are small: built whole, then written.
    const std::int64_t cdStart = out.position();
    Bytes tail;
    for (std::size_t i = 0; i < parsed.entries.size(); ++i) {
        const CDEntry& e = parsed.entries[i];
        const std::size_t at = tail.size();
        append(tail, srcSpan.subspan(idx(e.cdRange.begin), idx(e.cdRange.end - e.cdRange.begin)));
        if (const auto& data = newData[i]) {
            const auto size = static_cast<std::int64_t>(data->size());
            patchU16(tail, at + 8, static_cast<std::uint16_t>(e.flags & ~kDataDescriptorFlag));
            patchU16(tail, at + 10, 0);
            patchU32(tail, at + 16, crc32(*data));
            patchCentralValues(tail, at, size, size, newOffsets[i]);
        } else {
            patchCentralValues(tail, at, e.uncompressedSize, e.compressedSize, newOffsets[i]);
        }
    }
    for (std::size_t i = 0; i < appending.size(); ++i) {
        putCentralRecord(tail, appending[i].first, appendedCrcs[i], size64(appending[i].second), appendedOffsets[i]);
    }
    const std::int64_t cdSize = size64(tail);
    // The record and its comment only: stray bytes after it are dropped.
    const std::size_t endAt = tail.size();
    append(tail, srcSpan.subspan(idx(parsed.eocd), idx(kEndSize + parsed.commentLen)));
    if (!appending.empty()) {
        const std::size_t count = parsed.entries.size() + appending.size();
        if (count >= 0xFFFF) throw ZipError::zip64Unsupported();
        patchU16(tail, endAt + 8, static_cast<std::uint16_t>(count));
        patchU16(tail, endAt + 10, static_cast<std::uint16_t>(count));
    }
    patchU32(tail, endAt + 12, fit32("central directory size", cdSize));
    patchU32(tail, endAt + 16, fit32("offset", cdStart));
    out.write(tail);
    out.close(synced);
}

}  // namespace

void rewrite(const std::filesystem::path& archive, const std::map<std::string, Bytes>& replacing,
             const std::filesystem::path& to, const std::vector<std::pair<std::string, Bytes>>& appending) {
    Replacements views;
    for (const auto& [name, bytes] : replacing) views.emplace(name, bytes);
    rewriteArchive(readFile(archive), views, to, appending);
}

void rewrite(PptxArchive::Deck& source, const std::map<std::string, Bytes>& replacing, const std::filesystem::path& to,
             const std::vector<std::pair<std::string, Bytes>>& appending) {
    Replacements views;
    for (const auto& [name, bytes] : replacing) views.emplace(name, bytes);
    rewriteArchive(source.wholeFile(), views, to, appending);
}

void rewriteText(PptxArchive::Deck& source, const std::map<std::string, std::string>& replacing,
                 const std::filesystem::path& to) {
    Replacements views;
    for (const auto& [name, text] : replacing) {
        views.emplace(name, std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
    }
    rewriteArchive(source.wholeFile(), views, to, {}, true);
}

void create(const std::vector<std::pair<std::string, Bytes>>& entries, const std::filesystem::path& to) {
    Bytes out;
    std::vector<std::int64_t> offsets;
    std::vector<std::uint32_t> crcs;
    offsets.reserve(entries.size());
    for (const auto& [name, data] : entries) {
        offsets.push_back(size64(out));
        crcs.push_back(crc32(data));
        putLocalHeader(out, name, 0, 0, crcs.back(), size64(data));
        append(out, data);
    }
    const std::int64_t cdStart = size64(out);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        putCentralRecord(out, entries[i].first, crcs[i], size64(entries[i].second), offsets[i]);
    }
    putEndRecord(out, entries.size(), size64(out) - cdStart, cdStart);
    writeFile(to, out);
}

void createStreaming(const std::vector<StreamedEntry>& entries, const std::filesystem::path& to) {
    Sink out(to);
    struct Closer {
        int fd;
        ~Closer() {
            if (fd >= 0) ::close(fd);
        }
    };
    std::vector<std::int64_t> offsets, sizes;
    std::vector<std::uint32_t> crcs;
    Bytes chunk;
    for (const auto& entry : entries) {
        const std::int64_t offset = out.position();
        offsets.push_back(offset);
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
        // The CRC is known only after the data went by: a placeholder now,
        // patched in place afterwards.
        putLocalHeader(out.buffer(), entry.name, 0, 0, 0, size);
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
                const std::span<const std::uint8_t> piece(chunk.data(), static_cast<std::size_t>(r));
                crc = crc32Continue(crc, piece);
                out.write(piece);
                copied += r;
            }
            if (copied != size) throw FileError("read (it changed while being copied)", entry.file->string(), EIO);
        } else {
            crc = crc32(entry.data);
            out.write(entry.data);
        }
        out.patchU32(offset + 14, crc);
        crcs.push_back(crc);
        sizes.push_back(size);
    }
    Bytes tail;
    const std::int64_t cdStart = out.position();
    for (std::size_t i = 0; i < entries.size(); ++i)
        putCentralRecord(tail, entries[i].name, crcs[i], sizes[i], offsets[i]);
    putEndRecord(tail, entries.size(), size64(tail), cdStart);
    out.write(tail);
    out.close();
}

}  // namespace orvandel::ZipArchive
