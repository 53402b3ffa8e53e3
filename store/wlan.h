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

// Interface names of the main and guest access points.
constexpr char kWlan5G[] = "wlan0";
constexpr char kWlan2G[] = "wlan1";
constexpr char kGuest5G[] = "wlan0-va1";
constexpr char kGuest2G[] = "wlan1-va1";

// Selects an interface by its name. 1, or 0 for a name that is refused: an unknown radio changes nothing, an unknown
// virtual access point leaves the radio's main access point selected. The selection lasts for the rest of the request;
// a handler selects before every group of per-interface items.
int SetWlan_idx(const char *name);

// Selects an interface by numbers, which are not checked.
void select_wlan(int radio, int index);

// Brings the present selection back when it goes out of scope.
class KeepWlanSelection {
  public:
    KeepWlanSelection();
    ~KeepWlanSelection();
    KeepWlanSelection(const KeepWlanSelection &) = delete;
    KeepWlanSelection &operator=(const KeepWlanSelection &) = delete;

  private:
    int radio_;
    int index_;
};

#endif
