#include "render/Mp4Duration.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

#include "base/Numbers.hpp"

namespace orvandel::Mp4Duration {

Mp4Error::Mp4Error(std::filesystem::path path, std::string underlying)
    : Error("cannot measure duration of " + path.filename().string() + ": " + underlying),
      path_(std::move(path)),
      underlying_(std::move(underlying)) {}

Mp4Error Mp4Error::cannotMeasure(std::filesystem::path path, std::string underlying) {
    return Mp4Error(std::move(path), std::move(underlying));
}

namespace {

// Real movies hold a handful of top-level boxes (a fragmented one a few per
// second of film); far more means garbage, which must not cost minutes of reads.
constexpr std::int64_t kMaxBoxesPerLevel = 1'000'000;

struct Fd {
    int fd = -1;
    ~Fd() {
        if (fd >= 0) ::close(fd);
    }
};

struct Box {
    std::int64_t offset = 0;
    std::int64_t size = 0;        // header included
    std::int64_t headerSize = 0;  // 8, or 16 with a 64-bit size
    std::string type;
};

std::uint32_t be32(const unsigned char* p) {
    return (std::uint32_t(p[0]) << 24) | (std::uint32_t(p[1]) << 16) | (std::uint32_t(p[2]) << 8) | p[3];
}

std::uint64_t be64(const unsigned char* p) { return (std::uint64_t(be32(p)) << 32) | be32(p + 4); }

bool isPrintableType(const std::string& type) {
    for (unsigned char c : type) {
        if (c < 0x20 || c > 0x7E) return false;
    }
    return true;
}

// Boxes an MP4 or QuickTime movie may begin with.
bool isLeadingType(const std::string& type) {
    static const char* const kTypes[] = {"ftyp", "moov", "mdat", "free", "skip", "wide", "pnot", "uuid", "styp"};
    for (const char* t : kTypes) {
        if (type == t) return true;
    }
    return false;
}

// A movie in bytes [begin, end) of a file (end < 0: to the end of the file);
// offsets are counted from begin.
class MovieFile {
public:
    MovieFile(const std::filesystem::path& path, std::int64_t begin = 0, std::int64_t end = -1)
        : path_(path), begin_(begin) {
        // O_NONBLOCK: opening a FIFO must not hang; it is refused below.
        fd_.fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
        if (fd_.fd < 0) fail(std::strerror(errno));
        struct stat st {};
        if (::fstat(fd_.fd, &st) != 0) fail(std::strerror(errno));
        if (!S_ISREG(st.st_mode)) fail("not a regular file");
        if (end < 0) end = st.st_size;
        if (begin < 0 || begin > end || end > st.st_size) fail("the movie's bytes lie beyond the end of the file");
        size_ = end - begin;
    }

    std::int64_t size() const { return size_; }

    [[noreturn]] void fail(const std::string& text) const { throw Mp4Error::cannotMeasure(path_, text); }

    // Reads exactly n bytes at offset; the caller has checked they lie inside the file.
    void readAt(std::int64_t offset, unsigned char* buffer, std::size_t n) const {
        std::size_t done = 0;
        while (done < n) {
            const ssize_t r = ::pread(fd_.fd, buffer + done, n - done,
                                      static_cast<off_t>(begin_ + offset) + off_t(done));
            if (r < 0 && errno == EINTR) continue;
            if (r < 0) fail(std::string("read failed: ") + std::strerror(errno));
            if (r == 0) fail("file shrank while being read");
            done += static_cast<std::size_t>(r);
        }
    }

    // The box whose header starts at offset, checked to lie inside [offset, end).
    // `where` names the enclosing box in failure texts ("" at the top level).
    Box boxAt(std::int64_t offset, std::int64_t end, const std::string& where) const {
        const std::string at = " at offset " + formatInt(offset);
        if (end - offset < 8) fail("truncated box header" + at + where);
        unsigned char header[16];
        readAt(offset, header, 8);
        Box box;
        box.offset = offset;
        box.type.assign(reinterpret_cast<const char*>(header + 4), 4);
        const std::uint32_t size32 = be32(header);
        std::uint64_t size = size32;
        box.headerSize = 8;
        if (size32 == 1) {
            if (end - offset < 16) fail("truncated box header" + at + where);
            readAt(offset + 8, header + 8, 8);
            size = be64(header + 8);
            box.headerSize = 16;
        } else if (size32 == 0) {
            size = static_cast<std::uint64_t>(end - offset);  // runs to the end of its container
        }
        // Top-level types are plain ASCII; anything else means the walk has
        // left the box structure. (Some boxes deeper in are named with byte 0xA9.)
        if (where.empty() && !isPrintableType(box.type)) fail("invalid box type" + at);
        const std::string named = "'" + box.type + "' box" + at;
        if (size < static_cast<std::uint64_t>(box.headerSize)) {
            fail("invalid size " + std::to_string(size) + " of " + named + where);
        }
        if (size > static_cast<std::uint64_t>(end - offset)) {
            fail((where.empty() ? "file is cut short: " : "") + named + " needs " + std::to_string(size) +
                 " bytes, only " + formatInt(end - offset) + " remain" + where);
        }
        box.size = static_cast<std::int64_t>(size);
        return box;
    }

