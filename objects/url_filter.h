// The object "urlfilter": keywords in addresses of web pages, a black and a white list of them.
// Both are ObjectHandlers (gateway/dispatch.h).
#ifndef OBJECTS_URL_FILTER_H
#define OBJECTS_URL_FILTER_H

#include <cjson/cJSON.h>

int app_get_urlfilter_handler(const char *name, cJSON *request, cJSON *reply);
int app_set_urlfilter_handler(const char *name, cJSON *request, cJSON *reply);

#endif
