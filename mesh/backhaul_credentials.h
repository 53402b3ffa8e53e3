// SPDX-License-Identifier: MIT
// Name and key of the hidden access point over which mesh agents reach their controller. Nobody types them: the router
// makes them up.
#ifndef MESH_BACKHAUL_CREDENTIALS_H
#define MESH_BACKHAUL_CREDENTIALS_H

#include <cstddef>
#include <cstdint>

// Every generated name holds this; a name without it was not generated.
constexpr char kBackhaulSsidMark[] = "EasyMeshBH";

struct BackhaulCredentials {
    char ssid[21];
    char key[31];
};

constexpr size_t kNoiseSize = 50;

// Stirs noise into the number from which the generator starts. Unsigned 32-bit arithmetic, which wraps around.
uint32_t stir_noise(uint32_t start, const uint8_t (&noise)[kNoiseSize]);

// A number to start the generator from: another one every second.
uint32_t find_generator_start();

// The credentials that the C library's generator gives when it starts from `start`.
BackhaulCredentials generate_backhaul_credentials(uint32_t start);

// Generates credentials and stores them on the selected interface (store/wlan.h), with the security settings they need,
// and hides its name. A refused write ends it and stands in the debug log only.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the name is fixed
void _app_set_up_backhaul_credentials();

#endif
