#include "base/TemporaryDirectory.hpp"

#include "base/Uuid.hpp"

namespace orvandel {

TemporaryDirectory::TemporaryDirectory(const std::filesystem::path& parent, const std::string& prefix)
    : path_(parent / (prefix + makeUuid())) {
    std::filesystem::create_directories(path_);
    leftover_ = Leftovers::path(path_);
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

}  // namespace orvandel
