#include "pixels/FrameConverter.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <span>

#include "tools/RenderError.hpp"
#include "tools/RenderTools.hpp"

namespace orvandel::FrameConverter {

namespace {

// How the errors of this stage begin.
const char* const kErrorLead = "preparing the frames";

[[noreturn]] void unreadable(const std::string& why) {
    throw RenderError(RenderError::Case::badOutput, ExportStage::frames,
                      std::string(kErrorLead) + ": a still drawn by pdftocairo cannot be read (" + why +
                          "). Check free disk space and try again.");
}

// The parts of a TIFF the conversion needs, every offset checked against
// the file.
struct Tiff {
    std::size_t width = 0, height = 0, rowsPerStrip = 0;
    bool packBits = false;
    std::vector<std::pair<std::size_t, std::size_t>> strips;  // offset, length
};

Tiff parse(const Bytes& d) {
    if (d.size() < 8 || !((d[0] == 'I' && d[1] == 'I') || (d[0] == 'M' && d[1] == 'M'))) unreadable("not a TIFF");
    const bool little = d[0] == 'I';
    auto u16 = [&](std::size_t at) -> std::size_t {
        if (at + 2 > d.size()) unreadable("truncated");
        return little ? d[at] | d[at + 1] << 8 : d[at] << 8 | d[at + 1];
    };
    auto u32 = [&](std::size_t at) -> std::size_t {
        return little ? u16(at) | u16(at + 2) << 16 : u16(at) << 16 | u16(at + 2);
    };
    // The index-th value of an entry of SHORTs or LONGs, inline or at its offset.
    auto value = [&](std::size_t entry, std::size_t index) -> std::size_t {
        const std::size_t type = u16(entry + 2), count = u32(entry + 4), size = type == 3 ? 2 : 4;
        if ((type != 3 && type != 4) || index >= count) unreadable("unexpected tag type");
        const std::size_t at = count * size <= 4 ? entry + 8 : u32(entry + 8);
        return size == 2 ? u16(at + index * 2) : u32(at + index * 4);
    };
    Tiff t;
    std::size_t samples = 1, photometric = 0, compression = 1, planar = 1, offsetsEntry = 0, countsEntry = 0;
    const std::size_t ifd = u32(4), entries = u16(ifd);
    for (std::size_t k = 0; k < entries; ++k) {
        const std::size_t e = ifd + 2 + 12 * k;
        switch (u16(e)) {
            case 256: t.width = value(e, 0); break;
            case 257: t.height = value(e, 0); break;
            case 258:
                for (std::size_t s = 0; s < u32(e + 4); ++s) {
                    if (value(e, s) != 8) unreadable("not 8 bits per sample");
                }
                break;
            case 259: compression = value(e, 0); break;
            case 262: photometric = value(e, 0); break;
            case 273: offsetsEntry = e; break;
            case 277: samples = value(e, 0); break;
            case 278: t.rowsPerStrip = value(e, 0); break;
            case 279: countsEntry = e; break;
            case 284: planar = value(e, 0); break;
            default: break;
        }
    }
    if (samples != 3 || photometric != 2 || planar != 1) unreadable("not RGB");
    if (compression != 1 && compression != 32773) unreadable("compression " + std::to_string(compression));
    if (!offsetsEntry || !countsEntry || t.width == 0 || t.height == 0) unreadable("no strips");
    t.packBits = compression == 32773;
    t.rowsPerStrip = std::clamp<std::size_t>(t.rowsPerStrip ? t.rowsPerStrip : t.height, 1, t.height);
    const std::size_t strips = (t.height + t.rowsPerStrip - 1) / t.rowsPerStrip;
    for (std::size_t s = 0; s < strips; ++s) {
        const std::size_t offset = value(offsetsEntry, s), length = value(countsEntry, s);
        if (offset > d.size() || length > d.size() - offset) unreadable("strip beyond the file");
        t.strips.emplace_back(offset, length);
    }
    return t;
}

// Decodes one strip into exactly out.size() bytes of RGB.
void decodeStrip(const std::uint8_t* in, std::size_t length, bool packBits, std::span<std::uint8_t> out) {
    std::size_t written = 0, i = 0;
    if (!packBits) {
        if (length < out.size()) unreadable("short strip");
        std::memcpy(out.data(), in, out.size());
        return;
    }
    while (i < length && written < out.size()) {
        const auto header = static_cast<std::int8_t>(in[i++]);
        if (header == -128) continue;
        const std::size_t n = header >= 0 ? std::size_t(header) + 1 : std::size_t(1 - header);
        if (n > out.size() - written || (header >= 0 ? n > length - i : i >= length)) unreadable("damaged strip");
        if (header >= 0) {
            std::memcpy(out.data() + written, in + i, n);
            i += n;
        } else {
            std::memset(out.data() + written, in[i++], n);
        }
        written += n;
    }
    if (written != out.size()) unreadable("short strip");
}

// Converts stills one after the other, keeping the last one's strips, RGB
// and planes, so that only the strips that changed are converted again.
class Converter {
public:
    explicit Converter(FrameSize size)
        : w_(std::size_t(size.width)),
          h_(std::size_t(size.height)),
          rgb_(w_ * h_ * 3),
          y_(w_ * h_),
          u_(w_ / 2 * (h_ / 2)),
          v_(u_.size()) {}

