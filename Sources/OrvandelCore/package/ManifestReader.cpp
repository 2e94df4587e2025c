#include "package/ManifestReader.hpp"

#include "container/PptxArchive.hpp"

#include <nlohmann/json.hpp>

namespace orvandel::ManifestReader {

ReadError::ReadError(std::int32_t status)
    : Error("unzip do manifest.json falhou (status " + std::to_string(status) + ")"), status_(status) {}

ReadError ReadError::unzipFailed(std::int32_t status) { return ReadError(status); }

Probe decode(const std::string& manifestJson) {
    nlohmann::json document;
    try {
        document = nlohmann::json::parse(manifestJson);
    } catch (const nlohmann::json::exception& e) {
        throw DecodeError(e.what());
    }
    if (!document.is_object()) {
        throw DecodeError("manifest.json is " + std::string(document.type_name()) + ", not an object");
    }
    const auto cues = document.find("cues");
    if (cues == document.end()) throw DecodeError("manifest.json has no \"cues\"");
    if (!cues->is_array()) {
        throw DecodeError("\"cues\" in manifest.json is " + std::string(cues->type_name()) + ", not an array");
    }
    // A boolean is not a duration, although the JSON library would convert it.
    const auto duration = document.find("masterVideoDuration");
    if (duration == document.end()) throw DecodeError("manifest.json has no \"masterVideoDuration\"");
    if (!duration->is_number()) {
        throw DecodeError("\"masterVideoDuration\" in manifest.json is " + std::string(duration->type_name()) +
                          ", not a number");
    }
    Probe probe;
    probe.cues.resize(cues->size());
    probe.masterVideoDuration = duration->get<double>();
    return probe;
}

std::string manifestText(const std::filesystem::path& orv) {
    try {
        return PptxArchive::readEntry(orv, "manifest.json");
    } catch (const PptxArchive::ArchiveError& e) {
        if (e.errorCase() == PptxArchive::ArchiveError::Case::decodeFailed) throw DecodeError(e.what());
        throw ReadError::unzipFailed(e.status());
    }
}

Probe read(const std::filesystem::path& orv) {
    return decode(manifestText(orv));
}

}  // namespace orvandel::ManifestReader
