#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "base/ByteSize.hpp"

using namespace orvandel;

TEST(ByteSizeTest, ReadsSizesAsPeopleWriteThem) {
    // clang-format off
    const std::vector<std::pair<std::string, std::optional<std::int64_t>>> cases{
        {"123", 123}, {"123B", 123}, {"64K", 64 << 10}, {"500m", 500LL << 20}, {"2G", 2LL << 30},
        {"1.5G", 3LL << 29}, {"2GiB", 2LL << 30}, {"2gb", 2LL << 30}, {"0.5k", 512}, {"8388607T", 8388607LL << 40},
        {"9223372036854775807", std::numeric_limits<std::int64_t>::max()}, {"8388608T", {}},
        {"9223372036854775808", {}}, {"", {}}, {"0", {}}, {"-1", {}}, {"1.5", {}}, {"1.K", {}}, {"K", {}},
        {"12iB", {}}, {"2X", {}}, {"2GG", {}}, {"0.0001K", {}}, {"nan", {}}};
    // clang-format on
    for (const auto& [text, bytes] : cases) EXPECT_EQ(parseByteSize(text), bytes) << text;
}
