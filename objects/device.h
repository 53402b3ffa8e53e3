// SPDX-License-Identifier: MIT
// The objects "dutInfo" (who the device is), "timeZone", "opMode" and "app" (numbers that the app keeps on the router).
#ifndef OBJECTS_DEVICE_H
#define OBJECTS_DEVICE_H

#include "gateway/handler/object_handler.h"

ObjectHandler app_get_dutInfo_handler;
ObjectHandler app_set_dutInfo_handler;
ObjectHandler app_get_timeZone_handler;
ObjectHandler app_set_timeZone_handler;
ObjectHandler app_get_opMode_handler;
ObjectHandler app_set_opMode_handler;
ObjectHandler app_get_app_handler;
ObjectHandler app_set_app_handler;

#endif
