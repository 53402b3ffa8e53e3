// SPDX-License-Identifier: MIT
// The objects of the protocol and their handlers.
#ifndef GATEWAY_HANDLER_OBJECTS_H
#define GATEWAY_HANDLER_OBJECTS_H

#include "gateway/handler/object_handler.h"

// Every object: its name, and the handlers that read and write it. A row is the only place where an object is named for
// dispatch, and declares its handlers, which the source of the object's family defines. The order is that in which they
// run, and part of the protocol.
// clang-format off
#define OBJECTS(OBJECT, READ_ONLY, WRITE_ONLY)                                      \
    OBJECT("dutInfo", app_get_dutInfo_handler, app_set_dutInfo_handler)             \
    OBJECT("wanInfo", app_get_wanInfo_handler, app_set_wanInfo_handler)             \
    OBJECT("wanAdvance", app_get_wanAdvance_handler, app_set_wanAdvance_handler)    \
    READ_ONLY("wanStatus", app_get_wanStatus_handler)                               \
    OBJECT("wifi", app_get_wifi_handler, app_set_wifi_handler)                      \
    OBJECT("wifiAdvance", app_get_wifiAdvance_handler, app_set_wifiAdvance_handler) \
    OBJECT("wifiguest", app_get_wifiguest_handler, app_set_wifiguest_handler)       \
    OBJECT("wps", app_get_wps_handler, app_set_wps_handler)                         \
    OBJECT("wifiAcc", app_get_wifiAcc_handler, app_set_wifiAcc_handler)             \
    OBJECT("opMode", app_get_opMode_handler, app_set_opMode_handler)                \
    OBJECT("timeZone", app_get_timeZone_handler, app_set_timeZone_handler)          \
    OBJECT("lan", app_get_lan_handler, app_set_lan_handler)                         \
    READ_ONLY("lanStatus", app_get_lanStatus_handler)                               \
    WRITE_ONLY("logout", app_set_logout_handler)                                    \
    OBJECT("sys", app_get_sys_handler, app_set_sys_handler)                         \
    OBJECT("mesh", app_get_mesh_handler, app_set_mesh_handler)                      \
    READ_ONLY("meshStatus", app_get_meshStatus_handler)                             \
    OBJECT("Sec", app_get_sec_handler, app_set_sec_handler)                         \
    OBJECT("netAcc", app_get_netAcc_handler, app_set_netAcc_handler)                \
    OBJECT("urlfilter", app_get_urlfilter_handler, app_set_urlfilter_handler)       \
    READ_ONLY("netDig", app_get_netDig_handler)                                     \
    OBJECT("app", app_get_app_handler, app_set_app_handler)                         \
    OBJECT("qos", app_get_qos_handler, app_set_qos_handler)
// clang-format on

#define DECLARE(name, handler) ObjectHandler handler;
#define DECLARE_BOTH(name, get, set) ObjectHandler get, set;
OBJECTS(DECLARE_BOTH, DECLARE, DECLARE)
#undef DECLARE_BOTH
#undef DECLARE

#endif
