#include "base/SystemMemory.hpp"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string>

#include "base/Numbers.hpp"

namespace orvandel::SystemMemory {

namespace {

// The first line of a control-group file as a number of bytes; nothing for
// "max" (no limit) or a file that is not there.
std::optional<std::int64_t> cgroupValue(const char* file) {
    std::ifstream in(file);
    std::string line;
    if (!std::getline(in, line)) return std::nullopt;
    const auto value = parseInt64(line);
    // cgroup v1 writes "no limit" as a huge number near INT64_MAX.
    if (!value || *value <= 0 || *value >= (std::int64_t{1} << 60)) return std::nullopt;
    return value;
}

std::optional<std::int64_t> cgroupLimit() {
    if (auto v2 = cgroupValue("/sys/fs/cgroup/memory.max")) return v2;
    return cgroupValue("/sys/fs/cgroup/memory/memory.limit_in_bytes");
}

std::optional<std::int64_t> cgroupUsage() {
    if (auto v2 = cgroupValue("/sys/fs/cgroup/memory.current")) return v2;
    return cgroupValue("/sys/fs/cgroup/memory/memory.usage_in_bytes");
}

std::optional<std::int64_t> lower(std::optional<std::int64_t> a, std::optional<std::int64_t> b) {
    if (!a) return b;
    if (!b) return a;
    return std::min(*a, *b);
}

}  // namespace

std::optional<std::int64_t> total() {
    const long pages = ::sysconf(_SC_PHYS_PAGES), pageSize = ::sysconf(_SC_PAGESIZE);
    std::optional<std::int64_t> physical;
    if (pages > 0 && pageSize > 0) physical = std::int64_t{pages} * pageSize;
    return lower(physical, cgroupLimit());
}

std::optional<std::int64_t> available() {
    std::optional<std::int64_t> machine;
    std::ifstream meminfo("/proc/meminfo");
    std::string key, unit;
    std::int64_t kib = 0;
    while (meminfo >> key >> kib >> unit) {
        if (key == "MemAvailable:") {
            machine = kib * 1024;
            break;
        }
    }
    std::optional<std::int64_t> room;
    if (const auto limit = cgroupLimit()) room = std::max<std::int64_t>(0, *limit - cgroupUsage().value_or(0));
    return lower(machine, room);
}

}  // namespace orvandel::SystemMemory
