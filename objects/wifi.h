// SPDX-License-Identifier: MIT
// The objects "wifi" (names and keys of the main access points) and "wifiguest" (those of the guests, and whether they
// are switched on).
#ifndef OBJECTS_WIFI_H
#define OBJECTS_WIFI_H

// What a "wifi" set without "combine" is refused with. "wifiAdvance" gives it for every refusal of its own.
constexpr char kNoCombineType[] = "ERROR: Not find combine type info\n";

#endif