    // The first box of the given type among the boxes filling [begin, end).
    std::optional<Box> find(const std::string& type, std::int64_t begin, std::int64_t end,
                            const std::string& where) const {
        std::int64_t count = 0;
        for (std::int64_t offset = begin; offset < end; ++count) {
            if (count == kMaxBoxesPerLevel) fail("too many boxes" + where);
            const Box box = boxAt(offset, end, where);
            if (box.type == type) return box;
            offset += box.size;  // size >= 8, so the walk always moves on
        }
        return std::nullopt;
    }

    // The payload of a box (after its header), at least `needed` bytes of it
    // read into `body`.
    void readPayload(const Box& box, unsigned char* body, std::int64_t needed, const std::string& what) const {
        if (box.size - box.headerSize < needed) fail("truncated " + what);
        readAt(box.offset + box.headerSize, body, static_cast<std::size_t>(needed));
    }

    // The box of `type` inside `parent`, which must hold one.
    Box child(const Box& parent, const std::string& type) const {
        const std::string where = " inside '" + parent.type + "'";
        const auto found = find(type, parent.offset + parent.headerSize, parent.offset + parent.size, where);
        if (!found) fail("no '" + type + "'" + where);
        return *found;
    }

private:
    std::filesystem::path path_;
    std::int64_t begin_ = 0;
    Fd fd_;
    std::int64_t size_ = 0;
};

// Units of a time scale in whole milliseconds, truncated; nothing when they
// do not fit 63 bits (a crafted header can claim more: bad input, not a fault).
std::optional<std::int64_t> unitsToMs(std::uint64_t units, std::uint32_t timescale) {
    // In integers, so that 1009 units at time scale 1000 are 1009 ms (through
    // a double they were 1008).
    constexpr std::uint64_t kMsPerSecond = 1000;
    const std::uint64_t wholeSeconds = units / timescale;
    const std::uint64_t restMs = units % timescale * kMsPerSecond / timescale;
    if (wholeSeconds > (static_cast<std::uint64_t>(INT64_MAX) - restMs) / kMsPerSecond) return std::nullopt;
    return static_cast<std::int64_t>(wholeSeconds * kMsPerSecond + restMs);
}

// The time scale and duration of a movie or media header ('mvhd', 'mdhd'):
// version(1) flags(3), creation and modification times, then the time scale
// and the duration; times and duration are 32-bit in version 0, 64-bit in
// version 1.
struct HeaderTime {
    std::uint32_t timescale = 0;
    std::uint64_t duration = 0;
    bool indefinite = false;
};

HeaderTime headerTime(const MovieFile& file, const Box& header, const std::string& what) {
    unsigned char body[32] = {};
    file.readPayload(header, body, 1, what);
    const int version = body[0];
    if (version > 1) file.fail("unsupported " + what + " version " + std::to_string(version));
    file.readPayload(header, body, version == 0 ? 20 : 32, what);
    HeaderTime t;
    if (version == 0) {
        t.timescale = be32(body + 12);
        t.duration = be32(body + 16);
        t.indefinite = t.duration == UINT32_MAX;
    } else {
        t.timescale = be32(body + 20);
        t.duration = be64(body + 24);
        t.indefinite = t.duration == UINT64_MAX;
    }
    if (t.timescale == 0) file.fail("zero timescale in the " + what);
    return t;
}

struct MovieHeader {
    Box moov;
    std::uint32_t timescale = 0;
    std::int64_t durationMs = 0;
};

MovieHeader movieHeader(const MovieFile& file) {
    if (file.size() == 0) file.fail("empty file");

    // A file that does not open with a box a movie starts with is no movie at
    // all, which says more than a complaint about some box further on.
    if (file.size() < 8) file.fail("not an MP4 movie (too short)");
    unsigned char first[8];
    file.readAt(0, first, 8);
    if (!isLeadingType(std::string(reinterpret_cast<const char*>(first + 4), 4))) {
        file.fail("not an MP4 movie (unrecognised data at the start of the file)");
    }

    const auto moov = file.find("moov", 0, file.size(), "");
    if (!moov) file.fail("no movie box ('moov') in the file");
    const auto mvhd = file.find("mvhd", moov->offset + moov->headerSize, moov->offset + moov->size, " inside 'moov'");
    if (!mvhd) file.fail("no movie header ('mvhd') inside 'moov'");
    const HeaderTime time = headerTime(file, *mvhd, "movie header ('mvhd')");
    if (time.indefinite || time.duration == 0) file.fail("non-finite or zero duration");
    // A remainder of a millisecond is truncated.
    const auto ms = unitsToMs(time.duration, time.timescale);
    if (!ms) file.fail("duration out of range");
    return {*moov, time.timescale, *ms};
}

// How long a track shows, from its header ('tkhd'): version(1) flags(3),
// creation and modification times, track id, 4 reserved bytes, then the
// duration in the movie's time scale; 32-bit fields in version 0, 64-bit
// times and duration in version 1.
std::int64_t trackMs(const MovieFile& file, const Box& tkhd, std::uint32_t movieTimescale) {
    unsigned char body[36] = {};
    file.readPayload(tkhd, body, 1, "track header ('tkhd')");
    const int version = body[0];
    if (version > 1) file.fail("unsupported track header ('tkhd') version " + std::to_string(version));
    file.readPayload(tkhd, body, version == 0 ? 24 : 36, "track header ('tkhd')");
    const auto ms = unitsToMs(version == 0 ? be32(body + 20) : be64(body + 28), movieTimescale);
    if (!ms) file.fail("duration of the video track out of range");
    return *ms;
}

// The number of samples in a sample table ('stbl'): both sample size boxes
// hold it after version, flags and 4 bytes.
std::int64_t sampleCount(const MovieFile& file, const Box& stbl) {
    const std::int64_t begin = stbl.offset + stbl.headerSize, end = stbl.offset + stbl.size;
    auto sizes = file.find("stsz", begin, end, " inside 'stbl'");
    if (!sizes) sizes = file.find("stz2", begin, end, " inside 'stbl'");
    if (!sizes) file.fail("no sample sizes ('stsz') inside 'stbl'");
    unsigned char body[12];
    file.readPayload(*sizes, body, sizeof body, "sample sizes ('" + sizes->type + "')");
    return be32(body + 8);
}

// The first track of the movie whose handler is 'vide'.
std::optional<VideoTrack> videoTrack(const MovieFile& file, const MovieHeader& movie) {
    const Box& moov = movie.moov;
    const std::int64_t end = moov.offset + moov.size;
    for (auto trak = file.find("trak", moov.offset + moov.headerSize, end, " inside 'moov'"); trak;
         trak = file.find("trak", trak->offset + trak->size, end, " inside 'moov'")) {
        const Box mdia = file.child(*trak, "mdia");
        // version(1) flags(3) pre_defined(4) handler_type(4)
        unsigned char handler[12];
        file.readPayload(file.child(mdia, "hdlr"), handler, sizeof handler, "handler ('hdlr')");
        if (std::memcmp(handler + 8, "vide", 4) != 0) continue;

        VideoTrack video;
        video.durationMs = trackMs(file, file.child(*trak, "tkhd"), movie.timescale);
        video.frames = sampleCount(file, file.child(file.child(mdia, "minf"), "stbl"));
        const HeaderTime media = headerTime(file, file.child(mdia, "mdhd"), "media header ('mdhd')");
        const auto mediaMs = unitsToMs(media.indefinite ? 0 : media.duration, media.timescale);
        if (!mediaMs) file.fail("duration of the video track's media out of range");
        if (video.frames > 0) {
            video.meanFrameMs = std::max<std::int64_t>(1, (*mediaMs + video.frames - 1) / video.frames);
        }
        return video;
    }
    return std::nullopt;
}

}  // namespace

std::int64_t measureMs(const std::filesystem::path& path) { return movieHeader(MovieFile(path)).durationMs; }

Movie inspect(const std::filesystem::path& file, std::int64_t begin, std::int64_t end) {
    const MovieFile movie(file, begin, end);
    const MovieHeader header = movieHeader(movie);
    return {header.durationMs, videoTrack(movie, header)};
}

}  // namespace orvandel::Mp4Duration
