// SPDX-License-Identifier: MIT
// The objects "wanInfo" (how the router reaches the Internet) and "wanAdvance" (the MTU of the connection), and the
// rules about connection types behind them.
#ifndef OBJECTS_WAN_H
#define OBJECTS_WAN_H

#include "store/item.h"

// Types of the WAN connection, as the store and the requests number them. The firmware knows more.
constexpr int kStatic = 0;
constexpr int kDhcp = 1;
constexpr int kPppoe = 3;

// The type of the connection in force, as the store has it: signed, and known to this program or not.
int stored_connection_type();

// A connection type that the app can set up.
struct ConnectionType {
    int type;          // its number in the store and in requests
    const char *name;  // what the firmware calls it when it is to be set up
    Int32Item mtu_item;
    int mtu_min;  // bytes, both ends included
    int mtu_max;
};

// nullptr: no type that can be set up. The firmware knows more types, and stores their numbers too.
const ConnectionType *find_connection_type(int type);

// Whether the MTU is in the type's range. A negative one never is.
bool is_mtu_valid(const ConnectionType &connection, int mtu);

// The interface that carries the Internet traffic of a connection type. Only the low byte of `type` counts.
const char *wan_interface(int type);

#endif
