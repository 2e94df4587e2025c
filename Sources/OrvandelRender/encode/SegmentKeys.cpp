#include "encode/SegmentKeys.hpp"

#include "cache/ContentHash.hpp"

namespace orvandel::SegmentKeys {

std::string environment(std::string_view fingerprint, const MovieEncoder::Encoding& encoding,
                        std::int64_t periodicFrameMs, unsigned threads) {
    std::string out = std::string(fingerprint) + "|" + std::to_string(encoding.frame.width) + "x" +
                      std::to_string(encoding.frame.height) + "|";
    for (const auto& argument :
         MovieEncoder::segmentArguments({{0, "segment.mp4", {}, {}}}, {"frames.mkv"}, encoding)) {
        out += argument + '\n';
    }
    out += "|" + std::to_string(threads) + "|" + std::to_string(periodicFrameMs);
    if (encoding.fps != 30) out += "|" + std::to_string(encoding.fps) + " fps";
    return out;
}

namespace {

void addLayer(ContentHash& hash, const MediaLayer& m, const MediaHashes& media) {
    const auto file = media.find(m.file);
    hash.field(file == media.end() ? "unread:" + m.file.string() : file->second);
    for (std::int64_t n : {m.startMs,
                           m.trimStartMs,
                           m.playMs,
                           std::int64_t(m.loops),
                           std::int64_t(m.gif),
                           std::int64_t(m.picture),
                           std::int64_t(m.sound),
                           m.volume,
                           m.left,
                           m.top,
                           m.width,
                           m.height,
                           m.rotation,
                           std::int64_t(m.flipH),
                           std::int64_t(m.flipV),
                           m.cropLeft,
                           m.cropTop,
                           m.cropRight,
                           m.cropBottom,
                           std::int64_t(m.shown.size())}) {
        hash.field(n);
    }
    for (const auto& s : m.shown) hash.field(s.startMs).field(s.endMs);
}

std::string pageKey(const std::vector<std::string>& pageKeys, int page) {
    return page > 0 && std::size_t(page) <= pageKeys.size() ? pageKeys[std::size_t(page) - 1] : "none";
}

}  // namespace

std::string ofSegment(const SlideSegment& segment, const std::vector<Storyboard::Shot>& shots,
                      const std::vector<std::string>& pageKeys, std::string_view slideMarkup, const MediaHashes& media,
                      std::string_view environment) {
    ContentHash hash;
    const std::int64_t origin = segment.span.startMs;
    hash.field("segment").field(environment).field(slideMarkup).field(segment.span.endMs - origin);
    hash.field(std::int64_t(segment.frames.size()));
    for (const auto& f : segment.frames)
        hash.field(f.startMs - origin).field(pageKey(pageKeys, shots.at(f.entry).page));
    hash.field(std::int64_t(segment.changes.size()));
    for (const auto& c : segment.changes) {
        hash.field(c.span.startMs - origin).field(c.span.endMs - origin).field(c.effectStartMs - origin);
        hash.field(c.playedOverMs).field(std::int64_t(c.wholeSlide));
        hash.field(pageKey(pageKeys, shots.at(c.from).page)).field(pageKey(pageKeys, shots.at(c.to).page));
        hash.field(pageKey(pageKeys, c.withoutPage));
        hash.field(std::int64_t(c.from) - std::int64_t(segment.firstShot))
            .field(std::int64_t(c.to - segment.firstShot));
    }
    hash.field(std::int64_t(segment.pictures.size()));
    for (const auto& m : segment.pictures) addLayer(hash, m, media);
    return hash.hex();
}

std::string ofSound(const std::vector<MediaLayer>& sounds, std::int64_t totalMs, const MediaHashes& media,
                    std::string_view environment) {
    ContentHash hash;
    hash.field("sound").field(environment).field(totalMs).field(std::int64_t(sounds.size()));
    for (const auto& m : sounds) addLayer(hash, m, media);
    return hash.hex();
}

}  // namespace orvandel::SegmentKeys
