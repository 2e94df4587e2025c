#include "base/ProcessTree.hpp"

#ifdef __linux__

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <charconv>
#include <string>
#include <vector>

namespace orvandel::ProcessTree {

namespace {

// Reads a small /proc file into buf; the length, or -1.
ssize_t readSmall(const std::string& path, char* buf, std::size_t size) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return -1;
    const ssize_t n = ::read(fd, buf, size);
    ::close(fd);
    return n;
}

// The second field of statm: resident pages.
std::optional<std::int64_t> residentPages(pid_t pid) {
    char buf[256];
    const ssize_t n = readSmall("/proc/" + std::to_string(pid) + "/statm", buf, sizeof buf);
    if (n <= 0) return std::nullopt;
    const char* p = buf;
    const char* end = buf + n;
    while (p < end && *p != ' ') ++p;
    std::int64_t pages = 0;
    if (p == end || std::from_chars(p + 1, end, pages).ec != std::errc()) return std::nullopt;
    return pages;
}

void appendPids(const char* text, std::size_t size, std::vector<pid_t>& out) {
    const char* p = text;
    const char* end = text + size;
    while (p < end) {
        pid_t pid = 0;
        const auto [next, ec] = std::from_chars(p, end, pid);
        if (ec == std::errc() && pid > 0) out.push_back(pid);
        p = next + 1;  // past the separating space
    }
}

// The children of every thread of `pid`.
void addChildren(pid_t pid, std::vector<pid_t>& out) {
    const std::string tasks = "/proc/" + std::to_string(pid) + "/task/";
    DIR* dir = ::opendir(tasks.c_str());
    if (!dir) return;  // ended meanwhile
    std::string text;
    char buf[4096];
    while (const dirent* entry = ::readdir(dir)) {
        if (entry->d_name[0] == '.') continue;
        const int fd = ::open((tasks + entry->d_name + "/children").c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) continue;
        text.clear();
        for (ssize_t n; (n = ::read(fd, buf, sizeof buf)) > 0;) text.append(buf, static_cast<std::size_t>(n));
        ::close(fd);
        appendPids(text.data(), text.size(), out);
    }
    ::closedir(dir);
}

// Without children lists: every process's parent from /proc/<pid>/stat.
std::vector<pid_t> descendantsByScan(pid_t root) {
    std::vector<std::pair<pid_t, pid_t>> parentOf;  // (pid, parent)
    DIR* proc = ::opendir("/proc");
    if (!proc) return {};
    char buf[1024];
    while (const dirent* entry = ::readdir(proc)) {
        pid_t pid = 0;
        const char* name = entry->d_name;
        if (std::from_chars(name, name + std::char_traits<char>::length(name), pid).ec != std::errc()) continue;
        const ssize_t n = readSmall(std::string("/proc/") + name + "/stat", buf, sizeof buf);
        if (n <= 0) continue;
        const std::string_view stat(buf, static_cast<std::size_t>(n));
        const auto close = stat.rfind(')');  // the command name may hold anything
        if (close == std::string_view::npos || close + 4 >= stat.size()) continue;
        pid_t parent = 0;
        std::from_chars(stat.data() + close + 4, stat.data() + stat.size(), parent);  // ") S ppid"
        parentOf.emplace_back(pid, parent);
    }
    ::closedir(proc);
    std::vector<pid_t> found{root};
    for (std::size_t i = 0; i < found.size(); ++i) {
        for (const auto& [pid, parent] : parentOf) {
            if (parent == found[i]) found.push_back(pid);
        }
    }
    return found;
}

}  // namespace

std::optional<std::int64_t> residentBytes(pid_t root) {
    static const std::int64_t pageSize = ::sysconf(_SC_PAGESIZE);
    // Kernels built without CONFIG_PROC_CHILDREN list no children.
    static const bool listsChildren = ::access("/proc/thread-self/children", F_OK) == 0;
    const auto rootPages = residentPages(root);
    if (!rootPages) return std::nullopt;
    std::int64_t pages = *rootPages;
    if (!listsChildren) {
        for (const pid_t pid : descendantsByScan(root)) pages += pid == root ? 0 : residentPages(pid).value_or(0);
        return pages * pageSize;
    }
    std::vector<pid_t> pending;
    addChildren(root, pending);
    // A bound, in case pids are reused under the walk.
    for (int seen = 0; !pending.empty() && seen < 65536; ++seen) {
        const pid_t pid = pending.back();
        pending.pop_back();
        pages += residentPages(pid).value_or(0);
        addChildren(pid, pending);
    }
    return pages * pageSize;
}

}  // namespace orvandel::ProcessTree

#else

namespace orvandel::ProcessTree {

std::optional<std::int64_t> residentBytes(pid_t) { return std::nullopt; }

}  // namespace orvandel::ProcessTree

#endif
