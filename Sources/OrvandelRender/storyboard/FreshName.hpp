#pragma once
// New part names and relationship ids that clash with none taken.
#include <set>
#include <string>

namespace orvandel {

// A name not in `used` (and now in it): stem + n + suffix, n from `from` up.
std::string freshName(std::set<std::string>& used, const std::string& stem, const std::string& suffix = "",
                      int from = 1);

}  // namespace orvandel
