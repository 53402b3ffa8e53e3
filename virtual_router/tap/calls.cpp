// SPDX-License-Identifier: MIT
// The calls of the C library that the tap listens to, besides those that the drivers play (virtual_router/driver). With
// nobody listening each goes straight on.
#undef _FORTIFY_SOURCE  // with it, the C library's headers bring functions of their own under these names
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "virtual_router/driver/next.h"
#include "virtual_router/tap/tap.h"

namespace {

int (*next_system)(const char *);
FILE *(*next_popen)(const char *, const char *);
int (*next_pclose)(FILE *);
char *(*next_fgets)(char *, int, FILE *);
size_t (*next_fwrite)(const void *, size_t, size_t, FILE *);
int (*next_vfprintf)(FILE *, const char *, va_list);
void (*next_perror)(const char *);
int (*next_msgget)(key_t, int);
int (*next_msgsnd)(int, const void *, size_t, int);
int (*next_rename)(const char *, const char *);
int (*next_unlink)(const char *);
int (*next_fileno)(FILE *);
FILE *(*next_fopencookie)(void *, const char *, cookie_io_functions_t);

// --- commands ---

// A command that the program reads from.
struct Command {
    FILE *stream;  // nullptr: none
    int file;
    int64_t since;
    char text[1024];
};
Command g_command;  // the endpoint has one at a time

void tell_begin(const char *text) {
    tap::tell_text(Event::kBegins, text);
    tap::flush();
}

void tell_end(const char *text, int64_t since, int status) {
    const int code = status == -1 ? -1 : WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    char how[16];
    snprintf(how, sizeof how, "%d", code);
    tap::Told told(code != 0, how);
    told.line.mark(EventMark::kTook, static_cast<unsigned long>(tap::now() - since));
    told.begin_text(Event::kRun, text, strlen(text));
}

// --- input and output ---

ssize_t told_read(const void *caller, int file, const void *bytes, ssize_t result) {
    if (result > 0 && tap::g_awaits_head && file == STDIN_FILENO) {
        tap::take_head(bytes, static_cast<size_t>(result));
    } else if (result > 0 && tap::hears(caller)) {
        if (file == STDIN_FILENO) {
            tap::tell_text(Event::kInput, static_cast<const char *>(bytes), static_cast<size_t>(result));
        } else if (g_command.stream != nullptr && file == g_command.file) {
            tap::tell_text(Event::kOutput, static_cast<const char *>(bytes), static_cast<size_t>(result));
            tap::flush();
        }
    }
    return result;
}

// How much of `size` bytes a call takes: all, one, or -1 for a failure, where a fault befalls it.
ssize_t taken_of(const void *caller, Call call, size_t size) {
    constexpr char kShort[] = "short";
    const Fault *fault = tap::hears(caller) ? tap::strike(call) : nullptr;
    if (fault == nullptr) {
        return static_cast<ssize_t>(size);
    }
    if (strcmp(fault->how, kShort) == 0) {
        return size > 0 ? 1 : 0;
    }
    errno = atoi(fault->how);
    return -1;
}

ssize_t read_for(const void *caller, int file, void *bytes, size_t size) {
    const ssize_t taken = taken_of(caller, Call::kRead, size);
    return taken < 0 ? -1 : told_read(caller, file, bytes, syscall(SYS_read, file, bytes, taken));
}

// A text as it was cut by snprintf().
void tell_printed(const char *text, size_t room, int size) {
    if (size > 0) {
        const auto whole = static_cast<size_t>(size);
        tap::tell_error(text, whole < room ? whole : room - 1);
    }
}

__attribute__((format(printf, 3, 0))) int print(const void *caller, FILE *stream, const char *format,
                                                va_list arguments) {
    if (tap::hears(caller) && stream == stderr) {
        char text[4096];
        va_list again;
        va_copy(again, arguments);
        tell_printed(text, sizeof text, vsnprintf(text, sizeof text, format, again));
        va_end(again);
    }
    return next("vfprintf", next_vfprintf)(stream, format, arguments);
}

// --- the console ---

struct Console {
    FILE *stream;  // the real one
    size_t size;
    char text[8192];
};
Console g_console;  // a line opens it and closes it again

ssize_t write_console(void * /*cookie*/, const char *bytes, size_t size) {
    const size_t room = sizeof g_console.text - g_console.size;
    memcpy(g_console.text + g_console.size, bytes, size < room ? size : room);
    g_console.size += size < room ? size : room;
    next("fwrite", next_fwrite)(bytes, 1, size, g_console.stream);
    return static_cast<ssize_t>(size);
}

int close_console(void * /*cookie*/) {
    tap::tell_lines(Event::kDebug, g_console.text, g_console.size);
    FILE *stream = g_console.stream;
    g_console.stream = nullptr;
    return fclose(stream);
}

}  // namespace

