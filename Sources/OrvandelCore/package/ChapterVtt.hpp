#pragma once
// Chapters as a WebVTT chapters file, the form web players and editors read:
// a header, then one numbered cue per chapter, "HH:MM:SS.mmm --> HH:MM:SS.mmm"
// and the title on one line with "&", "<" and ">" escaped.
#include <string>
#include <vector>

#include "render/Chapter.hpp"

namespace orvandel::ChapterVtt {

// Times are written from the chapters' whole milliseconds; hours keep
// growing past 99 rather than wrap.
std::string webVtt(const std::vector<Chapter>& chapters);

}  // namespace orvandel::ChapterVtt
