// SPDX-License-Identifier: MIT
// Plays the part of the kernel for the router's programs where no network namespace can be made.
//
// Preloaded into every process inside the router's root (by the root's own /etc/ld.so.preload, so that nothing outside
// is touched) and never used where the kernel can do it. What it answers with stands in /etc/kernel-stand-in, one fact
// per line:
//
//   interface NAME ADDRESS MASK MAC MTU up|down   one of the router's network interfaces; the address 0.0.0.0 is none
//   gateway INTERFACE ADDRESS   the default route
//   queue-key NUMBER            the key of the system daemon's message queue, which must differ from the one that
//                               another router on the same machine uses
//
// The requests that change an interface or the default route change the facts, and /proc/net/route with them.
//
// Who else is there stands in /etc/answering-hosts, which others write:
//
//   answers ADDRESS             a neighbour, or a host of the provider's, that answers a ping; the interfaces' own
//                               addresses do
//
// and in /outside/internet what a home has of the Internet:
//
//   answers ADDRESS/BITS        a network beyond the default route, all of which answers
//
// Loaded into the endpoint too, so: no C++ library at run time.
#undef _FORTIFY_SOURCE  // with it, the C library's headers bring a recvfrom() of their own
#include <arpa/inet.h>
#include <dlfcn.h>
#include <malloc.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <net/route.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/ip.h>
#include <netinet/ip_icmp.h>
#include <sys/ioctl.h>
#include <sys/ipc.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "platform/system_queue.h"

#define EXPORTED extern "C" __attribute__((visibility("default")))

