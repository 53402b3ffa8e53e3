// SPDX-License-Identifier: MIT
// The rule that a Wi-Fi key never stays on an open network.
#ifndef OBJECTS_WIFI_SECURITY_H
#define OBJECTS_WIFI_SECURITY_H

// Gives the selected interface the settings of a network that is protected by a pre-shared key (WPA2).
void WifiSecurityDefaults();

// Stores the key of the selected interface, 8 to 64 characters that the caller has checked. An open network gets
// WifiSecurityDefaults, as does one whose security can't be read; one that is secured already is left as it is.
void store_wifi_key(const char *key);

#endif
