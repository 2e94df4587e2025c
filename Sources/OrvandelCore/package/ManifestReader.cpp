#include "package/ManifestReader.hpp"

#include "base/Numbers.hpp"
#include "container/PptxArchive.hpp"

#include <nlohmann/json.hpp>

namespace orvandel::ManifestReader {

namespace {

constexpr const char* kManifest = "manifest.json";

std::string mib(std::int64_t bytes) { return std::to_string((bytes + (1 << 20) - 1) >> 20) + " MiB"; }

// The two facts, read as the parser goes: the cues are counted, never kept.
// A key given twice counts with its last value, as in a parsed document.
class FactsReader final : public nlohmann::json_sax<nlohmann::json> {
public:
    bool null() override { return element("null"); }
    bool boolean(bool) override { return element("boolean"); }
    bool number_integer(number_integer_t value) override { return number(static_cast<double>(value)); }
    bool number_unsigned(number_unsigned_t value) override { return number(static_cast<double>(value)); }
    bool number_float(number_float_t value, const string_t&) override { return number(value); }
    bool string(string_t&) override { return element("string"); }
    bool binary(binary_t&) override { return element("binary"); }
    bool start_object(std::size_t) override { return open("object"); }
    bool key(string_t& key) override {
        if (depth_ == 1) key_ = key;
        return true;
    }
    bool end_object() override { return close(); }
    bool start_array(std::size_t) override { return open("array"); }
    bool end_array() override { return close(); }
    bool parse_error(std::size_t, const std::string&, const nlohmann::json::exception& e) override {
        throw DecodeError(e.what());
    }

    Probe probe() const {
        if (root_ != "object") throw DecodeError("manifest.json is " + root_ + ", not an object");
        if (cues_.empty()) throw DecodeError("manifest.json has no \"cues\"");
        if (cues_ != "array") throw DecodeError("\"cues\" in manifest.json is " + cues_ + ", not an array");
        if (duration_.empty()) throw DecodeError("manifest.json has no \"masterVideoDuration\"");
        // A boolean is not a duration, although a JSON library would convert it.
        if (duration_ != "number") {
            throw DecodeError("\"masterVideoDuration\" in manifest.json is " + duration_ + ", not a number");
        }
        Probe probe;
        probe.cues.resize(cueCount_);
        probe.masterVideoDuration = seconds_;
        return probe;
    }

private:
    // A value begins at the current depth (before a container opens).
    bool element(const std::string& type) {
        if (depth_ == 0) root_ = type;
        if (depth_ == 1 && root_ == "object") {
            if (key_ == "cues") {
                cues_ = type;
                cueCount_ = 0;
            }
            if (key_ == "masterVideoDuration") duration_ = type;
        }
        if (depth_ == 2 && inCues_) ++cueCount_;
        return true;
    }
    bool number(double value) {
        if (depth_ == 1 && root_ == "object" && key_ == "masterVideoDuration") seconds_ = value;
        return element("number");
    }
    bool open(const std::string& type) {
        element(type);
        if (depth_ == kDeepestManifest) throw DecodeError::tooDeep();
        ++depth_;
        if (depth_ == 2 && root_ == "object" && key_ == "cues" && type == "array") inCues_ = true;
        return true;
    }
    bool close() {
        if (depth_ == 2) inCues_ = false;
        --depth_;
        return true;
    }

    std::size_t depth_ = 0;               // containers open
    std::string key_;                     // the last key of the root object
    std::string root_, cues_, duration_;  // the types found; empty: absent
    bool inCues_ = false;
    std::size_t cueCount_ = 0;
    double seconds_ = 0;
};

}  // namespace

ReadError::ReadError(std::int32_t status)
    : Error("unzip do manifest.json falhou (status " + std::to_string(status) + ")"), status_(status) {}

ReadError ReadError::readFailed(std::int32_t status) { return ReadError(status); }

DecodeError DecodeError::tooLarge(std::int64_t bytes) {
    return DecodeError(Case::tooLarge, std::string(kManifest) + " unpacks to " + mib(bytes) + ", more than the " +
                                           mib(kLargestManifest) +
                                           " a manifest may take; the package is damaged or was made to exhaust "
                                           "memory");
}

DecodeError DecodeError::tooDeep() {
    return DecodeError(Case::tooDeep, std::string(kManifest) + " nests arrays and objects more than " +
                                          std::to_string(kDeepestManifest) +
                                          " deep; the package is damaged or was made to exhaust memory");
}

DecodeError DecodeError::tooManyValues() {
    return DecodeError(Case::tooManyValues, std::string(kManifest) + " holds more than " +
                                                formatInt(kMostManifestValues) +
                                                " values; the package is damaged or was made to exhaust memory");
}

Probe decode(const std::string& manifestJson) {
    FactsReader reader;
    nlohmann::json::sax_parse(manifestJson, &reader);
    return reader.probe();
}

std::string manifestText(const std::filesystem::path& orv) {
    try {
        PptxArchive::Deck package(orv);
        const std::int64_t size = package.unpackedSize(kManifest);
        if (size > kLargestManifest) throw DecodeError::tooLarge(size);
        return package.readEntry(kManifest);
    } catch (const PptxArchive::ArchiveError& e) {
        if (e.errorCase() == PptxArchive::ArchiveError::Case::decodeFailed) throw DecodeError(e.what());
        throw ReadError::readFailed(e.status());
    }
}

Probe read(const std::filesystem::path& orv) { return decode(manifestText(orv)); }

}  // namespace orvandel::ManifestReader
