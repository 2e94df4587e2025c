#include "base/Error.hpp"

#include <cstring>

namespace orvandel {

LaunchError::LaunchError(std::string program, int errnoValue)
    : Error("could not launch " + program + ": " + std::strerror(errnoValue)),
      program_(std::move(program)),
      errno_(errnoValue) {}

FileError::FileError(const std::string& operation, const std::string& path, int errnoValue)
    : Error("could not " + operation + " " + path + ": " + std::strerror(errnoValue)),
      path_(path),
      errno_(errnoValue) {}

}  // namespace orvandel
