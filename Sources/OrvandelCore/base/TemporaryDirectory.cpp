#include "base/TemporaryDirectory.hpp"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <charconv>
#include <optional>
#include <vector>

#include "base/Uuid.hpp"

namespace orvandel {

namespace fs = std::filesystem;

namespace {

struct Owner {
    std::string pid;
    std::string start;
    std::string boot;
    std::string pidNamespace;
    std::string host;
};

// The whole of a small file that is not a symbolic link, or nothing.
std::optional<std::string> readSmallFile(const fs::path& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) return std::nullopt;
    char buf[512];
    std::string text;
    struct stat st {};
    if (::fstat(fd, &st) == 0 && S_ISREG(st.st_mode)) {
        for (ssize_t n; text.size() < 4096 && (n = ::read(fd, buf, sizeof buf)) > 0;) {
            text.append(buf, static_cast<std::size_t>(n));
        }
    }
    ::close(fd);
    if (text.empty()) return std::nullopt;
    return text;
}

std::string orUnknown(std::string value) { return value.empty() ? "-" : value; }

#ifdef __linux__

// Field 22 of /proc/<pid>/stat, or nothing when the process is gone.
std::optional<std::string> startTimeOf(const std::string& pid) {
    const auto stat = readSmallFile("/proc/" + pid + "/stat");
    if (!stat) return std::nullopt;
    // Fields after the command name, which may hold spaces and parentheses,
    // start at field 3.
    auto at = stat->rfind(')');
    if (at == std::string::npos) return std::nullopt;
    ++at;
    for (int field = 3; field <= 22; ++field) {
        at = stat->find_first_not_of(' ', at);
        if (at == std::string::npos) return std::nullopt;
        const auto end = stat->find(' ', at);
        if (field == 22) return stat->substr(at, end == std::string::npos ? std::string::npos : end - at);
        at = end;
    }
    return std::nullopt;
}

Owner currentOwner() {
    Owner me;
    me.pid = std::to_string(::getpid());
    me.start = orUnknown(startTimeOf("self").value_or(""));
    auto boot = readSmallFile("/proc/sys/kernel/random/boot_id").value_or("");
    while (!boot.empty() && (boot.back() == '\n' || boot.back() == ' ')) boot.pop_back();
    me.boot = orUnknown(boot);
    struct stat ns {};
    me.pidNamespace = ::stat("/proc/self/ns/pid", &ns) == 0 ? std::to_string(ns.st_ino) : "-";
    utsname host{};
    me.host = orUnknown(::uname(&host) == 0 ? host.nodename : "");
    return me;
}

bool isGone(const Owner& owner, const Owner& me) {
    if (owner.host != me.host) return false;  // another machine may share the folder
    if (owner.boot == "-" || me.boot == "-") return false;
    if (owner.boot != me.boot) return true;  // this machine, rebooted since
    // Another container's processes are not ours to see.
    if (owner.pidNamespace == "-" || owner.pidNamespace != me.pidNamespace) return false;
    if (owner.start == "-") return false;
    const auto start = startTimeOf(owner.pid);
    return !start || *start != owner.start;
}

#else

Owner currentOwner() {
    utsname host{};
    return {std::to_string(::getpid()), "-", "-", "-", orUnknown(::uname(&host) == 0 ? host.nodename : "")};
}

// Without /proc: only a pid that names no process at all tells.
bool isGone(const Owner& owner, const Owner& me) {
    if (owner.host != me.host) return false;
    return ::kill(static_cast<pid_t>(std::stol(owner.pid)), 0) != 0 && errno == ESRCH;
}

#endif

const Owner& self() {
    static const Owner me = currentOwner();
    return me;
}

std::string recordText(const Owner& o) {
    return o.pid + " " + o.start + " " + o.boot + " " + o.pidNamespace + " " + o.host + "\n";
}

// The owner a folder's record names, when it is well formed: five fields, a
// positive pid, a line ended (so not a record still being written).
std::optional<Owner> ownerOf(const fs::path& folder) {
    const auto text = readSmallFile(folder / TemporaryDirectory::kOwnerRecord);
    if (!text || text->back() != '\n') return std::nullopt;
    std::vector<std::string> fields;
    std::size_t from = 0;
    for (std::size_t space; (space = text->find(' ', from)) != std::string::npos; from = space + 1) {
        fields.push_back(text->substr(from, space - from));
    }
    fields.push_back(text->substr(from, text->size() - 1 - from));
    if (fields.size() != 5) return std::nullopt;
    for (const auto& f : fields) {
        if (f.empty()) return std::nullopt;
    }
    long pid = 0;
    const auto& p = fields[0];
    if (std::from_chars(p.data(), p.data() + p.size(), pid).ptr != p.data() + p.size() || pid <= 0) {
        return std::nullopt;
    }
    return Owner{fields[0], fields[1], fields[2], fields[3], fields[4]};
}

void removeEndedRuns(const fs::path& parent, const std::string& prefix) {
    std::vector<fs::path> ended;
    std::error_code ec;
    for (fs::directory_iterator it(parent, ec), end; !ec && it != end; it.increment(ec)) {
        const std::string name = it->path().filename().string();
        if (name.size() <= prefix.size() || name.compare(0, prefix.size(), prefix) != 0) continue;
        struct stat st {};
        if (::lstat(it->path().c_str(), &st) != 0 || !S_ISDIR(st.st_mode) || st.st_uid != ::geteuid()) continue;
        const auto owner = ownerOf(it->path());
        if (owner && isGone(*owner, self())) ended.push_back(it->path());
    }
    for (const auto& folder : ended) fs::remove_all(folder, ec);
}

}  // namespace

TemporaryDirectory::TemporaryDirectory(const fs::path& parent, const std::string& prefix)
    : path_(parent / (prefix + makeUuid())) {
    removeEndedRuns(parent, prefix);
    fs::create_directories(path_);
    leftover_ = Leftovers::path(path_);
    const std::string record = recordText(self());
    const int fd = ::open((path_ / kOwnerRecord).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd >= 0) {
        // One write: a reader sees the whole line or a line without its end.
        (void)!::write(fd, record.data(), record.size());
        ::close(fd);
    }
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ec;
    fs::remove_all(path_, ec);
}

void TemporaryDirectory::removeOwnerRecord() const { ::unlink((path_ / kOwnerRecord).c_str()); }

}  // namespace orvandel
