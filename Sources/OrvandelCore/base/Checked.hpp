#pragma once
// Checked arithmetic for time sums. An overflow is a programming fault, not a
// reported error: it prints the operation and aborts.
#include <cstdint>

namespace orvandel {

[[noreturn]] void overflowFault(const char* operation, std::int64_t a, std::int64_t b);

inline std::int64_t checkedAdd(std::int64_t a, std::int64_t b) {
    std::int64_t r;
    if (__builtin_add_overflow(a, b, &r)) overflowFault("+", a, b);
    return r;
}

inline std::int64_t checkedSub(std::int64_t a, std::int64_t b) {
    std::int64_t r;
    if (__builtin_sub_overflow(a, b, &r)) overflowFault("-", a, b);
    return r;
}

inline std::int64_t checkedMul(std::int64_t a, std::int64_t b) {
    std::int64_t r;
    if (__builtin_mul_overflow(a, b, &r)) overflowFault("*", a, b);
    return r;
}

}  // namespace orvandel
