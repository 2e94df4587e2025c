#include "PptxArchive.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include "ZipArchive.hpp"

namespace orvandel::PptxArchive {

ArchiveError::ArchiveError(Case c, std::string entry, std::int32_t status, std::string message,
                           const std::string& description)
    : Error(description), case_(c), entry_(std::move(entry)), status_(status), message_(std::move(message)) {}

ArchiveError ArchiveError::unzipFailed(const std::string& entry, std::int32_t status, const std::string& message) {
    return ArchiveError(Case::unzipFailed, entry, status, message,
                        "unzip failed for " + entry + " (status " + std::to_string(status) + "): " + message);
}

ArchiveError ArchiveError::decodeFailed(const std::string& entry) {
    return ArchiveError(Case::decodeFailed, entry, 0, "", "could not decode " + entry + " as UTF-8");
}

namespace {

using ZipArchive::ZipError;

constexpr std::int64_t kLocalHeaderSize = 30;
constexpr std::int64_t kTailSize = 22 + 65535;  // end record plus the longest comment
constexpr std::size_t kChunk = std::size_t(64) << 10;

// One open deck and the entry being read, so that every failure can name both.
class EntryReader {
public:
    EntryReader(const std::filesystem::path& url, const std::string& entry) : path_(url.string()), entry_(entry) {
        fd_.fd = ::open(url.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd_.fd < 0) fail(statusCannotOpen, "cannot open " + path_ + ": " + std::strerror(errno));
        struct stat st {};
        if (::fstat(fd_.fd, &st) != 0) fail(statusCannotOpen, "cannot open " + path_ + ": " + std::strerror(errno));
        if (!S_ISREG(st.st_mode)) fail(statusCannotOpen, "cannot open " + path_ + ": not a regular file");
        size_ = st.st_size;
    }

    Bytes read();

private:
    [[noreturn]] void fail(std::int32_t status, const std::string& message) const {
        throw ArchiveError::unzipFailed(entry_, status, message);
    }
    [[noreturn]] void damaged(const std::string& reason) const {
        fail(statusDamaged, "entry " + entry_ + " of " + path_ + " is damaged (" + reason +
                                "); the deck may be corrupt: open it in your presentation program and save it again");
    }
    [[noreturn]] void archiveFailure(const ZipError& error) const;

    // Exactly n bytes at offset; the caller has checked the range against the file size.
    void readAt(std::int64_t offset, std::uint8_t* dst, std::size_t n) const;
    Bytes readRange(std::int64_t offset, std::int64_t length) const {
        Bytes out(static_cast<std::size_t>(length));
        readAt(offset, out.data(), out.size());
        return out;
    }
    Bytes inflateEntry(std::int64_t dataStart, std::int64_t compressedSize, std::int64_t declaredSize) const;

