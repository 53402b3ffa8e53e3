// SPDX-License-Identifier: MIT
// The object "wifiAcc": which devices may join the Wi-Fi. The lists of both radios are kept the same.
#ifndef OBJECTS_WIFI_ACC_H
#define OBJECTS_WIFI_ACC_H

#include "gateway/handler/object_handler.h"

ObjectHandler app_get_wifiAcc_handler;
ObjectHandler app_set_wifiAcc_handler;

#endif
