#include "DrawnMovie.hpp"

#include <algorithm>
#include <list>
#include <span>
#include <utility>

#include "EffectPainter.hpp"
#include "RenderError.hpp"

namespace orvandel::DrawnMovie {

namespace {

const char* const kStage = "encoding movie";

// The planes of a frame file (a YUV4MPEG header line, "FRAME\n", the planes).
class Stills {
public:
    explicit Stills(FrameSize size) : size_(size) {}

    const YuvFrame& operator[](const std::filesystem::path& file) {
        for (auto it = held_.begin(); it != held_.end(); ++it) {
            if (it->first != file) continue;
            held_.splice(held_.end(), held_, it);  // the latest used goes last, references stay valid
            return held_.back().second;
        }
        if (held_.size() >= 4) held_.pop_front();
        Bytes bytes;
        try {
            bytes = readFile(file);
        } catch (const std::exception& e) {
            unreadable(file, e.what());
        }
        const std::size_t planes = std::size_t(size_.width) * std::size_t(size_.height) * 3 / 2;
        const auto header = std::find(bytes.begin(), bytes.end(), std::uint8_t('\n'));
        const auto mark = header == bytes.end() ? bytes.end() : std::find(header + 1, bytes.end(), std::uint8_t('\n'));
        if (mark == bytes.end() || std::size_t(bytes.end() - mark - 1) != planes) unreadable(file, "not a frame of this movie");
        held_.emplace_back(file, YuvFrame{size_, Bytes(mark + 1, bytes.end())});
        return held_.back().second;
    }

private:
    [[noreturn]] static void unreadable(const std::filesystem::path& file, const std::string& why) {
        throw RenderError(RenderError::Case::badOutput, kStage,
                          std::string(kStage) + ": the frame " + file.filename().string() + " cannot be read (" + why +
                              "). Check free disk space and try again.");
    }

    FrameSize size_;
    std::list<std::pair<std::filesystem::path, YuvFrame>> held_;
};

}  // namespace

void write(RawVideoStream& stream, const std::vector<TimelineFrame>& frames,
           const std::vector<std::filesystem::path>& shotFrames, const std::vector<DrawnChange>& changes,
           FrameSize size, const std::optional<CancellationToken>& cancel) {
    Stills stills(size);
    YuvFrame drawn;
    std::size_t next = 0;
    std::optional<std::pair<std::size_t, EffectPainter::Area>> area;  // of the change being drawn
    for (const auto& f : frames) {
        if (cancel && cancel->isCancelled()) throw CancelledError();
        while (next < changes.size() && changes[next].span.endMs <= f.startMs) ++next;
        const Bytes* planes = nullptr;
        if (next < changes.size() && changes[next].span.startMs <= f.startMs) {
            const DrawnChange& c = changes[next];
            // A drawing's first moment is the picture already on screen.
            if (c.elapsedAt(f.startMs) == 0 && f.startMs > 0) continue;
            const YuvFrame& before = stills[shotFrames.at(c.from)];
            // A transition brings in the slide as it is at that moment.
            const YuvFrame& after = stills[shotFrames.at(c.wholeSlide ? f.entry : c.to)];
            const bool sameChange = area && area->first == next;
            if (!sameChange) area.emplace(next, EffectPainter::changedArea(before, after));
            EffectPainter::paint(before, after, c.effect, area->second, c.wholeSlide, c.elapsedAt(f.startMs), drawn,
                                 sameChange);
            planes = &drawn.planes;
        } else {
            planes = &stills[shotFrames.at(f.entry)].planes;
        }
        const std::span<const std::uint8_t> piece(planes->data(), planes->size());
        if (!stream.frame(f.startMs, std::span(&piece, 1))) return;
    }
}

}  // namespace orvandel::DrawnMovie
