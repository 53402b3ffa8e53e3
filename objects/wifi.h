// The objects "wifi" (names and keys of the main access points) and "wifiguest" (those of the guests, and whether they
// are switched on). All are ObjectHandlers (gateway/dispatch.h).
#ifndef OBJECTS_WIFI_H
#define OBJECTS_WIFI_H

#include <cjson/cJSON.h>

// What a "wifi" set without "combine" is refused with. "wifiAdvance" gives it for every refusal of its own.
constexpr char kNoCombineType[] = "ERROR: Not find combine type info\n";

int app_get_wifi_handler(const char *name, cJSON *request, cJSON *reply);
int app_set_wifi_handler(const char *name, cJSON *request, cJSON *reply);
int app_get_wifiguest_handler(const char *name, cJSON *request, cJSON *reply);
int app_set_wifiguest_handler(const char *name, cJSON *request, cJSON *reply);

#endif
