// The rule for a time zone index, which two objects set.
#ifndef OBJECTS_TIME_ZONE_H
#define OBJECTS_TIME_ZONE_H

#include <cstring>

constexpr char kTimeZoneLength[] = "ERROR: timezone index length is too short/long";

// Its length must be 3 to 7 characters; what the text means is the firmware's affair.
inline bool is_time_zone_index(const char *text) {
    const size_t length = strlen(text);
    return length >= 3 && length <= 7;
}

#endif