namespace tap {

FILE *open_console(FILE *console) {
    if (g_console.stream != nullptr) {
        return console;
    }
    FILE *stream =
        next("fopencookie", next_fopencookie)(nullptr, "w", {nullptr, write_console, nullptr, close_console});
    if (stream == nullptr) {
        return console;
    }
    g_console.stream = console;
    g_console.size = 0;
    return stream;
}

}  // namespace tap

PLAYED ssize_t read(int file, void *bytes, size_t size) {
    return read_for(CALLER, file, bytes, size);
}

// What a read into a buffer of known size is compiled to. Declared only where checks are on.
PLAYED ssize_t __read_chk(int file, void *bytes, size_t size, size_t room);
PLAYED ssize_t __read_chk(int file, void *bytes, size_t size, size_t room) {
    if (size > room) {
        __builtin_trap();
    }
    return read_for(CALLER, file, bytes, size);
}

PLAYED ssize_t write(int file, const void *bytes, size_t size) {
    const ssize_t taken = taken_of(CALLER, Call::kWrite, size);
    const ssize_t result = taken < 0 ? -1 : syscall(SYS_write, file, bytes, taken);
    if (tap::hears(CALLER)) {
        const size_t done = result < 0 ? size : static_cast<size_t>(result);
        if (file == STDOUT_FILENO) {
            tap::Told(result < 0, result < 0 ? tap::error_name(errno) : nullptr)
                .begin_text(Event::kReply, static_cast<const char *>(bytes), done);
            tap::flush();
        } else if (file == STDERR_FILENO) {
            tap::tell_error(static_cast<const char *>(bytes), done);
        } else if (result >= 0) {
            tap::tell_text(Event::kWrote, static_cast<const char *>(bytes), done);
        }
    }
    return result;
}

// How app.scgi writes a reply and its head.
PLAYED ssize_t writev(int file, const iovec *parts, int count) {
    const bool told = tap::hears(CALLER) && file == STDOUT_FILENO;
    if (told) {
        tap::flush();  // the head says where the reply ends: whoever has it may be done before this goes on
    }
    size_t size = 0;
    for (int i = 0; i < count; ++i) {
        size += parts[i].iov_len;
    }
    const ssize_t taken = taken_of(CALLER, Call::kWrite, size);
    const ssize_t result = taken < 0                            ? -1
                           : static_cast<size_t>(taken) == size ? syscall(SYS_writev, file, parts, count)
                                                                : syscall(SYS_write, file, parts[0].iov_base, taken);
    size_t left = result < 0 ? size : static_cast<size_t>(result);
    for (int i = 0; told && i < count && left > 0; ++i) {
        const size_t done = left < parts[i].iov_len ? left : parts[i].iov_len;
        tap::Told(result < 0, result < 0 ? tap::error_name(errno) : nullptr)
            .begin_text(Event::kReply, static_cast<const char *>(parts[i].iov_base), done);
        left -= done;
    }
    if (told) {
        tap::flush();
    }
    return result;
}

PLAYED char *fgets(char *line, int size, FILE *stream) {
    char *const result = next("fgets", next_fgets)(line, size, stream);
    if (result != nullptr && tap::hears(CALLER) && stream == g_command.stream) {
        tap::tell_text(Event::kOutput, line);
    }
    return result;
}

PLAYED size_t fwrite(const void *bytes, size_t size, size_t count, FILE *stream) {
    if (tap::hears(CALLER) && stream == stderr) {
        tap::tell_error(static_cast<const char *>(bytes), size * count);
    }
    return next("fwrite", next_fwrite)(bytes, size, count, stream);
}

