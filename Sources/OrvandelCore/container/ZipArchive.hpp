#pragma once
// A minimal ZIP reader and writer: list an archive's entry names, write a
// copy in which some entries get new contents (every other byte is kept), and
// create a new archive of stored entries. It never compresses or
// decompresses; kept entries travel as byte ranges.
//
// The writers that create archives write ZIP64 records exactly where an entry
// or the archive passes the classic limits (a long lesson's movie passes
// 4 GiB), and the classic format everywhere else, so that small archives are
// byte for byte what they always were. The reader reads both. A rewrite keeps
// the classic format: data or offsets beyond 4 294 967 295 bytes there, names
// above 65 535 bytes and 65 535 or more entries cannot be written, a fatal
// fault (message on stderr, abort), not a reported error.
#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "base/Bytes.hpp"
#include "base/Error.hpp"

namespace orvandel::PptxArchive {
class Deck;
}

namespace orvandel::ZipArchive {

class ZipError : public Error {
public:
    enum class Case { entryNotFound, notAZip, zip64Unsupported, badCentralDirectory };

    static ZipError entryNotFound(const std::string& name);
    static ZipError notAZip();
    static ZipError zip64Unsupported();
    static ZipError badCentralDirectory();

    Case errorCase() const { return case_; }
    // The missing entry's name (entryNotFound only).
    const std::string& name() const { return name_; }

private:
    ZipError(Case c, std::string name, const std::string& description);
    Case case_;
    std::string name_;
};

// Half-open range of byte offsets in the archive.
struct ByteRange {
    std::int64_t begin = 0;
    std::int64_t end = 0;
    bool operator==(const ByteRange&) const = default;
};

// One central-directory record as parsed; sizes and offset resolved through
// its ZIP64 extra field when the classic fields say 0xFFFFFFFF.
struct CDEntry {
    std::string name;        // decoded as UTF-8; "" when the bytes are not UTF-8
    std::int64_t flags = 0;  // general-purpose bit flags of the central record
    std::int64_t localOffset = 0;
    ByteRange cdRange;  // the record, from its signature to the end of its comment
    std::int64_t method = 0;
    std::uint32_t crc = 0;
    std::int64_t compressedSize = 0;
    std::int64_t uncompressedSize = 0;
    bool operator==(const CDEntry&) const = default;
};

struct ParseResult {
    std::vector<CDEntry> entries;  // central-directory order
    std::int64_t eocd = 0;         // offset of the end-of-central-directory record
    std::int64_t cdOffset = 0;
    std::int64_t commentLen = 0;
    bool operator==(const ParseResult&) const = default;
};

// The end-of-central-directory record's fields that locate the directory.
struct EndRecord {
    std::int64_t eocd = 0;
    std::int64_t entryCount = 0;
    std::int64_t cdSize = 0;
    std::int64_t cdOffset = 0;
    std::int64_t commentLen = 0;
    bool operator==(const EndRecord&) const = default;
};

// The last bytes of an archive: bytes[i] is the archive's byte at
// fileOffset + i, and the window runs to the archive's end. A reader that
// seeks passes only the tail it read; a whole archive is the window at 0.
struct Window {
    std::span<const std::uint8_t> bytes;
    std::int64_t fileOffset = 0;
    std::int64_t fileLength() const { return fileOffset + static_cast<std::int64_t>(bytes.size()); }
};

// The entry names in central-directory order, directories included.
// Throws ZipError, FileError.
std::vector<std::string> entryNames(const std::filesystem::path& archive);

// Copies `archive` to `to`, with each entry named in `replacing` holding its new
// bytes (stored), and the `appending` entries (stored, new names) after the
// others. Every key must name an entry (else entryNotFound and nothing is
// written). Throws ZipError, FileError.
void rewrite(const std::filesystem::path& archive, const std::map<std::string, Bytes>& replacing,
             const std::filesystem::path& to, const std::vector<std::pair<std::string, Bytes>>& appending = {});
// The same from a deck already open, which is not opened again.
void rewrite(PptxArchive::Deck& source, const std::map<std::string, Bytes>& replacing, const std::filesystem::path& to,
             const std::vector<std::pair<std::string, Bytes>>& appending = {});
// The same with text contents (a rewritten slide), written without a copy
// and flushed to disk before it returns (AtomicFile::replace's writtenToDisk).
void rewriteText(PptxArchive::Deck& source, const std::map<std::string, std::string>& replacing,
                 const std::filesystem::path& to);

// Writes a new archive of stored entries in the given order, overwriting `to`.
// Throws FileError.
void create(const std::vector<std::pair<std::string, Bytes>>& entries, const std::filesystem::path& to);

// One entry for createStreaming: its bytes, or a file whose contents are
// copied in chunks.
struct StreamedEntry {
    std::string name;
    Bytes data;
    std::optional<std::filesystem::path> file;
};

// Writes exactly the archive `create` would write for the same names and
// contents, but copies file entries in chunks, so that memory stays small
// whatever their size. Throws FileError.
void createStreaming(const std::vector<StreamedEntry>& entries, const std::filesystem::path& to);

// The reflected CRC-32 of ZIP; the CRC of no data is 0.
std::uint32_t crc32(std::span<const std::uint8_t> data);
// The CRC of data following bytes whose CRC was `crc` (0 for none).
std::uint32_t crc32Continue(std::uint32_t crc, std::span<const std::uint8_t> data);
// Its 256-entry table, built once on first use.
const std::array<std::uint32_t, 256>& crcTable();

// Little-endian readers; the caller guarantees offset + width <= size.
std::uint16_t u16(std::span<const std::uint8_t> data, std::size_t offset);
std::uint32_t u32(std::span<const std::uint8_t> data, std::size_t offset);
void putU16(Bytes& out, std::uint16_t value);
void putU32(Bytes& out, std::uint32_t value);
void patchU16(Bytes& out, std::size_t offset, std::uint16_t value);
void patchU32(Bytes& out, std::size_t offset, std::uint32_t value);

// The offset of the end-of-central-directory record: the candidate nearest
// the end whose comment ends at or before the archive's end (a few stray
// bytes after the record are tolerated). The window must hold the last
// 65 557 bytes of the archive, or all of it.
std::optional<std::int64_t> findEOCD(Window tail);
std::optional<std::int64_t> findEOCD(std::span<const std::uint8_t> data);

// Finds and reads the end record, and the ZIP64 end record it points to when
// its fields are saturated. Throws notAZip, badCentralDirectory (a ZIP64
// record missing or outside the window), zip64Unsupported (ZIP64 markers
// without a ZIP64 record to resolve them).
EndRecord readEndRecord(Window tail);

// Parses the central directory that `end` locates. The window must start at
// or before end.cdOffset unless the directory is empty or starts beyond the
// archive. Throws badCentralDirectory.
ParseResult parse(Window window, const EndRecord& end);
// The whole archive in memory. Throws ZipError.
ParseResult parse(std::span<const std::uint8_t> data);

}  // namespace orvandel::ZipArchive
