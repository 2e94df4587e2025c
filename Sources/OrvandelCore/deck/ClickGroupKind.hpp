#pragma once
// The kind of one click group of a slide's main sequence.
#include <string_view>

namespace orvandel {

enum class ClickGroupKind { entry, exit };

constexpr std::string_view toString(ClickGroupKind kind) { return kind == ClickGroupKind::entry ? "entry" : "exit"; }

}  // namespace orvandel
