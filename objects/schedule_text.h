// SPDX-License-Identifier: MIT
// Times of day and weekdays as the app writes them, and as the store keeps them.
#ifndef OBJECTS_SCHEDULE_TEXT_H
#define OBJECTS_SCHEDULE_TEXT_H

#include <cstddef>
#include <cstdint>

// Seven characters "0" or "1", one a weekday. The first is bit 6 of the store's mask, the last bit 0.
struct WeekText {
    char text[8];
};

// A time of day in the store: HHMMSS.
struct CompactTime {
    char text[7];
};

// A time of day in the app: HH:MM:SS.
struct ClockTime {
    char text[9];
};

constexpr size_t kWeekLength = sizeof WeekText::text - 1;
constexpr size_t kClockTimeLength = sizeof ClockTime::text - 1;

constexpr char kMidnight[] = "00:00:00";  // what the app gets for a time that was never set

// The mask of seven "0" and "1". 0 for any other text, and for nullptr: one wrong character makes the whole mask 0.
uint8_t parse_week_mask(const char *text);

// The text of a mask, of which bit 7 does not count.
WeekText print_week_mask(uint8_t mask);

// Drops characters 2 and 5, whatever they are. `time` has at least 8 characters, which are not checked.
CompactTime compact_time(const char *time);

// Puts the colons back between the first 6 characters of `compact`; a shorter text ends where it ends.
ClockTime expand_time(const char *compact);

#endif
