// SPDX-License-Identifier: MIT
// What the Wi-Fi driver answers: which stations are associated with an interface. Requests are made with ioctl() on a
// socket. Declarations only, for C11 and C++.
#ifndef PLATFORM_WIFI_DRIVER_H
#define PLATFORM_WIFI_DRIVER_H

#include <assert.h>
#include <net/if.h>
#include <stdint.h>

// Requests. The first fails for what is no wireless interface.
enum {
    kWifiNameRequest = 0x8B01,      // SIOCGIWNAME
    kStationTableRequest = 0x8B30,  // fills the buffer with the station table
    kAxPrivateRequest = 0x89F2      // of 802.11ax interfaces: the request meant stands in the flags
};

struct WifiData {
    void *pointer;
    uint16_t length;  // in bytes
    uint16_t flags;
};

// The kernel copies a whole `ifreq` for a private request, whose widest part has this form.
struct WifiKernelRoom {
    unsigned long memory[2];
    uint8_t rest[8];
};

struct WifiRequest {
    char interface[IF_NAMESIZE];  // unterminated when it fills the field
    union {
        char protocol[IF_NAMESIZE];  // the answer to the first request
        struct WifiData data;
        struct WifiKernelRoom kernel_room;
    };
};
#ifdef IFNAMSIZ  // not shown to a strict C11 compiler, and `ifreq` neither
static_assert(sizeof(struct WifiRequest) == sizeof(struct ifreq), "shared with the kernel");
#endif

// A station as the driver describes it, packed. All numbers are bytes.
struct StaInfoEntry {
    uint8_t association_id[2];  // 0: the slot is empty
    uint8_t mac[6];
    uint8_t reserved_8[12];
    uint8_t state;  // kStationAssociated and others
    uint8_t reserved_21;
    uint8_t tx_rate;  // code of the rate from the router to the station
    uint8_t rssi;     // signal strength
    uint8_t reserved_24[28];
    uint8_t wireless_mode;  // kMode... bits
    uint8_t rate_flags;     // kRate... bits
    uint8_t rx_rate;        // code of the rate from the station to the router
    uint8_t reserved_55[8];
};
static_assert(sizeof(struct StaInfoEntry) == 63, "shared with the driver");

enum { kStationAssociated = 0x04 };
enum { kMode11b = 0x01, kMode11g = 0x02, kMode11a = 0x04, kMode11n = 0x08, kMode11ac = 0x40 };
enum { kRate40MHz = 0x01, kRateShortGuard = 0x02, kRate80MHz = 0x04 };

// The driver's table: the first record is unused.
enum { kStationSlots = 65, kStationTableSize = kStationSlots * sizeof(struct StaInfoEntry) };

#endif
