#include "cache/RenderCache.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <random>
#include <system_error>
#include <vector>

#include "base/ByteSize.hpp"
#include "cache/ContentHash.hpp"

namespace orvandel {

namespace fs = std::filesystem;

namespace {

// Bumped when the layout or the check file changes: an older cache is then
// simply not seen.
constexpr const char* kLayout = "v1";
constexpr std::string_view kCheckSuffix = ".check";
// Temporary names begin with a dot, which no key or kind has.
constexpr const char* kTempPrefix = ".tmp-";
// A writer's temporary file this old belongs to a writer that died.
constexpr auto kLeftoverAge = std::chrono::hours(1);

// Kinds and keys become file names: only these characters, so that neither
// can climb out of the folder nor meet a temporary or check file's name.
bool isName(std::string_view text, std::size_t maxLength) {
    if (text.empty() || text.size() > maxLength) return false;
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || c == '_' || c == '-'; });
}

struct EntryPaths {
    fs::path data, check;
};

std::optional<EntryPaths> entryPaths(const fs::path& folder, std::string_view kind, std::string_view key) {
    if (!isName(kind, 64) || !isName(key, 128)) return std::nullopt;
    const fs::path dir = folder / kLayout / std::string(kind) / std::string(key.substr(0, 2));
    return EntryPaths{dir / std::string(key), dir / (std::string(key) + std::string(kCheckSuffix))};
}

// Unique among the processes and threads writing into one cache at once.
std::string tempName() {
    static const std::uint32_t salt = std::random_device{}();
    static std::atomic<std::uint64_t> counter{0};
    return std::string(kTempPrefix) + std::to_string(::getpid()) + "-" + std::to_string(salt) + "-" +
           std::to_string(counter.fetch_add(1));
}

// The cache's root is the user's alone; what is under it inherits that.
bool makeDirectories(const fs::path& root, const fs::path& dir) {
    std::error_code ec;
    if (!root.parent_path().empty()) fs::create_directories(root.parent_path(), ec);
    if (::mkdir(root.c_str(), 0700) != 0 && errno != EEXIST) return false;
    fs::create_directories(dir, ec);
    return !ec;
}

bool writeAll(const fs::path& file, const std::string& text) {
    const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0) return false;
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        done += std::size_t(n);
    }
    return ::close(fd) == 0 && done == text.size();
}

std::string checkLine(std::int64_t size, const std::string& hash) { return std::to_string(size) + " " + hash + "\n"; }

// The check file's line, or nothing when it is missing or longer than a check.
std::optional<std::string> readCheck(const fs::path& file) {
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return std::nullopt;
    char buffer[256];
    std::size_t got = 0;
    for (;;) {
        const ssize_t n = ::read(fd, buffer + got, sizeof buffer - got);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        got += std::size_t(n);
        if (got == sizeof buffer) break;
    }
    ::close(fd);
    if (got == sizeof buffer) return std::nullopt;
    return std::string(buffer, got);
}

bool sameFile(const fs::path& path, dev_t device, ino_t inode) {
    struct stat now {};
    return ::stat(path.c_str(), &now) == 0 && now.st_dev == device && now.st_ino == inode;
}

void touch(const fs::path& file) {
    const timespec times[2] = {{0, UTIME_NOW}, {0, UTIME_NOW}};
    ::utimensat(AT_FDCWD, file.c_str(), times, 0);
}

struct Listed {
    fs::path path;
    std::int64_t bytes;
    fs::file_time_type time;
};

// Every data file of the cache, and (when leftovers is given) the temporary
// and check files that belong to no data file, with their times.
std::vector<Listed> listEntries(const fs::path& folder, std::vector<Listed>* leftovers) {
    std::vector<Listed> entries;
    std::error_code ec;
    const fs::directory_options skip = fs::directory_options::skip_permission_denied;
    for (fs::recursive_directory_iterator it(folder / kLayout, skip, ec), end; !ec && it != end; it.increment(ec)) {
        if (it.depth() != 2) continue;
        std::error_code statError;
        if (!it->is_regular_file(statError)) continue;
        const std::string name = it->path().filename().string();
        const auto time = fs::last_write_time(it->path(), statError);
        const auto bytes = std::int64_t(it->file_size(statError));
        if (statError) continue;
        const bool isCheck = name.ends_with(kCheckSuffix);
        if (name.starts_with(kTempPrefix) ||
            (isCheck &&
             !fs::exists(it->path().parent_path() / name.substr(0, name.size() - kCheckSuffix.size()), statError))) {
            if (leftovers) leftovers->push_back({it->path(), bytes, time});
        } else if (!isCheck) {
            entries.push_back({it->path(), bytes, time});
        }
    }
    return entries;
}

}  // namespace

