#pragma once
// Random (version 4) UUIDs in canonical upper-case form, for unique names of
// work directories and temporary files.
#include <string>

namespace orvandel {

std::string makeUuid();

}  // namespace orvandel
