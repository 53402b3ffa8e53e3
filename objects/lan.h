// SPDX-License-Identifier: MIT
// The object "lan": the router's own address and its DHCP server.
#ifndef OBJECTS_LAN_H
#define OBJECTS_LAN_H

#include <netinet/in.h>

// Whether a DHCP pool suits the LAN: its end lies above its start, both are in the subnet of `ip` under `mask`, and the
// mask leaves room for it (the source says how that is measured). All in network order.
bool check_lan_range(in_addr ip, in_addr mask, in_addr start, in_addr end);

#endif
