#pragma once
// The last gate before a rewritten slide reaches the renderer: it must be
// well-formed XML (namespaces included) and carry exactly one transition
// block, placed before its timing, or the automatic advance would be ignored
// or misplaced.
#include <optional>
#include <string>
#include <string_view>

namespace orvandel::SlideValidator {

// The reason the slide is unacceptable, or nothing.
std::optional<std::string> validationFailure(std::string_view xml);

bool isValid(std::string_view xml);

}  // namespace orvandel::SlideValidator
