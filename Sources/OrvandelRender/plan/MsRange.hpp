#pragma once
#include <cstdint>

namespace orvandel {

// A span of the movie, [startMs, endMs).
struct MsRange {
    std::int64_t startMs = 0;
    std::int64_t endMs = 0;
    bool operator==(const MsRange&) const = default;
};

}  // namespace orvandel
