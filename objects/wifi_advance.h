// SPDX-License-Identifier: MIT
// The object "wifiAdvance": channel and switch of each main radio, and the channels that may be chosen.
#ifndef OBJECTS_WIFI_ADVANCE_H
#define OBJECTS_WIFI_ADVANCE_H

#include "gateway/handler/object_handler.h"

ObjectHandler app_get_wifiAdvance_handler;
ObjectHandler app_set_wifiAdvance_handler;

#endif
