// SPDX-License-Identifier: MIT
#include "objects/firewall_reload.h"

#include "gateway/handler/message.h"

int reload_firewall() {
    return call_sysconf("firewall");
}
