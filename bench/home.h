// SPDX-License-Identifier: MIT
// A home full of devices: everything that the list of clients is made of.
#ifndef BENCH_HOME_H
#define BENCH_HOME_H

struct Home {
    int clients;  // up to 256; 0 is a router that nobody is near
    bool radios;  // some of the clients are on the air; without radios all are wired or behind the mesh
};

// The library that plays the drivers of a home, for LD_PRELOAD.
constexpr char kHomeDriver[] = "/lib/libdriver.so";

// Makes the bridge's neighbours, the drivers' tables, leases, traffic and topology those of the home. All of them grow
// with its clients: every client has a lease, a line of the switch and a line of traffic. With 256 clients each of the
// ten station tables is full, most of it with stations that are in no other list. Throws std::runtime_error.
void move_into(const Home &home);

#endif
