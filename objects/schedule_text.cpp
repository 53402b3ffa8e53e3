// SPDX-License-Identifier: MIT
#include "objects/schedule_text.h"

#include <cstddef>
#include <cstring>
#include <initializer_list>

namespace {
constexpr size_t kWeekdays = 7;
constexpr unsigned kFirstWeekday = 1U << (kWeekdays - 1);
constexpr size_t kCompactLength = 6;
}  // namespace

uint8_t parse_week_mask(const char *text) {
    if (text == nullptr || strlen(text) != kWeekdays) {
        return 0;
    }
    unsigned mask = 0;
    for (; *text != '\0'; ++text) {
        if (*text != '0' && *text != '1') {
            return 0;
        }
        mask = mask << 1 | (*text == '1' ? 1U : 0U);
    }
    return static_cast<uint8_t>(mask);
}

WeekText print_week_mask(uint8_t mask) {
    WeekText week = {};
    char *digit = week.text;
    for (unsigned day = kFirstWeekday; day != 0; day >>= 1) {
        *digit++ = (mask & day) != 0 ? '1' : '0';
    }
    return week;
}

CompactTime compact_time(const char *time) {
    CompactTime compact = {};
    char *at = compact.text;
    for (const int place : {0, 1, 3, 4, 6, 7}) {
        *at++ = time[place];
    }
    return compact;
}

ClockTime expand_time(const char *compact) {
    ClockTime time;
    size_t length = 0;
    for (size_t i = 0; i < kCompactLength && compact[i] != '\0'; ++i) {
        if (i == 2 || i == 4) {
            time.text[length++] = ':';
        }
        time.text[length++] = compact[i];
    }
    time.text[length] = '\0';
    return time;
}
