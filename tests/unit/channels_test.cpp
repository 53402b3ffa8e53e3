// SPDX-License-Identifier: MIT
#include "objects/channels.h"

#include <gtest/gtest.h>

#include <climits>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

// The list as a text, without the leading 0, which is checked here.
std::string listed(const ChannelList &list, int count) {
    EXPECT_GE(count, 1);
    EXPECT_EQ(list[0], 0);
    std::ostringstream text;
    for (int at = 1; at < count; ++at) {
        text << (at > 1 ? " " : "") << list[at];
    }
    return text.str();
}

std::string listed_24g(int region, int item_285 = 0) {
    ChannelList list;
    const int count = ChannelList24G(region, item_285, list);
    return listed(list, count);
}

std::string listed_5g(int region, bool include_dfs, int width, int item_285 = 0) {
    ChannelList list;
    const int count = ChannelList5G(region, item_285, include_dfs, width, list);
    return listed(list, count);
}

// The tables below name each of these once.
const std::set<int> kRegions = {INT_MIN, -1, 0,  1,  2,  3,  4,  5,  6,  7,  8,  9,
                                10,      11, 12, 13, 14, 15, 16, 17, 18, 19, 20, INT_MAX};

const struct {
    std::vector<int> regions;
    const char *channels;
} k24G[] = {
    {{1, 2, 11},                                                 "1 2 3 4 5 6 7 8 9 10 11"         },
    {{3, 4, 12, 13, 15, 17},                                     "1 2 3 4 5 6 7 8 9 10 11 12 13"   },
    {{5},                                                        "10 11 12 13"                     },
    {{7},                                                        "3 4 5 6 7 8 9 10 11 12 13"       },
    {{6, 8, 9, 10, 14, 16, -1, 0, 18, 19, 20, INT_MIN, INT_MAX}, "1 2 3 4 5 6 7 8 9 10 11 12 13 14"},
};

TEST(ChannelList24G, FollowsTheRegion) {
    std::set<int> regions;
    for (const auto &row : k24G) {
        regions.insert(row.regions.begin(), row.regions.end());
        for (const int region : row.regions) {
            EXPECT_EQ(listed_24g(region), row.channels) << "region " << region;
            EXPECT_EQ(listed_24g(region, 1), row.channels) << "region " << region;
        }
    }
    EXPECT_EQ(regions, kRegions);
}

// What each region offers at each width, worked out by hand from the channels of the regions and the neighbours of each
// channel.
struct Offer {
    std::vector<int> regions;
    struct {
        const char *at_20mhz;
        const char *at_40mhz;
        const char *at_80mhz;
        const char *wider;  // widths that are not known
    } with_dfs, without_dfs;
};

