#include "base/Uuid.hpp"

#include <array>
#include <cstdint>
#include <random>

namespace orvandel {

std::string makeUuid() {
    std::random_device rd;
    std::array<std::uint8_t, 16> b{};
    for (std::size_t i = 0; i < b.size(); i += 4) {
        const std::uint32_t r = rd();
        for (std::size_t k = 0; k < 4; ++k) b[i + k] = static_cast<std::uint8_t>(r >> (8 * k));
    }
    b[6] = static_cast<std::uint8_t>((b[6] & 0x0F) | 0x40);  // version 4
    b[8] = static_cast<std::uint8_t>((b[8] & 0x3F) | 0x80);  // RFC 4122 variant
    static const char* hex = "0123456789ABCDEF";
    std::string out;
    for (std::size_t i = 0; i < b.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) out += '-';
        out += hex[b[i] >> 4];
        out += hex[b[i] & 0x0F];
    }
    return out;
}

}  // namespace orvandel
