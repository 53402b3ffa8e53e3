// SPDX-License-Identifier: MIT
#include "store/wlan.h"

#include <cstring>

#include "base/debug_log.h"
#include "base/text.h"
#include "platform/apmib.h"

namespace {

constexpr char kModule[] = "app";

static_assert(kRadioCount == kWlanCount && kInterfaceCount == kVwlanCount, "the store has no others");

// "wlan" and the radio's number, then "-va" and a number, or "-vxd".
constexpr size_t kRadioAt = 4;
constexpr size_t kSuffixAt = 5;
constexpr size_t kVirtualAt = 8;
constexpr size_t kShortestWithSuffix = 9;

}  // namespace

int SetWlan_idx(const char *name) {
    const size_t length = strlen(name);
    // A name that ends before its number counts as radio 0.
    const int radio = length > kRadioAt ? decimal_value(name + kRadioAt) : 0;
    if (radio >= kRadioCount) {
        DebugLog("invalid wlan interface index number!");
        return 0;
    }
    SetWlan_idx({radio, kMainAccessPoint});
    if (length < kShortestWithSuffix) {
        return 1;
    }
    if (strncmp(name + kSuffixAt, "-va", 3) == 0) {
        const int number = decimal_value(name + kVirtualAt);
        if (number >= kInterfaceCount - 1) {
            DebugLog("invalid virtual wlan interface index number!");
            return 0;
        }
        vwlan_idx = number + 1;
    }
    if (strncmp(name + kSuffixAt, "-vxd", 4) == 0) {
        vwlan_idx = kRepeater;
    }
    return 1;
}

void SetWlan_idx(WlanInterface interface) {
    wlan_idx = interface.radio;
    vwlan_idx = interface.index;
}

KeepWlanSelection::KeepWlanSelection() : before_{wlan_idx, vwlan_idx} {}

KeepWlanSelection::~KeepWlanSelection() {
    SetWlan_idx(before_);
}
