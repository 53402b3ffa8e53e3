// SPDX-License-Identifier: MIT
// The channels that a radio may use in a regulatory region.
#ifndef OBJECTS_CHANNELS_H
#define OBJECTS_CHANNELS_H

#include <cstdint>

constexpr int kRegionCount = 17;     // regions are numbered from 1
constexpr int kMostChannels5G = 28;  // of a region
constexpr bool kWithDfs = true;      // also channels that have to give way to radar

// Always begins with 0, which stands for automatic choice; the channels follow in ascending order.
using ChannelList = int[1 + kMostChannels5G];

// The 5 GHz channels of regions 1 to 17, one row each. A row that is not full ends with 0.
extern const uint8_t Region5GChannels[kRegionCount][kMostChannels5G];

// Fills the list of the 2.4 GHz radio and returns how many entries it has, the 0 included. `item_285` is the store's
// item of that number, which changes nothing.
int ChannelList24G(int region, int item_285, ChannelList &list);

// The same for the 5 GHz radio. Widths: 0 is 20 MHz, 1 is 40 MHz, 2 is 80 MHz. A region below 1 counts as 1, one above
// 17 as 17.
int ChannelList5G(int region, int item_285, bool include_dfs, int width, ChannelList &list);

#endif
