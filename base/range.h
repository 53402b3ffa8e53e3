// SPDX-License-Identifier: MIT
// The one way to ask whether something is in its range.
#ifndef BASE_RANGE_H
#define BASE_RANGE_H

#include <cstddef>
#include <cstring>
#include <type_traits>

// Whether a number is `min` to `max`, both included. No range begins below 0, so a negative number is in none.
template <typename Number>
constexpr bool in_range(Number value, std::common_type_t<Number> min, std::common_type_t<Number> max) {
    return min <= value && value <= max;
}

// Whether a text has `min` to `max` bytes.
inline bool has_length(const char *text, size_t min, size_t max) {
    return in_range(strlen(text), min, max);
}

// Whether a text has exactly that many bytes.
inline bool has_length(const char *text, size_t length) {
    return strlen(text) == length;
}

#endif
