#include "encode/MovieEncoder.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <exception>
#include <iterator>
#include <thread>

#include "base/Error.hpp"
#include "base/Numbers.hpp"
#include "tools/RenderError.hpp"
#include "tools/RenderTools.hpp"

namespace orvandel::MovieEncoder {

namespace {
// How the errors of this stage begin.
const char* const kErrorLead = "encoding the movie";
constexpr std::int64_t kAudioRate = 48000;
constexpr std::int64_t kAacFrame = 1024;  // samples per AAC frame

// A filter's time bound half a millisecond before `ms`: frames sit on whole
// milliseconds, so no rounding of the seconds can put one on the wrong side.
std::string halfMsBefore(std::int64_t ms) {
    const std::int64_t tenths = std::max<std::int64_t>(0, ms * 10 - 5);
    std::string fraction = std::to_string(tenths % 10000);
    return std::to_string(tenths / 10000) + "." + std::string(4 - fraction.size(), '0') + fraction;
}

std::string picture(const MediaLayer& m, std::size_t input, const std::string& label) {
    std::string f = "[" + std::to_string(input) + ":v]setpts=PTS-STARTPTS+" + msAsDecimalSeconds(m.startMs) + "/TB";
    if (m.cropLeft || m.cropTop || m.cropRight || m.cropBottom) {
        const auto share = [](std::int64_t cut) { return std::to_string(100000 - cut); };
        f += ",crop=w=iw*" + share(m.cropLeft + m.cropRight) + "/100000:h=ih*" + share(m.cropTop + m.cropBottom) +
             "/100000:x=iw*" + std::to_string(m.cropLeft) + "/100000:y=ih*" + std::to_string(m.cropTop) + "/100000";
    }
    f += ",scale=" + std::to_string(m.width) + ":" + std::to_string(m.height);
    if (m.flipH) f += ",hflip";
    if (m.flipV) f += ",vflip";
    // Transparency for a GIF's own and for the corners a rotation uncovers.
    if (m.gif || m.rotation % 21600000 != 0) f += ",format=yuva420p";
    if (m.rotation % 21600000 != 0) {
        f += ",rotate=a=" + std::to_string(m.rotation) + "*PI/10800000:ow=rotw(a):oh=roth(a):c=none";
    }
    return f + "[" + label + "]";
}

std::string enabled(const std::vector<MsRange>& spans) {
    std::string e;
    for (const auto& s : spans) {
        e += (e.empty() ? "" : "+") + std::string("between(t,") + halfMsBefore(s.startMs) + "," +
             halfMsBefore(s.endMs) + ")";
    }
    return e;
}

// Each medium's input: read from its own file only, trimmed and looped as it plays.
void addMediaInputs(std::vector<std::string>& args, const std::vector<MediaLayer>& media) {
    for (const auto& m : media) {
        if (m.gif) args.insert(args.end(), {"-ignore_loop", "0"});
        if (m.loops) args.insert(args.end(), {"-stream_loop", "-1"});
        if (m.trimStartMs > 0) args.insert(args.end(), {"-ss", msAsDecimalSeconds(m.trimStartMs)});
        args.insert(args.end(), {"-t", msAsDecimalSeconds(m.playMs)});
        const auto input = RenderTools::mediaInput(m.file);
        args.insert(args.end(), input.begin(), input.end());
    }
}

std::vector<std::string> leadingArguments() {
    return {"-hide_banner", "-v", "error", "-progress", "pipe:1", "-nostats", "-y"};
}

// Runs ffmpeg, turning its -progress lines ("out_time_us=...") into fractions of lengthMs.
void run(const std::vector<std::string>& args, std::int64_t lengthMs, const Options& options,
         const std::function<void(int fd)>& standardInput = {}) {
    std::string pending;
    auto onOutput = [&](std::string_view chunk) {
        if (!options.onProgress || lengthMs <= 0) return;
        pending.append(chunk);
        std::size_t nl;
        while ((nl = pending.find('\n')) != std::string::npos) {
            const std::string line = pending.substr(0, nl);
            pending.erase(0, nl + 1);
            static const std::string key = "out_time_us=";
            if (line.rfind(key, 0) == 0) {
                if (const auto us = parseInt64(line.substr(key.size()))) {
                    options.onProgress(std::min(1.0, std::max(0.0, double(*us) / 1000.0 / double(lengthMs))));
                }
            }
        }
    };
    RenderTools::runTool(ExportStage::encode, kErrorLead, "ffmpeg", "ffmpeg", args,
                         {.timeout = options.timeout,
                          .cancel = options.cancel,
                          .onStandardOutput = onOutput,
                          .standardInput = standardInput});
}

}  // namespace

std::string filterGraph(const std::vector<MediaLayer>& media, std::int64_t totalMs, bool sound) {
    std::string graph;
    if (!sound) {
        std::string video = "0:v";
        for (std::size_t i = 0; i < media.size(); ++i) {
            const MediaLayer& m = media[i];
            if (!m.picture || m.shown.empty()) continue;
            const std::string n = std::to_string(i + 1);
            graph += picture(m, i + 1, "m" + n) + ";";
            // Centred on its rectangle: a rotated picture is larger than it.
            graph += "[" + video + "][m" + n + "]overlay=x=" + std::to_string(m.left) + "+(" + std::to_string(m.width) +
                     "-w)/2:y=" + std::to_string(m.top) + "+(" + std::to_string(m.height) +
                     "-h)/2:eof_action=repeat:enable='" + enabled(m.shown) + "'[v" + n + "];";
            video = "v" + n;
        }
        return graph + "[" + video + "]null[v]";
    }
    std::string sounds;
    std::size_t mixed = 0;
    for (std::size_t i = 0; i < media.size(); ++i) {
        const MediaLayer& m = media[i];
        if (!m.sound) continue;
        const std::string n = std::to_string(i);
        graph += "[" + n + ":a]asetpts=PTS-STARTPTS,aformat=sample_rates=48000:channel_layouts=stereo,volume=" +
                 std::to_string(m.volume) + "/100000,adelay=delays=" + std::to_string(m.startMs) + ":all=1[s" + n +
                 "];";
        sounds += "[s" + n + "]";
        ++mixed;
    }
    // Whole AAC frames that end no later than the video.
    const std::int64_t audioSamples = totalMs * kAudioRate / 1000 / kAacFrame * kAacFrame;
    graph += "[" + std::to_string(media.size()) + ":a]" + sounds;
    if (mixed > 0) graph += "amix=inputs=" + std::to_string(mixed + 1) + ":duration=first:normalize=0,";
    return graph + "atrim=end_sample=" + std::to_string(audioSamples) + "[a]";
}

namespace {

// The H.264 levels' limits from 4.1 on: frame size and macroblocks a second.
struct Level {
    const char* name;
    std::int64_t frameMacroblocks;
    std::int64_t macroblocksPerSecond;
};
constexpr Level kLevels[] = {{"4.1", 8192, 245760},    {"4.2", 8704, 522240},    {"5", 22080, 589824},
                             {"5.1", 36864, 983040},   {"5.2", 36864, 2073600},  {"6", 139264, 4177920},
                             {"6.1", 139264, 8355840}, {"6.2", 139264, 16711680}};

// The quality's settings after the preset, which stays superfast for all:
// x264's own CRF (23) for standard, so that its movies and cached segments
// stay valid; 18 for high, where the eye stops telling the picture from its
// source (about 1.4 times the file); 28 for small (about 0.7 times), text
// still sharp.
std::vector<std::string> qualityArguments(VideoSettings::Quality quality) {
    switch (quality) {
        case VideoSettings::Quality::standard: return {};
        case VideoSettings::Quality::high: return {"-crf", "18"};
        case VideoSettings::Quality::small: return {"-crf", "28"};
    }
    return {};
}

}  // namespace

std::string levelOf(FrameSize frame, int fps) {
    const std::int64_t blocks = (std::int64_t(std::clamp(frame.width, 1, 1 << 16)) + 15) / 16 *
                                ((std::int64_t(std::clamp(frame.height, 1, 1 << 16)) + 15) / 16);
    const std::int64_t perSecond = blocks * std::clamp(fps, 1, 1000);
    for (const auto& level : kLevels) {
        if (blocks <= level.frameMacroblocks && perSecond <= level.macroblocksPerSecond) return level.name;
    }
    return std::end(kLevels)[-1].name;
}

std::vector<std::string> segmentArguments(const std::vector<Segment>& segments,
                                          const std::vector<std::filesystem::path>& inputs, const Encoding& encoding) {
    const std::string level = levelOf(encoding.frame, encoding.fps);
    const std::vector<std::string> quality = qualityArguments(encoding.quality);
    // Every input reads one local file: a segment's FIFO, or a medium.
    std::vector<std::string> args = leadingArguments();
    args.insert(args.begin(), "-nostdin");
    for (const auto& input : inputs) {
        // The stream's header says all there is to know. Probed further, a
        // small frame lets ffmpeg read several frames and guess a frame rate
        // from them, which then sets the length of the segment's last frame
        // (4 ms at 480p where the schedule says 1).
        args.insert(args.end(), {"-f", "matroska", "-probesize", "32"});
        const auto file = RenderTools::fileInput(input);
        args.insert(args.end(), file.begin(), file.end());
    }
    const bool pictures = segments.size() == 1 && !segments.front().pictures.empty();
    if (pictures) {
        addMediaInputs(args, segments.front().pictures);
        args.insert(args.end(),
                    {"-filter_complex", filterGraph(segments.front().pictures, segments.front().durationMs, false)});
    }
    for (std::size_t k = 0; k < segments.size(); ++k) {
        args.insert(args.end(), {"-map", pictures ? "[v]" : std::to_string(k) + ":v"});
        // Drawn changes bring about five times the frames, each mostly the
        // frame before: a lighter analysis keeps the export fast
        // (export_bench); the deblocking filter keeps the picture, CAVLC
        // costs only bits. The stream names no frame rate: without a
        // millisecond time base the encoder would take the rate ffmpeg
        // guesses from the first frames.
        args.insert(args.end(), {"-an", "-fps_mode", "passthrough", "-video_track_timescale", "1000", "-c:v", "libx264",
                                 "-preset", "superfast", "-tune", "stillimage"});
        args.insert(args.end(), quality.begin(), quality.end());
        args.insert(args.end(),
                    {"-bf", "0", "-level:v", level, "-pix_fmt", "yuv420p", "-enc_time_base:v", "1:1000", "-x264-params",
                     "partitions=none:subme=0:8x8dct=0:aq-mode=0:weightp=0:scenecut=0:cabac=0", "-f", "mp4",
                     segments[k].output.string()});
    }
    return args;
}

namespace {

// Writes one segment's frames into its FIFO once ffmpeg opens it, unless
// ffmpeg ends first. SIGPIPE is blocked: an ffmpeg that has gone turns the
// next write into EPIPE (the stream then stops) instead of killing us.
void feed(const std::filesystem::path& fifo, const std::function<void(int)>& frames, const std::atomic<bool>& ended,
          std::exception_ptr& error) {
    sigset_t pipeSignal;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    ::pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);
    int fd;
    // Opened without waiting, so that an ffmpeg that never opens it cannot hold us.
    while ((fd = ::open(fifo.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC)) < 0) {
        if (errno != ENXIO && errno != EINTR) {
            error = std::make_exception_ptr(FileError("open", fifo.string(), errno));
            return;
        }
        if (ended) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    try {
        frames(fd);
    } catch (...) {
        error = std::current_exception();
    }
    ::close(fd);
    const timespec now{};
    while (::sigtimedwait(&pipeSignal, nullptr, &now) == SIGPIPE) {
    }
}

}  // namespace

void encodeSegments(const std::vector<Segment>& segments, const std::filesystem::path& fifoDir, const Options& options,
                    const Encoding& encoding) {
    if (segments.empty()) return;
    std::vector<std::filesystem::path> fifos;
    std::int64_t longestMs = 0;
    for (std::size_t k = 0; k < segments.size(); ++k) {
        // Named after its segment: other runs may use the same folder at once.
        fifos.push_back(fifoDir / (segments[k].output.stem().string() + "-frames.mkv"));
        std::filesystem::remove(fifos.back());
        if (::mkfifo(fifos.back().c_str(), 0600) != 0) throw FileError("make the FIFO", fifos.back().string(), errno);
        longestMs = std::max(longestMs, segments[k].durationMs);
    }
    std::atomic<bool> ended{false};
    std::vector<std::exception_ptr> errors(segments.size());
    std::vector<std::thread> writers;
    std::exception_ptr failure;
    try {
        for (std::size_t k = 0; k < segments.size(); ++k) {
            writers.emplace_back(feed, std::cref(fifos[k]), std::cref(segments[k].frames), std::cref(ended),
                                 std::ref(errors[k]));
        }
        run(segmentArguments(segments, fifos, encoding), longestMs, options);
    } catch (...) {
        failure = std::current_exception();
    }
    ended = true;
    for (auto& writer : writers) writer.join();
    for (const auto& fifo : fifos) std::filesystem::remove(fifo);
    // A frame that could not be made says more than ffmpeg's complaint about the stream that stopped.
    for (const auto& error : errors) {
        if (error) std::rethrow_exception(error);
    }
    if (failure) std::rethrow_exception(failure);
}

bool hasSound(std::int64_t totalMs) { return totalMs * kAudioRate / 1000 >= kAacFrame; }

std::vector<std::string> soundArguments(std::int64_t totalMs, const std::filesystem::path& output,
                                        const std::vector<MediaLayer>& sounds) {
    std::vector<std::string> args = leadingArguments();
    args.insert(args.begin(), "-nostdin");
    addMediaInputs(args, sounds);
    const bool sound = std::any_of(sounds.begin(), sounds.end(), [](const MediaLayer& m) { return m.sound; });
    args.insert(args.end(), {"-f", "lavfi", "-i", "anullsrc=r=48000:cl=stereo", "-filter_complex",
                             filterGraph(sounds, totalMs, true), "-map", "[a]", "-vn", "-c:a", "aac", "-b:a",
                             // Silence costs next to nothing at any rate; sound wants more.
                             sound ? "128k" : "48k", "-f", "mp4", output.string()});
    return args;
}

void encodeSound(std::int64_t totalMs, const std::filesystem::path& output, const std::vector<MediaLayer>& sounds,
                 const Options& options) {
    run(soundArguments(totalMs, output, sounds), totalMs, options);
}

void join(const std::filesystem::path& segmentList, const std::optional<std::filesystem::path>& sound,
          std::int64_t totalMs, const std::filesystem::path& output, const Options& options) {
    std::vector<std::string> args = leadingArguments();
    args.insert(args.begin(), "-nostdin");
    args.insert(args.end(), {"-f", "concat", "-safe", "0"});
    const auto list = RenderTools::fileInput(segmentList);
    args.insert(args.end(), list.begin(), list.end());
    if (sound) {
        const auto input = RenderTools::fileInput(*sound);
        args.insert(args.end(), input.begin(), input.end());
    }
    args.insert(args.end(), {"-map", "0:v"});
    if (sound) args.insert(args.end(), {"-map", "1:a"});
    args.insert(args.end(), {"-c", "copy", "-video_track_timescale", "1000", "-movflags", "+faststart", "-f", "mp4",
                             output.string()});
    run(args, totalMs, options);
}

}  // namespace orvandel::MovieEncoder
