// The object "netAcc": at which times which device may reach the network.
// Both are ObjectHandlers (gateway/dispatch.h).
#ifndef OBJECTS_NET_ACC_H
#define OBJECTS_NET_ACC_H

#include <cjson/cJSON.h>

int app_get_netAcc_handler(const char *name, cJSON *request, cJSON *reply);
int app_set_netAcc_handler(const char *name, cJSON *request, cJSON *reply);

#endif
