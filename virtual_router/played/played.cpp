// Plays the part of the kernel for the router's programs where no network namespace can be made.
//
// Preloaded into every process inside the router's root (by the root's own /etc/ld.so.preload, so that nothing outside
// is touched) and never used where the kernel can do it. What it answers with stands in /etc/home, one fact per line:
//
//   interface NAME ADDRESS MASK MAC    requests about the router's network interfaces
//   answers ADDRESS                    a neighbour that answers a ping; the interfaces' own addresses do too
//   queue-key NUMBER                   the key of the system daemon's message queue, which must differ from the one
//   that
//                                      another router on the same machine uses
//
// Loaded into the endpoint too, so: no C++ library at run time.
#undef _FORTIFY_SOURCE  // with it, the C library's headers bring a recvfrom() of their own
#include <arpa/inet.h>
#include <dlfcn.h>
#include <net/if.h>
#include <net/if_arp.h>
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

#define PLAYED extern "C" __attribute__((visibility("default")))

namespace {

constexpr char kHomePath[] = "/etc/home";
constexpr int kQueueProject = 117;

struct Interface {
    char name[IFNAMSIZ];
    in_addr address;
    in_addr mask;
    unsigned char mac[6];
};

// Calls visit(keyword, rest of the line) for each fact until it returns true. True: some visit did.
template <typename Visit>
bool find_fact(const Visit &visit) {
    FILE *home = fopen(kHomePath, "re");
    if (home == nullptr) {
        return false;
    }
    bool found = false;
    char line[160];
    while (!found && fgets(line, sizeof line, home) != nullptr) {
        char *rest = strchr(line, ' ');
        if (rest != nullptr) {
            *rest = '\0';
            found = visit(line, rest + 1);
        }
    }
    fclose(home);
    return found;
}

bool parse_interface(const char *keyword, const char *text, Interface &out) {
    char address[16];
    char mask[16];
    return strcmp(keyword, "interface") == 0 &&
           sscanf(text, "%15s %15s %15s %hhx:%hhx:%hhx:%hhx:%hhx:%hhx", out.name, address, mask, &out.mac[0],
                  &out.mac[1], &out.mac[2], &out.mac[3], &out.mac[4], &out.mac[5]) == 9 &&
           inet_pton(AF_INET, address, &out.address) == 1 && inet_pton(AF_INET, mask, &out.mask) == 1;
}

bool find_interface(const char *name, Interface &out) {
    return find_fact([&](const char *keyword, const char *text) {
        return parse_interface(keyword, text, out) && strncmp(out.name, name, IFNAMSIZ) == 0;
    });
}

bool is_loopback(const Interface &interface) {
    return ntohl(interface.address.s_addr) >> 24 == IN_LOOPBACKNET;
}

bool answers_ping(in_addr address) {
    return find_fact([&](const char *keyword, char *text) {
        Interface interface = {};
        if (parse_interface(keyword, text, interface)) {
            // All of 127.0.0.0/8 is the machine itself.
            return interface.address.s_addr == address.s_addr ||
                   (is_loopback(interface) && ntohl(address.s_addr) >> 24 == IN_LOOPBACKNET);
        }
        in_addr neighbour = {};
        text[strcspn(text, "\n")] = '\0';
        return strcmp(keyword, "answers") == 0 && inet_pton(AF_INET, text, &neighbour) == 1 &&
               neighbour.s_addr == address.s_addr;
    });
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
            answer.ifr_flags =
                static_cast<short>(IFF_UP | IFF_RUNNING | (loopback ? IFF_LOOPBACK : IFF_BROADCAST | IFF_MULTICAST));
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
            answer.ifr_mtu = loopback ? 65536 : 1500;
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

// Answers SIOCGIFCONF: as many interfaces with their addresses as there is room for.
void list_interfaces(ifconf &list) {
    const int room = list.ifc_len;
    list.ifc_len = 0;
    find_fact([&](const char *keyword, const char *text) {
        Interface interface = {};
        const int size = static_cast<int>(sizeof(ifreq));
        if (parse_interface(keyword, text, interface) && list.ifc_len + size <= room) {
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

}  // namespace

PLAYED key_t ftok(const char *path, int project) noexcept {
    key_t key = -1;
    const bool found = strcmp(path, "/dev/null") == 0 && project == kQueueProject &&
                       find_fact([&](const char *keyword, const char *text) {
                           key = static_cast<key_t>(strtol(text, nullptr, 0));
                           return strcmp(keyword, "queue-key") == 0;
                       });
    return found ? key : real<key_t(const char *, int)>("ftok")(path, project);
}

PLAYED int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);

    if (request == SIOCGIFCONF && static_cast<ifconf *>(argument)->ifc_req != nullptr) {
        list_interfaces(*static_cast<ifconf *>(argument));
        return 0;
    }
    ifreq probe = {};
    Interface interface = {};
    if (!answer_request(request, interface, probe)) {
        return real<int(int, unsigned long, void *)>("ioctl")(fd, request, argument);
    }
    ifreq &asked = *static_cast<ifreq *>(argument);
    if (!find_interface(asked.ifr_name, interface)) {
        errno = ENODEV;
        return -1;
    }
    answer_request(request, interface, asked);
    return 0;
}

PLAYED int socket(int domain, int type, int protocol) noexcept {
    if (domain != AF_INET || type != SOCK_RAW || protocol != IPPROTO_ICMP) {
        return real<int(int, int, int)>("socket")(domain, type, protocol);
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

PLAYED ssize_t sendto(int fd, const void *data, size_t size, int flags, const sockaddr *to, socklen_t length) {
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

PLAYED ssize_t recvfrom(int fd, void *data, size_t size, int flags, sockaddr *from, socklen_t *length) {
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
