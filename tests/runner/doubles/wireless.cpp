// SPDX-License-Identifier: MIT
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

#include "platform/wifi_driver.h"
#include "tests/runner/doubles/events.h"

namespace {

struct Kind {
    unsigned long request;
    const char *name;
};

constexpr Kind kKinds[] = {
    {kWifiNameRequest,     "name"       },
    {kStationTableRequest, "stations"   },
    {kAxPrivateRequest,    "ax-stations"},
};

const Kind *find_kind(unsigned long request) {
    for (const Kind &kind : kKinds) {
        if (kind.request == request) {
            return &kind;
        }
    }
    return nullptr;
}

int give_protocol(const char *folder, WifiRequest *wanted) {
    struct stat status;
    if (stat(folder, &status) != 0) {
        return ENODEV;
    }
    memset(wanted->protocol, 'b', sizeof(wanted->protocol));  // the driver uses all of it: nothing of before is left
    memcpy(wanted->protocol, "IEEE802.11", 11);
    return 0;
}

int give_stations(const char *folder, const WifiRequest *wanted) {
    char path[64];
    snprintf(path, sizeof(path), "%s/stations", folder);
    FILE *file = fopen(path, "re");
    if (file == nullptr) {
        return EOPNOTSUPP;
    }
    unsigned char answer[kStationTableSize];
    const size_t size = fread(answer, 1, sizeof(answer), file);
    fclose(file);
    memcpy(wanted->data.pointer, answer, size < wanted->data.length ? size : wanted->data.length);
    return 0;
}

// What of a request for stations is not as the driver wants it; nullptr: nothing.
const char *find_unfit(bool ax, const WifiRequest *wanted) {
    static const unsigned char kZeros[kStationTableSize] = {};
    const bool length = wanted->data.length != kStationTableSize;
    const bool filled = !length && memcmp(wanted->data.pointer, kZeros, kStationTableSize) != 0;
    if (wanted->data.flags != (ax ? kStationTableRequest : 0)) {
        return length ? "length,flags" : filled ? "filled,flags" : "flags";
    }
    return length ? "length" : filled ? "filled" : nullptr;
}

}  // namespace

bool is_wireless_request(unsigned long request) {
    return find_kind(request) != nullptr;
}

int answer_wireless_request(unsigned long request, void *argument) {
    auto *wanted = static_cast<WifiRequest *>(argument);
    const Kind *kind = find_kind(request);
    char folder[48];
    snprintf(folder, sizeof(folder), "/.runner/wireless/%.16s", wanted->interface);
    const char *unfit = nullptr;
    int error;
    if (request == kWifiNameRequest) {
        error = give_protocol(folder, wanted);
    } else {
        unfit = find_unfit(request == kAxPrivateRequest, wanted);
        error = give_stations(folder, wanted);
    }
    char interface[sizeof(wanted->interface) + 1] = "";
    memcpy(interface, wanted->interface, sizeof(wanted->interface));
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
