// SPDX-License-Identifier: MIT
// The sampler of the WAN's speed: on SIGUSR1 it writes what passed in the home lately. It measures nothing.
#include "virtual_router/on_signal/on_signal.h"

int main(int argc, char **argv) {
    return serve({"speedtest", "/home/wanspeed", "/tmp/speed/wanspeed"}, argc, argv);
}
