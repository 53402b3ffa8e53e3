// SPDX-License-Identifier: MIT
// Reads a fault from the line that faults.conf describes, and tells which calls it befalls.
//
// Header only, without allocation and without the C++ library, as event.h.
#ifndef VIRTUAL_ROUTER_VOCABULARY_FAULT_H
#define VIRTUAL_ROUTER_VOCABULARY_FAULT_H

#include <climits>
#include <cstdlib>
#include <cstring>

#include "virtual_router/vocabulary/words.h"

struct Fault {
    Call call;
    bool fails;     // false: it is only late
    char how[24];   // "": as the call fails
    char item[64];  // "": all of them
    unsigned from;  // the first call, counted from 1
    unsigned count;
    unsigned delay;  // microseconds
    unsigned seed;   // of what is drawn by chance
    unsigned seen;   // of the calls that it means

    // Whether it befalls every such call, and at once.
    bool is_plain() const { return from == 1 && count == UINT_MAX && delay == 0; }

    // Whether it befalls the call that it means and that is being made now.
    bool strikes() {
        ++seen;
        return seen >= from && seen - from < count;
    }
};

// The place of a word among `words`; -1 when it is none of them.
template <size_t count>
int find_word(const char *const (&words)[count], const char *word, size_t length) {
    for (size_t i = 0; i < count; ++i) {
        if (strlen(words[i]) == length && memcmp(words[i], word, length) == 0) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

// Reads the line up to its end or a line feed. False: it is no fault.
inline bool parse_fault(const char *line, Fault *fault) {
    *fault = {};
    fault->from = 1;
    fault->count = UINT_MAX;
    fault->seed = 1;
    bool called = false;
    bool failed = false;
    while (*line != '\0' && *line != '\n') {
        const size_t length = strcspn(line, " \n");
        const size_t name = strcspn(line, " \n=");
        const int mark = called ? -1 : find_word(kFaultMarkWords, line, name);
        if (mark >= 0) {
            const char *value = line + (name < length ? name + 1 : length);
            const size_t size = static_cast<size_t>(line + length - value);
            switch (static_cast<FaultMark>(mark)) {
                case FaultMark::kFailed:
                    if (size >= sizeof(fault->how)) {
                        return false;
                    }
                    memcpy(fault->how, value, size);
                    failed = true;
                    break;
                case FaultMark::kDelay:
                    fault->delay = static_cast<unsigned>(strtoul(value, nullptr, 10));
                    break;
                case FaultMark::kFrom:
                    fault->from = static_cast<unsigned>(strtoul(value, nullptr, 10));
                    break;
                case FaultMark::kCount:
                    fault->count = static_cast<unsigned>(strtoul(value, nullptr, 10));
                    break;
                case FaultMark::kSeed:
                    fault->seed = static_cast<unsigned>(strtoul(value, nullptr, 10));
                    break;
                case FaultMark::kRequests:
                case FaultMark::kAction:
                case FaultMark::kObject:
                case FaultMark::kPhone:
                    return false;  // whoever armed it has seen to these
            }
        } else if (!called) {
            const int call = find_word(kCallWords, line, length);
            if (call < 0) {
                return false;
            }
            fault->call = static_cast<Call>(call);
            called = true;
        } else if (fault->item[0] == '\0' && length > 0 && length < sizeof(fault->item)) {
            memcpy(fault->item, line, length);
        } else {
            return false;
        }
        line += length;
        line += *line == ' ' ? 1 : 0;
    }
    fault->fails = failed || fault->delay == 0;
    return called && fault->from > 0;
}

#endif
