// SPDX-License-Identifier: MIT
// The switch that turns the debug log on.
#ifndef GATEWAY_DEBUG_SWITCH_H
#define GATEWAY_DEBUG_SWITCH_H

// The number in the first line of the switch's file; 0 when there is no such file, no number, or it can't be read.
int read_debug_switch();

#endif
