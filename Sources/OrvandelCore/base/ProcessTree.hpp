#pragma once
// The resident memory of a running child and everything it started, read
// from /proc (Linux). Cheap enough to sample every 100 ms: one file per
// process and one per thread.
#include <cstdint>
#include <optional>
#include <sys/types.h>

namespace orvandel::ProcessTree {

// The resident set sizes of `root` and of every process descended from it
// (children of any of their threads, recursively), summed, in bytes. A
// descendant whose parent has ended (reparented) is no longer counted.
// Processes that end while they are read count as nothing; nothing when
// `root` itself cannot be read (gone, or not Linux).
std::optional<std::int64_t> residentBytes(pid_t root);

}  // namespace orvandel::ProcessTree
