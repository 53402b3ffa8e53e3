// SPDX-License-Identifier: MIT
// The drivers that a PC lacks: Wi-Fi and the Ethernet switch.
//
// Preloaded into every process inside the router's root by the root's own /etc/ld.so.preload, before whatever else
// stands there: what is not a request to these drivers goes on to the next library, and at last to the kernel. They
// only read; what there is to read is put there by rename(), so that it is never seen half written:
//
//   /outside/stations/NAME           there is a wireless interface NAME; the file is its station table as the driver
//                                    hands it out, however short or long
//   /outside/stations/NAME.refuses   the driver fails to hand it out
//   /outside/rtl865x/FILE            is opened as /proc/rtl865x/FILE, where the kernel's /proc lets nobody make a file
//
// Loaded into the endpoint too, so: no C++ library at run time, and nothing is looked up before it is needed.
#undef _FORTIFY_SOURCE  // with it, the C library's headers bring functions of their own under these names
#include <dlfcn.h>
#include <fcntl.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "platform/apmib.h"
#include "platform/wifi_driver.h"
#include "virtual_router/driver/next.h"
#include "virtual_router/tap/tap.h"

namespace {

constexpr char kStations[] = "/outside/stations/";
constexpr char kSwitch[] = "/outside/rtl865x/";
constexpr char kSwitchAsSeen[] = "/proc/rtl865x/";

// --- Wi-Fi -----------------------------------------------------------------------------------------------------------

// An interface's name as text, safe in a path. The drivers' own names have no dots, so a name with one is none of
// theirs.
struct InterfaceName {
    char text[IFNAMSIZ + 1];
    bool valid;
};

InterfaceName read_name(const WifiRequest &request) {
    InterfaceName name = {};
    memcpy(name.text, request.interface, sizeof request.interface);
    name.valid = name.text[0] != '\0' && strpbrk(name.text, "./") == nullptr;
    return name;
}

// Finds the place of an interface in the configuration store: wlan0, wlan0-va0 to wlan0-va4, wlan0-vxd, or one of
// wlan1.
bool find_place(const char *name, int &radio, int &access_point) {
    constexpr const char *kSuffixes[] = {"", "-va0", "-va1", "-va2", "-va3", "-va4", "-vxd"};
    constexpr int kLastPlace = kVwlanCount - 1;  // the last virtual access point and the repeater interface share it
    if (strncmp(name, "wlan0", 5) != 0 && strncmp(name, "wlan1", 5) != 0) {
        return false;
    }
    radio = name[4] - '0';
    access_point = 0;
    for (const char *suffix : kSuffixes) {
        if (strcmp(name + 5, suffix) == 0) {
            access_point = access_point < kLastPlace ? access_point : kLastPlace;
            return true;
        }
        ++access_point;
    }
    return false;
}

// A program that uses the store has its variables in itself, so they are looked up as the program sees them.
template <typename Symbol>
Symbol *find_symbol(const char *name) {
    return reinterpret_cast<Symbol *>(dlsym(RTLD_DEFAULT, name));
}

// The tap does not hear what the drivers ask the store: it is no deed of the program's, and meets no fault.
class Unheard {
  public:
    Unheard() : hooks_(tap_hooks) { tap_hooks = nullptr; }
    Unheard(const Unheard &) = delete;
    Unheard &operator=(const Unheard &) = delete;
    ~Unheard() { tap_hooks = hooks_; }