namespace {

constexpr char kFactsPath[] = "/etc/kernel-stand-in";
constexpr char kNewFactsPath[] = "/etc/kernel-stand-in.new";
constexpr char kAnswersPath[] = "/etc/answering-hosts";
constexpr char kInternetPath[] = "/outside/internet";
constexpr char kRoutesPath[] = "/proc/net/route";
constexpr char kNewRoutesPath[] = "/proc/net/route.new";

struct Interface {
    char name[IFNAMSIZ];
    in_addr address;
    in_addr mask;
    unsigned char mac[6];
    int mtu;
    bool up;
};

struct Gateway {
    char interface[IFNAMSIZ];
    in_addr address;
};

// Calls visit(keyword, rest of the line) for each fact of a file until it returns true. True: some visit did.
template <typename Visit>
bool find_fact(const Visit &visit, const char *path = kFactsPath) {
    FILE *facts = fopen(path, "re");
    if (facts == nullptr) {
        return false;
    }
    bool found = false;
    char line[160];
    while (!found && fgets(line, sizeof line, facts) != nullptr) {
        line[strcspn(line, "\n")] = '\0';
        char *rest = strchr(line, ' ');
        if (rest != nullptr) {
            *rest = '\0';
            found = visit(line, rest + 1);
        }
    }
    fclose(facts);
    return found;
}

bool parse_interface(const char *keyword, const char *text, Interface &out) {
    char address[16];
    char mask[16];
    char state[8];
    const bool good =
        strcmp(keyword, "interface") == 0 &&
        sscanf(text, "%15s %15s %15s %hhx:%hhx:%hhx:%hhx:%hhx:%hhx %d %7s", out.name, address, mask, &out.mac[0],
               &out.mac[1], &out.mac[2], &out.mac[3], &out.mac[4], &out.mac[5], &out.mtu, state) == 11 &&
        inet_pton(AF_INET, address, &out.address) == 1 && inet_pton(AF_INET, mask, &out.mask) == 1;
    out.up = good && strcmp(state, "up") == 0;
    return good;
}

void print_interface(FILE *file, const Interface &interface) {
    char address[INET_ADDRSTRLEN];
    char mask[INET_ADDRSTRLEN];
    const unsigned char *mac = interface.mac;
    fprintf(file, "interface %s %s %s %02x:%02x:%02x:%02x:%02x:%02x %d %s\n", interface.name,
            inet_ntop(AF_INET, &interface.address, address, sizeof address),
            inet_ntop(AF_INET, &interface.mask, mask, sizeof mask), mac[0], mac[1], mac[2], mac[3], mac[4], mac[5],
            interface.mtu, interface.up ? "up" : "down");
}

bool parse_gateway(const char *keyword, const char *text, Gateway &out) {
    char address[16];
    return strcmp(keyword, "gateway") == 0 && sscanf(text, "%15s %15s", out.interface, address) == 2 &&
           inet_pton(AF_INET, address, &out.address) == 1;
}

bool find_interface(const char *name, Interface &out) {
    return find_fact([&](const char *keyword, const char *text) {
        return parse_interface(keyword, text, out) && strncmp(out.name, name, IFNAMSIZ) == 0;
    });
}

bool is_loopback(const Interface &interface) {
    return ntohl(interface.address.s_addr) >> 24 == IN_LOOPBACKNET;
}

bool has_address(const Interface &interface) {
    return interface.address.s_addr != INADDR_ANY;
}

// A neighbour of an interface whose mask leaves no room for one is the other end of its line.
bool is_neighbour(const Interface &interface, in_addr address) {
    return interface.up && has_address(interface) &&
           (interface.mask.s_addr == INADDR_BROADCAST ||
            ((interface.address.s_addr ^ address.s_addr) & interface.mask.s_addr) == 0);
}

bool is_known_to_answer(in_addr address) {
    return find_fact(
        [&](const char *keyword, const char *text) {
            in_addr neighbour = {};
            return strcmp(keyword, "answers") == 0 && inet_pton(AF_INET, text, &neighbour) == 1 &&
                   neighbour.s_addr == address.s_addr;
        },
        kAnswersPath);
}

// Whether the address is in a network of the Internet that the home has.
bool is_in_internet(in_addr address) {
    return find_fact(
        [&](const char *keyword, const char *text) {
            char network[16];
            unsigned bits = 0;
            in_addr base = {};
            if (strcmp(keyword, "answers") != 0 || sscanf(text, "%15[0-9.]/%u", network, &bits) != 2 || bits > 32 ||
                inet_pton(AF_INET, network, &base) != 1) {
                return false;
            }
            const uint32_t mask = bits == 0 ? 0 : ~uint32_t{0} << (32 - bits);
            return ((ntohl(base.s_addr) ^ ntohl(address.s_addr)) & mask) == 0;
        },
        kInternetPath);
}

// The router's own addresses answer, and whoever is known to where there is a way: a network of the router's own, or
// the default route if the gateway is one that is known.
bool answers_ping(in_addr address) {
    bool own_network = false;
    bool has_gateway = false;
    const bool own_address = find_fact([&](const char *keyword, const char *text) {
        Interface interface = {};
        Gateway gateway = {};
        if (parse_interface(keyword, text, interface)) {
            const bool own = interface.address.s_addr == address.s_addr && has_address(interface);
            own_network |= interface.mask.s_addr != INADDR_BROADCAST && is_neighbour(interface, address);
            // All of 127.0.0.0/8 is the machine itself.
            return own || (is_loopback(interface) && ntohl(address.s_addr) >> 24 == IN_LOOPBACKNET);
        }
        has_gateway |= parse_gateway(keyword, text, gateway) && is_known_to_answer(gateway.address);
        return false;
    });
    if (own_address) {
        return true;
    }
    return own_network ? is_known_to_answer(address)
                       : has_gateway && (is_known_to_answer(address) || is_in_internet(address));
}

// The C library's own function behind one that is played.
template <typename Function>
Function *real(const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

void put_address(sockaddr &where, in_addr address) {
    sockaddr_in in = {};
    in.sin_family = AF_INET;
    in.sin_addr = address;
    memcpy(&where, &in, sizeof in);
}

// Answers one of the requests that read an interface. False: not one of those.
bool answer_request(unsigned long request, const Interface &interface, ifreq &answer) {
    const bool loopback = is_loopback(interface);
    switch (request) {
        case SIOCGIFFLAGS:
            answer.ifr_flags = static_cast<short>((interface.up ? IFF_UP | IFF_RUNNING : 0) |
                                                  (loopback ? IFF_LOOPBACK : IFF_BROADCAST | IFF_MULTICAST));
            return true;
        case SIOCGIFHWADDR:
            answer.ifr_hwaddr = {};
            answer.ifr_hwaddr.sa_family = loopback ? ARPHRD_LOOPBACK : ARPHRD_ETHER;
            memcpy(answer.ifr_hwaddr.sa_data, interface.mac, sizeof interface.mac);
            return true;
        case SIOCGIFADDR:
        case SIOCGIFDSTADDR:
            put_address(answer.ifr_addr, interface.address);
            return true;
        case SIOCGIFNETMASK:
            put_address(answer.ifr_addr, interface.mask);
            return true;
        case SIOCGIFBRDADDR:
            put_address(answer.ifr_addr, {loopback ? 0 : interface.address.s_addr | ~interface.mask.s_addr});
            return true;
        case SIOCGIFMTU:
            answer.ifr_mtu = interface.mtu;
            return true;
        case SIOCGIFMETRIC:
            answer.ifr_metric = 0;
            return true;
        case SIOCGIFTXQLEN:
            answer.ifr_qlen = 1000;
            return true;
        case SIOCGIFMAP:
            answer.ifr_map = {};
            return true;
        default:
            return false;
    }
}

// Which requests fail with EADDRNOTAVAIL on an interface without an address.
bool needs_address(unsigned long request) {
    return request == SIOCGIFADDR || request == SIOCGIFDSTADDR || request == SIOCGIFNETMASK ||
           request == SIOCGIFBRDADDR;
}

in_addr address_in(const sockaddr &where) {
    sockaddr_in in = {};
    memcpy(&in, &where, sizeof in);
    return in.sin_addr;
}

// The mask that an address has by its class, which an interface gets with a new address.
in_addr mask_of_class(in_addr address) {
    const uint32_t host = ntohl(address.s_addr);
    return {htonl(IN_CLASSA(host) ? IN_CLASSA_NET : IN_CLASSB(host) ? IN_CLASSB_NET : IN_CLASSC_NET)};
}

// A mask is ones and then zeros.
bool is_mask(in_addr mask) {
    const uint32_t zeros = ~ntohl(mask.s_addr);
    return (zeros & (zeros + 1)) == 0;
}

// Does one of the requests that change an interface. -1: not one of those; else 0 or an error number.
int change_interface(unsigned long request, const ifreq &wanted, Interface &interface) {
    switch (request) {
        case SIOCSIFADDR:
            if (interface.address.s_addr != address_in(wanted.ifr_addr).s_addr) {
                interface.address = address_in(wanted.ifr_addr);
                interface.mask = mask_of_class(interface.address);
            }
            return 0;
        case SIOCSIFNETMASK:
            if (!is_mask(address_in(wanted.ifr_netmask))) {
                return EINVAL;
            }
            interface.mask = address_in(wanted.ifr_netmask);
            return has_address(interface) ? 0 : EADDRNOTAVAIL;
        case SIOCSIFFLAGS:
            interface.up = (wanted.ifr_flags & IFF_UP) != 0;
            return 0;
        case SIOCSIFMTU:
            interface.mtu = wanted.ifr_mtu;
            return 0;
        case SIOCSIFDSTADDR:
        case SIOCSIFBRDADDR:
            return 0;  // follow from the address and the mask here
        default:
            return -1;
    }
}

void print_route(FILE *file, const char *interface, in_addr destination, in_addr gateway, unsigned flags,
                 in_addr mask) {
    fprintf(file, "%s\t%08X\t%08X\t%04X\t0\t0\t0\t%08X\t0\t0\t0\n", interface, destination.s_addr, gateway.s_addr,
            flags, mask.s_addr);
}

// Writes the kernel's table of routes as it follows from the facts.
void write_routes() {
    constexpr unsigned kUp = 1;
    constexpr unsigned kGateway = 2;
    FILE *file = fopen(kNewRoutesPath, "we");
    if (file == nullptr) {
        return;
    }
    fputs("Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\tWindow\tIRTT\n", file);
    find_fact([&](const char *keyword, const char *text) {
        Gateway gateway = {};
        if (parse_gateway(keyword, text, gateway)) {
            print_route(file, gateway.interface, {0}, gateway.address, kUp | kGateway, {0});
        }
        return false;
    });
    find_fact([&](const char *keyword, const char *text) {
        Interface interface = {};
        if (parse_interface(keyword, text, interface) && interface.up && has_address(interface) &&
            !is_loopback(interface)) {
            print_route(file, interface.name, {interface.address.s_addr & interface.mask.s_addr}, {0}, kUp,
                        interface.mask);
        }
        return false;
    });
    fclose(file);
    rename(kNewRoutesPath, kRoutesPath);
}

// Writes the facts anew with this interface changed and this default route; its interface's name is empty for none. A
// route that leads nowhere any more is dropped. The processes that change facts run one after another.
void write_facts(const Interface *changed, Gateway gateway) {
    FILE *file = fopen(kNewFactsPath, "we");
    if (file == nullptr) {
        return;
    }
    find_fact([&](const char *keyword, const char *text) {
        Interface interface = {};
        if (parse_interface(keyword, text, interface)) {
            if (changed != nullptr && strcmp(interface.name, changed->name) == 0) {
                interface = *changed;
            }
            print_interface(file, interface);
            if (strcmp(interface.name, gateway.interface) == 0 && !is_neighbour(interface, gateway.address)) {
                gateway = {};
            }
        } else if (strcmp(keyword, "gateway") != 0) {
            fprintf(file, "%s %s\n", keyword, text);
        }
        return false;
    });
    if (gateway.interface[0] != '\0') {
        char address[INET_ADDRSTRLEN];
        fprintf(file, "gateway %s %s\n", gateway.interface,
                inet_ntop(AF_INET, &gateway.address, address, sizeof address));
    }
    fclose(file);
    rename(kNewFactsPath, kFactsPath);
    write_routes();
}

Gateway find_gateway() {
    Gateway gateway = {};
    return find_fact([&](const char *keyword, const char *text) { return parse_gateway(keyword, text, gateway); })
               ? gateway
               : Gateway{};
}

// Adds or removes the default route, the only one that can be changed. Returns 0 or an error number.
int change_route(unsigned long request, const rtentry &route) {
    if (address_in(route.rt_dst).s_addr != INADDR_ANY) {
        return EOPNOTSUPP;
    }
    if (request == SIOCDELRT) {
        if (find_gateway().interface[0] == '\0') {
            return ESRCH;
        }
        write_facts(nullptr, {});
        return 0;
    }
    Interface interface = {};
    if (route.rt_dev == nullptr || !find_interface(route.rt_dev, interface)) {
        return ENODEV;
    }
    Gateway gateway = {};
    memcpy(gateway.interface, interface.name, sizeof gateway.interface);
    gateway.address = address_in(route.rt_gateway);
    if (!is_neighbour(interface, gateway.address)) {
        return ENETUNREACH;
    }
    write_facts(nullptr, gateway);
    return 0;
}

// Answers SIOCGIFCONF: as many interfaces with their addresses as there is room for.
void list_interfaces(ifconf &list) {
    const int room = list.ifc_len;
    list.ifc_len = 0;
    find_fact([&](const char *keyword, const char *text) {
        Interface interface = {};
        const int size = static_cast<int>(sizeof(ifreq));
        if (parse_interface(keyword, text, interface) && has_address(interface) && list.ifc_len + size <= room) {
            ifreq &entry = list.ifc_req[list.ifc_len / size];
            entry = {};
            memcpy(entry.ifr_name, interface.name, sizeof entry.ifr_name);
            put_address(entry.ifr_addr, interface.address);
            list.ifc_len += size;
        }
        return false;
    });
}

// The network end of the raw socket that ping asked for, and what tells ping's end from other descriptors: ping moves
// its end to another number. One per process is enough.
int ping_network = -1;
ino_t ping_inode = 0;

bool is_ping_socket(int fd) {
    struct stat status = {};
    return ping_network >= 0 && fstat(fd, &status) == 0 && status.st_ino == ping_inode;
}

uint16_t internet_checksum(const unsigned char *data, size_t size) {
    uint32_t sum = 0;
    for (size_t i = 0; i < size; ++i) {
        sum += i % 2 == 0 ? static_cast<uint32_t>(data[i] << 8) : data[i];
    }
    sum = (sum >> 16) + (sum & 0xffff);
    return htons(static_cast<uint16_t>(~(sum + (sum >> 16))));
}

// Lets the answer to an echo request arrive, as the kernel would hand it to a raw socket: with its IP header.
void answer_echo(in_addr address, const void *request, size_t size) {
    struct {
        iphdr ip;
        icmphdr icmp;
        unsigned char data[65536];
    } packet = {};
    if (size < sizeof packet.icmp || size > sizeof packet.icmp + sizeof packet.data) {
        return;
    }
    packet.ip.version = 4;
    packet.ip.ihl = sizeof packet.ip / 4;
    packet.ip.ttl = 64;
    packet.ip.protocol = IPPROTO_ICMP;
    packet.ip.saddr = address.s_addr;
    packet.ip.tot_len = htons(static_cast<uint16_t>(sizeof packet.ip + size));
    memcpy(&packet.icmp, request, sizeof packet.icmp);
    memcpy(packet.data, static_cast<const char *>(request) + sizeof packet.icmp, size - sizeof packet.icmp);
    packet.icmp.type = ICMP_ECHOREPLY;
    packet.icmp.checksum = 0;
    packet.icmp.checksum = internet_checksum(reinterpret_cast<const unsigned char *>(&packet.icmp), size);
    if (write(ping_network, &packet, sizeof packet.ip + size) < 0) {
        perror("played ping");
    }
}

// proot plays the end of the heap, too, up to 16 MiB, which it maps at once. After a clone() that shares memory, by
// which a program is started where clone3() is refused, it takes the other program's heap for that of who started it,
// who then writes where nothing is. So a process takes its heap whole at the start, never asks for more and gives none
// back.
__attribute__((constructor)) void take_heap() {
    constexpr size_t kBelowMapping = 100'000;  // what is larger gets a mapping of its own
    mallopt(M_TOP_PAD, 15 << 20);
    mallopt(M_TRIM_THRESHOLD, -1);
    // Two, since what other libraries have taken may have left room for one.
    for (void *memory : {malloc(kBelowMapping), malloc(kBelowMapping)}) {
        if (memory != nullptr) {
            explicit_bzero(memory, 1);  // or the compiler leaves out what is only taken and given back
        }
        free(memory);
    }
}

}  // namespace

EXPORTED key_t ftok(const char *path, int project) noexcept {
    key_t key = -1;
    const bool found = strcmp(path, SYSTEM_QUEUE_PATH) == 0 && project == kSystemQueueProject &&
                       find_fact([&](const char *keyword, const char *text) {
                           key = static_cast<key_t>(strtol(text, nullptr, 0));
                           return strcmp(keyword, "queue-key") == 0;
                       });
    return found ? key : real<key_t(const char *, int)>("ftok")(path, project);
}

EXPORTED int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);

    if (request == SIOCGIFCONF && static_cast<ifconf *>(argument)->ifc_req != nullptr) {
        list_interfaces(*static_cast<ifconf *>(argument));
        return 0;
    }
    if (request == SIOCADDRT || request == SIOCDELRT) {
        errno = change_route(request, *static_cast<rtentry *>(argument));
        return errno == 0 ? 0 : -1;
    }
    ifreq probe = {};
    Interface interface = {};
    const bool reads = answer_request(request, interface, probe);
    if (!reads && change_interface(request, probe, interface) < 0) {
        return real<int(int, unsigned long, void *)>("ioctl")(fd, request, argument);
    }
    ifreq &asked = *static_cast<ifreq *>(argument);
    if (!find_interface(asked.ifr_name, interface)) {
        errno = ENODEV;
        return -1;
    }
    if (reads) {
        if (needs_address(request) && !has_address(interface)) {
            errno = EADDRNOTAVAIL;
            return -1;
        }
        answer_request(request, interface, asked);
        return 0;
    }
    errno = change_interface(request, asked, interface);
    if (errno != 0) {
        return -1;
    }
    write_facts(&interface, find_gateway());
    return 0;
}

