#include "deck/DeckLinks.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <map>
#include <memory>
#include <vector>

#include "base/Error.hpp"

namespace orvandel::DeckLinks {

namespace fs = std::filesystem;

namespace {

bool isAlpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

std::string_view trimmed(std::string_view s) {
    const auto space = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (!s.empty() && space(s.front())) s.remove_prefix(1);
    while (!s.empty() && space(s.back())) s.remove_suffix(1);
    return s;
}

// The URL's scheme, lower-cased; nothing for a path. One letter before the
// colon is a drive ("C:\...").
std::optional<std::string> schemeOf(std::string_view t) {
    std::size_t i = 0;
    while (i < t.size() &&
           (isAlpha(t[i]) || (i > 0 && ((t[i] >= '0' && t[i] <= '9') || t[i] == '+' || t[i] == '-' || t[i] == '.')))) {
        ++i;
    }
    if (i < 2 || i >= t.size() || t[i] != ':') return std::nullopt;
    return asciiLowercased(t.substr(0, i));
}

// %XX sequences decoded, backslashes made slashes; a stray "%" stays.
std::string pathText(std::string_view s) {
    std::string out = percentDecoded(s);
    for (auto& c : out) {
        if (c == '\\') c = '/';
    }
    return out;
}

std::vector<fs::path> components(const fs::path& p) {
    std::vector<fs::path> out;
    for (const auto& c : p) {
        if (!c.empty()) out.push_back(c);
    }
    return out;
}

// Whether `path` is `folder` or lies below it, component by component.
bool isInside(const fs::path& path, const fs::path& folder) {
    const auto p = components(path), f = components(folder);
    if (p.size() < f.size()) return false;
    for (std::size_t i = 0; i < f.size(); ++i) {
        if (p[i] != f[i]) return false;
    }
    return true;
}

std::optional<fs::path> realPath(const fs::path& p, int& error) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(p.c_str(), nullptr), &std::free);
    if (!real) {
        error = errno;
        return std::nullopt;
    }
    return fs::path(real.get());
}

Refusal whyNotThere(int error) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENAMETOOLONG ? Refusal::missing
                                                                                          : Refusal::unreadable;
}

struct Fd {
    int fd = -1;
    ~Fd() {
        if (fd >= 0) ::close(fd);
    }
};

// Opens the checked file without blocking (a FIFO swapped in would wait for
// a writer) or becoming a controlling terminal, then reads it to `sink` when
// it is still that regular file.
std::optional<Refusal> readChecked(const fs::path& file, std::int64_t maxBytes,
                                   const std::function<void(const std::uint8_t*, std::size_t)>& sink,
                                   const std::function<void()>& afterChunk) {
    Fd in{::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW | O_CLOEXEC)};
    if (in.fd < 0) return errno == ELOOP ? Refusal::unreadable : whyNotThere(errno);
    struct stat st {};
    if (::fstat(in.fd, &st) != 0) return Refusal::unreadable;
    if (!S_ISREG(st.st_mode)) return Refusal::notRegularFile;
    if (st.st_size > maxBytes) return Refusal::tooLarge;
    // A folder on the way replaced by a link since the check would show here.
    std::array<char, PATH_MAX> opened{};
    const auto length = ::readlink(("/proc/self/fd/" + std::to_string(in.fd)).c_str(), opened.data(), opened.size());
    if (length > 0 && std::string_view(opened.data(), std::size_t(length)) != file.native()) return Refusal::unreadable;
    std::vector<std::uint8_t> chunk(std::size_t{1} << 20);
    std::int64_t total = 0;
    for (;;) {
        const ssize_t n = ::read(in.fd, chunk.data(), chunk.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            return Refusal::unreadable;
        }
        if (n == 0) return std::nullopt;
        total += n;
        // The size it said may have been a lie (a file still growing).
        if (total > maxBytes) return Refusal::tooLarge;
        sink(chunk.data(), std::size_t(n));
        if (afterChunk) afterChunk();
    }
}

}  // namespace

