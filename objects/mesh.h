// The object "mesh": the unit's role in the mesh, the radio of its backhaul and its name there. Both are ObjectHandlers
// (gateway/dispatch.h).
#ifndef OBJECTS_MESH_H
#define OBJECTS_MESH_H

#include <cjson/cJSON.h>

int app_get_mesh_handler(const char *name, cJSON *request, cJSON *reply);
int app_set_mesh_handler(const char *name, cJSON *request, cJSON *reply);

#endif
