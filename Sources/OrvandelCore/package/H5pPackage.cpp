#include "package/H5pPackage.hpp"

#include <algorithm>
#include <optional>

#include <nlohmann/json.hpp>

#include "base/AtomicFile.hpp"
#include "base/Bytes.hpp"
#include "base/Checked.hpp"
#include "base/TemporaryDirectory.hpp"
#include "container/PptxArchive.hpp"
#include "container/ZipArchive.hpp"
#include "deck/TimingPolicy.hpp"
#include "package/PackagedMovie.hpp"

namespace orvandel::H5pPackage {

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

// The player puts a bookmark's label into its markup as it stands, and a
// platform's H5P escapes text fields on import without escaping twice: the
// label is stored escaped, so that a title such as "<b>" shows as typed.
std::string escapedHtml(std::string_view text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
            case '&': out += "&amp;"; break;
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '"': out += "&quot;"; break;
            case '\'': out += "&#039;"; break;
            default: out += c;
        }
    }
    return out;
}

// Seconds as the content type keeps them. A whole number of milliseconds
// over 1000 prints back as its exact decimal (12345 -> 12.345): the shortest
// text that reads back as the same double is that decimal.
json seconds(std::int64_t ms) {
    if (ms % 1000 == 0) return ms / 1000;
    return static_cast<double>(ms) / 1000;
}

struct Library {
    const char* machineName;
    int major;
    int minor;
};

// Interactive Video and the libraries its 1.27 loads (its own library.json),
// with the summary task's library that the content names.
constexpr Library kDependencies[] = {{"H5P.InteractiveVideo", kMajorVersion, kMinorVersion},
                                     {"FontAwesome", 4, 5},
                                     {"jQuery.ui", 1, 10},
                                     {"H5P.Video", 1, 6},
                                     {"H5P.DragNBar", 1, 5},
                                     {"H5P.Summary", 1, 10}};

// The player's words a student sees, in the lesson's language; the rest
// keep the content type's own.
const json& portugueseWords() {
    static const json words{{"interaction", "Interação"},
                            {"play", "Reproduzir"},
                            {"pause", "Pausar"},
                            {"mute", "Tirar o som"},
                            {"unmute", "Ligar o som"},
                            {"quality", "Qualidade do vídeo"},
                            {"captions", "Legendas"},
                            {"close", "Fechar"},
                            {"fullscreen", "Tela cheia"},
                            {"exitFullscreen", "Sair da tela cheia"},
                            {"bookmarks", "Slides"},
                            {"more", "Mais opções"},
                            {"playbackRate", "Velocidade"},
                            {"rewind10", "Voltar 10 segundos"},
                            {"currentTime", "Tempo atual:"},
                            {"totalTime", "Tempo total:"},
                            {"videoProgressBar", "Progresso do vídeo"}};
    return words;
}

}  // namespace

std::vector<Bookmark> bookmarks(const std::vector<Cue>& cues, const std::vector<Chapter>& chapters,
                                const std::map<std::int64_t, std::string>& titles) {
    const auto labelled = [&](std::int64_t timeMs, std::int64_t slide, const std::string& fallback) {
        const auto title = titles.find(slide);
        const std::string& label = title != titles.end() && !title->second.empty() ? title->second : fallback;
        return Bookmark{timeMs, std::string(utf8Prefix(label, kLongestLabel))};
    };
    std::vector<Bookmark> marks;
    if (!chapters.empty()) {
        for (const auto& chapter : chapters) {
            const auto inside = std::find_if(cues.begin(), cues.end(), [&](const Cue& c) {
                return c.timeMs >= chapter.startMs && c.timeMs < chapter.endMs;
            });
            marks.push_back(labelled(chapter.startMs, inside == cues.end() ? 0 : inside->slideIndex, chapter.title));
        }
        return marks;
    }
    // The timing leaves MARGEM after a slide's last block, whose cue is the
    // slide's last unless the slide animates by itself first or its steps
    // share it with a video or GIF.
    std::optional<std::int64_t> slide;
    std::int64_t lastCueMs = 0;
    for (const auto& cue : cues) {
        if (slide != cue.slideIndex) {
            slide = cue.slideIndex;
            const std::int64_t startMs = marks.empty()
                                             ? 0
                                             : std::min(checkedAdd(lastCueMs, TimingPolicy::MARGEM), cue.timeMs);
            marks.push_back(labelled(startMs, cue.slideIndex, "Slide " + std::to_string(cue.slideIndex)));
        }
        lastCueMs = std::max(lastCueMs, cue.timeMs);
    }
    return marks;
}

