#include "encode/DrawnMovie.hpp"

#include <algorithm>
#include <list>
#include <span>
#include <utility>

#include "pixels/EffectPainter.hpp"
#include "pixels/FrameConverter.hpp"
#include "tools/RenderError.hpp"

namespace orvandel::DrawnMovie {

namespace {

// How the errors of this stage begin: the driver's words, where the encoder
// says "encoding the movie".
const char* const kErrorLead = "encoding movie";

// The planes of the frame files, the last few used held.
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
        const auto planes = FrameConverter::planesOffset(bytes, size_);
        if (!planes) unreadable(file, "not a frame of this movie");
        bytes.erase(bytes.begin(), bytes.begin() + std::ptrdiff_t(*planes));
        held_.emplace_back(file, YuvFrame{size_, std::move(bytes)});
        return held_.back().second;
    }

private:
    [[noreturn]] static void unreadable(const std::filesystem::path& file, const std::string& why) {
        throw RenderError(RenderError::Case::badOutput, ExportStage::encode,
                          std::string(kErrorLead) + ": the frame " + file.filename().string() + " cannot be read (" +
                              why + "). Check free disk space and try again.");
    }

    FrameSize size_;
    std::list<std::pair<std::filesystem::path, YuvFrame>> held_;
};

}  // namespace

void write(RawVideoStream& stream, const std::vector<ScheduledFrame>& frames, const std::vector<ScheduledStill>& shots,
           const std::vector<DrawnChange>& changes, const std::vector<std::filesystem::path>& pageFrames,
           FrameSize size, const std::optional<CancellationToken>& cancel, std::int64_t originMs) {
    Stills stills(size);
    YuvFrame drawn;
    std::size_t next = 0;
    // The painter of the change being drawn, made on its first frame.
    std::optional<std::pair<std::size_t, EffectPainter>> painter;
    for (const auto& f : frames) {
        if (cancel && cancel->isCancelled()) throw CancelledError();
        while (next < changes.size() && changes[next].span.endMs <= f.startMs) ++next;
        const Bytes* planes = nullptr;
        if (next < changes.size() && changes[next].span.startMs <= f.startMs) {
            const DrawnChange& c = changes[next];
            // A drawing's first moment is the picture already on screen,
            // except where a segment starts: nothing is on screen yet.
            if (c.elapsedAt(f.startMs) == 0 && f.startMs > originMs) continue;
            const YuvFrame& before = stills[shots.at(c.from).image];
            // A transition brings in the slide as it is at that moment.
            const YuvFrame& after = stills[shots.at(c.wholeSlide ? f.entry : c.to).image];
            const YuvFrame* without = nullptr;
            if (c.withoutPage > 0 && std::size_t(c.withoutPage) <= pageFrames.size() &&
                !pageFrames[std::size_t(c.withoutPage) - 1].empty()) {
                without = &stills[pageFrames[std::size_t(c.withoutPage) - 1]];
            }
            const bool sameChange = painter && painter->first == next;
            if (!sameChange) painter.emplace(next, EffectPainter(c.effect, c.wholeSlide));
            painter->second.paint(before, after, without, c.elapsedAt(f.startMs), drawn, sameChange);
            planes = &drawn.planes;
        } else {
            planes = &stills[shots.at(f.entry).image].planes;
        }
        const std::span<const std::uint8_t> piece(planes->data(), planes->size());
        if (!stream.frame(f.startMs - originMs, std::span(&piece, 1))) return;
    }
}

}  // namespace orvandel::DrawnMovie
