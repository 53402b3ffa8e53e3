// SPDX-License-Identifier: MIT
#include "objects/channels.h"

#include <algorithm>

namespace {

constexpr int kAutomatic = 0;

struct ChannelRange {
    uint8_t first;
    uint8_t last;

    constexpr bool has(int channel) const { return channel >= first && channel <= last; }
};

// The 2.4 GHz channels of regions 0 to 17. All other numbers count as region 0.
constexpr ChannelRange kRegion24GChannels[1 + kRegionCount] = {
    {1,  14}, // 0
    {1,  11}, // 1
    {1,  11}, // 2
    {1,  13}, // 3
    {1,  13}, // 4
    {10, 13}, // 5
    {1,  14}, // 6
    {3,  13}, // 7
    {1,  14}, // 8
    {1,  14}, // 9
    {1,  14}, // 10
    {1,  11}, // 11
    {1,  13}, // 12
    {1,  13}, // 13
    {1,  14}, // 14
    {1,  13}, // 15
    {1,  14}, // 16
    {1,  13}, // 17
};

// The region of the channels 34, 38, 42 and 46, which belong to no pair and no group.
constexpr int kUnpairedRegion = 8;
constexpr int kUnpairedWidths = 3;

// The region that has every channel. Its row also tells which channels make up a wider one: each two neighbours are
// 40 MHz, each four are 80 MHz.
constexpr int kReferenceRegion = 16;

// How many neighbours make up a channel of a width, and how many of them, from the first, the region must have. Of the
// four of 80 MHz the last is not asked for: regions that end at 140 keep 132 to 140.
struct ChannelGroup {
    int size;
    int needed;
};
constexpr ChannelGroup kGroups[] = {
    {1, 1}, // 20 MHz
    {2, 2}, // 40 MHz
    {4, 3}, // 80 MHz
};
constexpr int kGroupCount = sizeof kGroups / sizeof kGroups[0];

using ChannelRow = uint8_t[kMostChannels5G];

const ChannelRow &row_of(int region) {
    return Region5GChannels[region - 1];
}

bool has_channel(const ChannelRow &row, int channel) {
    return std::find(row, row + kMostChannels5G, channel) != row + kMostChannels5G;
}

// Whether the region has what a channel of this width needs. A width that is not known needs no neighbours.
bool is_wide_enough(int region, int channel, int width) {
    const ChannelGroup group = kGroups[width >= 0 && width < kGroupCount ? width : 0];
    const ChannelRow &reference = row_of(kReferenceRegion);
    const auto at = std::find(reference, reference + kMostChannels5G, channel) - reference;
    const uint8_t *first = reference + at / group.size * group.size;
    return std::all_of(first, first + group.needed,
                       [region](int neighbour) { return has_channel(row_of(region), neighbour); });
}

bool is_dfs(int region, int channel) {
    constexpr ChannelRange kDfs = {52, 144};
    constexpr ChannelRange kDfsOfRegion11 = {100, 140};
    return (region == 11 ? kDfsOfRegion11 : kDfs).has(channel);
}

bool is_offered(int region, int channel, bool include_dfs, int width) {
    if (region == kUnpairedRegion) {
        return width < kUnpairedWidths;
    }
    // The reference region offers all that it has, whoever asks.
    return region == kReferenceRegion ||
           ((include_dfs || !is_dfs(region, channel)) && is_wide_enough(region, channel, width));
}

}  // namespace

// Rows of different lengths: clang-format 14 fails on them.
// clang-format off
const uint8_t Region5GChannels[kRegionCount][kMostChannels5G] = {
    /*  1 */ {36, 40, 44, 48, 52, 56, 60, 64, 100, 104, 108, 112, 116, 136, 140, 149, 153, 157, 161, 165},
    /*  2 */ {36, 40, 44, 48, 52, 56, 60, 64, 149, 153, 157, 161},
    /*  3 */ {36, 40, 44, 48, 52, 56, 60, 64, 100, 104, 108, 112, 116, 120, 124, 128, 132, 136, 140},
    /*  4 */ {36, 40, 44, 48, 52, 56, 60, 64, 100, 104, 108, 112, 116, 120, 124, 128, 132, 136, 140},
    /*  5 */ {36, 40, 44, 48, 52, 56, 60, 64, 100, 104, 108, 112, 116, 120, 124, 128, 132, 136, 140},
    /*  6 */ {36, 40, 44, 48, 52, 56, 60, 64, 100, 104, 108, 112, 116, 120, 124, 128, 132, 136, 140, 144},
    /*  7 */ {36, 40, 44, 48, 52, 56, 60, 64, 100, 104, 108, 112, 116, 120, 124, 128, 132, 136, 140},
    /*  8 */ {34, 38, 42, 46},
    /*  9 */ {36, 40, 44, 48},
    /* 10 */ {36, 40, 44, 48, 52, 56, 60, 64},
    /* 11 */ {56, 60, 64, 100, 104, 108, 112, 116, 136, 140, 149, 153, 157, 161, 165},
    /* 12 */ {36, 40, 44, 48, 52, 56, 60, 64, 132, 136, 140, 149, 153, 157, 161, 165},
    /* 13 */ {36, 40, 44, 48, 52, 56, 60, 64, 149, 153, 157, 161, 165},
    /* 14 */ {36, 40, 44, 48, 52, 56, 60, 64, 100, 104, 108, 112, 116, 136, 140, 149, 153, 157, 161, 165},
    /* 15 */ {36, 40, 44, 48, 52, 56, 60, 64, 100, 104, 108, 112, 116, 136, 140, 149, 153, 157, 161, 165},
    /* 16 */ {36, 40, 44, 48, 52, 56, 60, 64, 100, 104, 108, 112, 116, 120, 124, 128, 132, 136, 140, 144, 149, 153, 157,
              161, 165, 169, 173, 177},
    /* 17 */ {36, 40, 44, 48, 52, 56, 60, 64, 100, 104, 108, 112, 116, 120, 124, 128, 132, 136, 140, 149, 153, 157, 161,
              165},
};
// clang-format on

int ChannelList24G(int region, int /*item_285*/, ChannelList &list) {
    const ChannelRange &range = kRegion24GChannels[region >= 0 && region <= kRegionCount ? region : 0];
    int count = 0;
    list[count++] = kAutomatic;
    for (int channel = range.first; channel <= range.last; ++channel) {
        list[count++] = channel;
    }
    return count;
}

int ChannelList5G(int region, int /*item_285*/, bool include_dfs, int width, ChannelList &list) {
    region = std::clamp(region, 1, kRegionCount);
    int count = 0;
    list[count++] = kAutomatic;
    for (const int channel : row_of(region)) {
        if (channel != 0 && is_offered(region, channel, include_dfs, width)) {
            list[count++] = channel;
        }
    }
    return count;
}
