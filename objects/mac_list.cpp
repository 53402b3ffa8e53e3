// SPDX-License-Identifier: MIT
#include "objects/mac_list.h"

#include "base/range.h"

const char *address_text(const cJSON *address) {
    const char *text = string_value(address);
    return text != nullptr && has_length(text, kMacDigits) ? text : nullptr;
}
