// SPDX-License-Identifier: MIT
// What the device says of itself, in the "dutInfo" object and in the answer to "scan".
#ifndef OBJECTS_IDENTITY_H
#define OBJECTS_IDENTITY_H

#include <cjson/cJSON.h>

#include "base/input.h"
#include "store/items.h"

// A word of such a line, which for the bridge's hardware address is then stripped to 12 hexadecimal digits.
struct MacText {
    char text[kLineSize] = {};
};

// Removes every ":" in place and cuts the text to 12 characters. nullptr is left alone.
void strip_mac_colons(char *text);

// The identity as the store has it; what can't be read is empty or 0.
struct Identity {
    decltype(MIB_DUT_SN)::value_type serial;  // in lower case
    decltype(MIB_DUT_NAME)::value_type name;
    int board_version;
    int init;
};
Identity read_identity();

// Adds the object "dutInfo" to the reply. `date` is the firmware's build date, or empty.
void add_identity(cJSON *reply, const MacText &mac, const Identity &identity, const char *date);

#endif
