#include "plan/FrameSize.hpp"

#include <algorithm>

namespace orvandel {

FrameSize fitFrame(std::int64_t slideWidth, std::int64_t slideHeight, int maxWidth, int maxHeight) {
    if (slideWidth <= 0 || slideHeight <= 0) {
        slideWidth = 16;
        slideHeight = 9;
    }
    const double scale = std::min(double(maxWidth) / double(slideWidth), double(maxHeight) / double(slideHeight));
    auto even = [](double v) { return std::max(2, static_cast<int>(v + 0.5) / 2 * 2); };
    FrameSize f{even(double(slideWidth) * scale), even(double(slideHeight) * scale)};
    f.width = std::min(f.width, maxWidth);
    f.height = std::min(f.height, maxHeight);
    return f;
}

}  // namespace orvandel
