// SPDX-License-Identifier: MIT
// The socket at which requests arrive.
#ifndef RESIDENT_LISTENER_H
#define RESIDENT_LISTENER_H

#include "resident/options.h"

// Listens where the options say. Returns the socket, or -1, and told: it can't, or another program answers there.
int listen_at(const Options &options);

// Lets no more requests arrive: those that have arrived are still handed out, and accept() fails behind the last of
// them.
void stop_listening(int listener, const Options &options);

#endif
