// SPDX-License-Identifier: MIT
#include "gateway/debug_switch.h"

#include <sys/stat.h>

#include <cstdio>

#include "base/input.h"
#include "platform/product.h"

namespace {
constexpr char kSwitchPath[] = PRODUCT_DEBUG_SWITCH;
}

int read_debug_switch() {
    struct stat status;
    if (stat(kSwitchPath, &status) != 0) {
        return 0;
    }
    char line[10];
    if (!read_first_line(kSwitchPath, line)) {
        fprintf(stderr, "Read %s error!\n", kSwitchPath);
        return 0;
    }
    return decimal_value(line);
}
