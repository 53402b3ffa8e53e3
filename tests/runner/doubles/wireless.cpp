// An interface NAME is a folder /.runner/wireless/NAME; its file "stations" is the driver's answer, as many bytes as
// there are. Without the file the driver refuses to tell stations, without the folder there is no such interface.
//
// Every request is logged as "driver KIND NAME RESULT", and behind it what of the request is not as the driver wants
// it.
#include "tests/runner/doubles/wireless.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "tests/runner/doubles/events.h"

namespace {

constexpr size_t kTableSize = 4095;
constexpr uint16_t kAxFlags = 0x8B30;  // by them the driver knows the request among its private ones

// The request: the interface, and for a table the caller's buffer.
struct WirelessRequest {
    char name[16];  // need not end with a NUL
    union {
        char protocol[16];
        struct {
            unsigned char *buffer;
            uint16_t length;
            uint16_t flags;
        } table;
    };
};

struct Kind {
    unsigned long request;
    const char *name;
};

constexpr unsigned long kName = 0x8B01;
constexpr unsigned long kStations = 0x8B30;
constexpr unsigned long kAxStations = 0x89F2;

constexpr Kind kKinds[] = {
    {kName,       "name"       },
    {kStations,   "stations"   },
    {kAxStations, "ax-stations"},
};

const Kind *find_kind(unsigned long request) {
    for (const Kind &kind : kKinds) {
        if (kind.request == request) {
            return &kind;
        }
    }
    return nullptr;
}

int give_protocol(const char *folder, WirelessRequest *wanted) {
    struct stat status;
    if (stat(folder, &status) != 0) {
        return ENODEV;
    }
    memset(wanted->protocol, 'b', sizeof(wanted->protocol));  // the driver uses all of it: nothing of before is left
    memcpy(wanted->protocol, "IEEE802.11", 11);
    return 0;
}

int give_stations(const char *folder, const WirelessRequest *wanted) {
    char path[64];
    snprintf(path, sizeof(path), "%s/stations", folder);
    FILE *file = fopen(path, "re");
    if (file == nullptr) {
        return EOPNOTSUPP;
    }
    unsigned char answer[kTableSize];
    const size_t size = fread(answer, 1, sizeof(answer), file);
    fclose(file);
    memcpy(wanted->table.buffer, answer, size < wanted->table.length ? size : wanted->table.length);
    return 0;
}

// Writes what is wrong with a request for stations to `out`, which has room for all of it.
void put_faults(bool ax, const WirelessRequest *wanted, char *out) {
    static const unsigned char kZeros[kTableSize] = {};
    *out = '\0';
    if (wanted->table.length != kTableSize) {
        out += sprintf(out, " length=%u", wanted->table.length);
    } else if (memcmp(wanted->table.buffer, kZeros, kTableSize) != 0) {
        out += sprintf(out, " filled");
    }
    if (ax && wanted->table.flags != kAxFlags) {
        sprintf(out, " flags=0x%X", wanted->table.flags);
    }
}

}  // namespace

bool is_wireless_request(unsigned long request) {
    return find_kind(request) != nullptr;
}

int answer_wireless_request(unsigned long request, void *argument) {
    auto *wanted = static_cast<WirelessRequest *>(argument);
    const Kind *kind = find_kind(request);
    char folder[48];
    snprintf(folder, sizeof(folder), "/.runner/wireless/%.16s", wanted->name);
    char faults[64] = "";
    int error;
    if (request == kName) {
        error = give_protocol(folder, wanted);
    } else {
        put_faults(request == kAxStations, wanted, faults);
        error = give_stations(folder, wanted);
    }
    char line[192];
    const int size = snprintf(line, sizeof(line), "driver %s %.16s %s%s\n", kind->name, wanted->name,
                              error == 0 ? "ok" : "failed", faults);
    append_event(line, static_cast<size_t>(size));
    errno = error;
    return error == 0 ? 0 : -1;
}
