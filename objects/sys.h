// SPDX-License-Identifier: MIT
// The object "sys": the administrator's account, up-time, scheduled reboot, LEDs, time zone, and the commands reboot,
// restore and upgrade.
#ifndef OBJECTS_SYS_H
#define OBJECTS_SYS_H

#include "gateway/handler/object_handler.h"

ObjectHandler app_get_sys_handler;
ObjectHandler app_set_sys_handler;

#endif
