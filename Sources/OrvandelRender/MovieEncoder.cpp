#include "MovieEncoder.hpp"

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
    // One pass of ffmpeg turns every still into raw yuv420p, 1 ms apart.
    std::string list = "ffconcat version 1.0\n";
    for (const auto& still : stills) {
        list += "file " + Timeline::quoted(still.string()) + "\noption framerate 1000\nduration 0.001\n";
    }
    const auto listPath = outDir / "stills.ffconcat";
    writeFile(listPath, list);
    RenderTools::runTool(kConvertStage, "ffmpeg", "ffmpeg",
                         {"-nostdin", "-hide_banner", "-v", "error", "-y", "-f", "concat", "-safe", "0", "-i",
                          listPath.string(), "-fps_mode", "passthrough", "-vf",
                          "scale=" + std::to_string(size.width) + ":" + std::to_string(size.height), "-pix_fmt",
                          "yuv420p", "-c:v", "rawvideo", "-f", "image2", "-start_number", "1",
                          (outDir / "raw-%05d.yuv").string()},
                         {.timeout = options.timeout, .cancel = options.cancel});
    // Each raw frame becomes a one-frame YUV4MPEG stream.
    const std::string header = "YUV4MPEG2 W" + std::to_string(size.width) + " H" + std::to_string(size.height) +
                               " F1000:1 Ip A1:1 C420jpeg XYSCSS=420JPEG\nFRAME\n";
    const auto frameBytes = static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) * 3 / 2;
    std::vector<std::filesystem::path> frames;
    for (std::size_t i = 0; i < stills.size(); ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "raw-%05zu.yuv", i + 1);
        const auto raw = outDir / name;
        Bytes data;
        try {
            data = readFile(raw);
        } catch (const FileError&) {
        }
        if (data.size() != frameBytes) {
            throw RenderError(RenderError::Case::badOutput, kConvertStage,
                              std::string(kConvertStage) + ": ffmpeg did not write frame " + std::to_string(i + 1) +
                                  " of " + std::to_string(stills.size()) + ". Check free disk space and try again.");
        }
        data.insert(data.begin(), header.begin(), header.end());
        std::snprintf(name, sizeof name, "frame-%05zu.y4m", i + 1);
        frames.push_back(outDir / name);
        writeFile(frames.back(), data);
        std::filesystem::remove(raw);
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
