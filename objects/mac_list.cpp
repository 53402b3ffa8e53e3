#include "objects/mac_list.h"

const char *address_text(const cJSON *address) {
    const char *text = string_value(address);
    return text != nullptr && strlen(text) == kMacDigits ? text : nullptr;
}
