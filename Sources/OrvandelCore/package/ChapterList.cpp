#include "package/ChapterList.hpp"

#include "base/Checked.hpp"
#include "base/Numbers.hpp"

namespace orvandel::ChapterList {

namespace {

bool startsCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }

// At most kLongestTitle characters: cut at the last space of the part that
// fits, unless that would leave less than half of it.
std::string shortened(const std::string& title) {
    std::size_t characters = 0;
    std::size_t cut = title.size();
    for (std::size_t i = 0; i < title.size(); ++i) {
        if (!startsCharacter(title[i])) continue;
        if (characters == kLongestTitle - 1) cut = i;  // room for the ellipsis
        if (++characters > kLongestTitle) {
            const auto space = title.rfind(' ', cut);
            if (space != std::string::npos && space >= cut / 2) cut = space;
            return title.substr(0, cut) + "…";
        }
    }
    return title;
}

}  // namespace

std::vector<Chapter> chapters(const std::vector<CueInput>& inputs, const std::map<std::int64_t, std::string>& titles) {
    std::vector<Chapter> out;
    std::int64_t startMs = 0;
    for (const CueInput& input : inputs) {
        if (input.isHidden) continue;
        const std::int64_t endMs = checkedAdd(startMs, input.advanceTimeMs);
        // A slide that takes no time shows nothing: no empty chapter for it.
        if (endMs > startMs) {
            const auto title = titles.find(input.slideIndex);
            out.push_back({startMs, endMs,
                           title != titles.end() ? shortened(title->second) : "Slide " + formatInt(input.slideIndex)});
        }
        startMs = endMs;
    }
    return out;
}

}  // namespace orvandel::ChapterList
