// SPDX-License-Identifier: MIT
#include "gateway/dispatch.h"
#include "login/login.h"
#include "objects/device.h"
#include "objects/diagnostics.h"
#include "objects/lan.h"
#include "objects/lan_status.h"
#include "objects/mesh.h"
#include "objects/net_acc.h"
#include "objects/qos.h"
#include "objects/sec.h"
#include "objects/sys.h"
#include "objects/url_filter.h"
#include "objects/wan.h"
#include "objects/wan_status.h"
#include "objects/wifi.h"
#include "objects/wifi_acc.h"
#include "objects/wifi_advance.h"
#include "objects/wps.h"

// A row is the only place where an object is named for dispatch. The order is part of the protocol.
// Columns: name, get, set.
const ObjectRow ObjectHandlerTable[] = {
    {"dutInfo",     app_get_dutInfo_handler,     app_set_dutInfo_handler    },
    {"wanInfo",     app_get_wanInfo_handler,     app_set_wanInfo_handler    },
    {"wanAdvance",  app_get_wanAdvance_handler,  app_set_wanAdvance_handler },
    {"wanStatus",   app_get_wanStatus_handler,   nullptr                    },
    {"wifi",        app_get_wifi_handler,        app_set_wifi_handler       },
    {"wifiAdvance", app_get_wifiAdvance_handler, app_set_wifiAdvance_handler},
    {"wifiguest",   app_get_wifiguest_handler,   app_set_wifiguest_handler  },
    {"wps",         app_get_wps_handler,         app_set_wps_handler        },
    {"wifiAcc",     app_get_wifiAcc_handler,     app_set_wifiAcc_handler    },
    {"opMode",      app_get_opMode_handler,      app_set_opMode_handler     },
    {"timeZone",    app_get_timeZone_handler,    app_set_timeZone_handler   },
    {"lan",         app_get_lan_handler,         app_set_lan_handler        },
    {"lanStatus",   app_get_lanStatus_handler,   nullptr                    },
    {"logout",      nullptr,                     app_set_logout_handler     },
    {"sys",         app_get_sys_handler,         app_set_sys_handler        },
    {"mesh",        app_get_mesh_handler,        app_set_mesh_handler       },
    {"meshStatus",  app_get_meshStatus_handler,  nullptr                    },
    {"Sec",         app_get_sec_handler,         app_set_sec_handler        },
    {"netAcc",      app_get_netAcc_handler,      app_set_netAcc_handler     },
    {"urlfilter",   app_get_urlfilter_handler,   app_set_urlfilter_handler  },
    {"netDig",      app_get_netDig_handler,      nullptr                    },
    {"app",         app_get_app_handler,         app_set_app_handler        },
    {"qos",         app_get_qos_handler,         app_set_qos_handler        },
    {"",            nullptr,                     nullptr                    },
};
