// SPDX-License-Identifier: MIT
#include "objects/wifi.h"

#include "base/debug_log.h"
#include "base/json.h"
#include "base/range.h"
#include "base/text.h"
#include "gateway/handler/objects.h"
#include "gateway/handler/request_state.h"
#include "objects/wifi_security.h"
#include "platform/product.h"
#include "store/items.h"
#include "store/store.h"
#include "store/wlan.h"

namespace {

constexpr char kModule[] = "app";

// In bytes.
constexpr size_t kLongestSsid = 32;
constexpr size_t kShortestKey = 8;
constexpr size_t kLongestKey = 64;

constexpr char kDefaultUser[] = PRODUCT_ADMINISTRATOR;

constexpr char kSsidLength[] = "ERROR:SSID len is null or too long\n";
constexpr char kKeyLength[] = "ERROR:password len is too short or too long\n";
constexpr char kGuestSsid5Format[] = "ERROR: No ssid5 string format error";
constexpr char kGuestNetworkFormat[] = "ERROR: No ssid or wifiPwd string";
constexpr char kGuestSsidLength[] = "ERROR:SSID len is too long\n";
// Apps know this text with the line feed for the main network, and without it for guests.
constexpr char kGuestKeyLength[] = "ERROR:password len is too short or too long";

// Both may be asked of a text that was not given.
bool is_ssid(const char *text) {
    return text != nullptr && has_length(text, 1, kLongestSsid);
}

bool is_key(const char *text) {
    return text != nullptr && has_length(text, kShortestKey, kLongestKey);
}

// A network's name and key, owned by the request. nullptr: what is stored stays.
struct Network {
    const char *ssid;
    const char *key;
};

// What the request gives for 2.4 GHz. Its key is checked together with a name only: without one, a key that breaks the
// rule is no error, but it goes nowhere either.
Network given_network(const cJSON *object) {
    const char *key = find_text(object, "wifiPwd");
    return {find_text(object, "ssid"), is_key(key) ? key : nullptr};
}

// What the request gives for 5 GHz of its own. Here it is less strict than for 2.4 GHz: what breaks a rule is passed
// over. Without a name nothing counts; a key that is not there at all is that of 2.4 GHz.
Network separate_5g(const cJSON *wifi, const Network &network) {
    const char *ssid = find_text(wifi, "ssid5");
    if (ssid == nullptr) {
        return {};
    }
    const bool has_key = find_item(wifi, "wifiPwd5") != nullptr;
    const char *key = has_key ? find_text(wifi, "wifiPwd5") : network.key;
    return {is_ssid(ssid) ? ssid : nullptr, is_key(key) ? key : nullptr};
}

// What 5 GHz gets when both radios share one network. A key without a name is none that was meant for both.
Network shared_5g(const Network &network) {
    return network.ssid != nullptr ? network : Network{};
}

// Stores what there is on the selected interface.
void store_network(const Network &network) {
    if (network.ssid != nullptr) {
        store_set(MIB_WLAN_SSID, network.ssid);
    }
    if (network.key != nullptr) {
        store_wifi_key(network.key);
    }
}

// Whether a text means yes. It is read into the type of the firmware's switches, which is a byte: "257" does, too.
bool is_switched_on(const char *text) {
    return static_cast<int8_t>(decimal_value(text)) == 1;
}

// Both radios share one network. The app sends this as a text or as a number, which counts as it is.
bool is_combined(const cJSON *combine) {
    const char *text = string_value(combine);
    return text != nullptr ? is_switched_on(text) : integer_value(combine) == 1;
}

// Makes the Wi-Fi key the administrator's password.
void store_account(const char *key) {
    if (store_get(MIB_USER_NAME).c_str()[0] == '\0') {
        store_set(MIB_USER_NAME, kDefaultUser);
    }
    store_set(MIB_USER_PASSWORD, key);
}

// 0, or -1 with the message. A key that is no string has no length and is refused.
int check_guest_5g(const cJSON *guest) {
    if (find_item(guest, "ssid5") != nullptr) {
        const char *ssid = find_text(guest, "ssid5");
        if (ssid == nullptr) {
            return fail(kGuestSsid5Format);
        }
        if (!is_ssid(ssid)) {
            return fail(kGuestSsidLength);
        }
    }
    if (find_item(guest, "wifiPwd5") != nullptr && !is_key(find_text(guest, "wifiPwd5"))) {
        return fail(kGuestKeyLength);
    }
    return 0;
}

// 0, or -1 with the message.
int check_guest_2g(const cJSON *guest) {
    if (find_item(guest, "ssid") == nullptr) {
        return 0;
    }
    const char *ssid = find_text(guest, "ssid");
    const char *key = find_text(guest, "wifiPwd");
    if (ssid == nullptr || key == nullptr) {
        return fail(kGuestNetworkFormat);
    }
    if (!is_ssid(ssid)) {
        return fail(kGuestSsidLength);
    }
    if (!is_key(key)) {
        return fail(kGuestKeyLength);
    }
    return 0;
}

void add_network(cJSON *object, WlanInterface interface, const char *ssid_name, const char *key_name) {
    SetWlan_idx(interface);
    cJSON_AddStringToObject(object, ssid_name, store_get(MIB_WLAN_SSID).c_str());
    cJSON_AddStringToObject(object, key_name, store_get(MIB_WLAN_WPA_PSK).c_str());
}

}  // namespace

