#pragma once
// The one base of every error the library throws. Each component derives its
// own error type carrying a Case enum and the payload; what() is the exact
// English description that component documents.
#include <stdexcept>
#include <string>

namespace orvandel {

class Error : public std::runtime_error {
public:
    explicit Error(const std::string& description) : std::runtime_error(description) {}
};

// A child process could not be started (the launch failure, unchanged).
class LaunchError : public Error {
public:
    LaunchError(std::string program, int errnoValue);
    const std::string& program() const { return program_; }
    int errnoValue() const { return errno_; }

private:
    std::string program_;
    int errno_;
};

// A file system operation failed; what() names the operation, the path and the
// system's own reason.
class FileError : public Error {
public:
    FileError(const std::string& operation, const std::string& path, int errnoValue);
    const std::string& path() const { return path_; }
    int errnoValue() const { return errno_; }

private:
    std::string path_;
    int errno_;
};

}  // namespace orvandel
