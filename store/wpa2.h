// SPDX-License-Identifier: MIT
// The firmware's settings of a network that WPA2 with a pre-shared key protects, each with its value. Which of them are
// written, and in which order, is the writer's affair.
#ifndef STORE_WPA2_H
#define STORE_WPA2_H

#include <cstdint>

#include "store/items.h"
#include "store/store.h"

struct WlanSetting {
    Int32Item item;
    int32_t value;
};
constexpr WlanSetting kWpa2Mode{MIB_WLAN_SECURITY_MODE, 4};
constexpr WlanSetting kWpa2Setting28{MIB_WLAN_SECURITY_PARAM_28, 2};
constexpr WlanSetting kWpa2Setting38{MIB_WLAN_SECURITY_PARAM_38, 2};
constexpr WlanSetting kWpa2Setting272{MIB_WLAN_SECURITY_PARAM_272, 1};
constexpr WlanSetting kWpa2Setting274{MIB_WLAN_SECURITY_PARAM_274, 32};
constexpr WlanSetting kWpa2Setting275{MIB_WLAN_SECURITY_PARAM_275, 8};

// Writes settings of the selected interface, in their order.
template <size_t Count>
void store_settings(const WlanSetting (&settings)[Count]) {
    for (const WlanSetting &setting : settings) {
        store_set(setting.item, setting.value);
    }
}

#endif
