#include "storyboard/FreshName.hpp"

namespace orvandel {

std::string freshName(std::set<std::string>& used, const std::string& stem, const std::string& suffix, int from) {
    for (int n = from;; ++n) {
        std::string name = stem + std::to_string(n) + suffix;
        if (used.insert(name).second) return name;
    }
}

}  // namespace orvandel
