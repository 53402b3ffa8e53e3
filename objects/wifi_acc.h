// The object "wifiAcc": which devices may join the Wi-Fi. The lists of both radios are kept the same.
// Both are ObjectHandlers (gateway/dispatch.h).
#ifndef OBJECTS_WIFI_ACC_H
#define OBJECTS_WIFI_ACC_H

#include <cjson/cJSON.h>

int app_get_wifiAcc_handler(const char *name, cJSON *request, cJSON *reply);
int app_set_wifiAcc_handler(const char *name, cJSON *request, cJSON *reply);

#endif
