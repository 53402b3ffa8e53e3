// SPDX-License-Identifier: MIT
#include "store/wlan.h"

#include <gtest/gtest.h>

#include "platform/apmib.h"

namespace {

// A selection that no name below makes.
constexpr int kRadioBefore = 7;
constexpr int kIndexBefore = 9;

struct Row {
    const char *name;
    int result;
    int radio;
    int index;
};

void expect_selection(const Row &row) {
    wlan_idx = kRadioBefore;
    vwlan_idx = kIndexBefore;
    EXPECT_EQ(SetWlan_idx(row.name), row.result) << row.name;
    EXPECT_EQ(wlan_idx, row.radio) << row.name;
    EXPECT_EQ(vwlan_idx, row.index) << row.name;
}

TEST(SetWlanIdx, SelectsEveryInterface) {
    const Row rows[] = {
        {"wlan0",     1, 0, 0},
        {"wlan1",     1, 1, 0},
        {"wlan0-va0", 1, 0, 1},
        {"wlan0-va1", 1, 0, 2},
        {"wlan0-va2", 1, 0, 3},
        {"wlan0-va3", 1, 0, 4},
        {"wlan0-va4", 1, 0, 5},
        {"wlan1-va0", 1, 1, 1},
        {"wlan1-va1", 1, 1, 2},
        {"wlan1-va2", 1, 1, 3},
        {"wlan1-va3", 1, 1, 4},
        {"wlan1-va4", 1, 1, 5},
        {"wlan0-vxd", 1, 0, 5},
        {"wlan1-vxd", 1, 1, 5},
    };
    for (const Row &row : rows) {
        expect_selection(row);
    }
}

TEST(SetWlanIdx, RefusesAnUnknownRadioAndChangesNothing) {
    for (const char *name : {"wlan2", "wlan3", "wlan9", "wlan10", "wlan10-va1", "wlan2-va1", "wlan2-vxd"}) {
        expect_selection({name, 0, kRadioBefore, kIndexBefore});
    }
}

TEST(SetWlanIdx, RefusesAnUnknownAccessPointAndKeepsItsRadio) {
    const Row rows[] = {
        {"wlan0-va5",  0, 0, 0},
        {"wlan0-va9",  0, 0, 0},
        {"wlan0-va10", 0, 0, 0},
        {"wlan1-va5",  0, 1, 0},
        {"wlan1-va12", 0, 1, 0},
    };
    for (const Row &row : rows) {
        expect_selection(row);
    }
}

// Nine characters make a suffix; what is shorter, or looks different, selects the radio's main access point.
TEST(SetWlanIdx, TakesOtherNamesForTheMainAccessPoint) {
    const Row rows[] = {
        {"",           1, 0, 0},
        {"wlan",       1, 0, 0},
        {"wl",         1, 0, 0},
        {"wlan1-",     1, 1, 0},
        {"wlan1-va",   1, 1, 0},
        {"wlan1-vx",   1, 1, 0},
        {"wlan1-vxx",  1, 1, 0},
        {"wlan1-VA1",  1, 1, 0},
        {"wlan1-vap1", 1, 1, 1}, // "-va" and no number, which counts as 0
        {"wlan1_va1",  1, 1, 0},
        {"wlan1xva1",  1, 1, 0},
        {"wlanx-va1",  1, 0, 2}, // no number: radio 0
    };
    for (const Row &row : rows) {
        expect_selection(row);
    }
}

TEST(SetWlanIdx, ForgetsTheAccessPointOfTheNameBefore) {
    ASSERT_EQ(SetWlan_idx("wlan1-va3"), 1);
    ASSERT_EQ(SetWlan_idx("wlan0"), 1);
    EXPECT_EQ(wlan_idx, 0);
    EXPECT_EQ(vwlan_idx, 0);
}

// The constants mean the interfaces whose names stand beside them.
TEST(SetWlanIdx, AgreesWithTheConstants) {
    expect_selection({"wlan0", 1, kWlan5G.radio, kWlan5G.index});
    expect_selection({"wlan1", 1, kWlan2G.radio, kWlan2G.index});
    expect_selection({"wlan0-va1", 1, kGuest5G.radio, kGuest5G.index});
    expect_selection({"wlan1-va1", 1, kGuest2G.radio, kGuest2G.index});
    expect_selection({"wlan0-va0", 1, kRadio5G, kBackhaulAccessPoint});
    expect_selection({"wlan1-vxd", 1, kRadio2G, kRepeater});
}

TEST(KeepWlanSelection, BringsTheSelectionBack) {
    SetWlan_idx({1, 3});
    {
        const KeepWlanSelection keep;
        ASSERT_EQ(SetWlan_idx("wlan0-vxd"), 1);
        EXPECT_EQ(wlan_idx, 0);
        EXPECT_EQ(vwlan_idx, 5);
    }
    EXPECT_EQ(wlan_idx, 1);
    EXPECT_EQ(vwlan_idx, 3);
}

}  // namespace