PLAYED int fprintf(FILE *stream, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = print(CALLER, stream, format, arguments);
    va_end(arguments);
    return result;
}

// As __read_chk(). The check is of "%n" only, which this project's programs do not use.
PLAYED __attribute__((format(printf, 3, 4))) int __fprintf_chk(FILE *stream, int flag, const char *format, ...);
PLAYED int __fprintf_chk(FILE *stream, int /*flag*/, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = print(CALLER, stream, format, arguments);
    va_end(arguments);
    return result;
}

PLAYED void perror(const char *text) {
    if (tap::hears(CALLER)) {
        char line[1024];
        tell_printed(line, sizeof line, snprintf(line, sizeof line, "%s: %s", text, tap::error_name(errno)));
    }
    next("perror", next_perror)(text);
}

PLAYED int system(const char *command) {
    if (!tap::hears(CALLER) || command == nullptr) {
        return next("system", next_system)(command);
    }
    tell_begin(command);
    const int64_t since = tap::now();
    const Fault *fault = tap::strike(Call::kRun, command);
    const int status = tap::fails(Call::kSystem) ? -1
                       : fault != nullptr        ? failed_result(*fault, 1) << 8  // as wait() has an exit status
                                                 : next("system", next_system)(command);
    if (tap::g_listens) {
        tell_end(command, since, status);
    }
    return status;
}

PLAYED FILE *popen(const char *command, const char *mode) {
    const bool told = tap::hears(CALLER) && g_command.stream == nullptr;
    if (told) {
        tell_begin(command);
    }
    const Fault *fault = told ? tap::strike(Call::kRun, command) : nullptr;
    char instead[32];
    if (fault != nullptr) {
        snprintf(instead, sizeof instead, "exit %d", failed_result(*fault, 1));
    }
    FILE *const stream = told && tap::fails(Call::kPopen)
                             ? nullptr
                             : next("popen", next_popen)(fault != nullptr ? instead : command, mode);
    if (told && stream != nullptr && tap::g_listens) {
        g_command.stream = stream;
        g_command.file = next("fileno", next_fileno)(stream);
        g_command.since = tap::now();
        snprintf(g_command.text, sizeof g_command.text, "%s", command);
    }
    return stream;
}

PLAYED int pclose(FILE *stream) {
    const int status = next("pclose", next_pclose)(stream);
    if (stream == g_command.stream && stream != nullptr) {
        g_command.stream = nullptr;
        if (tap::g_listens) {
            tell_end(g_command.text, g_command.since, status);
        }
    }
    return status;
}

PLAYED int msgget(key_t key, int flags) noexcept {
    return tap::hears(CALLER) && tap::fails(Call::kMsgget) ? -1 : next("msgget", next_msgget)(key, flags);
}

PLAYED int msgsnd(int queue, const void *record, size_t size, int flags) {
    const int result =
        tap::hears(CALLER) && tap::fails(Call::kMsgsnd) ? -1 : next("msgsnd", next_msgsnd)(queue, record, size, flags);
    if (tap::hears(CALLER)) {
        tap::Told told(result < 0, result < 0 ? tap::error_name(errno) : nullptr);
        const auto *entry = static_cast<const char *>(record);
        long type = 0;
        memcpy(&type, entry, sizeof type);
        told.line.begin(Event::kQueue);
        told.line.number(type);
        told.line.named_bytes("payload", entry + sizeof type, size < kMostToldBytes ? size : kMostToldBytes);
    }
    return result;
}

PLAYED int rename(const char *from, const char *to) noexcept {
    const int result = tap::hears(CALLER) && tap::fails(Call::kRename) ? -1 : next("rename", next_rename)(from, to);
    if (tap::hears(CALLER)) {
        tap::tell_file(Event::kWrite, to, result);
    }
    return result;
}

PLAYED int unlink(const char *path) noexcept {
    const int result = next("unlink", next_unlink)(path);
    if (tap::hears(CALLER) && result == 0) {
        tap::tell_file(Event::kRemove, path, result);
    }
    return result;
}
