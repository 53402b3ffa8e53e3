// SPDX-License-Identifier: MIT
// The tap: tells one event (virtual_router/vocabulary/events.conf) for each thing that a request does, to the keeper,
// which listens at the socket /dev/tap. A process has a connection of its own there, which ends with it.
//
// It is part of libdriver.so, and does something in app.cgi and app.scgi only, and only while somebody listens. It
// never makes the program wait for long: when the keeper takes no more for kMostWaiting, nothing is told any more.
#ifndef VIRTUAL_ROUTER_TAP_TAP_H
#define VIRTUAL_ROUTER_TAP_TAP_H

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "virtual_router/tap/hooks.h"

namespace tap {

extern bool g_listens;

// This is app.scgi, and the head of its request is still to come: what is read of it goes to take_head(), which begins
// to tell when it is whole.
extern bool g_awaits_head;
void take_head(const void *bytes, size_t size);

// Whether somebody listens, and the call comes from the program itself: from that address. What libraries do for it is
// no deed of the program's.
bool hears_from(const void *caller);
inline bool hears(const void *caller) {
    return g_listens && hears_from(caller);
}

// Microseconds since 1970 of the PC's clock.
int64_t now();

// One event. It is told when the object goes, and keeps errno.
class Told {
  public:
    explicit Told(bool failed = false, const char *how = nullptr);
    Told(const Told &) = delete;
    Told &operator=(const Told &) = delete;
    ~Told();

    EventLine line;
    // The line's last field: a text, cut to what is told of one.
    void begin_text(Event event, const char *text, size_t size);

  private:
    int kept_errno_;
};

void tell_text(Event event, const char *text, size_t size);
void tell_text(Event event, const char *text);
// Each line of a text that is not empty.
void tell_lines(Event event, const char *text, size_t size);
// A call on a file that came to `result`, negative for a failure as errno says.
// What was printed on standard error at once, without the line feed at its end.
void tell_error(const char *text, size_t size);
void tell_file(Event event, const char *path, int result);

// The fault that lets a call on this item fail; nullptr: none does, and a delay has passed. A file is named by its
// path, a command by its text.
const Fault *strike(Call call, const char *item = "");
// The same for a call that fails with an error number, which is in errno then.
bool fails(Call call, const char *item = "");

// An address as it is told, of its bytes.
struct Shown {
    static Shown ip(const void *address);
    static Shown mac(const void *address);
    char text[18];
};

// As a mark of failure names it: ENOENT.
const char *error_name(int error);

// Sends what has been told so far. Before whatever may take its time.
void flush();

// What the program reads in the place of a file that it has opened, where a fault befalls its content. A descriptor or
// a stream that is none is handed on.
int with_content(const char *path, int file);
FILE *with_content(const char *path, FILE *stream);

// What a regular file that the program has opened holds. Where it stands in the file stays.
void tell_content(int file);
void tell_content(FILE *stream);

// The stream that the program gets in the place of the console's: what is written to it is told, too.
FILE *open_console(FILE *console);

}  // namespace tap

#define CALLER __builtin_return_address(0)

#endif
