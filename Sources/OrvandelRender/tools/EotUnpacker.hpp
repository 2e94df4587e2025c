#pragma once
// MicroType Express unpacked by libeot in a child process of its own: libeot
// crashes on some hostile data, and a deck is untrusted, so a crash, a hang
// or a runaway result there costs the font and nothing else.
#include <chrono>
#include <optional>
#include <string>

#include "base/Bytes.hpp"

namespace orvandel::EotUnpacker {

struct Unpacked {
    std::optional<Bytes> font;  // the font libeot made, when it made one within `most` bytes
    std::string failure;        // otherwise why not, in libeot's or the system's words
};

// The font in `container`, an EOT whose header has been checked and whose
// data is compressed and no longer XOR-obfuscated. The child is killed after
// `timeout` and dies with this process.
Unpacked unpack(const Bytes& container, std::size_t most,
                std::chrono::milliseconds timeout = std::chrono::milliseconds(20'000));

}  // namespace orvandel::EotUnpacker
