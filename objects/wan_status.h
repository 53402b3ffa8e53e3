// SPDX-License-Identifier: MIT
// The object "wanStatus": the WAN's link, up-time and throughput, as the router's other programs write them to files.
#ifndef OBJECTS_WAN_STATUS_H
#define OBJECTS_WAN_STATUS_H

#include "gateway/handler/object_handler.h"

ObjectHandler app_get_wanStatus_handler;

#endif
