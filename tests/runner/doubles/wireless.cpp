// An interface NAME is a folder /.runner/wireless/NAME; its file "stations" is the driver's answer, as many bytes as
// there are. Without the file the driver refuses to tell stations, without the folder there is no such interface.
//
// Every request is logged, with what of it is not as the driver wants it.
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

// What of a request for stations is not as the driver wants it; nullptr: nothing.
const char *find_unfit(bool ax, const WirelessRequest *wanted) {
    static const unsigned char kZeros[kTableSize] = {};
    const bool length = wanted->table.length != kTableSize;
    const bool filled = !length && memcmp(wanted->table.buffer, kZeros, kTableSize) != 0;
    if (ax && wanted->table.flags != kAxFlags) {
        return length ? "length,flags" : filled ? "filled,flags" : "flags";
    }
    return length ? "length" : filled ? "filled" : nullptr;
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
    const char *unfit = nullptr;
    int error;
    if (request == kName) {
        error = give_protocol(folder, wanted);
    } else {
        unfit = find_unfit(request == kAxStations, wanted);
        error = give_stations(folder, wanted);
    }
    char interface[sizeof(wanted->name) + 1] = "";
    memcpy(interface, wanted->name, sizeof(wanted->name));
    char line[192];
    EventLine event(line);
    if (error != 0) {
        event.mark(EventMark::kFailed);
    }
    if (unfit != nullptr) {
        event.mark(EventMark::kUnfit, unfit);
    }
    event.begin(Event::kDriver);
    event.word(kind->name);
    event.word(interface);
    append_event(event);
    errno = error;
    return error == 0 ? 0 : -1;
}
