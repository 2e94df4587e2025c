#pragma once
// How much memory this process and its children may use: the machine's, or
// the control group's where that is lower (a container, a Kubernetes pod),
// since that is where the out-of-memory killer strikes.
#include <cstdint>
#include <optional>

namespace orvandel::SystemMemory {

// Physical memory, or the control group's limit where lower; nothing when
// neither can be read.
std::optional<std::int64_t> total();

// What can still be taken without swapping (MemAvailable), or the control
// group's room where lower; nothing when it cannot be read.
std::optional<std::int64_t> available();

}  // namespace orvandel::SystemMemory
