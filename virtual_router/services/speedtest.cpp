// SPDX-License-Identifier: MIT
// The sampler of the WAN's speed: on SIGUSR1 it writes what passed in the home lately. It measures nothing.
#include "virtual_router/services/publish.h"

int main(int argc, char **argv) {
    return serve({"speedtest", "/outside/wanspeed", "/tmp/speed/wanspeed"}, argc, argv);
}
