// SPDX-License-Identifier: MIT
#include "objects/identity.h"

#include "base/input.h"
#include "base/json.h"
#include "base/mac_text.h"
#include "base/text.h"
#include "platform/product.h"
#include "store/store.h"

void strip_mac_colons(char *text) {
    if (text == nullptr) {
        return;
    }
    size_t kept = 0;
    for (const char *next = text; *next != '\0' && kept < kMacDigits; ++next) {
        if (*next != ':') {
            text[kept++] = *next;
        }
    }
    text[kept] = '\0';
}

Identity read_identity() {
    Identity identity = {};
    store_read(MIB_DUT_SN, identity.serial);
    str_to_lower(identity.serial.text);
    store_read(MIB_DUT_NAME, identity.name);
    identity.board_version = store_get(MIB_BOARD_VER);
    identity.init = store_get(MIB_DUT_INIT);
    return identity;
}

void add_identity(cJSON *reply, const MacText &mac, const Identity &identity, const char *date) {
    char hardware_version[12];  // a sign, ten digits and the terminator
    join(hardware_version, {Decimal(identity.board_version).c_str()});
    cJSON *info = cJSON_AddObjectToObject(reply, "dutInfo");
    cJSON_AddStringToObject(info, "mac", mac.text);
    cJSON_AddStringToObject(info, "type", PRODUCT_DEVICE_TYPE);
    cJSON_AddStringToObject(info, "model", PRODUCT_MODEL);
    cJSON_AddStringToObject(info, "sn", identity.serial.c_str());
    cJSON_AddStringToObject(info, "name", identity.name.c_str());
    cJSON_AddStringToObject(info, "sVersion", PRODUCT_SOFTWARE_VERSION);
    cJSON_AddStringToObject(info, "hVersion", hardware_version);
    cJSON_AddStringToObject(info, "date", date);
    add_number(info, "init", identity.init);
}
