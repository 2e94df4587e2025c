#include "encode/MasterMovie.hpp"

#include <algorithm>
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

constexpr std::int64_t kFullHd = 1920 * 1080;

// Half the movie's length at 1080p and 30 frames a second, more for larger
// frames and faster rates, whose encoding takes longer in proportion.
std::chrono::milliseconds timeLimit(std::int64_t ms, FrameSize size = {}, int fps = 30) {
    const std::int64_t pixels = std::max<std::int64_t>(kFullHd, std::int64_t(size.width) * size.height);
    const std::int64_t times = (pixels * std::clamp(fps, 30, 1000) / 30 + kFullHd - 1) / kFullHd;
    return std::chrono::milliseconds(120'000 + ms / 2 * times);
}

// Slides encoded by one ffmpeg run at most: two save most of what starting
// a run costs, and each encoder holds about 110 MB at 1080p (eight to a run
// took 1.8 GB for two runs at once, export_bench's deck). Larger frames take
// memory in proportion (about 440 MB at 2160p): one slide to a run.
std::size_t groupOf(FrameSize size) { return std::int64_t(size.width) * size.height > kFullHd ? 1 : 2; }
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

    // Slides without media go to ffmpeg in groups, each slide with its own
    // encoder; a slide with media pictures goes alone, with its filter graph.
    std::vector<std::vector<std::size_t>> groups;
    for (std::size_t k : which) {
        const bool alone = !segments.at(k).pictures.empty();
        if (groups.empty() || alone || groups.back().size() >= groupOf(size) ||
            !segments.at(groups.back().front()).pictures.empty()) {
            groups.emplace_back();
        }
        groups.back().push_back(k);
    }
    // After a failure the other workers take no further group.
    const CancellationToken stop;
    std::atomic<std::size_t> next{0};
    std::mutex progressLock;
    std::int64_t doneMs = 0;
    const int workers = std::max(1, std::min<int>(options.workers, int(groups.size())));
    RenderTools::inParallel(workers, [&](int) {
        for (std::size_t n; (n = next.fetch_add(1)) < groups.size();) {
            if (options.cancel && options.cancel->isCancelled()) throw CancelledError();
            if (stop.isCancelled()) return;
            std::vector<MovieEncoder::Segment> group;
            std::int64_t groupMs = 0;
            for (std::size_t k : groups[n]) {
                const SlideSegment& segment = segments[k];
                const std::int64_t lengthMs = segment.span.endMs - segment.span.startMs;
                groupMs = std::max(groupMs, lengthMs);
                group.push_back({lengthMs, outputs.at(k), segment.pictures, [&, k](int fd) {
                                     RawVideoStream stream(fd, size);
                                     DrawnMovie::write(stream, segments[k].frames, entries, segments[k].changes,
                                                       pageFrames, size, options.cancel, segments[k].span.startMs);
                                 }});
            }
            try {
                MovieEncoder::encodeSegments(group, outputs.at(groups[n].front()).parent_path(),
                                             {.timeout = timeLimit(groupMs * std::int64_t(group.size()), size,
                                                                   options.encoding.fps),
                                              .cancel = options.cancel,
                                              .onProgress = {}},
                                             options.encoding);
            } catch (...) {
                stop.cancel();
                throw;
            }
            const std::lock_guard lock(progressLock);
            for (std::size_t k : groups[n]) {
                doneMs += segments[k].span.endMs - segments[k].span.startMs;
                if (options.onSegment) options.onSegment(k);
            }
            if (options.onProgress && totalMs > 0) options.onProgress(double(doneMs) / double(totalMs));
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
