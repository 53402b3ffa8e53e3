// SPDX-License-Identifier: MIT
// The object "netAcc": at which times which device may reach the network.
#ifndef OBJECTS_NET_ACC_H
#define OBJECTS_NET_ACC_H

#include "gateway/handler/object_handler.h"

ObjectHandler app_get_netAcc_handler;
ObjectHandler app_set_netAcc_handler;

#endif
