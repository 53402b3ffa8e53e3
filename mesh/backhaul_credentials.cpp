// SPDX-License-Identifier: MIT
#include "mesh/backhaul_credentials.h"

#include "base/debug_log.h"
#include "store/items.h"
#include "store/store.h"
#include "store/wpa2.h"

namespace {
constexpr char kModule[] = "mesh_fun";
}

// NOLINTNEXTLINE(bugprone-reserved-identifier): the name is fixed
void _app_set_up_backhaul_credentials() {
    const BackhaulCredentials credentials = draw_backhaul_credentials();
    if (!store_set(MIB_WLAN_SSID, credentials.ssid)) {
        DebugLog("[Error] : Failed to set AP mib MIB_WLAN_SSID");
        return;
    }
    if (!store_set(MIB_WLAN_WPA_PSK, credentials.key) || !store_set(MIB_WLAN_PSK_COPY, credentials.key)) {
        DebugLog("[Error] : Failed to set AP mib MIB_WLAN_WPA_PSK");
        return;
    }
    store_settings({kWpa2Setting274, kWpa2Setting275, kWpa2Setting272, kWpa2Setting38});
    if (!store_set(MIB_WLAN_HIDDEN_SSID, 1)) {
        DebugLog("[Error] : Failed to set AP mib MIB_WLAN_HIDDEN_SSID");
    }
}
