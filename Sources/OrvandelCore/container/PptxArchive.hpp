#pragma once
// Reads one entry (a part such as "ppt/presentation.xml") out of a deck, in
// process: the end of the file and the central directory are read and parsed
// with ZipArchive's parser, then only that entry's bytes are read and, when
// deflated, inflated. The whole file is never read; no buffer is sized from a
// length the file declares until the data bears it out. The free functions
// open the deck anew on every call; a Deck keeps it open with its directory
// parsed, for callers that read many entries of one deck.
//
// Failures keep the statuses of the classic extractor tool so that callers
// and users see familiar codes: 9 the deck cannot be opened or is not a ZIP
// archive, 11 no such entry, 2 a damaged archive or entry (bad directory,
// ZIP64, sizes out of bounds, bad compressed data, CRC mismatch, encryption,
// unknown method). The message names the file and says what to do.
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/Bytes.hpp"
#include "base/Error.hpp"
#include "container/ZipArchive.hpp"

namespace orvandel::PptxArchive {

inline constexpr std::int32_t statusDamaged = 2;
inline constexpr std::int32_t statusCannotOpen = 9;
inline constexpr std::int32_t statusNoSuchEntry = 11;

class ArchiveError : public Error {
public:
    enum class Case { readFailed, decodeFailed, partTooLarge };

    static ArchiveError readFailed(const std::string& entry, std::int32_t status, const std::string& message);
    static ArchiveError decodeFailed(const std::string& entry);
    // A text part that would unpack to more than largestPart() bytes.
    static ArchiveError partTooLarge(const std::string& entry, std::int64_t bytes, std::int64_t limit);

    Case errorCase() const { return case_; }
    const std::string& entry() const { return entry_; }
    std::int32_t status() const { return status_; }          // readFailed only
    const std::string& message() const { return message_; }  // readFailed only

private:
    ArchiveError(Case c, std::string entry, std::int32_t status, std::string message, const std::string& description);
    Case case_;
    std::string entry_;
    std::int32_t status_;
    std::string message_;
};

// One deck opened for many reads: the file is opened and its central
// directory parsed on the first read, and both are kept. A failure to open
// or parse is reported by every read, naming the entry asked for, exactly as
// the free functions do. Not for use by several threads at once.
class Deck {
public:
    explicit Deck(std::filesystem::path deck);
    ~Deck();
    Deck(const Deck&) = delete;
    Deck& operator=(const Deck&) = delete;

    const std::filesystem::path& path() const { return path_; }
    Bytes readEntryBytes(const std::string& entry);
    std::string readEntry(const std::string& entry);
    // The entry's bytes as readEntry bounds them (largestPart()), not checked
    // for UTF-8: for a reader that repairs the text itself.
    std::string readEntryUnchecked(const std::string& entry);
    // The first `most` bytes of the entry (all of it when shorter), read or
    // inflated no further than needed; their CRC is not checked.
    Bytes readEntryHead(const std::string& entry, std::size_t most);
    // The whole file, read through the open descriptor: for copying the
    // deck into a new archive without opening it again. Throws as a read does.
    Bytes wholeFile();
    // Every entry name in directory order, a name the archive holds twice
    // twice. Throws as a read does when the deck cannot be opened.
    std::vector<std::string> entryNames();
    // Whether the archive has an entry of that name. Throws as a read does when
    // the deck cannot be opened.
    bool contains(const std::string& entry);
    // The size the entry unpacks to as the archive's directory declares it,
    // read before any of its bytes; a read never yields more (it fails).
    // Throws as a read does when the deck cannot be opened or lacks the entry.
    std::int64_t unpackedSize(const std::string& entry);

    // Where the bytes of a stored (uncompressed) entry lie in the file, for
    // a reader that opens them in place. A compressed or encrypted entry is
    // ArchiveError::readFailed with statusDamaged, saying so.
    ZipArchive::ByteRange storedRange(const std::string& entry);
    // Copies a stored entry into a new file at `to` in chunks, so that memory
    // stays small whatever its size, and checks its CRC. afterChunk (may be
    // empty) hears the bytes copied so far and the total, and may throw to
    // stop (a cancel); `to` is then left for the caller to remove. Throws
    // ArchiveError (reading, CRC), FileError (writing).
    void extractStored(const std::string& entry, const std::filesystem::path& to,
                       const std::function<void(std::int64_t copied, std::int64_t total)>& afterChunk = {});

private:
    struct Open;
    Open& opened(const std::string& entry);
    std::filesystem::path path_;
    std::unique_ptr<Open> open_;
};

// The most a text part (slide, notes, relationships) may unpack to: 256 MiB
// unless raised. Media entries read as bytes are not limited.
std::int64_t largestPart();
void setLargestPart(std::int64_t bytes);

// The entry's bytes, CRC checked. `entry` is the name exactly as the archive
// writes it (no patterns). Throws ArchiveError (readFailed).
Bytes readEntryBytes(const std::filesystem::path& deck, const std::string& entry);

// The entry decoded as UTF-8 text (a byte-order mark is kept). Throws
// ArchiveError (readFailed, decodeFailed).
std::string readEntry(const std::filesystem::path& deck, const std::string& entry);

}  // namespace orvandel::PptxArchive
