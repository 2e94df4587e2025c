#include "cache/RenderFingerprint.hpp"

#include <fcntl.h>
#include <fontconfig/fontconfig.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <system_error>

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
    const fs::path file = soffice.parent_path() / "versionrc";
    hash.field("versionrc");
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        hash.field("missing");
        return;
    }
    char buffer[64 * 1024];
    std::size_t got = 0;
    for (;;) {
        const ssize_t n = ::read(fd, buffer + got, sizeof buffer - got);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        got += std::size_t(n);
        if (got == sizeof buffer) break;
    }
    ::close(fd);
    hash.field(std::string_view(buffer, got));
}

// The folders fontconfig takes fonts from (with the subfolders it found): a
// font added or removed changes its folder's time.
void addFontFolders(ContentHash& hash) {
    hash.field("fonts");
    FcConfig* config = FcConfigReference(nullptr);
    if (!config) return;
    if (FcStrList* dirs = FcConfigGetFontDirs(config)) {
        while (const FcChar8* dir = FcStrListNext(dirs)) {
            const fs::path folder(reinterpret_cast<const char*>(dir));
            hash.field(folder.string());
            addStat(hash, folder);
        }
        FcStrListDone(dirs);
    }
    FcConfigDestroy(config);
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
