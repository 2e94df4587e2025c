#include "encode/MasterMovie.hpp"

#include "base/Bytes.hpp"
#include "encode/DrawnMovie.hpp"
#include "encode/FrameSchedule.hpp"
#include "encode/MovieEncoder.hpp"
#include "encode/RawVideoStream.hpp"
#include "render/Mp4Duration.hpp"
#include "tools/RenderError.hpp"

namespace orvandel::MasterMovie {

namespace {
// How the errors of the check begin.
const char* const kErrorLead = "encoding movie";
}  // namespace

void encode(const std::vector<Storyboard::Shot>& shots, const std::map<int, std::filesystem::path>& frames,
            const std::vector<DrawnChange>& changes, const MediaLayers::Gathered& media, FrameSize size,
            std::int64_t totalMs, const std::filesystem::path& scratch, const std::filesystem::path& to,
            const Options& options) {
    std::vector<ScheduledStill> entries;
    for (const auto& shot : shots) entries.push_back({frames.at(shot.page), shot.durationMs});
    // Drawn changes move as media do: 30 frames a second.
    std::vector<MsRange> moving = media.moving;
    for (const auto& change : changes) moving.push_back(change.span);

    MovieEncoder::Options encoding{.timeout = std::chrono::milliseconds(300'000 + totalMs / 2),
                                   .cancel = options.cancel,
                                   .onProgress = options.onProgress,
                                   .silentAudio = options.silentAudio,
                                   .media = media.layers};
    std::filesystem::path list;
    // Outlives the branch below: the encoder calls the frames writer later.
    std::vector<std::filesystem::path> pageFrames;
    if (changes.empty()) {
        list = scratch / "timeline.ffconcat";
        writeFile(list, FrameSchedule::ffconcat(entries, options.periodicFrameMs, moving));
    } else {
        pageFrames.resize(frames.empty() ? 0 : std::size_t(frames.rbegin()->first));
        for (const auto& [page, file] : frames) {
            if (page > 0) pageFrames[std::size_t(page) - 1] = file;
        }
        encoding.frames = [&](int fd) {
            RawVideoStream stream(fd, size);
            DrawnMovie::write(stream, FrameSchedule::frames(entries, options.periodicFrameMs, moving), entries, changes,
                              pageFrames, size, options.cancel);
        };
    }
    MovieEncoder::encode(list, totalMs, to, encoding);
}

void check(const std::filesystem::path& to, std::int64_t minPlausibleMs) {
    std::int64_t measured = 0;
    try {
        measured = Mp4Duration::measureMs(to);
    } catch (const Mp4Duration::Mp4Error& e) {
        throw RenderError(RenderError::Case::badOutput, ExportStage::encode,
                          std::string(kErrorLead) + ": the movie ffmpeg wrote cannot be measured (" + e.what() +
                              "). Check free disk space and try again.");
    }
    if (measured < minPlausibleMs) {
        throw RenderError(RenderError::Case::badOutput, ExportStage::encode,
                          std::string(kErrorLead) + ": the rendered movie is implausibly short (" +
                              std::to_string(measured) + " ms < " + std::to_string(minPlausibleMs) + " ms).");
    }
}

}  // namespace orvandel::MasterMovie
