// SPDX-License-Identifier: MIT
// The object "wps": pairing by push button.
#ifndef OBJECTS_WPS_H
#define OBJECTS_WPS_H

#include "gateway/handler/object_handler.h"

ObjectHandler app_get_wps_handler;
ObjectHandler app_set_wps_handler;

#endif
