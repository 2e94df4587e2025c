#include "base/Leftovers.hpp"

#include <csignal>
#include <map>
#include <mutex>
#include <variant>

namespace orvandel::Leftovers {

namespace {

struct Registry {
    std::mutex mutex;
    unsigned long next = 1;
    std::map<unsigned long, std::variant<std::filesystem::path, pid_t>> entries;
};

Registry& registry() {
    static Registry* r = new Registry;  // never destroyed: a last-resort clean-up may run during exit
    return *r;
}

Registration add(std::variant<std::filesystem::path, pid_t> entry) {
    auto& r = registry();
    std::lock_guard lock(r.mutex);
    const unsigned long id = r.next++;
    r.entries.emplace(id, std::move(entry));
    return Registration(id);
}

}  // namespace

Registration::~Registration() {
    if (id_ == 0) return;
    auto& r = registry();
    std::lock_guard lock(r.mutex);
    r.entries.erase(id_);
}

Registration& Registration::operator=(Registration&& other) noexcept {
    if (this != &other) {
        Registration dropped(id_);
        id_ = other.id_;
        other.id_ = 0;
    }
    return *this;
}

Registration path(const std::filesystem::path& path) { return add(path); }

Registration processGroup(pid_t group) { return add(group); }

void cleanUpNow() {
    auto& r = registry();
    std::lock_guard lock(r.mutex);
    for (const auto& [id, entry] : r.entries) {
        if (const auto* group = std::get_if<pid_t>(&entry)) ::kill(-*group, SIGKILL);
    }
    for (const auto& [id, entry] : r.entries) {
        if (const auto* path = std::get_if<std::filesystem::path>(&entry)) {
            std::error_code ignored;
            std::filesystem::remove_all(*path, ignored);
        }
    }
}

}  // namespace orvandel::Leftovers
