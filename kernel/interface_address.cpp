// SPDX-License-Identifier: MIT
#include "kernel/interface_address.h"

#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cstdio>
#include <cstring>

#include "base/resource.h"
#include "base/text.h"

namespace {

// Asks the kernel one question (SIOCGIF...) about the interface; the answer is in `out`. nullptr; without an answer
// what failed, and errno says why. Every C library's ioctl() takes 16 bits as they are, be its own type signed or not.
const char *ask_interface(const char *interface, uint16_t question, ifreq &out) {
    const Descriptor any_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!any_socket) {
        return "socket error!\n";
    }
    char name[15];  // a longer one is cut
    join(name, {interface});
    out = {};
    join(out.ifr_name, {name});
    return ioctl(any_socket.get(), question, &out) < 0 ? "ioctl error!\n" : nullptr;
}

// The same, and standard error says what failed.
bool ask_aloud(const char *interface, uint16_t question, ifreq &out) {
    const char *const failed = ask_interface(interface, question, out);
    if (failed != nullptr) {
        perror(failed);
    }
    return failed == nullptr;
}

bool read_ipv4(const char *interface, uint16_t question, char (&out)[INET_ADDRSTRLEN]) {
    ifreq answer;
    if (!ask_aloud(interface, question, answer)) {
        return false;
    }
    sockaddr_in address;
    memcpy(&address, &answer.ifr_addr, sizeof address);  // the netmask comes in the same place
    return join(out, {Dotted(address.sin_addr).c_str()});
}

}  // namespace

bool read_interface_ip(const char *interface, char (&out)[INET_ADDRSTRLEN]) {
    return read_ipv4(interface, SIOCGIFADDR, out);
}

bool read_interface_mask(const char *interface, char (&out)[INET_ADDRSTRLEN]) {
    return read_ipv4(interface, SIOCGIFNETMASK, out);
}

bool read_interface_mac(const char *interface, uint8_t (&out)[6]) {
    ifreq answer;
    if (!ask_aloud(interface, SIOCGIFHWADDR, answer)) {
        return false;
    }
    memcpy(out, answer.ifr_hwaddr.sa_data, sizeof out);
    return true;
}

bool find_interface_mac(const char *interface, uint8_t (&out)[6]) {
    ifreq answer;
    if (ask_interface(interface, SIOCGIFHWADDR, answer) != nullptr) {
        return false;
    }
    memcpy(out, answer.ifr_hwaddr.sa_data, sizeof out);
    return true;
}
