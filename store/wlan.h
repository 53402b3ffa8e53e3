// SPDX-License-Identifier: MIT
// The wireless interface that the per-interface items mean.
//
// A radio has a main access point, virtual access points -va0 to -va4 and a repeater interface -vxd, which shares the
// index of -va4. The numbering of the radios is the firmware's: 0 is 5 GHz, 1 is 2.4 GHz.
#ifndef STORE_WLAN_H
#define STORE_WLAN_H

constexpr int kRadio5G = 0;
constexpr int kRadio2G = 1;
constexpr int kRadioCount = 2;

constexpr int kMainAccessPoint = 0;
constexpr int kBackhaulAccessPoint = 1;  // -va0
constexpr int kGuestAccessPoint = 2;     // -va1
constexpr int kRepeater = 5;             // -vxd
constexpr int kInterfaceCount = 6;       // of each radio

struct WlanInterface {
    int radio;
    int index;  // of the radio's interfaces
};
constexpr WlanInterface kWlan5G{kRadio5G, kMainAccessPoint};    // "wlan0"
constexpr WlanInterface kWlan2G{kRadio2G, kMainAccessPoint};    // "wlan1"
constexpr WlanInterface kGuest5G{kRadio5G, kGuestAccessPoint};  // "wlan0-va1"
constexpr WlanInterface kGuest2G{kRadio2G, kGuestAccessPoint};  // "wlan1-va1"

// Selects an interface for the rest of the request; a handler selects before every group of per-interface items.
void SetWlan_idx(WlanInterface interface);

// Selects an interface by its name. 1, or 0 for a name that is refused: an unknown radio changes nothing, an unknown
// virtual access point leaves the radio's main access point selected.
int SetWlan_idx(const char *name);

// Brings the present selection back when it goes out of scope.
class KeepWlanSelection {
  public:
    KeepWlanSelection();
    ~KeepWlanSelection();
    KeepWlanSelection(const KeepWlanSelection &) = delete;
    KeepWlanSelection &operator=(const KeepWlanSelection &) = delete;

  private:
    WlanInterface before_;
};

#endif
