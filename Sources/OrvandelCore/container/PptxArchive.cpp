#include "container/PptxArchive.hpp"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <type_traits>
#include <unistd.h>
#include <unordered_map>
#include <zlib.h>

#include "container/ZipArchive.hpp"

namespace orvandel::PptxArchive {

ArchiveError::ArchiveError(Case c, std::string entry, std::int32_t status, std::string message,
                           const std::string& description)
    : Error(description), case_(c), entry_(std::move(entry)), status_(status), message_(std::move(message)) {}

ArchiveError ArchiveError::readFailed(const std::string& entry, std::int32_t status, const std::string& message) {
    return ArchiveError(Case::readFailed, entry, status, message,
                        // The message names the file and the fix; the part matters only
                        // once the file is known to be an archive.
                        status == statusCannotOpen ? message : message + " (reading " + entry + ")");
}

ArchiveError ArchiveError::partTooLarge(const std::string& entry, std::int64_t bytes, std::int64_t limit) {
    const auto mib = [](std::int64_t b) { return std::to_string((b + (1 << 20) - 1) >> 20) + " MiB"; };
    ArchiveError e(Case::partTooLarge, entry, statusDamaged, "",
                   entry + " unpacks to " + mib(bytes) + ", more than the " + mib(limit) +
                       " one part of a deck may take; the deck is damaged or was made to exhaust memory "
                       "(a genuine deck may raise the limit with --max-part-mib)");
    return e;
}

ArchiveError ArchiveError::decodeFailed(const std::string& entry) {
    return ArchiveError(Case::decodeFailed, entry, 0, "", "could not decode " + entry + " as UTF-8");
}

namespace {

using ZipArchive::ZipError;

constexpr std::int64_t kLocalHeaderSize = 30;
constexpr std::int64_t kTailSize = 22 + 65535;  // end record plus the longest comment
constexpr std::size_t kChunk = std::size_t(64) << 10;

struct Record {
    std::int64_t flags = 0;
    std::int64_t method = 0;
    std::uint32_t crc = 0;
    std::int64_t compressedSize = 0;
    std::int64_t declaredSize = 0;
    std::int64_t localOffset = 0;
};

[[noreturn]] void fail(const std::string& entry, std::int32_t status, const std::string& message) {
    throw ArchiveError::readFailed(entry, status, message);
}

}  // namespace

// The open file and its parsed directory. Failures name the entry being read.
struct Deck::Open {
    std::string path;
    struct Fd {
        int fd = -1;
        Fd() = default;
        Fd(const Fd&) = delete;
        Fd& operator=(const Fd&) = delete;
        ~Fd() {
            if (fd >= 0) ::close(fd);
        }
    } fd;
    std::int64_t size = 0;
    std::unordered_map<std::string, Record> records;  // the first record of a name wins
    std::vector<std::string> names;                   // every entry's, in directory order

    Open(const std::filesystem::path& deck, const std::string& entry);
    // Into Bytes or straight into a std::string: a large part is held once.
    template <class Buffer>
    Buffer read(const std::string& entry, std::int64_t largest) const;
    const Record& record(const std::string& entry) const;
    // Where the entry's data starts, its local header and bounds checked.
    std::int64_t dataStart(const std::string& entry, const Record& r) const;
    ZipArchive::ByteRange storedRange(const std::string& entry) const;

