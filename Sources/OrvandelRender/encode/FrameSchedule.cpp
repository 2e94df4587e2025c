#include "encode/FrameSchedule.hpp"

#include <algorithm>
#include <limits>

#include "base/Numbers.hpp"

namespace orvandel::FrameSchedule {

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

// The first frame boundary after `at` that the moving spans ask for, at
// `rate` frames a second.
std::int64_t nextMovingCut(const std::vector<MsRange>& moving, std::int64_t at, std::int64_t rate) {
    std::int64_t best = std::numeric_limits<std::int64_t>::max();
    for (const auto& r : moving) {
        if (r.startMs > at) {
            best = std::min(best, r.startMs);
        } else if (at < r.endMs) {
            std::int64_t k = (at - r.startMs) * rate / 1000 + 1;
            while (r.startMs + k * 1000 / rate <= at) ++k;
            best = std::min(best, std::min(r.endMs, r.startMs + k * 1000 / rate));
        }
    }
    return best;
}

template <typename Visit>
void forEachPiece(const std::vector<ScheduledStill>& entries, std::int64_t periodicFrameMs,
                  const std::vector<MsRange>& moving, std::int64_t rate, Visit visit) {
    std::int64_t at = 0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        std::int64_t remaining = entries[i].durationMs;
        if (i + 1 == entries.size()) remaining -= 1;  // the closing frame's millisecond
        while (remaining > 0) {
            std::int64_t piece = periodicFrameMs > 0 ? std::min(remaining, periodicFrameMs) : remaining;
            if (!moving.empty()) piece = std::min(piece, nextMovingCut(moving, at, rate) - at);
            visit(i, at, piece);
            remaining -= piece;
            at += piece;
        }
    }
}

}  // namespace

std::vector<ScheduledFrame> frames(const std::vector<ScheduledStill>& entries, std::int64_t periodicFrameMs,
                                   const std::vector<MsRange>& moving, int movingFps) {
    // At most one frame a millisecond: beyond, the cuts would not be whole milliseconds.
    const std::int64_t rate = std::clamp(movingFps, 1, 1000);
    std::vector<ScheduledFrame> out;
    std::int64_t total = 0;
    forEachPiece(entries, periodicFrameMs, moving, rate, [&](std::size_t i, std::int64_t at, std::int64_t ms) {
        out.push_back({at, i});
        total = at + ms;
    });
    if (!entries.empty()) out.push_back({total, entries.size() - 1});
    return out;
}

}  // namespace orvandel::FrameSchedule
