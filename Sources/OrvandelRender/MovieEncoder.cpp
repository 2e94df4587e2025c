#include "MovieEncoder.hpp"

#include <algorithm>
#include <cstdio>

#include "RenderError.hpp"
#include "RenderTools.hpp"
#include "Timeline.hpp"
#include "base/Bytes.hpp"
#include "base/Numbers.hpp"

namespace orvandel::MovieEncoder {

namespace {
const char* const kStage = "encoding the movie";
const char* const kConvertStage = "preparing the frames";
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

std::vector<std::filesystem::path> convertToFrames(const std::vector<std::filesystem::path>& stills, FrameSize size,
                                                   const std::filesystem::path& outDir, const Options& options) {
    std::filesystem::create_directories(outDir);
    std::vector<std::filesystem::path> frames;
    if (stills.empty()) return frames;
    for (std::size_t i = 0; i < stills.size(); ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "frame-%05zu.y4m", i + 1);
        frames.push_back(outDir / name);
    }
    // Each worker turns a slice of the stills into frames with one ffmpeg,
    // whose segment muxer writes every frame into a file of its own.
    const std::size_t workers = std::clamp<std::size_t>(std::size_t(std::max(1, options.workers)), 1, stills.size());
    RenderTools::inParallel(static_cast<int>(workers), [&](int worker) {
        const std::size_t begin = stills.size() * std::size_t(worker) / workers;
        const std::size_t end = stills.size() * std::size_t(worker + 1) / workers;
        std::string list = "ffconcat version 1.0\n", cuts;
        for (std::size_t i = begin; i < end; ++i) {
            list += "file " + Timeline::quoted(stills[i].string()) + "\noption framerate 1000\nduration 0.001\n";
            if (i > begin) cuts += (cuts.empty() ? "" : ",") + std::to_string(i - begin);
        }
        const auto listPath = outDir / ("stills-" + std::to_string(worker) + ".ffconcat");
        writeFile(listPath, list);
        std::vector<std::string> args{"-nostdin", "-hide_banner", "-v", "error", "-y", "-f", "concat", "-safe", "0",
                                      "-i", listPath.string(), "-fps_mode", "passthrough", "-vf",
                                      "scale=" + std::to_string(size.width) + ":" + std::to_string(size.height) +
                                          ",setsar=1",
                                      "-pix_fmt", "yuv420p", "-c:v", "wrapped_avframe", "-f", "segment",
                                      "-segment_format", "yuv4mpegpipe", "-reset_timestamps", "1",
                                      "-segment_start_number", std::to_string(begin + 1)};
        if (!cuts.empty()) args.insert(args.end(), {"-segment_frames", cuts});
        args.push_back((outDir / "frame-%05d.y4m").string());
        RenderTools::runTool(kConvertStage, "ffmpeg", "ffmpeg", args, {.timeout = options.timeout, .cancel = options.cancel});
    });
    const auto frameBytes = std::uintmax_t(size.width) * std::uintmax_t(size.height) * 3 / 2;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        std::error_code ec;
        if (std::filesystem::file_size(frames[i], ec) < frameBytes || ec) {
            throw RenderError(RenderError::Case::badOutput, kConvertStage,
                              std::string(kConvertStage) + ": ffmpeg did not write frame " + std::to_string(i + 1) +
                                  " of " + std::to_string(stills.size()) + ". Check free disk space and try again.");
        }
    }
    return frames;
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