// No name is known but the router's own: whoever would be asked is played.
EXPORTED int getaddrinfo(const char *name, const char *service, const addrinfo *hints, addrinfo **result) {
    addrinfo played = {};
    if (hints != nullptr) {
        played = *hints;
    }
    if (name != nullptr && strcmp(name, "localhost") != 0) {
        played.ai_flags |= AI_NUMERICHOST;
    }
    return real<int(const char *, const char *, const addrinfo *, addrinfo **)>("getaddrinfo")(name, service, &played,
                                                                                               result);
}

// Nothing leaves the router's played network for the PC's.
EXPORTED int connect(int fd, const sockaddr *to, socklen_t length) {
    auto *real_connect = real<int(int, const sockaddr *, socklen_t)>("connect");
    sockaddr_in target = {};
    if (to == nullptr || to->sa_family != AF_INET || length < sizeof target) {
        return real_connect(fd, to, length);
    }
    memcpy(&target, to, sizeof target);
    if (ntohl(target.sin_addr.s_addr) >> 24 == IN_LOOPBACKNET) {
        return real_connect(fd, to, length);
    }
    errno = ENETUNREACH;
    return -1;
}

EXPORTED int socket(int domain, int type, int protocol) noexcept {
    if (domain != AF_INET || type != SOCK_RAW || protocol != IPPROTO_ICMP) {
        // The PC's network is closed to the router. What is asked of such a socket is answered here, so any kind does.
        const bool internet = domain == AF_INET;
        return real<int(int, int, int)>("socket")(internet ? AF_UNIX : domain, type, internet ? 0 : protocol);
    }
    int ends[2];
    struct stat status = {};
    if (socketpair(AF_UNIX, SOCK_DGRAM, 0, ends) != 0 || fstat(ends[0], &status) != 0) {
        return -1;
    }
    ping_network = ends[1];
    ping_inode = status.st_ino;
    return ends[0];
}

