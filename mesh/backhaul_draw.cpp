// SPDX-License-Identifier: MIT
// By the generator, whose start somebody who has seen the name can try out.
#include "mesh/backhaul_credentials.h"
#include "mesh/backhaul_generator.h"

bool prepare_backhaul_credentials() {
    return true;
}

BackhaulCredentials draw_backhaul_credentials() {
    return generate_backhaul_credentials(find_generator_start());
}
