// SPDX-License-Identifier: MIT
#include "objects/schedule_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(WeekMask, HasTheFirstDayAsItsHighestBit) {
    const struct {
        const char *text;
        int mask;
    } rows[] = {
        {"0000000", 0  },
        {"1000000", 64 },
        {"0100000", 32 },
        {"0010000", 16 },
        {"0001000", 8  },
        {"0000100", 4  },
        {"0000010", 2  },
        {"0000001", 1  },
        {"1000001", 65 },
        {"0111110", 62 },
        {"1111111", 127},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(parse_week_mask(row.text), row.mask) << row.text;
        EXPECT_STREQ(print_week_mask(static_cast<uint8_t>(row.mask)).text, row.text);
    }
}

TEST(WeekMask, IsZeroForEveryOtherText) {
    EXPECT_EQ(parse_week_mask(nullptr), 0);
    for (const char *text : {"", "1", "111111", "11111111", "1111112", "2111111", "111x111", "111 111", "-111111",
                             "11111\xc3\xa4", "/111111", "111111/"}) {
        EXPECT_EQ(parse_week_mask(text), 0) << text;
    }
}

TEST(WeekMask, PrintsSevenBitsAlone) {
    EXPECT_STREQ(print_week_mask(128).text, "0000000");
    EXPECT_STREQ(print_week_mask(129).text, "0000001");
    EXPECT_STREQ(print_week_mask(255).text, "1111111");
}

TEST(WeekMask, SurvivesTheWayThereAndBack) {
    for (int mask = 0; mask < 128; ++mask) {
        EXPECT_EQ(parse_week_mask(print_week_mask(static_cast<uint8_t>(mask)).text), mask);
    }
}

TEST(CompactTime, DropsTheSeparatorsWhateverTheyAre) {
    EXPECT_STREQ(compact_time("03:30:00").text, "033000");
    EXPECT_STREQ(compact_time("23-59-58").text, "235958");
    EXPECT_STREQ(compact_time("01234567").text, "013467");
    EXPECT_STREQ(compact_time("ab:cd:ef").text, "abcdef");
    EXPECT_STREQ(compact_time("::::::::").text, "::::::");
    EXPECT_STREQ(compact_time("03:30:00 and more").text, "033000");
}

TEST(ExpandTime, PutsTheColonsBack) {
    EXPECT_STREQ(expand_time("033000").text, "03:30:00");
    EXPECT_STREQ(expand_time("235958").text, "23:59:58");
    EXPECT_STREQ(expand_time("033000,223000").text, "03:30:00");
    EXPECT_STREQ(expand_time("::::::").text, "::::::::");
}

// The text that follows the terminator must not be seen.
TEST(ExpandTime, EndsWhereAShortTextEnds) {
    const struct {
        std::string stored;
        const char *expected;
    } rows[] = {
        {std::string("\0"
                     "123456", 7),
         ""       },
        {std::string("0\0"
                     "23456",  7),
         "0"      },
        {std::string("03\0"
                     "3456",   7),
         "03"     },
        {std::string("033\0"
                     "456",    7),
         "03:3"   },
        {std::string("0330\0"
                     "56",     7),
         "03:30"  },
        {std::string("03300\0"
                     "6",      7),
         "03:30:0"},
    };
    for (const auto &row : rows) {
        EXPECT_STREQ(expand_time(row.stored.c_str()).text, row.expected);
    }
}

}  // namespace
