#include "package/ChapterVtt.hpp"

#include "base/Numbers.hpp"

namespace orvandel::ChapterVtt {

namespace {

std::string padded(std::int64_t value, std::size_t width) {
    std::string text = formatInt(value);
    return std::string(text.size() < width ? width - text.size() : 0, '0') + text;
}

std::string timestamp(std::int64_t ms) {
    return padded(ms / 3'600'000, 2) + ":" + padded(ms / 60'000 % 60, 2) + ":" + padded(ms / 1000 % 60, 2) + "." +
           padded(ms % 1000, 3);
}

// Cue text may not hold markup, nor a line break (which would end the cue).
std::string escaped(const std::string& title) {
    std::string out;
    for (const char c : title) {
        if (c == '&') out += "&amp;";
        else if (c == '<') out += "&lt;";
        else if (c == '>') out += "&gt;";
        else if (c == '\n' || c == '\r') out += ' ';
        else out += c;
    }
    return out;
}

}  // namespace

std::string webVtt(const std::vector<Chapter>& chapters) {
    std::string out = "WEBVTT\n";
    for (std::size_t i = 0; i < chapters.size(); ++i) {
        const auto& c = chapters[i];
        out += "\n" + formatInt(static_cast<std::int64_t>(i + 1)) + "\n" + timestamp(c.startMs) + " --> " +
               timestamp(c.endMs) + "\n" + escaped(c.title) + "\n";
    }
    return out;
}

}  // namespace orvandel::ChapterVtt
