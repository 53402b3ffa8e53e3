// SPDX-License-Identifier: MIT
// Nothing is limited but by the numbers that hold it.
#include "gateway/limits.h"

#include <climits>

int longest_body() {
    return INT_MAX - 1;  // the size is an int, terminator included
}

BodyEnd end_of_body() {
    return BodyEnd::kEndOfFile;
}

void begin_waiting_for_request() {}

void end_waiting_for_request() {}

void limit_process() {}
