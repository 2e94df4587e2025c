#include "package/LessonPackage.hpp"

#include <nlohmann/json.hpp>

#include "base/Numbers.hpp"

namespace orvandel::LessonPackage {

namespace {

using Json = nlohmann::json;
using ManifestReader::DecodeError;

// Builds the document as the library would, except that a number with a
// fraction or an exponent keeps its text, as a binary value (which JSON text
// cannot make otherwise), so that seconds become milliseconds exactly.
class DecimalKeepingBuilder final : public nlohmann::json_sax<Json> {
public:
    explicit DecimalKeepingBuilder(Json& root) : root_(root) {}

    bool null() override { return place(nullptr) != nullptr; }
    bool boolean(bool value) override { return place(value) != nullptr; }
    bool number_integer(number_integer_t value) override { return place(value) != nullptr; }
    bool number_unsigned(number_unsigned_t value) override { return place(value) != nullptr; }
    bool number_float(number_float_t, const string_t& text) override {
        return place(Json::binary(binary_t::container_type(text.begin(), text.end()))) != nullptr;
    }
    bool string(string_t& value) override { return place(value) != nullptr; }
    bool binary(binary_t& value) override { return place(Json::binary(value)) != nullptr; }
    bool start_object(std::size_t) override {
        open(Json::object());
        return true;
    }
    bool key(string_t& key) override {
        key_ = key;
        return true;
    }
    bool end_object() override {
        open_.pop_back();
        return true;
    }
    bool start_array(std::size_t) override {
        open(Json::array());
        return true;
    }
    bool end_array() override {
        open_.pop_back();
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::json::exception& e) override {
        throw DecodeError(e.what());
    }

private:
    void open(Json container) {
        if (open_.size() == ManifestReader::kDeepestManifest) throw DecodeError::tooDeep();
        open_.push_back(place(std::move(container)));
    }

    // Only open containers are held: a value added to an array never moves
    // one of them (the containers it holds are closed already).
    Json* place(Json value) {
        if (++values_ > ManifestReader::kMostManifestValues) throw DecodeError::tooManyValues();
        if (open_.empty()) {
            root_ = std::move(value);
            return &root_;
        }
        Json& parent = *open_.back();
        if (parent.is_array()) {
            parent.push_back(std::move(value));
            return &parent.back();
        }
        Json& slot = parent[key_];
        slot = std::move(value);
        return &slot;
    }

    Json& root_;
    std::int64_t values_ = 0;
    std::vector<Json*> open_;
    std::string key_;
};

const Json& field(const Json& object, const char* key, const std::string& where) {
    const auto found = object.find(key);
    if (found == object.end()) throw DecodeError(where + " has no \"" + key + "\"");
    return *found;
}

std::string text(const Json& object, const char* key, const std::string& where) {
    const Json& value = field(object, key, where);
    if (!value.is_string()) throw DecodeError("\"" + std::string(key) + "\" in " + where + " is not a string");
    return value.get<std::string>();
}

std::int64_t integer(const Json& object, const char* key, const std::string& where) {
    const Json& value = field(object, key, where);
    if (!value.is_number_integer() || (value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX)) {
        throw DecodeError("\"" + std::string(key) + "\" in " + where + " is not a whole number");
    }
    return value.get<std::int64_t>();
}

// Seconds as the manifest writes them (exact decimals) in milliseconds.
std::int64_t milliseconds(const Json& object, const char* key, const std::string& where) {
    const Json& value = field(object, key, where);
    std::optional<std::int64_t> ms;
    if (value.is_binary()) ms = msFromDecimalSeconds(std::string(value.get_binary().begin(), value.get_binary().end()));
    if (value.is_number_unsigned()) ms = msFromDecimalSeconds(std::to_string(value.get<std::uint64_t>()));
    if (!ms) {
        throw DecodeError("\"" + std::string(key) + "\" in " + where +
                          " is not a time in seconds with at most three decimals");
    }
    return *ms;
}

}  // namespace

Lesson decode(const std::string& manifestJson) {
    Json document;
    DecimalKeepingBuilder builder(document);
    Json::sax_parse(manifestJson, &builder);
    if (!document.is_object()) throw DecodeError("manifest.json is not an object");

    Lesson lesson;
    lesson.sourceFileName = text(document, "sourceFileName", "manifest.json");
    lesson.masterVideoDurationMs = milliseconds(document, "masterVideoDuration", "manifest.json");
    const Json& cues = field(document, "cues", "manifest.json");
    if (!cues.is_array()) throw DecodeError("\"cues\" in manifest.json is not an array");
    for (std::size_t i = 0; i < cues.size(); ++i) {
        const std::string where = "cue " + std::to_string(i) + " of manifest.json";
        if (!cues[i].is_object()) throw DecodeError(where + " is not an object");
        const auto kind = cueKindFromString(text(cues[i], "kind", where));
        if (!kind) throw DecodeError("\"kind\" in " + where + " is neither \"slide\" nor \"bullet\"");
        lesson.cues.push_back(Cue{integer(cues[i], "cueIndex", where), integer(cues[i], "slideIndex", where), *kind,
                                  text(cues[i], "label", where), milliseconds(cues[i], "time", where)});
    }
    const Json& notes = field(document, "notesBySlide", "manifest.json");
    if (!notes.is_object()) throw DecodeError("\"notesBySlide\" in manifest.json is not an object");
    for (const auto& [key, note] : notes.items()) {
        const auto index = parseInt64(key);
        if (!index || *index < 0 || *index == INT64_MAX || key.front() == '+') {
            throw DecodeError("\"notesBySlide\" in manifest.json has the key \"" + key + "\", not a slide number");
        }
        if (!note.is_string()) throw DecodeError("note \"" + key + "\" in manifest.json is not a string");
        // The manifest keys each note one below its slide's number.
        if (!note.get<std::string>().empty()) lesson.notesBySlide.emplace(*index + 1, note.get<std::string>());
    }
    return lesson;
}

Lesson read(const std::filesystem::path& orv) { return decode(ManifestReader::manifestText(orv)); }

}  // namespace orvandel::LessonPackage
