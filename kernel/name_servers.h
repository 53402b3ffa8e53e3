// SPDX-License-Identifier: MIT
// The name servers that the router's resolver uses at this moment.
#ifndef KERNEL_NAME_SERVERS_H
#define KERNEL_NAME_SERVERS_H

#include <netinet/in.h>

#include <cstdio>

// Address texts as the resolver's file gives them, cut to 15 characters; empty where it gives none.
struct NameServers {
    char first[INET_ADDRSTRLEN] = {};
    char second[INET_ADDRSTRLEN] = {};
};

// Finds the first two lines that hold "nameserver " anywhere, comments included; the word behind it is the server. A
// line counts even when nothing follows. Lines are read in pieces of at most 63 characters.
NameServers find_name_servers(FILE *file);

// Those of the running resolver; none when its file can't be read.
NameServers read_name_servers();

#endif
