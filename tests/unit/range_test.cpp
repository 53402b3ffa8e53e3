// SPDX-License-Identifier: MIT
#include "base/range.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

TEST(InRange, TakesBothEnds) {
    struct {
        int value;
        bool inside;
    } const rows[] = {
        {INT_MIN, false},
        {-1,      false},
        {0,       false},
        {1,       true },
        {2,       true },
        {1000,    true },
        {1001,    false},
        {INT_MAX, false},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(in_range(row.value, 1, 1000), row.inside) << row.value;
    }
}

TEST(InRange, WithoutAnUpperBoundRefusesNegativeNumbersOnly) {
    EXPECT_TRUE(in_range(0, 0, INT_MAX));
    EXPECT_TRUE(in_range(INT_MAX, 0, INT_MAX));
    EXPECT_FALSE(in_range(-1, 0, INT_MAX));
    EXPECT_FALSE(in_range(INT_MIN, 0, INT_MAX));
}

TEST(HasLength, CountsBytes) {
    for (size_t length = 0; length < 6; ++length) {
        const std::string text(length, 'x');
        EXPECT_EQ(has_length(text.c_str(), 2, 4), length >= 2 && length <= 4) << length;
        EXPECT_EQ(has_length(text.c_str(), 3), length == 3) << length;
    }
    EXPECT_TRUE(has_length("\xc3\xa9", 2));  // one letter
}

}  // namespace
