#pragma once
// A size as people write one: "2G", "1.5G", "500M", "64K", "2GiB", "2gb" or
// bytes (binary units, any case, spaces around ignored), read with integer
// arithmetic only. For the command line's sizes and ORVANDEL_CACHE_MAX alike.
#include <cstdint>
#include <optional>
#include <string_view>

namespace orvandel {

// Nothing for anything else, for zero, and for a size that does not fit.
std::optional<std::int64_t> parseByteSize(std::string_view text);

}  // namespace orvandel
