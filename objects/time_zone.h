// SPDX-License-Identifier: MIT
// The rule for a time zone index, which two objects set.
#ifndef OBJECTS_TIME_ZONE_H
#define OBJECTS_TIME_ZONE_H

#include "base/range.h"

constexpr char kTimeZoneLength[] = "ERROR: timezone index length is too short/long";

// Its length must be 3 to 7 characters; what the text means is the firmware's affair.
inline bool is_time_zone_index(const char *text) {
    return has_length(text, 3, 7);
}

#endif
