// The object "wifiAdvance": channel and switch of each main radio, and the channels that may be chosen.
// Both are ObjectHandlers (gateway/dispatch.h).
#ifndef OBJECTS_WIFI_ADVANCE_H
#define OBJECTS_WIFI_ADVANCE_H

#include <cjson/cJSON.h>

int app_get_wifiAdvance_handler(const char *name, cJSON *request, cJSON *reply);
int app_set_wifiAdvance_handler(const char *name, cJSON *request, cJSON *reply);

#endif
