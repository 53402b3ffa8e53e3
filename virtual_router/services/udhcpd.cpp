// SPDX-License-Identifier: MIT
// The DHCP server, as far as others see of it: on SIGUSR1 it writes its leases of this moment to a file. No address is
// given to anyone; who has one is the home's affair.
#include "virtual_router/services/publish.h"

int main(int argc, char **argv) {
    return serve({"udhcpd", "/outside/leases", "/var/lib/misc/udhcpd.leases"}, argc, argv);
}
