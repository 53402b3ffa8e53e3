// SPDX-License-Identifier: MIT
// The objects "lanStatus" (the devices of the LAN) and "meshStatus" (the mesh with the wired devices added).
#ifndef OBJECTS_LAN_STATUS_H
#define OBJECTS_LAN_STATUS_H

#include "gateway/handler/object_handler.h"

ObjectHandler app_get_lanStatus_handler;
ObjectHandler app_get_meshStatus_handler;

#endif
