// SPDX-License-Identifier: MIT
// Name and key of the hidden access point over which mesh agents reach their controller. Nobody types them: the router
// makes them up.
#ifndef MESH_BACKHAUL_CREDENTIALS_H
#define MESH_BACKHAUL_CREDENTIALS_H

#include <string_view>

// Every generated name holds this; a name without it was not generated.
constexpr char kBackhaulSsidMark[] = "EasyMeshBH";

struct BackhaulCredentials {
    char ssid[21];
    char key[31];
};

// What the name's nine characters behind its beginning are drawn from, and the key's. In the latter "0" and "." stand
// twice, and so come twice as often.
constexpr std::string_view kSsidCharacters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz1234567890";
constexpr std::string_view kKeyCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz1234567890~!@#0^&*()_+{}[]:;..?";
static_assert(kSsidCharacters.size() == 62 && kKeyCharacters.size() == 83, "the sets are part of the protocol");

// Makes sure of the chance that credentials are made of, before anything is written that would stand for them. False:
// there is none; standard error says so.
bool prepare_backhaul_credentials();

// Makes credentials up. Once, and after the chance is sure.
BackhaulCredentials draw_backhaul_credentials();

// Generates credentials and stores them on the selected interface (store/wlan.h), with the security settings they need,
// and hides its name. A refused write ends it and stands in the debug log only.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the name is fixed
void _app_set_up_backhaul_credentials();

#endif
