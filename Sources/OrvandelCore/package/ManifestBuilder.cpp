#include "package/ManifestBuilder.hpp"

#include <ctime>

#include <nlohmann/json.hpp>

#include "base/Numbers.hpp"

namespace orvandel::ManifestBuilder {

namespace {

constexpr const char* kFormatVersion = "1.0";
constexpr const char* kMasterVideoPath = "assets/master.mp4";

// UTC, whole seconds, "Z" for the zone: 2024-05-01T12:30:00Z.
std::string iso8601(std::chrono::system_clock::time_point when) {
    const auto secondsSinceEpoch = std::chrono::floor<std::chrono::seconds>(when).time_since_epoch().count();
    const auto t = static_cast<std::time_t>(secondsSinceEpoch);
    std::tm utc{};
    char buf[64];
    if (gmtime_r(&t, &utc) == nullptr || std::strftime(buf, sizeof buf, "%Y-%m-%dT%H:%M:%SZ", &utc) == 0) {
        throw ManifestError::encodingFailed("date out of range: " + formatInt(secondsSinceEpoch) + " s");
    }
    return buf;
}

// Builds the document text directly: the numbers must be written as exact
// decimals, which no double-based encoder guarantees. The JSON library is used
// only to escape strings (it leaves "/" and non-ASCII alone and rejects text
// that is not UTF-8).
class PrettyWriter {
public:
    void beginObject() { open('{'); }
    void endObject() { close('}'); }
    void beginArray() { open('['); }
    void endArray() { close(']'); }

    void key(const std::string& name) {
        separate();
        out_ += quoted(name);
        out_ += ": ";
        afterKey_ = true;
    }
    void string(const std::string& value) { scalar(quoted(value)); }
    // Already valid JSON number text.
    void number(const std::string& text) { scalar(text); }

    std::string take() { return std::move(out_); }

private:
    static std::string quoted(const std::string& text) {
        try {
            return nlohmann::json(text).dump();
        } catch (const nlohmann::json::exception& e) {
            throw ManifestError::encodingFailed(e.what());
        }
    }

    // Before a value or key: a comma after a sibling, then a new indented line,
    // unless the value follows its key on the same line.
    void separate() {
        if (afterKey_) {
            afterKey_ = false;
            return;
        }
        if (!levels_.empty()) {
            if (levels_.back()) out_ += ',';
            levels_.back() = true;
            newline(levels_.size());
        }
    }
    void scalar(const std::string& text) {
        separate();
        out_ += text;
    }
    void open(char bracket) {
        separate();
        out_ += bracket;
        levels_.push_back(false);
    }
    void close(char bracket) {
        const bool hadChildren = levels_.back();
        levels_.pop_back();
        if (hadChildren) newline(levels_.size());
        out_ += bracket;
    }
    void newline(std::size_t depth) {
        out_ += '\n';
        out_.append(depth * 2, ' ');
    }

    std::string out_;
    std::vector<bool> levels_;  // per open container: has it a child yet?
    bool afterKey_ = false;
};

}  // namespace

ManifestError::ManifestError(const std::string& reason)
    : Error("could not encode manifest.json: " + reason), reason_(reason) {}

ManifestError ManifestError::encodingFailed(const std::string& reason) { return ManifestError(reason); }

std::map<std::string, std::string> notesDictionary(const std::map<std::int64_t, std::string>& notes,
                                                   std::int64_t slideCount) {
    std::map<std::string, std::string> dictionary;
    for (std::int64_t i = 0; i < slideCount; ++i) {
        const auto it = notes.find(i + 1);
        dictionary.emplace(formatInt(i), it == notes.end() ? std::string() : it->second);
    }
    return dictionary;
}

std::string buildManifestV3(const std::vector<Cue>& cues, const std::map<std::int64_t, std::string>& notesBySlide,
                            const ManifestMetadata& metadata) {
    const auto notes = notesDictionary(notesBySlide, metadata.slideCount);

    PrettyWriter w;
    w.beginObject();
    w.key("version");
    w.string(kFormatVersion);
    w.key("source");
    w.string(metadata.source);
    w.key("pluginVersion");
    w.string(metadata.pluginVersion);
    w.key("generatedAt");
    w.string(iso8601(metadata.generatedAt));
    w.key("sourceFileName");
    w.string(metadata.sourceFileName);
    w.key("slideCount");
    w.number(formatInt(metadata.slideCount));
    w.key("masterVideoPath");
    w.string(kMasterVideoPath);
    w.key("masterVideoDuration");
    w.number(msAsDecimalSeconds(metadata.masterVideoDurationMs));

    w.key("cues");
    w.beginArray();
    for (const Cue& cue : cues) {
        w.beginObject();
        w.key("cueIndex");
        w.number(formatInt(cue.cueIndex));
        w.key("slideIndex");
        w.number(formatInt(cue.slideIndex));
        w.key("kind");
        w.string(std::string(toString(cue.kind)));
        w.key("label");
        w.string(cue.label);
        w.key("time");
        w.number(msAsDecimalSeconds(cue.timeMs));
        w.endObject();
    }
    w.endArray();

    // Numeric key order reads better than the map's text order ("10" before "2").
    w.key("notesBySlide");
    w.beginObject();
    for (std::int64_t i = 0; i < metadata.slideCount; ++i) {
        const std::string key = formatInt(i);
        w.key(key);
        w.string(notes.at(key));
    }
    w.endObject();

    w.endObject();
    return w.take();
}

}  // namespace orvandel::ManifestBuilder