    std::string path_;
    std::string entry_;
    struct Fd {
        int fd = -1;
        Fd() = default;
        Fd(const Fd&) = delete;
        Fd& operator=(const Fd&) = delete;
        ~Fd() {
            if (fd >= 0) ::close(fd);
        }
    } fd_;
    std::int64_t size_ = 0;
};

void EntryReader::readAt(std::int64_t offset, std::uint8_t* dst, std::size_t n) const {
    std::size_t done = 0;
    while (done < n) {
        const ssize_t r = ::pread(fd_.fd, dst + done, n - done, static_cast<off_t>(offset) + static_cast<off_t>(done));
        if (r < 0) {
            if (errno == EINTR) continue;
            fail(statusCannotOpen, "cannot read " + path_ + ": " + std::strerror(errno));
        }
        if (r == 0) damaged("the file ends early");
        done += static_cast<std::size_t>(r);
    }
}

void EntryReader::archiveFailure(const ZipError& error) const {
    switch (error.errorCase()) {
        case ZipError::Case::notAZip: {
            std::uint8_t magic[4] = {};
            if (size_ >= 4) readAt(0, magic, 4);
            if (magic[0] == 0xD0 && magic[1] == 0xCF && magic[2] == 0x11 && magic[3] == 0xE0) {
                fail(statusCannotOpen, path_ +
                                           " is an encrypted (password-protected) document, not a ZIP archive; "
                                           "open it in your presentation program, save it again without a password and retry");
            }
            fail(statusCannotOpen, path_ +
                                       " is not a ZIP archive (no end-of-central-directory record); the file is "
                                       "incomplete, damaged or not a .pptx deck");
        }
        case ZipError::Case::zip64Unsupported:
            fail(statusDamaged, path_ + " is a ZIP64 archive, which is not supported; save the deck again as a "
                                        "regular .pptx and retry");
        case ZipError::Case::badCentralDirectory:
        case ZipError::Case::entryNotFound:
            break;
    }
    fail(statusDamaged, path_ + " has a malformed central directory; the deck is damaged: open it in your "
                                "presentation program and save it again");
}

Bytes EntryReader::read() {
    // The end record lies in the last 64 KiB or so; the directory usually does too.
    const std::int64_t tailStart = std::max<std::int64_t>(0, size_ - kTailSize);
    Bytes window = readRange(tailStart, size_ - tailStart);
    std::int64_t windowStart = tailStart;
    ZipArchive::ParseResult parsed;
    try {
        const auto end = ZipArchive::readEndRecord({window, windowStart});
        if (end.entryCount > 0 && end.cdOffset < windowStart) {
            Bytes more = readRange(end.cdOffset, windowStart - end.cdOffset);
            more.insert(more.end(), window.begin(), window.end());
            window = std::move(more);
            windowStart = end.cdOffset;
        }
        parsed = ZipArchive::parse({window, windowStart}, end);
    } catch (const ZipError& error) {
        archiveFailure(error);
    }

    const auto found = std::find_if(parsed.entries.begin(), parsed.entries.end(),
                                    [&](const ZipArchive::CDEntry& e) { return e.name == entry_ && !entry_.empty(); });
    if (found == parsed.entries.end()) {
        fail(statusNoSuchEntry, "entry " + entry_ + " not found in " + path_);
    }
    const auto record = std::span<const std::uint8_t>(window).subspan(
        static_cast<std::size_t>(found->cdRange.begin - windowStart));
    const std::int64_t method = ZipArchive::u16(record, 10);
    const std::uint32_t crc = ZipArchive::u32(record, 16);
    const std::int64_t compressedSize = ZipArchive::u32(record, 20);
    const std::int64_t declaredSize = ZipArchive::u32(record, 24);
    const std::int64_t localOffset = found->localOffset;

    if (found->flags & 1) {
        fail(statusDamaged, "entry " + entry_ + " of " + path_ +
                                " is encrypted; save the deck again without a password and retry");
    }
    if (compressedSize == 0xFFFFFFFF || declaredSize == 0xFFFFFFFF || localOffset == 0xFFFFFFFF) {
        fail(statusDamaged, "entry " + entry_ + " of " + path_ +
                                " has ZIP64 sizes, which are not supported; save the deck again as a regular .pptx");
    }
    if (method != 0 && method != 8) {
        fail(statusDamaged, "entry " + entry_ + " of " + path_ + " uses compression method " +
                                std::to_string(method) +
                                ", which is not supported; save the deck again from your presentation program");
    }
    // Sizes and CRC come from the central record: with a data descriptor
    // (flag bit 3) the local header holds zeros.
    if (localOffset + kLocalHeaderSize > size_) damaged("its local header lies beyond the end of the file");
    std::uint8_t local[kLocalHeaderSize];
    readAt(localOffset, local, sizeof local);
    if (ZipArchive::u32(local, 0) != 0x04034b50) damaged("no local header where the directory points");
    const std::int64_t dataStart =
        localOffset + kLocalHeaderSize + ZipArchive::u16(local, 26) + ZipArchive::u16(local, 28);
    if (dataStart + compressedSize > size_) damaged("its data runs past the end of the file");

    Bytes data;
    if (method == 0) {
        if (compressedSize != declaredSize) damaged("stored size differs from the declared size");
        data = readRange(dataStart, compressedSize);
    } else {
        data = inflateEntry(dataStart, compressedSize, declaredSize);
    }
    if (ZipArchive::crc32(data) != crc) damaged("CRC mismatch");
    return data;
}

Bytes EntryReader::inflateEntry(std::int64_t dataStart, std::int64_t compressedSize, std::int64_t declaredSize) const {
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
    Bytes out;
    std::size_t produced = 0;
    const auto limit = static_cast<std::size_t>(declaredSize);
    for (;;) {
        if (zs.avail_in == 0 && inputLeft > 0) {
            const auto n = static_cast<std::size_t>(std::min<std::int64_t>(inputLeft, kChunk));
            readAt(inputPos, input.data(), n);
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
        zs.next_out = atLimit ? &probe : out.data() + produced;
        zs.avail_out = atLimit ? 1u : static_cast<uInt>(std::min<std::size_t>(out.size() - produced, 1u << 30));
        const uInt offered = zs.avail_out;
        const int rc = inflate(&zs, Z_NO_FLUSH);
        const std::size_t got = offered - zs.avail_out;
        if (atLimit && got > 0) {
            damaged("it inflates past its declared size of " + std::to_string(declaredSize) + " bytes");
        }
        produced += got;
        if (rc == Z_STREAM_END) break;
        // No progress possible: with input left that cannot happen in a sound stream.
        if (rc == Z_BUF_ERROR && (inputLeft == 0 || zs.avail_in > 0)) damaged("its compressed data ends early");
        if (rc != Z_OK && rc != Z_BUF_ERROR) {
            damaged(std::string("invalid compressed data: ") + (zs.msg ? zs.msg : "inflate error"));
        }
    }
    if (produced != limit) {
        damaged("it inflates to " + std::to_string(produced) + " bytes, not the declared " +
                std::to_string(declaredSize));
    }
    out.resize(produced);
    return out;
}

}  // namespace

Bytes readEntryBytes(const std::filesystem::path& url, const std::string& entry) {
    EntryReader reader(url, entry);
    return reader.read();
}

std::string readEntry(const std::filesystem::path& url, const std::string& entry) {
    Bytes bytes = readEntryBytes(url, entry);
    std::string text(bytes.begin(), bytes.end());
    if (!isValidUtf8(text)) throw ArchiveError::decodeFailed(entry);
    return text;
}

}  // namespace orvandel::PptxArchive
