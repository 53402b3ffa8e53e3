// What the device says of itself, in the "dutInfo" object and in the answer to "scan".
#ifndef OBJECTS_IDENTITY_H
#define OBJECTS_IDENTITY_H

#include <cjson/cJSON.h>

#include "store/items.h"

// Lines of command output and of status files are read in pieces of at most 1022 characters.
constexpr size_t kLineSize = 1023;

// A word of such a line, which for the bridge's hardware address is then stripped to 12 hexadecimal digits.
struct MacText {
    char text[kLineSize] = {};
};

// Reads the hardware address of the LAN bridge as `ifconfig` prints it. False: it does not tell, and `mac` stays empty.
bool read_bridge_mac(MacText &mac);

// Removes every ":" in place and cuts the text to 12 characters. The buffer has at least 13 bytes.
void strip_mac_colons(char *text);

// The identity as the store has it; what can't be read is empty or 0.
struct Identity {
    StoreText<32> serial;  // in lower case
    StoreText<31> name;
    int board_version;
    int init;
};
Identity read_identity();

// Adds the object "dutInfo" to the reply. `date` is the firmware's build date, or empty.
void add_identity(cJSON *reply, const MacText &mac, const Identity &identity, const char *date);

#endif
