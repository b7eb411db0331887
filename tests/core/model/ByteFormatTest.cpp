#include "core/model/ByteFormat.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace ringfold {
namespace {

constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();

TEST(ByteFormat, FileStyleAtEachUnitBoundary) {
    const std::pair<std::int64_t, const char*> cases[] = {
        {0, "Zero KB"},     {1, "1 byte"},     {999, "999 bytes"},  {1000, "1 KB"},
        {999499, "999 KB"}, {999500, "1 MB"},  {1500000, "1.5 MB"}, {12340000000, "12.34 GB"},
        {-2000, "-2 KB"},   {kMax, "9.22 EB"}, {kMin, "-9.22 EB"}};
    for (const auto& [bytes, text] : cases)
        EXPECT_EQ(formatFileStyle(bytes), text) << bytes;
}

// The extremes once had the magnitude of INT64_MIN taken in 64 bits.
TEST(ByteFormat, BinaryAtEachUnitBoundaryAndTheExtremes) {
    const std::pair<std::int64_t, const char*> cases[] = {
        {0, "0 B"},           {1023, "1023 B"},          {-1023, "-1023 B"},     {1024, "1.00 KiB"},
        {-1024, "-1.00 KiB"}, {1536 * 1024, "1.50 MiB"}, {100 << 20, "100 MiB"}, {kMax, "8.00 EiB"},
        {kMin, "-8.00 EiB"}};
    for (const auto& [bytes, text] : cases)
        EXPECT_EQ(formatBinary(bytes), text) << bytes;
}

} // namespace
} // namespace ringfold
