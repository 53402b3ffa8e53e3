#include "objects/wifi_security.h"

#include "store/items.h"
#include "store/store.h"

namespace {

constexpr int32_t kOpen = 0;

struct SecuritySetting {
    Int32Item item;
    int32_t value;
};

// The firmware's settings of WPA2 with a pre-shared key, in the order in which they are written.
constexpr SecuritySetting kWpa2Profile[] = {
    {MIB_WLAN_SECURITY_MODE,      4 },
    {MIB_WLAN_SECURITY_PARAM_38,  2 },
    {MIB_WLAN_SECURITY_PARAM_28,  2 },
    {MIB_WLAN_SECURITY_PARAM_274, 32},
    {MIB_WLAN_SECURITY_PARAM_275, 8 },
    {MIB_WLAN_SECURITY_PARAM_272, 1 },
};

}  // namespace

void WifiSecurityDefaults() {
    for (const SecuritySetting &setting : kWpa2Profile) {
        store_set(setting.item, setting.value);
    }
}

void store_wifi_key(const char *key) {
    store_set(MIB_WLAN_WPA_PSK, key);
    if (store_get(MIB_WLAN_SECURITY_MODE) == kOpen) {
        WifiSecurityDefaults();
    }
}
