// SPDX-License-Identifier: MIT
// The stations of a wireless interface, as the Wi-Fi driver knows them, with their link rates as texts.
#ifndef CLIENTS_STATIONS_H
#define CLIENTS_STATIONS_H

#include <cstddef>
#include <cstdint>

#include "platform/wifi_driver.h"

struct StationRow {
    uint8_t mac[6];
    char mode[20];    // " 11ac", " 11n", " 11g", " 11b", " 11a" or " ---"
    char txRate[20];  // from the router to the station, in Mb/s; empty: unknown
    char rxRate[20];  // from the station to the router
    uint32_t rssi;    // 0 to 255
};

constexpr int kMostStations = kStationSlots - 1;

// Fills `rows`, which has room for kMostStations, with the associated stations of an interface, in the driver's order,
// and returns how many they are. 0, too, when there is no such interface or the driver refuses.
int wirelessClientList(const char *interface, StationRow *rows);

// Fills `buffer`, of kStationTableSize bytes, from the driver. 0; -1: the driver did not answer.
int getWlStaInfo(const char *interface, void *buffer);

// 1 when the router's settings mark it as an 802.11ax interface, else 0.
int isAxSupported(const char *interface);

// Writes the text of the station's transmit rate (transmit: 1) or receive rate (0). Leaves `text` as it is when there
// is none for the rate's code.
void wlan_rate_text(const StaInfoEntry &station, char (&text)[20], int transmit);

#endif
