#include "encode/MasterMovie.hpp"

#include <atomic>
#include <exception>
#include <mutex>

#include "base/Bytes.hpp"
#include "base/Numbers.hpp"
#include "encode/DrawnMovie.hpp"
#include "encode/MovieEncoder.hpp"
#include "encode/RawVideoStream.hpp"
#include "render/Mp4Duration.hpp"
#include "tools/RenderError.hpp"
#include "tools/RenderTools.hpp"

namespace orvandel::MasterMovie {

namespace {
// How the errors of the check begin.
const char* const kErrorLead = "encoding movie";

std::chrono::milliseconds timeLimit(std::int64_t ms) { return std::chrono::milliseconds(120'000 + ms / 2); }
}  // namespace

void encodeSegments(const std::vector<SlideSegment>& segments, const std::vector<std::size_t>& which,
                    const std::vector<std::filesystem::path>& outputs, const std::vector<Storyboard::Shot>& shots,
                    const std::map<int, std::filesystem::path>& frames, FrameSize size, const Options& options) {
    std::vector<ScheduledStill> entries;
    for (const auto& shot : shots) {
        const auto found = frames.find(shot.page);
        entries.push_back({found == frames.end() ? std::filesystem::path() : found->second, shot.durationMs});
    }
    std::vector<std::filesystem::path> pageFrames(frames.empty() ? 0 : std::size_t(frames.rbegin()->first));
    for (const auto& [page, file] : frames) {
        if (page > 0) pageFrames[std::size_t(page) - 1] = file;
    }
    std::int64_t totalMs = 0;
    for (std::size_t k : which) totalMs += segments.at(k).span.endMs - segments.at(k).span.startMs;

    if (which.empty()) return;
    // After a failure the other workers take no further segment.
    const CancellationToken stop;
    std::atomic<std::size_t> next{0};
    std::mutex progressLock;
    std::int64_t doneMs = 0;
    const int workers = std::max(1, std::min<int>(options.workers, int(which.size())));
    RenderTools::inParallel(workers, [&](int) {
        for (std::size_t n; (n = next.fetch_add(1)) < which.size();) {
            if (options.cancel && options.cancel->isCancelled()) throw CancelledError();
            if (stop.isCancelled()) return;
            const SlideSegment& segment = segments.at(which[n]);
            const std::int64_t lengthMs = segment.span.endMs - segment.span.startMs;
            try {
                MovieEncoder::encodeSegment(
                    lengthMs, outputs.at(which[n]), segment.pictures,
                    [&](int fd) {
                        RawVideoStream stream(fd, size);
                        DrawnMovie::write(stream, segment.frames, entries, segment.changes, pageFrames, size,
                                          options.cancel, segment.span.startMs);
                    },
                    {.timeout = timeLimit(lengthMs), .cancel = options.cancel, .onProgress = {}});
            } catch (...) {
                stop.cancel();
                throw;
            }
            {
                const std::lock_guard lock(progressLock);
                doneMs += lengthMs;
                if (options.onProgress && totalMs > 0) options.onProgress(double(doneMs) / double(totalMs));
                if (options.onSegment) options.onSegment(which[n]);
            }
        }
    });
}

void join(const std::vector<SlideSegment>& segments, const std::vector<std::filesystem::path>& files,
          const std::optional<std::filesystem::path>& sound, std::int64_t totalMs, const std::filesystem::path& scratch,
          const std::filesystem::path& to, const Options& options) {
    // Each segment lasts exactly its slide: the next one starts there.
    std::string list = "ffconcat version 1.0\n";
    for (std::size_t k = 0; k < segments.size(); ++k) {
        list += "file " + FrameSchedule::quoted(files.at(k).string()) + "\nduration " +
                msAsDecimalSeconds(segments[k].span.endMs - segments[k].span.startMs) + "\n";
    }
    const auto listFile = scratch / "segments.ffconcat";
    writeFile(listFile, list);
    MovieEncoder::join(listFile, sound, totalMs, to,
                       {.timeout = timeLimit(totalMs / 10), .cancel = options.cancel, .onProgress = {}});
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
