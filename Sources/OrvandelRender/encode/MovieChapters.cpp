#include "encode/MovieChapters.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "base/Bytes.hpp"
#include "base/Numbers.hpp"
#include "container/PptxArchive.hpp"
#include "render/Mp4Duration.hpp"
#include "tools/RenderError.hpp"
#include "tools/RenderTools.hpp"

namespace orvandel::MovieChapters {

namespace {

// How the errors of the two stages begin.
const char* const kWriteLead = "adding the chapters";
const char* const kReadLead = "reading the chapters";
// Both only copy: minutes would mean something is wrong.
constexpr std::chrono::minutes kTimeout{10};

// All titles together, as ffmpeg's arguments: with the other arguments and
// the environment well below ARG_MAX (2 MiB by default). One argument alone
// may not pass 128 KiB, and the movie's chapter track keeps less than
// 64 KiB of a title: kLongestTitleBytes is far below both.
constexpr std::size_t kAllTitlesBytes = std::size_t(512) << 10;

// The chapter times only. The titles cannot go in this file: ffmpeg's reader
// takes a newline after an escaped backslash for an escaped newline (it looks
// only at the byte before), so no escaping carries a title that ends in "\".
std::string ffmetadata(const std::vector<Chapter>& chapters) {
    std::string text = ";FFMETADATA1\n";
    for (const auto& c : chapters) {
        text += "[CHAPTER]\nTIMEBASE=1/1000\nSTART=" + formatInt(c.startMs) + "\nEND=" + formatInt(c.endMs) + "\n";
    }
    return text;
}

// A title as an argument can hold: valid UTF-8 (what ffprobe's answer must
// be), no NUL (which would end the argument), at most `limit` bytes.
std::string argumentTitle(const std::string& title, std::size_t limit) {
    std::string text = repairedUtf8(title);
    for (auto at = text.find('\0'); at != std::string::npos; at = text.find('\0', at)) {
        text.replace(at, 1, "\xEF\xBF\xBD");
    }
    return std::string(utf8Prefix(text, limit));
}

// "-metadata:c:N title=..." for every chapter, in the order of the metadata file.
std::vector<std::string> titleArguments(const std::vector<Chapter>& chapters) {
    const std::size_t limit = std::min(kLongestTitleBytes, kAllTitlesBytes / std::max<std::size_t>(chapters.size(), 1));
    std::vector<std::string> args;
    for (std::size_t i = 0; i < chapters.size(); ++i) {
        args.push_back("-metadata:c:" + formatInt(static_cast<std::int64_t>(i)));
        args.push_back("title=" + argumentTitle(chapters[i].title, limit));
    }
    return args;
}

// `input`: ffprobe's arguments that name the movie.
std::vector<Chapter> probe(const std::vector<std::string>& input, const RenderHooks& hooks) {
    std::vector<std::string> args{"-v", "error", "-show_chapters", "-of", "json"};
    args.insert(args.end(), input.begin(), input.end());
    const auto r = RenderTools::runTool(ExportStage::readChapters, kReadLead, "ffprobe", "ffmpeg", args,
                                        {.timeout = kTimeout, .cancel = hooks.cancel});
    const auto badOutput = [](const std::string& why) {
        return RenderError(RenderError::Case::badOutput, ExportStage::readChapters,
                           std::string(kReadLead) + ": ffprobe's answer " + why +
                               ". Check that ffmpeg is "
                               "installed correctly (scripts/install-deps.sh).");
    };
    std::vector<Chapter> chapters;
    try {
        const auto document = nlohmann::json::parse(r.standardOutput);
        for (const auto& c : document.at("chapters")) {
            // "1/1000": the times are whole units of num/den seconds.
            const std::string base = c.at("time_base").get<std::string>();
            const auto slash = base.find('/');
            const auto num = parseInt64(base.substr(0, slash));
            const auto den = slash == std::string::npos ? std::nullopt : parseInt64(base.substr(slash + 1));
            if (!num || !den || *num <= 0 || *den <= 0) throw badOutput("has the time base \"" + base + "\"");
            const auto ms = [&](const char* key) { return c.at(key).get<std::int64_t>() * *num * 1000 / *den; };
            const auto tags = c.find("tags");
            std::string title;
            if (tags != c.end() && tags->contains("title")) title = tags->at("title").get<std::string>();
            chapters.push_back({ms("start"), ms("end"), std::move(title)});
        }
    } catch (const nlohmann::json::exception& e) {
        throw badOutput(std::string("could not be read (") + e.what() + ")");
    }
    std::stable_sort(chapters.begin(), chapters.end(),
                     [](const Chapter& a, const Chapter& b) { return a.startMs < b.startMs; });
    std::erase_if(chapters, [](const Chapter& c) { return c.endMs <= c.startMs; });
    return chapters;
}

}  // namespace

ChaptersError ChaptersError::noChapters(const std::filesystem::path& package) {
    return ChaptersError(package.string() + " has no chapters: its movie was exported without them. Export the "
                                            "deck again with --chapters");
}

void embed(const std::filesystem::path& in, const std::vector<Chapter>& chapters, const std::filesystem::path& out,
           const RenderHooks& hooks) {
    const auto metadata = out.parent_path() / (out.filename().string() + ".ffmetadata");
    struct Remove {
        std::filesystem::path path;
        ~Remove() {
            std::error_code ec;
            std::filesystem::remove(path, ec);
        }
    } removeMetadata{metadata};
    // A movie handed in may be shorter than the plan: a chapter past its end
    // would lengthen it.
    const std::int64_t before = Mp4Duration::measureMs(in);
    std::vector<Chapter> within;
    for (const auto& c : chapters) {
        if (c.startMs < before) within.push_back({c.startMs, std::min(c.endMs, before), c.title});
    }
    if (within.size() > kMostChapters) {
        throw RenderError(RenderError::Case::badDeck, ExportStage::chapters,
                          std::string(kWriteLead) + ": the movie would have " +
                              formatInt(static_cast<std::int64_t>(within.size())) + " chapters, more than the " +
                              formatInt(static_cast<std::int64_t>(kMostChapters)) +
                              " that can be named. Export without --chapters.");
    }
    writeFile(metadata, ffmetadata(within));
    std::vector<std::string> args{"-nostdin", "-hide_banner", "-v", "error", "-y"};
    const auto append = [&args](const std::vector<std::string>& more) {
        args.insert(args.end(), more.begin(), more.end());
    };
    append(RenderTools::fileInput(in));
    append({"-f", "ffmetadata"});
    append(RenderTools::fileInput(metadata));
    // Every stream but a chapter track of the movie's own (a data stream):
    // the chapters given replace it.
    append({"-map", "0", "-map", "-0:d?", "-map_metadata", "0", "-map_chapters", "1", "-c", "copy", "-movflags",
            "+faststart"});
    append(titleArguments(within));
    // The muxer would raise a video time scale below 10000 (the renderer's
    // is 1000, one tick a millisecond) to a multiple of it: kept as it was.
    std::vector<std::string> timeBaseArgs{"-v",  "error",         "-select_streams",
                                          "v:0", "-show_entries", "stream=time_base",
                                          "-of", "csv=p=0"};
    const auto movie = RenderTools::fileInput(in, false);
    timeBaseArgs.insert(timeBaseArgs.end(), movie.begin(), movie.end());
    const auto timeBase = RenderTools::runTool(ExportStage::chapters, kWriteLead, "ffprobe", "ffmpeg", timeBaseArgs,
                                               {.timeout = kTimeout, .cancel = hooks.cancel});
    const std::string base = RenderTools::lastLine(timeBase.standardOutput);
    if (base.starts_with("1/") && parseInt64(base.substr(2)).value_or(0) > 0) {
        append({"-video_track_timescale", base.substr(2)});
    }
    args.push_back("file:" + out.string());
    RenderTools::runTool(ExportStage::chapters, kWriteLead, "ffmpeg", "ffmpeg", args,
                         {.timeout = kTimeout, .cancel = hooks.cancel});
    const std::int64_t after = Mp4Duration::measureMs(out);
    if (after != before) {
        throw RenderError(RenderError::Case::badOutput, ExportStage::chapters,
                          std::string(kWriteLead) + ": with its chapters the movie lasts " + formatInt(after) +
                              " ms instead of " + formatInt(before) +
                              " ms. Export again without --chapters and report this.");
    }
}

std::vector<Chapter> readPackage(const std::filesystem::path& orv, const RenderHooks& hooks) {
    PptxArchive::Deck package(orv);
    const auto range = package.storedRange("assets/master.mp4");
    auto chapters = probe(RenderTools::storedInput(std::filesystem::absolute(orv), range.begin, range.end, false),
                          hooks);
    if (chapters.empty()) throw ChaptersError::noChapters(orv);
    return chapters;
}

}  // namespace orvandel::MovieChapters