  private:
    const TapHooks *hooks_;
};

// Whether the configuration store calls it an 802.11ax interface at this moment. The store is not linked: most programs
// have no use for it, and in the endpoint it is there already.
bool is_ax(const char *name) {
    constexpr int MIB_WLAN_AX_SUPPORT = 4300;  // a byte
    int radio = 0;
    int access_point = 0;
    const Unheard unheard;
    if (!find_place(name, radio, access_point) || dlopen("libapmib.so", RTLD_LAZY | RTLD_GLOBAL) == nullptr) {
        return false;
    }
    auto *init = find_symbol<int()>("apmib_init");
    auto *get = find_symbol<int(int, void *)>("apmib_get");
    auto *radio_selected = find_symbol<int>("wlan_idx");
    auto *access_point_selected = find_symbol<int>("vwlan_idx");
    if (init == nullptr || get == nullptr || radio_selected == nullptr || access_point_selected == nullptr ||
        init() == 0) {
        return false;
    }
    // The program that asks has selected an interface of its own there.
    const int selected[] = {*radio_selected, *access_point_selected};
    *radio_selected = radio;
    *access_point_selected = access_point;
    unsigned char value = 0;
    const bool read = get(MIB_WLAN_AX_SUPPORT, &value) != 0;
    *radio_selected = selected[0];
    *access_point_selected = selected[1];
    return read && value == 1;
}

// Opens a file of an interface. Returns a descriptor, or -1.
int open_of(const InterfaceName &interface, const char *suffix) {
    char path[sizeof kStations + sizeof interface.text + sizeof ".refuses"];
    snprintf(path, sizeof path, "%s%s%s", kStations, interface.text, suffix);
    return open(path, O_RDONLY | O_CLOEXEC);
}

// Hands out as much of the file as there is, and as there is room for. Returns 0 or an error number.
int hand_out(int file, WifiRequest &request) {
    auto *to = static_cast<char *>(request.data.pointer);
    size_t done = 0;
    while (done < request.data.length) {
        const ssize_t got = read(file, to + done, request.data.length - done);
        if (got < 0) {
            return errno;
        }
        if (got == 0) {
            break;
        }
        done += static_cast<size_t>(got);
    }
    request.data.length = static_cast<uint16_t>(done);
    return 0;
}

// Answers a request about the interface whose table is in this open file. Returns 0 or an error number.
int answer_about(int file, const InterfaceName &interface, unsigned long request, WifiRequest &asked) {
    if (request == kWifiNameRequest) {
        strncpy(asked.protocol, "IEEE 802.11", sizeof asked.protocol);
        return 0;
    }
    // The two kinds of interface have drivers of their own, which do not know each other's request. That of the one
    // says in its flags what is asked for, that of the other has none.
    const bool asked_as_ax = request == kAxPrivateRequest;
    if (asked_as_ax != is_ax(interface.text) || asked.data.flags != (asked_as_ax ? kStationTableRequest : 0)) {
        return EOPNOTSUPP;
    }
    const int refuses = open_of(interface, ".refuses");
    if (refuses >= 0) {
        close(refuses);
        return EIO;
    }
    return hand_out(file, asked);
}

// Answers a request to a wireless interface. Returns 0 or an error number. No other interface is wireless, so nothing
// of this reaches the kernel, which could have the PC's own Wi-Fi there.
int answer(unsigned long request, WifiRequest *asked) {
    if (asked == nullptr) {
        return EFAULT;
    }
    const InterfaceName interface = read_name(*asked);
    const int file = interface.valid ? open_of(interface, "") : -1;
    if (file < 0) {
        return ENODEV;
    }
    const int error = answer_about(file, interface, request, *asked);
    close(file);
    return error;
}

// --- the switch ------------------------------------------------------------------------------------------------------

// A path as it is to be opened.
class Path {
  public:
    explicit Path(const char *path) : path_(path) {
        constexpr size_t kSize = sizeof kSwitchAsSeen - 1;
        if (strncmp(path, kSwitchAsSeen, kSize) == 0 &&
            static_cast<size_t>(snprintf(room_, sizeof room_, "%s%s", kSwitch, path + kSize)) < sizeof room_) {
            path_ = room_;
        }
    }
    const char *get() const { return path_; }

