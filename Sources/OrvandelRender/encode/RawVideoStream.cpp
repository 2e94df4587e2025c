#include "encode/RawVideoStream.hpp"

#include <cerrno>
#include <climits>
#include <sys/uio.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Error.hpp"

namespace orvandel {

namespace {

// EBML element ids, written with their length marker bits as they appear in
// the stream.
constexpr std::uint32_t kEbml = 0x1A45DFA3, kEbmlVersion = 0x4286, kEbmlReadVersion = 0x42F7, kEbmlMaxIdLength = 0x42F2,
                        kEbmlMaxSizeLength = 0x42F3, kDocType = 0x4282, kDocTypeVersion = 0x4287,
                        kDocTypeReadVersion = 0x4285, kSegment = 0x18538067, kInfo = 0x1549A966,
                        kTimestampScale = 0x2AD7B1, kMuxingApp = 0x4D80, kWritingApp = 0x5741, kTracks = 0x1654AE6B,
                        kTrackEntry = 0xAE, kTrackNumber = 0xD7, kTrackUid = 0x73C5, kTrackType = 0x83,
                        kFlagLacing = 0x9C, kCodecId = 0x86, kVideo = 0xE0, kPixelWidth = 0xB0, kPixelHeight = 0xBA,
                        kColourSpace = 0x2EB524, kCluster = 0x1F43B675, kTimestamp = 0xE7, kSimpleBlock = 0xA3,
                        kDefaultDuration = 0x23E383;

using Buffer = std::string;

void putId(Buffer& out, std::uint32_t id) {
    int bytes = id > 0xFFFFFF ? 4 : id > 0xFFFF ? 3 : id > 0xFF ? 2 : 1;
    while (bytes--) out.push_back(static_cast<char>((id >> (8 * bytes)) & 0xFF));
}

// Sizes always take 8 bytes: a cluster's size is known before its payload
// is, and one width keeps the arithmetic below plain.
constexpr std::size_t kSizeBytes = 8;
void putSize(Buffer& out, std::uint64_t size) {
    out.push_back(0x01);
    for (int i = 6; i >= 0; --i) out.push_back(static_cast<char>((size >> (8 * i)) & 0xFF));
}

void putElement(Buffer& out, std::uint32_t id, std::string_view content) {
    putId(out, id);
    putSize(out, content.size());
    out += content;
}

Buffer unsignedBytes(std::uint64_t value) {
    Buffer bytes;
    do {
        bytes.insert(bytes.begin(), static_cast<char>(value & 0xFF));
        value >>= 8;
    } while (value);
    return bytes;
}

void putUnsigned(Buffer& out, std::uint32_t id, std::uint64_t value) { putElement(out, id, unsignedBytes(value)); }

Buffer element(std::uint32_t id, std::string_view content) {
    Buffer out;
    putElement(out, id, content);
    return out;
}

Buffer streamHeader(FrameSize size) {
    Buffer ebml;
    putUnsigned(ebml, kEbmlVersion, 1);
    putUnsigned(ebml, kEbmlReadVersion, 1);
    putUnsigned(ebml, kEbmlMaxIdLength, 4);
    putUnsigned(ebml, kEbmlMaxSizeLength, kSizeBytes);
    putElement(ebml, kDocType, "matroska");
    putUnsigned(ebml, kDocTypeVersion, 4);
    putUnsigned(ebml, kDocTypeReadVersion, 2);

    Buffer info;
    putUnsigned(info, kTimestampScale, 1000000);  // timestamps in milliseconds
    putElement(info, kMuxingApp, "orvandel");
    putElement(info, kWritingApp, "orvandel");

    Buffer video;
    putUnsigned(video, kPixelWidth, static_cast<std::uint64_t>(size.width));
    putUnsigned(video, kPixelHeight, static_cast<std::uint64_t>(size.height));
    putElement(video, kColourSpace, "I420");  // the FourCC that names planar 4:2:0
    Buffer track;
    putUnsigned(track, kTrackNumber, 1);
    putUnsigned(track, kTrackUid, 1);
    putUnsigned(track, kTrackType, 1);
    putUnsigned(track, kFlagLacing, 0);
    putElement(track, kCodecId, "V_UNCOMPRESSED");
    // A frame lasts 1 ms unless the next one comes later: the last one ends
    // the movie 1 ms after it starts, as the frame list's closing frame does.
    putUnsigned(track, kDefaultDuration, 1000000);
    putElement(track, kVideo, video);

    Buffer out = element(kEbml, ebml);
    putId(out, kSegment);
    out += "\x01\xFF\xFF\xFF\xFF\xFF\xFF\xFF";  // unknown size: the stream ends when the pipe does
    putElement(out, kInfo, info);
    putElement(out, kTracks, element(kTrackEntry, track));
    return out;
}

// Writes every part, going on after partial writes and interruptions; false
// when the reader has gone.
bool writeAll(int fd, std::vector<iovec> parts) {
    std::size_t next = 0;
    while (next < parts.size()) {
        const int count = static_cast<int>(std::min<std::size_t>(parts.size() - next, IOV_MAX));
        ssize_t written = ::writev(fd, parts.data() + next, count);
        if (written < 0) {
            if (errno == EINTR) continue;
            if (errno == EPIPE) return false;
            throw FileError("write frames to", "the encoder's pipe", errno);
        }
        // Skip what went out; a part written in part keeps its rest.
        while (next < parts.size() && static_cast<std::size_t>(written) >= parts[next].iov_len) {
            written -= static_cast<ssize_t>(parts[next].iov_len);
            ++next;
        }
        if (written > 0) {
            parts[next].iov_base = static_cast<char*>(parts[next].iov_base) + written;
            parts[next].iov_len -= static_cast<std::size_t>(written);
        }
    }
    return true;
}

}  // namespace

RawVideoStream::RawVideoStream(int fd, FrameSize size) : fd_(fd), size_(size) {
    if (size.width <= 0 || size.height <= 0 || size.width % 2 || size.height % 2) {
        throw std::invalid_argument("a 4:2:0 frame needs positive even sides, not " + std::to_string(size.width) + "x" +
                                    std::to_string(size.height));
    }
    Buffer header = streamHeader(size);
    open_ = writeAll(fd_, {{header.data(), header.size()}});
}

bool RawVideoStream::frame(std::int64_t ms, std::span<const std::span<const std::uint8_t>> pieces) {
    if (ms < 0 || (lastMs_ && ms <= *lastMs_)) {
        throw std::invalid_argument("frame times must increase from 0: " + std::to_string(ms) + " ms after " +
                                    (lastMs_ ? std::to_string(*lastMs_) : std::string("none")));
    }
    const std::size_t expected = std::size_t(size_.width) * std::size_t(size_.height) * 3 / 2;
    std::size_t total = 0;
    for (const auto& piece : pieces) total += piece.size();
    if (total != expected) {
        throw std::invalid_argument("a " + std::to_string(size_.width) + "x" + std::to_string(size_.height) +
                                    " frame is " + std::to_string(expected) + " bytes, not " + std::to_string(total));
    }
    if (!open_) return false;
    lastMs_ = ms;

    // Track 1 as a one-byte number, no offset from the cluster's time, keyframe.
    const std::string_view blockHeader("\x81\x00\x00\x80", 4);
    Buffer block;
    putId(block, kSimpleBlock);
    putSize(block, blockHeader.size() + total);
    block += blockHeader;
    Buffer cluster;
    putUnsigned(cluster, kTimestamp, static_cast<std::uint64_t>(ms));
    const std::size_t clusterSize = cluster.size() + block.size() + total;
    Buffer head;
    putId(head, kCluster);
    putSize(head, clusterSize);
    head += cluster;
    head += block;

    std::vector<iovec> parts;
    parts.reserve(pieces.size() + 1);
    parts.push_back({head.data(), head.size()});
    for (const auto& piece : pieces) {
        if (!piece.empty()) parts.push_back({const_cast<std::uint8_t*>(piece.data()), piece.size()});
    }
    open_ = writeAll(fd_, std::move(parts));
    return open_;
}

}  // namespace orvandel
