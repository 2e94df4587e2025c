#include "base/Error.hpp"

#include <cstring>

#include "base/Bytes.hpp"

namespace orvandel {

Error::Error(const std::string& description, const std::string& cause, int causeErrno)
    : std::runtime_error(repairedUtf8(description)), cause_(repairedUtf8(cause)), causeErrno_(causeErrno) {}

void Error::keepCause(const std::exception& replaced) {
    if (const auto* error = dynamic_cast<const Error*>(&replaced); error && !error->cause().empty()) {
        cause_ = error->cause();
        causeErrno_ = error->causeErrno();
    } else {
        cause_ = repairedUtf8(replaced.what());
        causeErrno_ = 0;
    }
}

std::string describe(const std::exception& error) {
    std::string text = repairedUtf8(error.what());
    const auto* own = dynamic_cast<const Error*>(&error);
    if (own && !own->cause().empty() && text.find(own->cause()) == std::string::npos) {
        text += " (" + own->cause() + ")";
    }
    return text;
}

LaunchError::LaunchError(std::string program, int errnoValue)
    : Error("could not launch " + program + ": " + std::strerror(errnoValue), std::strerror(errnoValue), errnoValue),
      program_(std::move(program)),
      errno_(errnoValue) {}

FileError::FileError(const std::string& operation, const std::string& path, int errnoValue)
    : Error("could not " + operation + " " + path + ": " + std::strerror(errnoValue), std::strerror(errnoValue),
            errnoValue),
      path_(path),
      errno_(errnoValue) {}

}  // namespace orvandel
