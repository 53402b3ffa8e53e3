// SPDX-License-Identifier: MIT
// The object "wifiAdvance": channel and switch of each main radio, and the channels that may be chosen.

#include <climits>

#include "base/json.h"
#include "base/range.h"
#include "base/text.h"
#include "gateway/handler/objects.h"
#include "gateway/handler/request_state.h"
#include "objects/channels.h"
#include "objects/wifi.h"
#include "store/items.h"
#include "store/store.h"
#include "store/wlan.h"

namespace {

// Each adds a value of the selected radio under `key`.

void add_channel(cJSON *answer, const char *key) {
    add_number(answer, key, store_get(MIB_WLAN_CHANNEL));
}

void add_disabled(cJSON *answer, const char *key) {
    add_number(answer, key, store_get(MIB_WLAN_DISABLED));
}

// Adds the list as one text, in the form in which cJSON prints an array. An item for each number costs a request with
// both lists 20,000 instructions more, 90,000 with numbers that cJSON prints.
void add_list(cJSON *answer, const char *key, const ChannelList &list, int count) {
    char text[sizeof list / sizeof list[0] * sizeof "255, "];
    join(text, {"["});
    for (int at = 0; at < count; ++at) {
        append(text, {at > 0 ? ", " : "", Decimal(list[at]).c_str()});
    }
    append(text, {"]"});
    add_item(answer, key, cJSON_CreateRaw(text));
}

void add_channels_24g(cJSON *answer, const char *key) {
    const int region = store_get(MIB_WLAN_REGION);
    const int item_285 = store_get(MIB_WLAN_ITEM_285);
    ChannelList list;
    const int count = ChannelList24G(region, item_285, list);
    add_list(answer, key, list, count);
}

void add_channels_5g(cJSON *answer, const char *key) {
    const int region = store_get(MIB_WLAN_REGION);
    const int item_285 = store_get(MIB_WLAN_ITEM_285);
    const int width = store_get(MIB_WLAN_CHANNEL_WIDTH);
    ChannelList list;
    const int count = ChannelList5G(region, item_285, kWithDfs, width, list);
    add_list(answer, key, list, count);
}

struct Answer {
    const char *key;
    WlanInterface interface;
    void (*add)(cJSON *answer, const char *key);
};

// In the order of the reply.
constexpr Answer kAnswers[] = {
    {"channel",     kWlan2G, add_channel     },
    {"channel5",    kWlan5G, add_channel     },
    {"channellst",  kWlan2G, add_channels_24g},
    {"channellst5", kWlan5G, add_channels_5g },
    {"disable",     kWlan2G, add_disabled    },
    {"disable5",    kWlan5G, add_disabled    },
};

struct Setting {
    const char *key;
    WlanInterface interface;
    ByteItem item;
    int most;  // negative numbers are refused, too
};

// In the order in which they are checked and stored. A channel has no upper bound and need not be in the list that the
// app was given; the store keeps its low byte.
constexpr Setting kSettings[] = {
    {"disable",  kWlan2G, MIB_WLAN_DISABLED, 1      },
    {"disable5", kWlan5G, MIB_WLAN_DISABLED, 1      },
    {"channel",  kWlan2G, MIB_WLAN_CHANNEL,  INT_MAX},
    {"channel5", kWlan5G, MIB_WLAN_CHANNEL,  INT_MAX},
};

}  // namespace

int app_get_wifiAdvance_handler(const char *name, cJSON *request, cJSON *reply) {
    cJSON *answer = cJSON_AddObjectToObject(reply, name);
    const cJSON *question = find_item(request, name);
    for (const Answer &row : kAnswers) {
        if (find_item(question, row.key) != nullptr) {
            SetWlan_idx(row.interface);
            row.add(answer, row.key);
        }
    }
    return 0;
}

int app_set_wifiAdvance_handler(const char *name, cJSON *request, cJSON * /*reply*/) {
    const cJSON *object = find_item(request, name);
    if (object == nullptr) {
        return 0;
    }
    for (const Setting &row : kSettings) {
        const cJSON *item = find_item(object, row.key);
        if (item == nullptr) {
            continue;
        }
        const int value = integer_value(item);
        if (!in_range(value, 0, row.most)) {
            // Another object's message, which apps have learnt to expect here. What was stored before stays in the
            // working copy, but commits nothing.
            return fail(kNoCombineType);
        }
        SetWlan_idx(row.interface);
        store_set(row.item, static_cast<uint8_t>(value));
    }
    save_config_flag = 1;
    app_reinit_flag = 1;  // on purpose the whole restart, not that of the radios alone
    return 0;
}
