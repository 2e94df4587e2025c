#include "tools/PictureCodec.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <sstream>

#include "base/Subprocess.hpp"
#include "tools/RenderError.hpp"
#include "tools/RenderTools.hpp"

namespace orvandel::PictureCodec {

namespace {

constexpr const char* kPictureFormats = "png_pipe,jpeg_pipe,gif,gif_pipe,bmp_pipe,tiff_pipe,webp_pipe";
constexpr const char* kMostPixels = "100000000";
constexpr std::size_t kHeaderRoom = 256;
// A picture is small work: one that takes longer is not worth waiting for.
constexpr std::chrono::seconds kTimeLimit{60};
// ffmpeg decodes the whole picture before scaling it down.
constexpr std::int64_t kMemoryLimit = std::int64_t{1} << 30;

std::size_t byteCount(int width, int height) { return std::size_t(width) * std::size_t(height) * 4; }

}  // namespace

std::optional<Picture> fromPam(std::string_view pam) {
    if (!pam.starts_with("P7\n")) return std::nullopt;
    const auto end = pam.find("ENDHDR\n");
    if (end == std::string_view::npos) return std::nullopt;
    std::istringstream header{std::string(pam.substr(3, end - 3))};
    long long width = 0, height = 0, depth = 0, maxval = 0;
    std::string type;
    for (std::string key; header >> key;) {
        if (key == "WIDTH") header >> width;
        else if (key == "HEIGHT") header >> height;
        else if (key == "DEPTH") header >> depth;
        else if (key == "MAXVAL") header >> maxval;
        else if (key == "TUPLTYPE") header >> type;
        else return std::nullopt;
    }
    if (width <= 0 || height <= 0 || width > kLargestSide || height > kLargestSide || depth != 4 || maxval != 255 ||
        type != "RGB_ALPHA") {
        return std::nullopt;
    }
    const auto data = pam.substr(end + 7);
    const int w = int(width), h = int(height);
    if (data.size() != byteCount(w, h)) return std::nullopt;
    return Picture{w, h, Bytes(data.begin(), data.end())};
}

std::optional<std::pair<int, int>> dotsPerInch(const Bytes& file) {
    const auto at = [&](std::size_t i) { return std::uint32_t(file[i]); };
    const auto word = [&](std::size_t i) { return at(i) << 8 | at(i + 1); };
    const auto dword = [&](std::size_t i) { return word(i) << 16 | word(i + 2); };
    const auto sane = [](std::int64_t x, std::int64_t y) -> std::optional<std::pair<int, int>> {
        if (x <= 0 || y <= 0 || x > 100000 || y > 100000) return std::nullopt;
        return std::pair{int(x), int(y)};
    };
    // JFIF: SOI, APP0 "JFIF\0", version, units (1: per inch, 2: per centimetre), densities.
    if (file.size() >= 18 && at(0) == 0xFF && at(1) == 0xD8 && at(2) == 0xFF && at(3) == 0xE0 &&
        std::string_view(reinterpret_cast<const char*>(&file[6]), 5) == std::string_view("JFIF\0", 5)) {
        const auto units = at(13);
        if (units == 1) return sane(word(14), word(16));
        if (units == 2) return sane((word(14) * 254 + 50) / 100, (word(16) * 254 + 50) / 100);
        return std::nullopt;
    }
    // PNG: chunks after the signature up to the pixels; pHYs in pixels per metre (unit 1).
    static constexpr std::uint8_t kPng[] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
    if (file.size() < 8 || !std::equal(std::begin(kPng), std::end(kPng), file.begin())) return std::nullopt;
    for (std::size_t i = 8; i + 8 <= file.size();) {
        const std::size_t length = dword(i);
        const std::string_view type(reinterpret_cast<const char*>(&file[i + 4]), 4);
        if (type == "IDAT" || length > file.size() - i - 8) break;
        if (type == "pHYs" && length >= 9 && at(i + 16) == 1) {
            return sane((std::int64_t{dword(i + 8)} * 254 + 5000) / 10000,
                        (std::int64_t{dword(i + 12)} * 254 + 5000) / 10000);
        }
        i += 12 + length;
    }
    return std::nullopt;
}

std::optional<Picture> decode(const std::filesystem::path& file, const std::filesystem::path& workDir,
                              const std::optional<CancellationToken>& cancel) {
    std::vector<std::string> args{"-nostdin",      "-v",          "error",    "-format_whitelist",
                                  kPictureFormats, "-max_pixels", kMostPixels};
    const auto input = RenderTools::fileInput(file);
    args.insert(args.end(), input.begin(), input.end());
    const std::string side = std::to_string(kLargestSide);
    args.insert(args.end(),
                {"-frames:v", "1", "-vf",
                 "scale=w='min(iw," + side + ")':h='min(ih," + side + ")':force_original_aspect_ratio=decrease",
                 "-pix_fmt", "rgba", "-c:v", "pam", "-f", "image2pipe", "pipe:1"});
    SubprocessOptions options{.workingDirectory = workDir,
                              .timeout = kTimeLimit,
                              .cancel = cancel,
                              .maxCapture = byteCount(kLargestSide, kLargestSide) + kHeaderRoom,
                              .memoryLimit = kMemoryLimit};
    try {
        const auto r = RenderTools::runTool(ExportStage::storyboard, "reading a picture of the deck", "ffmpeg",
                                            "ffmpeg", args, options);
        return fromPam(r.standardOutput);
    } catch (const CancelledError&) {
        throw;
    } catch (const RenderError& e) {
        // A picture ffmpeg cannot read (or not within its limits) is drawn as it is.
        if (e.errorCase() == RenderError::Case::missingTool) throw;
        return std::nullopt;
    }
}

Bytes png(const Picture& picture, const std::filesystem::path& workDir,
          const std::optional<CancellationToken>& cancel) {
    const std::vector<std::string> args{
        "-nostdin", "-v",         "error",
        "-f",       "rawvideo",   "-pix_fmt",
        "rgba",     "-s",         std::to_string(picture.width) + "x" + std::to_string(picture.height),
        "-i",       "pipe:0",     "-frames:v",
        "1",        "-c:v",       "png",
        "-f",       "image2pipe", "pipe:1"};
    SubprocessOptions options{.workingDirectory = workDir, .timeout = kTimeLimit, .cancel = cancel};
    options.standardInput = [&](int fd) {
        const std::uint8_t* at = picture.rgba.data();
        std::size_t left = picture.rgba.size();
        while (left > 0) {
            const ssize_t n = ::write(fd, at, left);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) return;  // ffmpeg is gone: its exit status tells why
            at += n;
            left -= std::size_t(n);
        }
    };
    const auto r = RenderTools::runTool(ExportStage::storyboard, "writing a recoloured picture", "ffmpeg", "ffmpeg",
                                        args, options);
    return toBytes(r.standardOutput);
}

}  // namespace orvandel::PictureCodec
