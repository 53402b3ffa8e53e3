// The object "sys": the administrator's account, up-time, scheduled reboot, LEDs, time zone, and the commands reboot,
// restore and upgrade. Both are ObjectHandlers (gateway/dispatch.h).
#ifndef OBJECTS_SYS_H
#define OBJECTS_SYS_H

#include <cjson/cJSON.h>

int app_get_sys_handler(const char *name, cJSON *request, cJSON *reply);
int app_set_sys_handler(const char *name, cJSON *request, cJSON *reply);

#endif
