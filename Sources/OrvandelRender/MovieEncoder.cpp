#include "MovieEncoder.hpp"

#include <algorithm>

#include "RenderError.hpp"
#include "RenderTools.hpp"
#include "base/Numbers.hpp"

namespace orvandel::MovieEncoder {

namespace {
const char* const kStage = "encoding the movie";
constexpr std::int64_t kAudioRate = 48000;
constexpr std::int64_t kAacFrame = 1024;  // samples per AAC frame
}  // namespace

std::vector<std::string> arguments(const std::filesystem::path& ffconcatFile, std::int64_t totalMs,
                                   const std::filesystem::path& output, bool silentAudio) {
    std::vector<std::string> args{"-nostdin", "-hide_banner", "-v", "error", "-progress", "pipe:1", "-nostats", "-y",
                                  "-f", "concat", "-safe", "0", "-i", ffconcatFile.string()};
    // Whole AAC frames that end no later than the video.
    const std::int64_t audioSamples = totalMs * kAudioRate / 1000 / kAacFrame * kAacFrame;
    if (silentAudio && audioSamples > 0) {
        args.insert(args.end(), {"-f", "lavfi", "-i", "anullsrc=r=48000:cl=stereo", "-filter_complex",
                                 "[1:a]atrim=end_sample=" + std::to_string(audioSamples) + "[a]", "-map", "0:v",
                                 "-map", "[a]", "-c:a", "aac", "-b:a", "48k"});
    }
    args.insert(args.end(), {"-fps_mode", "passthrough", "-video_track_timescale", "1000", "-c:v", "libx264",
                             "-preset", "veryfast", "-tune", "stillimage", "-bf", "0", "-level:v", "4.1", "-pix_fmt",
                             "yuv420p", "-movflags", "+faststart", output.string()});
    return args;
}

void encode(const std::filesystem::path& ffconcatFile, std::int64_t totalMs, const std::filesystem::path& output,
            const Options& options) {
    // ffmpeg's -progress lines ("out_time_us=...") arrive on standard output.
    std::string pending;
    auto onOutput = [&](std::string_view chunk) {
        if (!options.onProgress || totalMs <= 0) return;
        pending.append(chunk);
        std::size_t nl;
        while ((nl = pending.find('\n')) != std::string::npos) {
            const std::string line = pending.substr(0, nl);
            pending.erase(0, nl + 1);
            static const std::string key = "out_time_us=";
            if (line.rfind(key, 0) == 0) {
                if (const auto us = parseInt64(line.substr(key.size()))) {
                    options.onProgress(std::min(1.0, std::max(0.0, double(*us) / 1000.0 / double(totalMs))));
                }
            }
        }
    };
    RenderTools::runTool(kStage, "ffmpeg", "ffmpeg", arguments(ffconcatFile, totalMs, output, options.silentAudio),
                         {.timeout = options.timeout, .cancel = options.cancel, .onStandardOutput = onOutput});
}

}  // namespace orvandel::MovieEncoder