int app_get_wifi_handler(const char *name, cJSON * /*request*/, cJSON *reply) {
    cJSON *wifi = cJSON_AddObjectToObject(reply, name);
    // "combine" and "asSysPwd" are orders to a set, which nothing keeps: the app starts from these values.
    cJSON_AddStringToObject(wifi, "combine", "1");
    add_network(wifi, kWlan2G, "ssid", "wifiPwd");
    add_network(wifi, kWlan5G, "ssid5", "wifiPwd5");
    cJSON_AddStringToObject(wifi, "asSysPwd", "0");
    return 0;
}

int app_set_wifi_handler(const char *name, cJSON *request, cJSON * /*reply*/) {
    const cJSON *wifi = find_item(request, name);
    if (wifi == nullptr) {
        return 0;
    }
    const cJSON *combine = find_item(wifi, "combine");
    if (combine == nullptr) {
        return fail(kNoCombineType);
    }
    const Network network = given_network(wifi);
    if (network.ssid != nullptr) {
        if (!is_ssid(network.ssid)) {
            return fail(kSsidLength);
        }
        if (find_text(wifi, "wifiPwd") != nullptr && network.key == nullptr) {
            return fail(kKeyLength);
        }
        SetWlan_idx(kWlan2G);
        if (network.key != nullptr) {
            store_wifi_key(network.key);
        }
        store_set(MIB_WLAN_SSID, network.ssid);
    }
    SetWlan_idx(kWlan5G);
    store_network(is_combined(combine) ? shared_5g(network) : separate_5g(wifi, network));

    const char *as_password = find_text(wifi, "asSysPwd");  // the text of a number, never the number
    if (as_password != nullptr && is_switched_on(as_password) && network.key != nullptr) {
        store_account(network.key);
    }
    if (store_get(MIB_DUT_INIT) != 1) {
        store_set<uint8_t>(MIB_DUT_INIT, 1);
    }
    save_config_flag = 1;
    wifi_reinit_flag = 1;
    return 0;
}

int app_get_wifiguest_handler(const char *name, cJSON * /*request*/, cJSON *reply) {
    cJSON *guest = cJSON_AddObjectToObject(reply, name);
    // A set switches both radios together, so one of them tells for both.
    SetWlan_idx(kGuest2G);
    add_number(guest, "enable", store_get(MIB_WLAN_DISABLED) == 0 ? 1 : 0);
    add_network(guest, kGuest2G, "ssid", "wifiPwd");
    add_network(guest, kGuest5G, "ssid5", "wifiPwd5");
    add_number(guest, "duration", 0);
    return 0;
}

int app_set_wifiguest_handler(const char *name, cJSON *request, cJSON * /*reply*/) {
    const cJSON *guest = find_item(request, name);
    if (guest == nullptr) {
        return 0;
    }
    const cJSON *enable = find_item(guest, "enable");
    if (enable == nullptr) {
        DebugLog("ERROR: Not find enable info");
        return kFailed;
    }
    const uint8_t disabled = integer_value(enable) != 0 ? 0 : 1;
    if (check_guest_5g(guest) != 0 || check_guest_2g(guest) != 0) {
        return kFailed;
    }
    const Network network = given_network(guest);
    SetWlan_idx(kGuest2G);
    if (network.ssid != nullptr) {
        store_wifi_key(network.key);
        store_set(MIB_WLAN_SSID, network.ssid);
    }
    store_set(MIB_WLAN_DISABLED, disabled);

    SetWlan_idx(kGuest5G);
    store_set(MIB_WLAN_DISABLED, disabled);
    const char *ssid5 = find_text(guest, "ssid5");
    const char *key5 = find_text(guest, "wifiPwd5");
    store_network({ssid5 != nullptr ? ssid5 : network.ssid, key5 != nullptr ? key5 : network.key});
    save_config_flag = 1;
    wifi_reinit_flag = 1;
    return 0;
}
