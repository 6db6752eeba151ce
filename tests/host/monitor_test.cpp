#include "host/cli/monitor.h"

#include <gtest/gtest.h>

namespace zarn {
namespace {

TEST(Duration, IsToldInAFewDigits) {
    EXPECT_EQ(duration_text(0.0), "0 s");
    EXPECT_EQ(duration_text(7.4), "7 s");
    EXPECT_EQ(duration_text(59.4), "59 s");
    EXPECT_EQ(duration_text(59.6), "1 min 00 s");
    EXPECT_EQ(duration_text(119.0), "1 min 59 s");
    EXPECT_EQ(duration_text(125.0), "2 min 05 s");
    EXPECT_EQ(duration_text(3599.0), "59 min 59 s");
    EXPECT_EQ(duration_text(3599.7), "1.0 h");
    EXPECT_EQ(duration_text(9000.0), "2.5 h");
}

}  // namespace
}  // namespace zarn
