#include "cache/RenderFingerprint.hpp"

#include <fcntl.h>
#include <fontconfig/fontconfig.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <system_error>
#include <vector>

#include "base/Bytes.hpp"
#include "base/Error.hpp"
#include "base/Subprocess.hpp"
#include "cache/ContentHash.hpp"
#include "tools/LibreOffice.hpp"

namespace orvandel::RenderFingerprint {

namespace fs = std::filesystem;

namespace {

// A file by its size and time: a new build or package of it changes either.
void addStat(ContentHash& hash, const fs::path& file) {
    struct stat st {};
    if (::stat(file.c_str(), &st) != 0) {
        hash.field("missing");
        return;
    }
    hash.field(std::int64_t(st.st_size)).field(std::int64_t(st.st_mtim.tv_sec)).field(std::int64_t(st.st_mtim.tv_nsec));
}

// The program's file behind any symlinks (Debian's alternatives, /usr/bin
// links into a package's folder), or nothing when it is not on PATH.
std::optional<fs::path> resolved(const std::optional<fs::path>& found) {
    if (!found) return std::nullopt;
    std::error_code ec;
    auto file = fs::canonical(*found, ec);
    return ec ? *found : file;
}

void addProgram(ContentHash& hash, const std::string& name, const std::optional<fs::path>& file) {
    hash.field(name);
    if (!file) {
        hash.field("missing");
        return;
    }
    hash.field(file->string());
    addStat(hash, *file);
}

// LibreOffice's version file (its build id): soffice itself is a small
// script that stays the same from one release to the next.
void addVersionFile(ContentHash& hash, const fs::path& soffice) {
    hash.field("versionrc");
    try {
        hash.add(readFile(soffice.parent_path() / "versionrc"));
    } catch (const FileError&) {
        hash.field("missing");
    }
}

// The folders fontconfig's configuration takes fonts from, and every folder
// below them: a font added or removed changes its folder's time. Read from
// a configuration of our own, without loading a font, and let go again.
void addFontFolders(ContentHash& hash) {
    hash.field("fonts");
    FcConfig* config = FcConfigCreate();
    if (!config) return;
    std::vector<fs::path> roots;
    if (FcConfigParseAndLoad(config, nullptr, FcTrue)) {
        if (FcStrList* dirs = FcConfigGetConfigDirs(config)) {
            while (const FcChar8* dir = FcStrListNext(dirs)) roots.emplace_back(reinterpret_cast<const char*>(dir));
            FcStrListDone(dirs);
        }
    }
    FcConfigDestroy(config);
    // Bounded: a font folder is not expected to hold more folders than this.
    constexpr int kMostFolders = 20000;
    int seen = 0;
    for (const auto& root : roots) {
        hash.field(root.string());
        addStat(hash, root);
        std::error_code ec;
        for (fs::recursive_directory_iterator it(root, fs::directory_options::skip_permission_denied, ec), end;
             !ec && it != end && seen < kMostFolders; it.increment(ec)) {
            if (!it->is_directory(ec)) continue;
            hash.field(it->path().string());
            addStat(hash, it->path());
            ++seen;
        }
    }
}

}  // namespace

std::string current() {
    ContentHash hash;
    // This program as it runs, even if its file has been replaced since.
    hash.field("self");
    std::error_code ec;
    hash.field(fs::read_symlink("/proc/self/exe", ec).string());
    addStat(hash, "/proc/self/exe");

    const auto soffice = resolved(LibreOffice::findSoffice());
    addProgram(hash, "soffice", soffice);
    if (soffice) addVersionFile(hash, *soffice);
    for (const char* name : {"pdftocairo", "pdfinfo", "ffmpeg", "ffprobe"}) {
        addProgram(hash, name, resolved(Subprocess::findOnPath(name)));
    }
    addFontFolders(hash);
    return hash.hex();
}

}  // namespace orvandel::RenderFingerprint
