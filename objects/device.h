// The objects "dutInfo" (who the device is), "timeZone", "opMode" and "app" (numbers that the app keeps on the router).
// All are ObjectHandlers (gateway/dispatch.h).
#ifndef OBJECTS_DEVICE_H
#define OBJECTS_DEVICE_H

#include <cjson/cJSON.h>

int app_get_dutInfo_handler(const char *name, cJSON *request, cJSON *reply);
int app_set_dutInfo_handler(const char *name, cJSON *request, cJSON *reply);
int app_get_timeZone_handler(const char *name, cJSON *request, cJSON *reply);
int app_set_timeZone_handler(const char *name, cJSON *request, cJSON *reply);
int app_get_opMode_handler(const char *name, cJSON *request, cJSON *reply);
int app_set_opMode_handler(const char *name, cJSON *request, cJSON *reply);
int app_get_app_handler(const char *name, cJSON *request, cJSON *reply);
int app_set_app_handler(const char *name, cJSON *request, cJSON *reply);

#endif
