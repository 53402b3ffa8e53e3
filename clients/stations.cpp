// SPDX-License-Identifier: MIT
#include "clients/stations.h"

#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cstdlib>
#include <cstring>

#include "base/debug_log.h"
#include "base/resource.h"
#include "base/shortage.h"
#include "base/text.h"
#include "programs/programs.h"

namespace {

constexpr char kModule[] = "cgi_wlan";

// Codes of rates: below kFirstHt half a Mb/s each, then the two tables.
constexpr int kFirstHt = 128;
constexpr int kFirstVht = 160;

// HT rates in Mb/s, MCS 0 to 15, of the guard interval and the width. They are the standard's, but for the last one of
// the first row: apps know the driver's 144.5, not 144.4.
constexpr int kHtRates = 16;
constexpr char kHt20Short[kHtRates][6] = {"7.2",  "14.4", "21.7", "28.9", "43.3", "57.8",  "65",  "72.2",
                                          "14.4", "28.9", "43.3", "57.8", "86.7", "115.6", "130", "144.5"};
constexpr char kHt20Long[kHtRates][6] = {"6.5", "13", "19.5", "26", "39", "52",  "58.5", "65",
                                         "13",  "26", "39",   "52", "78", "104", "117",  "130"};
constexpr char kHt40Short[kHtRates][6] = {"15", "30", "45", "60",  "90",  "120", "135", "150",
                                          "30", "60", "90", "120", "180", "240", "270", "300"};
constexpr char kHt40Long[kHtRates][6] = {"13.5", "27", "40.5", "54",  "81",  "108", "121.5", "135",
                                         "27",   "54", "81",   "108", "162", "216", "243",   "270"};

// VHT rates in units of 500 kb/s: one, two and three streams, MCS 0 to 9 each. Some are not the standard's; they are
// the driver's own, and what apps have always been shown.
constexpr int kVhtRates = 30;
// clang-format off
constexpr uint16_t kVht[][kVhtRates] = {
    // 20 MHz: long guard interval, short guard interval
    {13, 26, 39, 52, 78, 104, 117, 130, 156, 156,
     26, 52, 78, 104, 156, 208, 234, 260, 312, 312,
     39, 78, 117, 156, 234, 312, 351, 390, 468, 520},
    {14, 29, 43, 58, 87, 116, 130, 144, 173, 173,
     29, 58, 87, 116, 173, 231, 260, 289, 347, 347,
     43, 86, 130, 173, 260, 347, 390, 433, 520, 578},
    // 40 MHz
    {27, 54, 81, 108, 162, 216, 243, 270, 324, 360,
     54, 108, 162, 216, 324, 432, 486, 540, 648, 720,
     81, 162, 243, 342, 486, 648, 729, 810, 972, 1080},
    {30, 60, 90, 120, 180, 240, 270, 300, 360, 400,
     60, 120, 180, 240, 360, 480, 540, 600, 720, 800,
     90, 180, 270, 360, 540, 720, 810, 900, 1080, 1200},
    // 80 MHz
    {59, 117, 176, 234, 351, 468, 527, 585, 702, 780,
     117, 234, 351, 468, 702, 936, 1053, 1170, 1404, 1560,
     176, 351, 527, 702, 1053, 1408, 1408, 1745, 2106, 2340},
    {65, 130, 195, 260, 390, 520, 585, 650, 780, 867,
     130, 260, 390, 520, 780, 1040, 1170, 1300, 1560, 1733,
     195, 390, 585, 780, 1170, 1560, 1560, 1950, 2340, 2600},
};
// clang-format on

// The modes that a station may have, the one that is shown first.
struct Mode {
    uint8_t bit;
    char text[6];
};

constexpr Mode kModes[] = {
    {kMode11ac, " 11ac"},
    {kMode11n,  " 11n" },
    {kMode11g,  " 11g" },
    {kMode11b,  " 11b" },
    {kMode11a,  " 11a" },
};

const char *mode_text(const StaInfoEntry &station) {
    for (const Mode &mode : kModes) {
        if ((station.wireless_mode & mode.bit) != 0) {
            return mode.text;
        }
    }
    return " ---";
}

// The 80 MHz bit means nothing here: HT has no such width.
const char (&ht_table(uint8_t flags))[kHtRates][6] {
    if ((flags & kRate40MHz) != 0) {
        return (flags & kRateShortGuard) != 0 ? kHt40Short : kHt40Long;
    }
    return (flags & kRateShortGuard) != 0 ? kHt20Short : kHt20Long;
}

const uint16_t (&vht_table(uint8_t flags))[kVhtRates] {
    const int narrow = (flags & kRate40MHz) != 0 ? 1 : 0;
    const int width = (flags & kRate80MHz) != 0 ? 2 : narrow;
    const int guard = (flags & kRateShortGuard) != 0 ? 1 : 0;
    return kVht[2 * width + guard];
}

// Asks the driver. Every C library's ioctl() takes a 16-bit request as it is, be its own type signed or not.
bool ask(const Descriptor &driver, uint16_t request, WifiRequest &argument) {
    return ioctl(driver.get(), request, &argument) >= 0;
}

bool is_associated(const StaInfoEntry &station) {
    const bool used = station.association_id[0] != 0 || station.association_id[1] != 0;
    return used && (station.state & kStationAssociated) != 0;
}

StationRow row_of(const StaInfoEntry &station) {
    StationRow row = {};
    memcpy(row.mac, station.mac, sizeof row.mac);
    join(row.mode, {mode_text(station)});
    wlan_rate_text(station, row.txRate, 1);
    wlan_rate_text(station, row.rxRate, 0);
    row.rssi = station.rssi;
    return row;
}

}  // namespace

