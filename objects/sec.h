// The object "Sec": the firewall, its protections against floods, and the MAC filter.
// Both are ObjectHandlers (gateway/dispatch.h).
#ifndef OBJECTS_SEC_H
#define OBJECTS_SEC_H

#include <cjson/cJSON.h>

int app_get_sec_handler(const char *name, cJSON *request, cJSON *reply);
int app_set_sec_handler(const char *name, cJSON *request, cJSON *reply);

#endif
