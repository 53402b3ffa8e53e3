// SPDX-License-Identifier: MIT
// Settings that the router's firewall is made from.
#ifndef OBJECTS_FIREWALL_RELOAD_H
#define OBJECTS_FIREWALL_RELOAD_H

// Has the system daemon build its firewall anew from the store. At once, not after the request: the store's working
// copy is what the daemon reads. 0, or -1 with the message.
int reload_firewall();

#endif
