// SPDX-License-Identifier: MIT
#include "objects/wifi_security.h"

#include "store/items.h"
#include "store/store.h"
#include "store/wpa2.h"

namespace {

constexpr int32_t kOpen = 0;

constexpr WlanSetting kProfile[] = {kWpa2Mode,       kWpa2Setting38,  kWpa2Setting28,
                                    kWpa2Setting274, kWpa2Setting275, kWpa2Setting272};

}  // namespace

void WifiSecurityDefaults() {
    store_settings(kProfile);
}

void store_wifi_key(const char *key) {
    store_set(MIB_WLAN_WPA_PSK, key);
    if (store_get(MIB_WLAN_SECURITY_MODE) == kOpen) {
        WifiSecurityDefaults();
    }
}
