#pragma once
// A directory named prefix + a fresh UUID, created on construction and
// removed with everything in it on destruction, however the scope is left
// (a failure to remove is ignored: there is nobody left to tell).
#include <filesystem>
#include <string>

#include "base/Leftovers.hpp"

namespace orvandel {

class TemporaryDirectory {
public:
    // Creates parent/<prefix><UUID> (and missing parents); throws
    // std::filesystem::filesystem_error when it cannot.
    TemporaryDirectory(const std::filesystem::path& parent, const std::string& prefix);
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
    Leftovers::Registration leftover_;
};

}  // namespace orvandel
