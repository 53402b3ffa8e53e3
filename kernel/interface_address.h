// SPDX-License-Identifier: MIT
// The addresses that a network interface has at this moment, asked of the kernel.
//
// Each reader returns false and leaves `out` untouched when the interface does not exist, or has no such address; the
// reason goes to standard error.
#ifndef KERNEL_INTERFACE_ADDRESS_H
#define KERNEL_INTERFACE_ADDRESS_H

#include <netinet/in.h>

#include <cstdint>

// The IPv4 address and its netmask, as dotted quads. Only the first 14 characters of `interface` count.
bool read_interface_ip(const char *interface, char (&out)[INET_ADDRSTRLEN]);
bool read_interface_mask(const char *interface, char (&out)[INET_ADDRSTRLEN]);

// The hardware address.
bool read_interface_mac(const char *interface, uint8_t (&out)[6]);

// The same in silence, for who has another answer.
bool find_interface_mac(const char *interface, uint8_t (&out)[6]);

#endif
