#pragma once
// The one base of every error the library throws. Each component derives its
// own error type carrying a Case enum and the payload; what() is the exact
// English description that component documents. Where the system or a
// library said why something failed (strerror of a failed call, a parser's
// message, a tool's last error line), the error also keeps those words as its
// cause, so that a caller can show them after the description.
//
// Descriptions and causes are UTF-8, whatever they quote: a file name is
// bytes, and a byte that starts no UTF-8 character shows as U+FFFD, so that
// any message can go into JSON or a window as it is.
#include <exception>
#include <stdexcept>
#include <string>

namespace orvandel {

class Error : public std::runtime_error {
public:
    explicit Error(const std::string& description, const std::string& cause = {}, int causeErrno = 0);

    // The system's or a library's own words; empty when there are none.
    const std::string& cause() const { return cause_; }
    // The errno behind cause(); 0 when the cause is not a system call's.
    int causeErrno() const { return causeErrno_; }

    // Takes the cause of the error this one replaces: its own cause when it
    // has one, else its description.
    void keepCause(const std::exception& replaced);

private:
    std::string cause_;
    int causeErrno_ = 0;
};

// The description followed by the cause in parentheses, unless the
// description already says it; UTF-8 for any exception (see above).
std::string describe(const std::exception& error);

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
