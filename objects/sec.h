// SPDX-License-Identifier: MIT
// The object "Sec": the firewall, its protections against floods, and the MAC filter.
#ifndef OBJECTS_SEC_H
#define OBJECTS_SEC_H

#include "gateway/handler/object_handler.h"

ObjectHandler app_get_sec_handler;
ObjectHandler app_set_sec_handler;

#endif
