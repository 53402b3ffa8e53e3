// The object "wps": pairing by push button. Both are ObjectHandlers (gateway/dispatch.h).
#ifndef OBJECTS_WPS_H
#define OBJECTS_WPS_H

#include <cjson/cJSON.h>

int app_get_wps_handler(const char *name, cJSON *request, cJSON *reply);
int app_set_wps_handler(const char *name, cJSON *request, cJSON *reply);

#endif
