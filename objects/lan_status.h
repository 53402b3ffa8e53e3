// The objects "lanStatus" (the devices of the LAN) and "meshStatus" (the mesh with the wired devices added).
#ifndef OBJECTS_LAN_STATUS_H
#define OBJECTS_LAN_STATUS_H

#include <cjson/cJSON.h>

// ObjectHandlers (gateway/dispatch.h).
int app_get_lanStatus_handler(const char *name, cJSON *request, cJSON *reply);
int app_get_meshStatus_handler(const char *name, cJSON *request, cJSON *reply);

#endif
