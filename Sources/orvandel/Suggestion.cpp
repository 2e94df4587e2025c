#include "Suggestion.hpp"

#include <algorithm>

namespace orvandel::cli {

std::size_t editDistance(const std::string& a, const std::string& b) {
    // Three rows of the table: a swap looks two back.
    std::vector<std::size_t> before(b.size() + 1), previous(b.size() + 1), current(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) previous[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        current[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t cost = a[i - 1] == b[j - 1] ? 0 : 1;
            current[j] = std::min({previous[j] + 1, current[j - 1] + 1, previous[j - 1] + cost});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                current[j] = std::min(current[j], before[j - 2] + 1);
            }
        }
        std::swap(before, previous);
        std::swap(previous, current);
    }
    return previous[b.size()];
}

std::optional<std::string> closest(const std::string& typed, const std::vector<std::string>& candidates) {
    const std::size_t allowed = std::max<std::size_t>(1, typed.size() / 3);
    std::optional<std::string> best;
    std::size_t bestDistance = allowed + 1;
    for (const auto& candidate : candidates) {
        const std::size_t d = editDistance(typed, candidate);
        if (d < bestDistance) {
            best = candidate;
            bestDistance = d;
        }
    }
    return best;
}

}  // namespace orvandel::cli
