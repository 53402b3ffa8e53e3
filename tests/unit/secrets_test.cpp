// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>

#include "base/random.h"
#include "base/same_secret.h"

namespace {

TEST(SameSecret, IsTheSameTextAndNoOther) {
    const std::string texts[] = {"", "a", "b", "ab", "aa", "aaa", std::string(1000, 'a'), "\xff", "a\xff"};
    for (const std::string &secret : texts) {
        for (const std::string &given : texts) {
            EXPECT_EQ(same_secret(secret.c_str(), given.c_str()), secret == given) << secret << " " << given;
        }
    }
}

TEST(Random, FillsAllBytesAndNeverTheSameWay) {
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i) {
        uint8_t bytes[16] = {};
        ASSERT_TRUE(read_random(bytes, sizeof bytes));
        seen.emplace(reinterpret_cast<const char *>(bytes), sizeof bytes);
    }
    EXPECT_EQ(seen.size(), 1000U);
    // Each place takes nearly all of its 256 values in so many draws; a place that is not filled has one.
    for (size_t place = 0; place < 16; ++place) {
        std::set<char> values;
        for (const std::string &bytes : seen) {
            values.insert(bytes[place]);
        }
        EXPECT_GT(values.size(), 200U) << place;
    }
}

}  // namespace
