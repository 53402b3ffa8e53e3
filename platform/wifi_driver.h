// What the Wi-Fi driver answers: which stations are associated with an interface. Requests are made with ioctl() on a
// socket. Declarations only.
#ifndef PLATFORM_WIFI_DRIVER_H
#define PLATFORM_WIFI_DRIVER_H

#include <net/if.h>

#include <cstddef>
#include <cstdint>

// Requests. The first fails for what is no wireless interface.
constexpr uint16_t kWifiNameRequest = 0x8B01;      // SIOCGIWNAME
constexpr uint16_t kStationTableRequest = 0x8B30;  // fills the buffer with the station table
constexpr uint16_t kAxPrivateRequest = 0x89F2;     // of 802.11ax interfaces: the request meant stands in the flags

struct WifiData {
    void *pointer;
    uint16_t length;  // in bytes
    uint16_t flags;
};

struct WifiRequest {
    char interface[IFNAMSIZ];  // unterminated when it fills the field
    union {
        WifiData data;
        ifmap kernel_room;  // the kernel copies a whole `ifreq` for a private request
    };
};
static_assert(sizeof(WifiRequest) == sizeof(ifreq) && offsetof(WifiRequest, data) == IFNAMSIZ,
              "shared with the kernel");

// A station as the driver describes it. All numbers are bytes.
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
static_assert(sizeof(StaInfoEntry) == 63, "shared with the driver");
static_assert(offsetof(StaInfoEntry, state) == 20, "shared with the driver");
static_assert(offsetof(StaInfoEntry, tx_rate) == 22, "shared with the driver");
static_assert(offsetof(StaInfoEntry, wireless_mode) == 52, "shared with the driver");
static_assert(offsetof(StaInfoEntry, rx_rate) == 54, "shared with the driver");

constexpr uint8_t kStationAssociated = 0x04;

constexpr uint8_t kMode11b = 0x01;
constexpr uint8_t kMode11g = 0x02;
constexpr uint8_t kMode11a = 0x04;
constexpr uint8_t kMode11n = 0x08;
constexpr uint8_t kMode11ac = 0x40;

constexpr uint8_t kRate40MHz = 0x01;
constexpr uint8_t kRateShortGuard = 0x02;
constexpr uint8_t kRate80MHz = 0x04;

// The driver's table: the first record is unused.
constexpr int kStationSlots = 65;
constexpr size_t kStationTableSize = kStationSlots * sizeof(StaInfoEntry);
static_assert(kStationTableSize == 4095, "shared with the driver");

#endif
