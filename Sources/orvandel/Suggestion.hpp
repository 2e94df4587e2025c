#pragma once
// "did you mean": the known word closest to a mistyped one, by edit distance
// (insertions, deletions, substitutions and swaps of neighbours), when it is
// close enough to be what was meant.
#include <optional>
#include <string>
#include <vector>

namespace orvandel::cli {

// The optimal string alignment distance between a and b.
std::size_t editDistance(const std::string& a, const std::string& b);

// The candidate nearest `typed`, if at most a third of its letters (and at
// least one) differ; the first of equals.
std::optional<std::string> closest(const std::string& typed, const std::vector<std::string>& candidates);

}  // namespace orvandel::cli