    Bytes frame(const Bytes& tiff) {
        const Tiff t = parse(tiff);
        if (t.width != w_ || t.height != h_) unreadable("not " + std::to_string(w_) + "x" + std::to_string(h_));
        std::vector<bool> changed(h_, previous_.empty());
        for (std::size_t s = 0; s < t.strips.size(); ++s) {
            const auto [offset, length] = t.strips[s];
            const std::uint8_t* bytes = tiff.data() + offset;
            if (s < previousStrips_.size() && previousStrips_[s].second == length &&
                std::memcmp(previous_.data() + previousStrips_[s].first, bytes, length) == 0) {
                continue;
            }
            const std::size_t first = s * t.rowsPerStrip, rows = std::min(t.rowsPerStrip, h_ - first);
            decodeStrip(bytes, length, t.packBits, std::span(rgb_).subspan(first * w_ * 3, rows * w_ * 3));
            std::fill(changed.begin() + std::ptrdiff_t(first), changed.begin() + std::ptrdiff_t(first + rows), true);
        }
        for (std::size_t r = 0; r < h_; ++r) {
            if (changed[r]) lumaRow(r);
        }
        for (std::size_t r = 0; r < h_ / 2; ++r) {
            if (changed[2 * r] || changed[2 * r + 1]) chromaRow(r);
        }
        previous_ = tiff;
        previousStrips_ = t.strips;

        char header[96];
        const int n = std::snprintf(header, sizeof header,
                                    "YUV4MPEG2 W%zu H%zu F1000:1 Ip A1:1 C420jpeg XYSCSS=420JPEG\nFRAME\n", w_, h_);
        Bytes out(header, header + n);
        out.reserve(out.size() + y_.size() + 2 * u_.size());
        out.insert(out.end(), y_.begin(), y_.end());
        out.insert(out.end(), u_.begin(), u_.end());
        out.insert(out.end(), v_.begin(), v_.end());
        return out;
    }

private:
    // BT.601, limited range, in integers: white is 235, black 16.
    void lumaRow(std::size_t r) {
        const std::uint8_t* p = &rgb_[r * w_ * 3];
        std::uint8_t* out = &y_[r * w_];
        for (std::size_t x = 0; x < w_; ++x, p += 3) {
            out[x] = std::uint8_t(((66 * p[0] + 129 * p[1] + 25 * p[2] + 128) >> 8) + 16);
        }
    }
    // From the sums of each 2x2 block.
    void chromaRow(std::size_t r) {
        const std::uint8_t* a = &rgb_[2 * r * w_ * 3];
        const std::uint8_t* b = a + w_ * 3;
        for (std::size_t x = 0; x < w_ / 2; ++x, a += 6, b += 6) {
            const int red = a[0] + a[3] + b[0] + b[3], green = a[1] + a[4] + b[1] + b[4];
            const int blue = a[2] + a[5] + b[2] + b[5];
            u_[r * (w_ / 2) + x] = std::uint8_t(((-38 * red - 74 * green + 112 * blue + 512) >> 10) + 128);
            v_[r * (w_ / 2) + x] = std::uint8_t(((112 * red - 94 * green - 18 * blue + 512) >> 10) + 128);
        }
    }

    std::size_t w_, h_;
    Bytes rgb_, y_, u_, v_;
    Bytes previous_;
    std::vector<std::pair<std::size_t, std::size_t>> previousStrips_;
};

}  // namespace

Bytes frame(const Bytes& tiff, FrameSize size) { return Converter(size).frame(tiff); }

std::optional<std::size_t> planesOffset(const Bytes& frame, FrameSize size) {
    const std::size_t planes = std::size_t(size.width) * std::size_t(size.height) * 3 / 2;
    const auto header = std::find(frame.begin(), frame.end(), std::uint8_t('\n'));
    const auto mark = header == frame.end() ? frame.end() : std::find(header + 1, frame.end(), std::uint8_t('\n'));
    if (mark == frame.end() || std::size_t(frame.end() - mark - 1) != planes) return std::nullopt;
    return std::size_t(mark + 1 - frame.begin());
}

std::map<int, std::filesystem::path> convert(const std::map<int, std::filesystem::path>& stillOf, FrameSize size,
                                             const std::filesystem::path& outDir, int workers,
                                             const std::optional<CancellationToken>& cancel) {
    std::filesystem::create_directories(outDir);
    std::vector<std::filesystem::path> stills, frames;
    std::map<int, std::filesystem::path> frameOf;
    for (const auto& [page, still] : stillOf) {
        char name[32];
        std::snprintf(name, sizeof name, "frame-%05zu.y4m", frames.size() + 1);
        stills.push_back(still);
        frames.push_back(outDir / name);
        frameOf[page] = frames.back();
    }
    if (stills.empty()) return frameOf;
    // Contiguous slices, so that the states of a slide meet in one worker.
    const std::size_t n = std::clamp<std::size_t>(std::size_t(std::max(1, workers)), 1, stills.size());
    RenderTools::inParallel(static_cast<int>(n), [&](int worker) {
        Converter converter(size);
        for (std::size_t i = stills.size() * std::size_t(worker) / n; i < stills.size() * std::size_t(worker + 1) / n;
             ++i) {
            if (cancel && cancel->isCancelled()) throw CancelledError();
            writeFile(frames[i], converter.frame(readFile(stills[i])));
        }
    });
    return frameOf;
}

}  // namespace orvandel::FrameConverter
