// SPDX-License-Identifier: MIT
// What the router's small services have in common: on SIGUSR1 each hands a file of /outside to those who read it.
#ifndef VIRTUAL_ROUTER_SERVICES_PUBLISH_H
#define VIRTUAL_ROUTER_SERVICES_PUBLISH_H

struct Service {
    const char *name;    // of the program; its process id is in /var/run/NAME.pid
    const char *source;  // what it knows. While there is no such file, it hands nothing out
    const char *target;  // where others look for it; never seen half written
};

// The whole program: hands the file out once, and again on each SIGUSR1, until SIGTERM. It runs in the background, and
// can be signalled by name and by number when the program that started it has returned; with "-f" as its only word it
// stays in the foreground. There is one at a time: a second one says so, and ends. Returns the exit status.
int serve(const Service &service, int argc, char **argv);

#endif
