// SPDX-License-Identifier: MIT
// The objects "wifi" (names and keys of the main access points) and "wifiguest" (those of the guests, and whether they
// are switched on).
#ifndef OBJECTS_WIFI_H
#define OBJECTS_WIFI_H

#include "gateway/handler/object_handler.h"

// What a "wifi" set without "combine" is refused with. "wifiAdvance" gives it for every refusal of its own.
constexpr char kNoCombineType[] = "ERROR: Not find combine type info\n";

ObjectHandler app_get_wifi_handler;
ObjectHandler app_set_wifi_handler;
ObjectHandler app_get_wifiguest_handler;
ObjectHandler app_set_wifiguest_handler;

#endif