void wlan_rate_text(const StaInfoEntry &station, char (&text)[20], int transmit) {
    const int code = transmit != 0 ? station.tx_rate : station.rx_rate;
    if (code < kFirstHt) {
        join(text, {Decimal(code / 2).c_str(), code % 2 != 0 ? ".5" : ""});
    } else if (code < kFirstVht) {
        if (code - kFirstHt < kHtRates) {
            join(text, {ht_table(station.rate_flags)[code - kFirstHt]});
        }
    } else if (code - kFirstVht < kVhtRates) {
        join(text, {Decimal(vht_table(station.rate_flags)[code - kFirstVht] >> 1).c_str()});
    }
}

int isAxSupported(const char *interface) {
    char setting[128] = {};
    join(setting, {interface});
    for (char *letter = setting; *letter != '\0'; ++letter) {
        if (*letter == '-') {
            *letter = '_';
        } else if (*letter >= 'a' && *letter <= 'z') {
            *letter = static_cast<char>(*letter - ('a' - 'A'));
        }
    }
    return is_ax(setting) ? 1 : 0;
}

int getWlStaInfo(const char *interface, void *buffer) {
    const Descriptor driver(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!driver) {
        return -1;
    }
    WifiRequest request = {};
    memcpy(request.interface, interface, strnlen(interface, sizeof request.interface));
    if (!ask(driver, kWifiNameRequest, request)) {
        return -1;
    }
    const bool ax = isAxSupported(interface) != 0;
    memset(buffer, 0, kStationTableSize);
    request.data = {buffer, kStationTableSize, 0};
    if (!ax) {
        return ask(driver, kStationTableRequest, request) ? 0 : -1;
    }
    request.data.flags = kStationTableRequest;
    return ask(driver, kAxPrivateRequest, request) ? 0 : -1;
}

int wirelessClientList(const char *interface, StationRow *rows) {
    const std::unique_ptr<StaInfoEntry, FreeMemory> table(
        static_cast<StaInfoEntry *>(calloc(kStationSlots, sizeof(StaInfoEntry))));
    if (!table) {
        note_shortage();
        DebugLog("Allocate buffer failed!");
        return 0;
    }
    if (getWlStaInfo(interface, table.get()) != 0) {
        DebugLog("Read wlan sta info failed!");
        return 0;
    }
    int count = 0;
    for (int slot = 1; slot < kStationSlots; ++slot) {
        const StaInfoEntry &station = table.get()[slot];
        if (!is_associated(station)) {
            continue;
        }
        const StationRow row = row_of(station);
        DebugLog("MAC=%02X%02X%02X%02X%02X%02X,Mode=%s,TXrate=%s,RXrate=%s,rssi=%d", row.mac[0], row.mac[1], row.mac[2],
                 row.mac[3], row.mac[4], row.mac[5], row.mode, row.txRate, row.rxRate, station.rssi);
        rows[count++] = row;
    }
    return count;
}