  private:
    const char *path_;
    char room_[64];
};

using Open = int(const char *, int, ...);
using CheckedOpen = int(const char *, int);
using OpenStream = FILE *(const char *, const char *);

Open *next_open;
Open *next_open64;
CheckedOpen *next_checked_open;
CheckedOpen *next_checked_open64;
OpenStream *next_fopen;
OpenStream *next_fopen64;
int (*next_ioctl)(int, unsigned long, ...);

// The mode of a file that open() may make, which is there only for these flags.
mode_t mode_in(int flags, va_list arguments) {
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE ? va_arg(arguments, mode_t) : 0;
}

constexpr char kConsole[] = "/dev/console";

// Whether a fault lets the program's call fail.
bool fails_to_open(const void *caller, const char *path) {
    return tap::hears(caller) && tap::fails(Call::kOpen, path);
}

// Hands the result on, and tells it.
int told_open(const void *caller, const char *path, int flags, int result) {
    if (tap::hears(caller)) {
        result = (flags & O_ACCMODE) == O_RDONLY ? tap::with_content(path, result) : result;
        tap::tell_file((flags & O_ACCMODE) == O_RDONLY ? Event::kRead : Event::kWrite, path, result);
        if ((flags & O_ACCMODE) == O_RDONLY) {
            tap::tell_content(result);
        }
    }
    return result;
}

FILE *told_stream(const void *caller, const char *path, const char *mode, FILE *stream) {
    if (!tap::hears(caller)) {
        return stream;
    }
    if (strcmp(path, kConsole) == 0) {
        return stream != nullptr ? tap::open_console(stream) : nullptr;
    }
    const bool reads = mode[0] == 'r' && strchr(mode, '+') == nullptr;
    stream = reads ? tap::with_content(path, stream) : stream;
    tap::tell_file(reads ? Event::kRead : Event::kWrite, path, stream != nullptr ? 0 : -1);
    if (reads) {
        tap::tell_content(stream);
    }
    return stream;
}

// Tells a request to the driver, and the stations that came.
void tell_driver(const char *name, const WifiRequest &asked, bool table, int error) {
    {
        tap::Told told(error != 0, error != 0 ? tap::error_name(error) : nullptr);
        told.line.begin(Event::kDriver);
        told.line.word(name);
        told.line.word(read_name(asked).text);
        if (table) {
            told.line.number(asked.data.length);
        }
    }
    static constexpr StaInfoEntry kEmpty = {};
    const auto *entries = static_cast<const StaInfoEntry *>(asked.data.pointer);
    for (size_t place = 0; table && place < asked.data.length / sizeof kEmpty; ++place) {
        if (memcmp(&entries[place], &kEmpty, sizeof kEmpty) != 0) {
            tap::Told told;
            told.line.begin(Event::kStation);
            told.line.number(static_cast<long>(place));
            told.line.bytes(&entries[place], sizeof kEmpty);
        }
    }
}

struct AddressRequest {
    unsigned long number;
    const char *name;
    tap::Shown (*show)(const void *address);
    size_t place;  // of the address in what comes
};

constexpr AddressRequest kAddressRequests[] = {
    {SIOCGIFADDR,    "ip",   tap::Shown::ip,  offsetof(sockaddr_in, sin_addr)},
    {SIOCGIFNETMASK, "mask", tap::Shown::ip,  offsetof(sockaddr_in, sin_addr)},
    {SIOCGIFHWADDR,  "mac",  tap::Shown::mac, offsetof(sockaddr,    sa_data) },
};

// Tells the answer of the kernel, where it was asked for an address of an interface.
void tell_address(unsigned long number, const ifreq &answer, int result) {
    for (const AddressRequest &request : kAddressRequests) {
        if (request.number == number) {
            char name[sizeof answer.ifr_name + 1] = "";
            memcpy(name, answer.ifr_name, sizeof answer.ifr_name);
            tap::Told told(result < 0, result < 0 ? tap::error_name(errno) : nullptr);
            told.line.begin(Event::kAddress);
            told.line.word(request.name);
            told.line.word(name[strcspn(name, " \n\t")] == '\0' && name[0] != '\0' ? name : "-");
            if (result >= 0) {
                told.line.word(request.show(reinterpret_cast<const char *>(&answer.ifr_addr) + request.place).text);
            }
        }
    }
}

// The name of a request to the driver.
const char *name_of(unsigned long request) {
    switch (request) {
        case kWifiNameRequest:
            return "name";
        case kStationTableRequest:
            return "stations";
        default:
            return "ax-stations";
    }
}

}  // namespace

PLAYED int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    if (request != kWifiNameRequest && request != kStationTableRequest && request != kAxPrivateRequest) {
        const int result = next("ioctl", next_ioctl)(fd, request, argument);
        if (tap::hears(CALLER) && argument != nullptr) {
            tell_address(request, *static_cast<const ifreq *>(argument), result);
        }
        return result;
    }
    const int error = answer(request, static_cast<WifiRequest *>(argument));
    if (tap::hears(CALLER) && argument != nullptr) {
        tell_driver(name_of(request), *static_cast<const WifiRequest *>(argument),
                    error == 0 && request != kWifiNameRequest, error);
    }
    if (error != 0) {
        errno = error;
        return -1;
    }
    return 0;
}

PLAYED int open(const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = mode_in(flags, arguments);
    va_end(arguments);
    return told_open(CALLER, path, flags,
                     fails_to_open(CALLER, path) ? -1 : next("open", next_open)(Path(path).get(), flags, mode));
}

PLAYED int open64(const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = mode_in(flags, arguments);
    va_end(arguments);
    return told_open(CALLER, path, flags,
                     fails_to_open(CALLER, path) ? -1 : next("open64", next_open64)(Path(path).get(), flags, mode));
}

// What open() is in a program that was built with checks of its calls. Declared only where checks are on.
PLAYED int __open_2(const char *path, int flags);
PLAYED int __open64_2(const char *path, int flags);

PLAYED int __open_2(const char *path, int flags) {
    return told_open(CALLER, path, flags,
                     fails_to_open(CALLER, path) ? -1 : next("__open_2", next_checked_open)(Path(path).get(), flags));
}

PLAYED int __open64_2(const char *path, int flags) {
    return told_open(
        CALLER, path, flags,
        fails_to_open(CALLER, path) ? -1 : next("__open64_2", next_checked_open64)(Path(path).get(), flags));
}

PLAYED FILE *fopen(const char *path, const char *mode) {
    return told_stream(CALLER, path, mode,
                       fails_to_open(CALLER, path) ? nullptr : next("fopen", next_fopen)(Path(path).get(), mode));
}

PLAYED FILE *fopen64(const char *path, const char *mode) {
    return told_stream(CALLER, path, mode,
                       fails_to_open(CALLER, path) ? nullptr : next("fopen64", next_fopen64)(Path(path).get(), mode));
}