    [[noreturn]] void damaged(const std::string& entry, const std::string& reason) const {
        fail(entry, statusDamaged,
             "entry " + entry + " of " + path + " is damaged (" + reason +
                 "); the deck may be corrupt: open it in your presentation program and save it again");
    }
    [[noreturn]] void archiveFailure(const std::string& entry, const ZipError& error) const;
    // Exactly n bytes at offset; the caller has checked the range against the file size.
    void readAt(const std::string& entry, std::int64_t offset, std::uint8_t* dst, std::size_t n) const;
    template <class Buffer = Bytes>
    Buffer readRange(const std::string& entry, std::int64_t offset, std::int64_t length) const {
        Buffer out(static_cast<std::size_t>(length), 0);
        readAt(entry, offset, reinterpret_cast<std::uint8_t*>(out.data()), out.size());
        return out;
    }
    // stopAt >= 0: only the first stopAt bytes are wanted (their CRC cannot be checked).
    template <class Buffer>
    Buffer inflateEntry(const std::string& entry, std::int64_t dataStart, std::int64_t compressedSize,
                        std::int64_t declaredSize, std::int64_t stopAt = -1) const;
};

Deck::Open::Open(const std::filesystem::path& deck, const std::string& entry) : path(deck.string()) {
    // Non-blocking, so that a FIFO or a device given as the deck cannot hang
    // the open; anything but a regular file is refused just below.
    fd.fd = ::open(deck.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd.fd < 0) fail(entry, statusCannotOpen, "cannot open " + path + ": " + std::strerror(errno));
    struct stat st {};
    if (::fstat(fd.fd, &st) != 0) fail(entry, statusCannotOpen, "cannot open " + path + ": " + std::strerror(errno));
    if (!S_ISREG(st.st_mode)) fail(entry, statusCannotOpen, "cannot open " + path + ": not a regular file");
    size = st.st_size;

    // The end record lies in the last 64 KiB or so; the directory usually does too.
    const std::int64_t tailStart = std::max<std::int64_t>(0, size - kTailSize);
    Bytes window = readRange(entry, tailStart, size - tailStart);
    std::int64_t windowStart = tailStart;
    ZipArchive::ParseResult parsed;
    try {
        const auto end = ZipArchive::readEndRecord({window, windowStart});
        if (end.entryCount > 0 && end.cdOffset < windowStart) {
            Bytes more = readRange(entry, end.cdOffset, windowStart - end.cdOffset);
            more.insert(more.end(), window.begin(), window.end());
            window = std::move(more);
            windowStart = end.cdOffset;
        }
        parsed = ZipArchive::parse({window, windowStart}, end);
    } catch (const ZipError& error) {
        archiveFailure(entry, error);
    }
    records.reserve(parsed.entries.size());
    names.reserve(parsed.entries.size());
    for (const auto& e : parsed.entries) {
        names.push_back(e.name);
        if (e.name.empty()) continue;  // an undecodable name can never be asked for
        records.try_emplace(e.name,
                            Record{e.flags, e.method, e.crc, e.compressedSize, e.uncompressedSize, e.localOffset});
    }
}

void Deck::Open::readAt(const std::string& entry, std::int64_t offset, std::uint8_t* dst, std::size_t n) const {
    std::size_t done = 0;
    while (done < n) {
        const ssize_t r = ::pread(fd.fd, dst + done, n - done, static_cast<off_t>(offset) + static_cast<off_t>(done));
        if (r < 0) {
            if (errno == EINTR) continue;
            fail(entry, statusCannotOpen, "cannot read " + path + ": " + std::strerror(errno));
        }
        if (r == 0) damaged(entry, "the file ends early");
        done += static_cast<std::size_t>(r);
    }
}

void Deck::Open::archiveFailure(const std::string& entry, const ZipError& error) const {
    switch (error.errorCase()) {
        case ZipError::Case::notAZip: {
            std::uint8_t magic[4] = {};
            if (size >= 4) readAt(entry, 0, magic, 4);
            if (magic[0] == 0xD0 && magic[1] == 0xCF && magic[2] == 0x11 && magic[3] == 0xE0) {
                fail(entry, statusCannotOpen,
                     path + " is an encrypted (password-protected) document, not a ZIP archive; "
                            "open it in your presentation program, save it again without a password and retry");
            }
            fail(entry, statusCannotOpen,
                 path + " is not a .pptx deck, or it is damaged or incomplete: save it again as .pptx in "
                        "PowerPoint or LibreOffice Impress (a .ppt, .pps, .odp or .key deck is converted when its "
                        "name ends so)");
        }
        case ZipError::Case::zip64Unsupported:
            fail(entry, statusDamaged,
                 path +
                     " is a ZIP64 archive, which is not supported; save the deck again as a regular .pptx and retry");
        case ZipError::Case::badCentralDirectory:
        case ZipError::Case::entryNotFound: break;
    }
    fail(entry, statusDamaged,
         path + " has a malformed central directory; the deck is damaged: open it in your presentation program and "
                "save it again");
}

const Record& Deck::Open::record(const std::string& entry) const {
    const auto found = records.find(entry);
    if (found == records.end()) fail(entry, statusNoSuchEntry, "entry " + entry + " not found in " + path);
    return found->second;
}

std::int64_t Deck::Open::dataStart(const std::string& entry, const Record& r) const {
    if (r.flags & 1) {
        fail(entry, statusDamaged,
             "entry " + entry + " of " + path + " is encrypted; save the deck again without a password and retry");
    }
    if (r.method != 0 && r.method != 8) {
        fail(entry, statusDamaged,
             "entry " + entry + " of " + path + " uses compression method " + std::to_string(r.method) +
                 ", which is not supported; save the deck again from your presentation program");
    }
    // Sizes and CRC come from the central record: with a data descriptor
    // (flag bit 3) the local header holds zeros.
    if (r.localOffset + kLocalHeaderSize > size) damaged(entry, "its local header lies beyond the end of the file");
    std::uint8_t local[kLocalHeaderSize];
    readAt(entry, r.localOffset, local, sizeof local);
    if (ZipArchive::u32(local, 0) != 0x04034b50) damaged(entry, "no local header where the directory points");
    const std::int64_t start = r.localOffset + kLocalHeaderSize + ZipArchive::u16(local, 26) +
                               ZipArchive::u16(local, 28);
    if (start + r.compressedSize > size) damaged(entry, "its data runs past the end of the file");
    if (r.method == 0 && r.compressedSize != r.declaredSize) {
        damaged(entry, "stored size differs from the declared size");
    }
    return start;
}

ZipArchive::ByteRange Deck::Open::storedRange(const std::string& entry) const {
    const Record& r = record(entry);
    const std::int64_t start = dataStart(entry, r);
    if (r.method != 0) {
        fail(entry, statusDamaged,
             "entry " + entry + " of " + path + " is compressed, so it cannot be read in place; " +
                 "it was not written by this program");
    }
    return {start, start + r.compressedSize};
}

template <class Buffer>
Buffer Deck::Open::read(const std::string& entry, std::int64_t largest) const {
    const Record& r = record(entry);
    // Refused before a byte is unpacked: a few megabytes of deck can claim
    // gigabytes of slide.
    if (r.declaredSize > largest) throw ArchiveError::partTooLarge(entry, r.declaredSize, largest);
    const std::int64_t dataStart = this->dataStart(entry, r);

    Buffer data;
    if (r.method == 0) {
        data = readRange<Buffer>(entry, dataStart, r.compressedSize);
    } else {
        data = inflateEntry<Buffer>(entry, dataStart, r.compressedSize, r.declaredSize);
    }
    if (ZipArchive::crc32({reinterpret_cast<const std::uint8_t*>(data.data()), data.size()}) != r.crc) {
        damaged(entry, "CRC mismatch");
    }
    return data;
}

template <class Buffer>
Buffer Deck::Open::inflateEntry(const std::string& entry, std::int64_t dataStart, std::int64_t compressedSize,
                                std::int64_t declaredSize, std::int64_t stopAt) const {
    z_stream zs{};
    if (inflateInit2(&zs, -15) != Z_OK) throw std::bad_alloc();
    struct Guard {
        z_stream* zs;
        ~Guard() { inflateEnd(zs); }
    } guard{&zs};

    Bytes input(static_cast<std::size_t>(std::min<std::int64_t>(compressedSize, kChunk)));
    std::int64_t inputPos = dataStart;
    std::int64_t inputLeft = compressedSize;
    // The output grows as it fills, never beyond the declared size: a stream
    // that would go on is damaged, however much it claims.
    Buffer out;
    // Text is bounded by largestPart(), so its whole declared size is taken
    // at once, with room for the small insertions of the writers: the buffer
    // never moves while it fills, nor when a transition goes in.
    if constexpr (std::is_same_v<Buffer, std::string>) out.reserve(static_cast<std::size_t>(declaredSize) + kChunk);
    std::size_t produced = 0;
    const auto limit = static_cast<std::size_t>(declaredSize);
    for (;;) {
        if (zs.avail_in == 0 && inputLeft > 0) {
            const auto n = static_cast<std::size_t>(std::min<std::int64_t>(inputLeft, kChunk));
            readAt(entry, inputPos, input.data(), n);
            inputPos += static_cast<std::int64_t>(n);
            inputLeft -= static_cast<std::int64_t>(n);
            zs.next_in = input.data();
            zs.avail_in = static_cast<uInt>(n);
        }
        if (produced == out.size() && out.size() < limit) {
            out.resize(std::min(limit, std::max(kChunk, out.size() * 2)));
        }
        std::uint8_t probe = 0;
        const bool atLimit = produced == out.size();
        zs.next_out = atLimit ? &probe : reinterpret_cast<std::uint8_t*>(out.data()) + produced;
        zs.avail_out = atLimit ? 1u : static_cast<uInt>(std::min<std::size_t>(out.size() - produced, 1u << 30));
        const uInt offered = zs.avail_out;
        const int rc = inflate(&zs, Z_NO_FLUSH);
        const std::size_t got = offered - zs.avail_out;
        if (atLimit && got > 0) {
            damaged(entry, "it inflates past its declared size of " + std::to_string(declaredSize) + " bytes");
        }
        produced += got;
        if (rc == Z_STREAM_END || (stopAt >= 0 && std::int64_t(produced) >= stopAt)) break;
        // No progress possible: with input left that cannot happen in a sound stream.
        if (rc == Z_BUF_ERROR && (inputLeft == 0 || zs.avail_in > 0)) damaged(entry, "its compressed data ends early");
        if (rc != Z_OK && rc != Z_BUF_ERROR) {
            damaged(entry, std::string("invalid compressed data: ") + (zs.msg ? zs.msg : "inflate error"));
        }
    }
    if (stopAt >= 0) {
        out.resize(std::min(produced, static_cast<std::size_t>(stopAt)));
        return out;
    }
    if (produced != limit) {
        damaged(entry, "it inflates to " + std::to_string(produced) + " bytes, not the declared " +
                           std::to_string(declaredSize));
    }
    out.resize(produced);
    return out;
}

Deck::Deck(std::filesystem::path deck) : path_(std::move(deck)) {}

Deck::~Deck() = default;

// Until the deck opens and parses, every read tries again and reports the
// failure under its own entry name.
Deck::Open& Deck::opened(const std::string& entry) {
    if (!open_) open_ = std::make_unique<Open>(path_, entry);
    return *open_;
}

Bytes Deck::readEntryBytes(const std::string& entry) { return opened(entry).read<Bytes>(entry, INT64_MAX); }

Bytes Deck::readEntryHead(const std::string& entry, std::size_t most) {
    const Record& r = opened(entry).record(entry);
    const std::int64_t start = open_->dataStart(entry, r);
    const std::int64_t wanted = std::min(r.declaredSize, static_cast<std::int64_t>(most));
    if (r.method == 0) return open_->readRange(entry, start, wanted);
    return open_->inflateEntry<Bytes>(entry, start, r.compressedSize, r.declaredSize, wanted);
}

Bytes Deck::wholeFile() {
    static const std::string whole = "(the whole archive)";
    Open& archive = opened(whole);
    return archive.readRange(whole, 0, archive.size);
}

std::vector<std::string> Deck::entryNames() {
    static const std::string directory = "(the directory)";
    return opened(directory).names;
}

bool Deck::contains(const std::string& entry) { return opened(entry).records.count(entry) > 0; }

std::int64_t Deck::unpackedSize(const std::string& entry) { return opened(entry).record(entry).declaredSize; }

ZipArchive::ByteRange Deck::storedRange(const std::string& entry) { return opened(entry).storedRange(entry); }

void Deck::extractStored(const std::string& entry, const std::filesystem::path& to,
                         const std::function<void(std::int64_t copied, std::int64_t total)>& afterChunk) {
    const auto range = storedRange(entry);
    const int out = ::open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (out < 0) throw FileError("create", to.string(), errno);
    struct Closer {
        int fd;
        ~Closer() { ::close(fd); }
    } closer{out};
    // Larger than the inflater's chunk: a movie of gigabytes is copied here.
    constexpr std::int64_t kCopyChunk = std::int64_t(1) << 20;
    Bytes chunk(kCopyChunk);
    std::uint32_t crc = 0;
    const std::int64_t total = range.end - range.begin;
    for (std::int64_t at = range.begin; at < range.end;) {
        const auto n = static_cast<std::size_t>(std::min(range.end - at, kCopyChunk));
        open_->readAt(entry, at, chunk.data(), n);
        crc = ZipArchive::crc32Continue(crc, {chunk.data(), n});
        for (std::size_t written = 0; written < n;) {
            const ssize_t w = ::write(out, chunk.data() + written, n - written);
            if (w < 0 && errno == EINTR) continue;
            if (w < 0) throw FileError("write", to.string(), errno);
            written += static_cast<std::size_t>(w);
        }
        at += static_cast<std::int64_t>(n);
        if (afterChunk) afterChunk(at - range.begin, total);
    }
    if (crc != open_->record(entry).crc) open_->damaged(entry, "CRC mismatch");
}

std::string Deck::readEntry(const std::string& entry) {
    std::string text = readEntryUnchecked(entry);
    if (!isValidUtf8(text)) throw ArchiveError::decodeFailed(entry);
    return text;
}

std::string Deck::readEntryUnchecked(const std::string& entry) {
    return opened(entry).read<std::string>(entry, largestPart());
}

namespace {
std::atomic<std::int64_t> gLargestPart{std::int64_t{256} << 20};
}

std::int64_t largestPart() { return gLargestPart.load(std::memory_order_relaxed); }

void setLargestPart(std::int64_t bytes) { gLargestPart.store(bytes, std::memory_order_relaxed); }

Bytes readEntryBytes(const std::filesystem::path& deck, const std::string& entry) {
    return Deck(deck).readEntryBytes(entry);
}

std::string readEntry(const std::filesystem::path& deck, const std::string& entry) {
    return Deck(deck).readEntry(entry);
}

}  // namespace orvandel::PptxArchive
