// SPDX-License-Identifier: MIT
// The object "mesh": the unit's role in the mesh, the radio of its backhaul and its name there.
#ifndef OBJECTS_MESH_H
#define OBJECTS_MESH_H

#include "gateway/handler/object_handler.h"

ObjectHandler app_get_mesh_handler;
ObjectHandler app_set_mesh_handler;

#endif
