#pragma once
// A chapter of the master movie: a span of time with a title, as players
// list them. The export flow computes them; a chapter writer puts them into
// the movie file.
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "render/Mp4Exporting.hpp"

namespace orvandel {

struct Chapter {
    std::int64_t startMs = 0;  // from the start of the movie
    std::int64_t endMs = 0;    // exclusive
    std::string title;         // one line of UTF-8

    bool operator==(const Chapter&) const = default;
};

// Writes the movie `in` again at `out` (a new file) with these chapters,
// its picture and sound untouched and its length unchanged; throws when it
// cannot. `in` is left as it was.
using ChapterWriter = std::function<void(const std::filesystem::path& in, const std::vector<Chapter>& chapters,
                                         const std::filesystem::path& out, const RenderHooks& hooks)>;

}  // namespace orvandel
