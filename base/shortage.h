// SPDX-License-Identifier: MIT
// Whether the request ran short of memory. A reply that lacks something for want of memory looks like a whole one to an
// app, so none is printed then (gateway/handler/reply.h).
#ifndef BASE_SHORTAGE_H
#define BASE_SHORTAGE_H

// Has every allocation that cJSON makes from now on looked at: whoever builds or parses a tree need not check each
// step.
void watch_json_allocations();

// Notes that memory was asked for in vain. For allocations of the program's own.
void note_shortage();

// The same where `error` says so. For calls that also fail for other reasons, which are then not a shortage: a file
// that is missing is something that a reply can tell.
void note_shortage_if(int error);

// Whether memory was asked for in vain since the start.
bool was_short();

#endif