RenderCache::RenderCache(Options options) : options_(std::move(options)) {}

bool RenderCache::fetch(std::string_view kind, std::string_view key, const fs::path& to) const try {
    const auto paths = entryPaths(options_.folder, kind, key);
    if (!paths) return false;
    std::error_code ec;
    fs::remove(to, ec);
    struct stat data {};
    if (::stat(paths->data.c_str(), &data) != 0) return false;
    // Our own link or copy: another export's trim may remove the entry while
    // this one still reads it.
    if (::link(paths->data.c_str(), to.c_str()) != 0) {
        if (errno == ENOENT) return false;
        if (!fs::copy_file(paths->data, to, ec)) {
            fs::remove(to, ec);
            return false;
        }
    }
    const auto expected = readCheck(paths->check);
    bool sound = false;
    if (expected) {
        const auto bytes = fs::file_size(to, ec);
        sound = !ec && *expected == checkLine(std::int64_t(bytes), ContentHash::ofFile(to));
    }
    if (!sound) {
        fs::remove(to, ec);
        // Only the entry that was checked: a writer may have put a sound one
        // in its place meanwhile.
        if (sameFile(paths->data, data.st_dev, data.st_ino)) {
            fs::remove(paths->data, ec);
            fs::remove(paths->check, ec);
        }
        return false;
    }
    touch(paths->data);
    return true;
} catch (const std::exception&) {
    std::error_code ec;
    fs::remove(to, ec);
    return false;
}

bool RenderCache::store(std::string_view kind, std::string_view key, const fs::path& from) const {
    const auto paths = entryPaths(options_.folder, kind, key);
    if (!paths) return false;
    const fs::path dir = paths->data.parent_path();
    const fs::path tempData = dir / tempName(), tempCheck = dir / tempName();
    std::error_code ec;
    try {
        if (makeDirectories(options_.folder, dir) && fs::copy_file(from, tempData, ec)) {
            const auto bytes = std::int64_t(fs::file_size(tempData, ec));
            // The check goes in first: a reader that finds the data always
            // finds the check it is to be held to.
            if (!ec && writeAll(tempCheck, checkLine(bytes, ContentHash::ofFile(tempData)))) {
                // Read-only: `to` may be a hard link of the entry, and a
                // program told to overwrite it would otherwise rewrite the cache.
                ::chmod(tempData.c_str(), 0400);
                if (::rename(tempCheck.c_str(), paths->check.c_str()) == 0 &&
                    ::rename(tempData.c_str(), paths->data.c_str()) == 0) {
                    return true;
                }
            }
        }
    } catch (const std::exception&) {
    }
    fs::remove(tempData, ec);
    fs::remove(tempCheck, ec);
    return false;
}

void RenderCache::trim() const try {
    std::vector<Listed> leftovers;
    auto entries = listEntries(options_.folder, &leftovers);
    std::error_code ec;
    const auto now = fs::file_time_type::clock::now();
    for (const auto& leftover : leftovers) {
        if (now - leftover.time > kLeftoverAge) fs::remove(leftover.path, ec);
    }
    std::int64_t total = 0;
    for (const auto& entry : entries) total += entry.bytes;
    std::sort(entries.begin(), entries.end(), [](const Listed& a, const Listed& b) { return a.time < b.time; });
    for (const auto& entry : entries) {
        if (total <= options_.maxBytes) break;
        // Data first: without it the check is a leftover, never an entry.
        if (fs::remove(entry.path, ec)) total -= entry.bytes;
        fs::remove(entry.path.string() + std::string(kCheckSuffix), ec);
    }
} catch (const std::exception&) {
}

std::int64_t RenderCache::size() const {
    std::int64_t total = 0;
    try {
        for (const auto& entry : listEntries(options_.folder, nullptr)) total += entry.bytes;
    } catch (const std::exception&) {
    }
    return total;
}

std::optional<fs::path> RenderCache::defaultFolder() {
    const char* xdg = std::getenv("XDG_CACHE_HOME");
    if (xdg && fs::path(xdg).is_absolute()) return fs::path(xdg) / "orvandel";
    const char* home = std::getenv("HOME");
    if (home && fs::path(home).is_absolute()) return fs::path(home) / ".cache" / "orvandel";
    return std::nullopt;
}

std::int64_t RenderCache::defaultMaxBytes() {
    const char* text = std::getenv("ORVANDEL_CACHE_MAX");
    const auto size = text ? parseByteSize(text) : std::nullopt;
    return size.value_or(kDefaultMaxBytes);
}

}  // namespace orvandel