EXPORTED ssize_t sendto(int fd, const void *data, size_t size, int flags, const sockaddr *to, socklen_t length) {
    if (to == nullptr || to->sa_family != AF_INET || !is_ping_socket(fd)) {
        return real<ssize_t(int, const void *, size_t, int, const sockaddr *, socklen_t)>("sendto")(fd, data, size,
                                                                                                    flags, to, length);
    }
    sockaddr_in target = {};
    memcpy(&target, to, sizeof target);
    if (answers_ping(target.sin_addr)) {
        answer_echo(target.sin_addr, data, size);
    }
    return static_cast<ssize_t>(size);
}

EXPORTED ssize_t recvfrom(int fd, void *data, size_t size, int flags, sockaddr *from, socklen_t *length) {
    auto *receive = real<ssize_t(int, void *, size_t, int, sockaddr *, socklen_t *)>("recvfrom");
    if (from == nullptr || !is_ping_socket(fd)) {
        return receive(fd, data, size, flags, from, length);
    }
    const ssize_t got = receive(fd, data, size, flags, nullptr, nullptr);
    iphdr ip = {};
    if (got >= static_cast<ssize_t>(sizeof ip)) {
        memcpy(&ip, data, sizeof ip);
    }
    sockaddr source = {};
    put_address(source, {ip.saddr});
    memcpy(from, &source, *length < sizeof source ? *length : sizeof source);
    *length = sizeof source;
    return got;
}
