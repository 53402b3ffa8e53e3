// SPDX-License-Identifier: MIT
// The symbols of the firmware's configuration store. Nothing runs this: a device has the store itself.
#include "platform/apmib.h"

#include <cstdlib>

int wlan_idx;
int vwlan_idx;

int apmib_init() {
    abort();
}

int apmib_get(int, void *) {
    abort();
}

int apmib_set(int, void *) {
    abort();
}

int apmib_update(int) {
    abort();
}

int save_cs_to_file() {
    abort();
}