std::string h5pJson(const std::string& title) {
    json dependencies = json::array();
    for (const auto& library : kDependencies) {
        dependencies.push_back(
            {{"machineName", library.machineName}, {"majorVersion", library.major}, {"minorVersion", library.minor}});
    }
    return json{{"title", title},           {"language", "pt"}, {"mainLibrary", kDependencies[0].machineName},
                {"embedTypes", {"iframe"}}, {"license", "U"},   {"preloadedDependencies", dependencies}}
        .dump(2);
}

std::string contentJson(const std::string& title, const std::vector<Bookmark>& bookmarks) {
    json marks = json::array();
    for (const auto& mark : bookmarks)
        marks.push_back({{"time", seconds(mark.timeMs)}, {"label", escapedHtml(mark.label)}});
    const json video{
        {"startScreenOptions", {{"title", escapedHtml(utf8Prefix(title, kLongestTitle))}, {"hideStartTitle", false}}},
        {"textTracks", {{"videoTrack", json::array()}}},
        {"files", {{{"path", "videos/master.mp4"}, {"mime", "video/mp4"}, {"copyright", {{"license", "U"}}}}}}};
    // An empty summary task: the player schedules none without summaries.
    const json summary{{"task", {{"library", "H5P.Summary 1.10"}, {"params", json::object()}}}, {"displayAt", 3}};
    const json override_{{"autoplay", false},          {"loop", false},
                         {"hasNoAutoPause", false},    {"retryButton", "on"},
                         {"showSolutionButton", "on"}, {"showBookmarksmenuOnLoad", false},
                         {"showRewind10", false},      {"preventSkippingMode", "none"},
                         {"deactivateSound", false}};
    return json{{"interactiveVideo",
                 {{"video", video},
                  {"assets", {{"interactions", json::array()}, {"bookmarks", marks}, {"endscreens", json::array()}}},
                  {"summary", summary}}},
                {"override", override_},
                {"l10n", portugueseWords()}}
        .dump(2);
}

fs::path defaultPath(const fs::path& orv) { return fs::path(orv).replace_extension(".h5p"); }

void checkDestination(const fs::path& h5p, const fs::path& orv) {
    AtomicFile::checkDestination(h5p, {orv});
    AtomicFile::checkWritable(h5p);
}

void write(const fs::path& orv, const fs::path& h5p, const std::vector<Chapter>& chapters,
           const std::map<std::int64_t, std::string>& titles, const RenderHooks& hooks) {
    const auto lesson = LessonPackage::read(orv);
    PackagedMovie::check(orv, static_cast<double>(lesson.masterVideoDurationMs) / 1000);
    checkDestination(h5p, orv);
    std::string title = fs::path(lesson.sourceFileName).stem().string();
    if (title.empty()) title = "Aula";
    const auto marks = bookmarks(lesson.cues, chapters, titles);

    // The movie leaves the package beside the destination, on the disk it is
    // going to, and goes with the folder however the write ends.
    const fs::path parent = h5p.parent_path().empty() ? fs::path(".") : h5p.parent_path();
    const TemporaryDirectory scratch(parent, "." + h5p.filename().string() + ".movie-");
    const fs::path movie = scratch.path() / "master.mp4";
    hooks.report(ExportStage::copyMovie, 0);
    PptxArchive::Deck(orv).extractStored(LessonPackage::kMovieEntry, movie,
                                         [&](std::int64_t copied, std::int64_t total) {
                                             hooks.throwIfCancelled();
                                             hooks.report(ExportStage::copyMovie, double(copied) / double(total));
                                         });
    AtomicFile::replace(h5p,
                        [&](const fs::path& temporary) {
                            ZipArchive::createStreaming({{"h5p.json", toBytes(h5pJson(title)), std::nullopt},
                                                         {"content/content.json", toBytes(contentJson(title, marks)),
                                                          std::nullopt},
                                                         {kMovieEntry, {}, movie}},
                                                        temporary);
                            // A cancel during the write still keeps an existing file.
                            hooks.throwIfCancelled();
                        },
                        {orv});
}

}  // namespace orvandel::H5pPackage
