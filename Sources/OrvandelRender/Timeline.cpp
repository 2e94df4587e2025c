#include "Timeline.hpp"

#include "base/Numbers.hpp"

namespace orvandel::Timeline {

std::string quoted(const std::string& path) {
    std::string out = "'";
    for (char c : path) {
        if (c == '\'') {
            out += "'\\''";
        } else {
            out += c;
        }
    }
    return out + "'";
}

namespace {

template <typename Visit>
void forEachPiece(const std::vector<TimelineEntry>& entries, std::int64_t periodicFrameMs, Visit visit) {
    for (std::size_t i = 0; i < entries.size(); ++i) {
        std::int64_t remaining = entries[i].durationMs;
        if (i + 1 == entries.size()) remaining -= 1;  // the closing frame's millisecond
        while (remaining > 0) {
            const std::int64_t piece = periodicFrameMs > 0 ? std::min(remaining, periodicFrameMs) : remaining;
            visit(entries[i].image, piece);
            remaining -= piece;
        }
    }
}

}  // namespace

std::string ffconcat(const std::vector<TimelineEntry>& entries, std::int64_t periodicFrameMs) {
    std::string out = "ffconcat version 1.0\n";
    forEachPiece(entries, periodicFrameMs, [&](const std::filesystem::path& image, std::int64_t ms) {
        out += "file " + quoted(image.string()) + "\nduration " + msAsDecimalSeconds(ms) + "\n";
    });
    if (!entries.empty()) out += "file " + quoted(entries.back().image.string()) + "\n";
    return out;
}

std::int64_t frameCount(const std::vector<TimelineEntry>& entries, std::int64_t periodicFrameMs) {
    std::int64_t n = 0;
    forEachPiece(entries, periodicFrameMs, [&](const std::filesystem::path&, std::int64_t) { ++n; });
    return entries.empty() ? 0 : n + 1;
}

}  // namespace orvandel::Timeline
