// SPDX-License-Identifier: MIT
// The command line of app.scgi.
#ifndef RESIDENT_OPTIONS_H
#define RESIDENT_OPTIONS_H

// Where app.scgi listens if nothing else is said, and where the relay (resident/relay.cpp) looks for it.
constexpr char kDefaultSocket[] = "/var/run/app.scgi";

struct Options {
    const char *socket = kDefaultSocket;
    int socket_mode = 0600;
    const char *socket_owner = nullptr;  // USER or USER:GROUP; nullptr: whoever starts the program
    const char *user = nullptr;          // the same
    int waiting = 3;                     // processes that wait for a request
    int most = 32;                       // processes in all
    int receive_seconds = 20;            // in which a request must have come whole
    int memory_mib = 0;                  // of address space, for each process; 0: no limit
    int requests = 0;                    // after which the program ends; 0: none
    bool open_late = false;              // the store is opened when a request has come
};

// Takes the options, or prints why not, or the help. True: go on. False: end with `status`.
bool parse_options(int argc, char **argv, Options &options, int &status);

#endif
