// SPDX-License-Identifier: MIT
// The generator of backhaul credentials that the protocol has.
#ifndef MESH_BACKHAUL_GENERATOR_H
#define MESH_BACKHAUL_GENERATOR_H

#include <cstddef>
#include <cstdint>

#include "mesh/backhaul_credentials.h"

constexpr size_t kNoiseSize = 50;

// Stirs noise into the number from which the generator starts. Unsigned 32-bit arithmetic, which wraps around.
uint32_t stir_noise(uint32_t start, const uint8_t (&noise)[kNoiseSize]);

// A number to start the generator from: another one every second.
uint32_t find_generator_start();

// The credentials that the C library's generator gives when it starts from `start`.
BackhaulCredentials generate_backhaul_credentials(uint32_t start);

#endif