const std::vector<Offer> k5G = {
    {{INT_MIN, -1, 0, 1, 14, 15},
     {
         "36 40 44 48 52 56 60 64 100 104 108 112 116 136 140 149 153 157 161 165",
         "36 40 44 48 52 56 60 64 100 104 108 112 149 153 157 161",
         "36 40 44 48 52 56 60 64 100 104 108 112 149 153 157 161",
         "36 40 44 48 52 56 60 64 100 104 108 112 116 136 140 149 153 157 161 165",
     },                                                                                                            {
         "36 40 44 48 149 153 157 161 165",
         "36 40 44 48 149 153 157 161",
         "36 40 44 48 149 153 157 161",
         "36 40 44 48 149 153 157 161 165",
     }                                                                                                                                                                  },
    {{2},
     {
         "36 40 44 48 52 56 60 64 149 153 157 161",
         "36 40 44 48 52 56 60 64 149 153 157 161",
         "36 40 44 48 52 56 60 64 149 153 157 161",
         "36 40 44 48 52 56 60 64 149 153 157 161",
     },                                                                                                            {
         "36 40 44 48 149 153 157 161",
         "36 40 44 48 149 153 157 161",
         "36 40 44 48 149 153 157 161",
         "36 40 44 48 149 153 157 161",
     }                                                                                                                                                                  },
    {{3, 4, 5, 7},
     {
         "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136 140",
         "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136",
         "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136 140",
         "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136 140",
     },                                                                                                            {"36 40 44 48", "36 40 44 48", "36 40 44 48", "36 40 44 48"}},
    {{6},
     {
         "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136 140 144",
         "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136 140 144",
         "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136 140 144",
         "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136 140 144",
     },                                                                                                            {"36 40 44 48", "36 40 44 48", "36 40 44 48", "36 40 44 48"}},
    {{8},                         {"34 38 42 46", "34 38 42 46", "34 38 42 46", ""},                               {"34 38 42 46", "34 38 42 46", "34 38 42 46", ""}           },
    {{9},
     {"36 40 44 48", "36 40 44 48", "36 40 44 48", "36 40 44 48"},
     {"36 40 44 48", "36 40 44 48", "36 40 44 48", "36 40 44 48"}                                                                                                              },
    {{10},
     {"36 40 44 48 52 56 60 64", "36 40 44 48 52 56 60 64", "36 40 44 48 52 56 60 64", "36 40 44 48 52 56 60 64"},
     {"36 40 44 48", "36 40 44 48", "36 40 44 48", "36 40 44 48"}                                                                                                              },
    {{11},
     {
         "56 60 64 100 104 108 112 116 136 140 149 153 157 161 165",
         "60 64 100 104 108 112 149 153 157 161",
         "100 104 108 112 149 153 157 161",
         "56 60 64 100 104 108 112 116 136 140 149 153 157 161 165",
     },                                                                                                            {
         "56 60 64 149 153 157 161 165",
         "60 64 149 153 157 161",
         "149 153 157 161",
         "56 60 64 149 153 157 161 165",
     }                                                                                                                                                                  },
    {{12},
     {
         "36 40 44 48 52 56 60 64 132 136 140 149 153 157 161 165",
         "36 40 44 48 52 56 60 64 132 136 149 153 157 161",
         "36 40 44 48 52 56 60 64 132 136 140 149 153 157 161",
         "36 40 44 48 52 56 60 64 132 136 140 149 153 157 161 165",
     },                                                                                                            {
         "36 40 44 48 149 153 157 161 165",
         "36 40 44 48 149 153 157 161",
         "36 40 44 48 149 153 157 161",
         "36 40 44 48 149 153 157 161 165",
     }                                                                                                                                                                  },
    {{13},
     {
         "36 40 44 48 52 56 60 64 149 153 157 161 165",
         "36 40 44 48 52 56 60 64 149 153 157 161",
         "36 40 44 48 52 56 60 64 149 153 157 161",
         "36 40 44 48 52 56 60 64 149 153 157 161 165",
     },                                                                                                            {
         "36 40 44 48 149 153 157 161 165",
         "36 40 44 48 149 153 157 161",
         "36 40 44 48 149 153 157 161",
         "36 40 44 48 149 153 157 161 165",
     }                                                                                                                                                                  },
    {{16},
     {
         "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136 140 144 149 153 157 161 165 169 173 177",
         "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136 140 144 149 153 157 161 165 169 173 177",
         "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136 140 144 149 153 157 161 165 169 173 177",
         "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136 140 144 149 153 157 161 165 169 173 177",
     },                                                                                                            {
         "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136 140 144 149 153 157 161 165 169 173 177",
         "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136 140 144 149 153 157 161 165 169 173 177",
         "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136 140 144 149 153 157 161 165 169 173 177",
         "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136 140 144 149 153 157 161 165 169 173 177",
     }                                                                                                                                                                  },
    {{17, 18, 19, 20, INT_MAX},
     {
         "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136 140 149 153 157 161 165",
         "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136 149 153 157 161",
         "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136 140 149 153 157 161",
         "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136 140 149 153 157 161 165",
     },                                                                                                            {
         "36 40 44 48 149 153 157 161 165",
         "36 40 44 48 149 153 157 161",
         "36 40 44 48 149 153 157 161",
         "36 40 44 48 149 153 157 161 165",
     }                                                                                                                                                                  },
};

TEST(ChannelList5G, FollowsRegionWidthAndDfs) {
    std::set<int> regions;
    for (const Offer &offer : k5G) {
        regions.insert(offer.regions.begin(), offer.regions.end());
        for (const int region : offer.regions) {
            for (const bool include_dfs : {true, false}) {
                const auto &expected = include_dfs ? offer.with_dfs : offer.without_dfs;
                const std::string where =
                    "region " + std::to_string(region) + (include_dfs ? " with DFS" : " without DFS");
                EXPECT_EQ(listed_5g(region, include_dfs, 0), expected.at_20mhz) << where;
                EXPECT_EQ(listed_5g(region, include_dfs, 1), expected.at_40mhz) << where;
                EXPECT_EQ(listed_5g(region, include_dfs, 2), expected.at_80mhz) << where;
                EXPECT_EQ(listed_5g(region, include_dfs, 3), expected.wider) << where;
                EXPECT_EQ(listed_5g(region, include_dfs, 4), expected.wider) << where;
                EXPECT_EQ(listed_5g(region, include_dfs, INT_MAX), expected.wider) << where;
                // Below 0 only what is too wide for the channels of region 8 differs: it is not.
                EXPECT_EQ(listed_5g(region, include_dfs, -1), expected.at_20mhz) << where;
                EXPECT_EQ(listed_5g(region, include_dfs, 1, 1), expected.at_40mhz) << where;
            }
        }
    }
    EXPECT_EQ(regions, kRegions);
}

}  // namespace
