#include "base/Checked.hpp"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>

namespace orvandel {

void overflowFault(const char* operation, std::int64_t a, std::int64_t b) {
    std::fprintf(stderr, "orvandel: fatal: integer overflow in %" PRId64 " %s %" PRId64 "\n", a, operation, b);
    std::abort();
}

}  // namespace orvandel
