// SPDX-License-Identifier: MIT
#include "kernel/routes.h"

#include <cstdio>

#include "base/input.h"
#include "base/resource.h"

int get_default_gateway(in_addr &out) {
    out.s_addr = INADDR_NONE;
    const File routes = open_file("/proc/net/route");
    if (!routes) {
        return -1;
    }
    char line[256];
    read_line(routes.get(), line);  // the header
    while (read_line(routes.get(), line)) {
        char interface[sizeof line];
        unsigned long destination = 0;
        unsigned long gateway = 0;
        // The width of the interface's name is that of the line, so it always fits.
        const int fields = sscanf(line, "%255s\t%lX\t%lX", interface, &destination, &gateway);
        if (fields == 3 && destination == 0) {
            // The kernel prints the word as it lies in memory, so it needs no conversion.
            out.s_addr = static_cast<in_addr_t>(gateway);
            break;
        }
    }
    return 0;
}