std::string_view reason(Refusal refusal) {
    switch (refusal) {
        case Refusal::networkLink: return "is a network address and was not fetched";
        case Refusal::outsideFolder: return "is outside the deck's folder and was not read";
        case Refusal::notRegularFile: return "is not a regular file and was not read";
        case Refusal::missing: return "cannot be found";
        case Refusal::unreadable: return "could not be read";
        case Refusal::tooLarge: return "is too large and was not read";
    }
    return "was not read";
}

Target classify(std::string_view target, const fs::path& deckFolder) {
    const std::string_view t = trimmed(target);
    std::string path;
    if (const auto scheme = schemeOf(t)) {
        if (*scheme != "file") return {true, {}};
        std::string_view rest = t.substr(5);
        if (rest.starts_with("//")) {
            rest.remove_prefix(2);
            const auto slash = rest.find_first_of("/\\");
            const std::string host = asciiLowercased(pathText(rest.substr(0, slash)));
            if (!host.empty() && host != "localhost") return {true, {}};
            rest = slash == std::string_view::npos ? std::string_view() : rest.substr(slash);
        }
        path = pathText(rest);
    } else {
        path = pathText(t);
    }
    if (path.starts_with("//")) return {true, {}};  // a UNC path
    const fs::path p(path);
    return {false, (p.is_absolute() ? p : deckFolder / p).lexically_normal()};
}

std::variant<fs::path, Refusal> check(std::string_view target, const Rule& rule) {
    const fs::path folder = rule.deckFolder.lexically_normal();
    const Target t = classify(target, folder);
    if (t.network) return Refusal::networkLink;
    if (trimmed(target).empty() || t.file.native().find('\0') != std::string::npos) return Refusal::missing;
    int error = 0;
    const auto realFolder = realPath(folder, error);
    // The folder as named or as it really is (it may be reached through a link).
    const auto inside = [&](const fs::path& p, bool asNamed) {
        return rule.allowOutside || (realFolder && isInside(p, *realFolder)) || (asNamed && isInside(p, folder));
    };
    // Asked first by name, so that a path plainly outside is never looked at.
    if (!inside(t.file, true)) return Refusal::outsideFolder;
    const auto real = realPath(t.file, error);
    if (!real) return whyNotThere(error);
    if (!inside(*real, false)) return Refusal::outsideFolder;
    struct stat st {};
    if (::stat(real->c_str(), &st) != 0) return whyNotThere(errno);
    if (!S_ISREG(st.st_mode)) return Refusal::notRegularFile;
    return *real;
}

std::variant<Bytes, Refusal> read(const fs::path& file, std::int64_t maxBytes) {
    Bytes out;
    const auto refused =
        readChecked(file, maxBytes,
                    [&](const std::uint8_t* data, std::size_t size) { out.insert(out.end(), data, data + size); }, {});
    if (refused) return *refused;
    return out;
}

std::optional<Refusal> copy(const fs::path& file, const fs::path& to, std::int64_t maxBytes,
                            const std::function<void()>& afterChunk) {
    Fd out{::open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)};
    if (out.fd < 0) throw FileError("open for writing", to.string(), errno);
    const auto refused = readChecked(
        file, maxBytes,
        [&](const std::uint8_t* data, std::size_t size) {
            while (size > 0) {
                const ssize_t w = ::write(out.fd, data, size);
                if (w < 0) {
                    if (errno == EINTR) continue;
                    throw FileError("write", to.string(), errno);
                }
                data += w;
                size -= std::size_t(w);
            }
        },
        afterChunk);
    const int fd = out.fd;
    out.fd = -1;
    if (::close(fd) != 0) throw FileError("write", to.string(), errno);
    return refused;
}

std::vector<Warning> warnings(const std::vector<NotFollowed>& links) {
    std::map<std::int64_t, std::pair<const NotFollowed*, std::int64_t>> bySlide;  // the first, how many more
    for (const auto& link : links) {
        auto [it, isNew] = bySlide.try_emplace(link.slide, &link, 0);
        if (!isNew) ++it->second.second;
    }
    std::vector<Warning> out;
    for (const auto& [slide, first] : bySlide) {
        const NotFollowed& link = *first.first;
        out.push_back(
            Warning::linkNotFollowed(slide, link.linked, link.target, std::string(reason(link.reason)), first.second));
    }
    return out;
}

}  // namespace orvandel::DeckLinks
