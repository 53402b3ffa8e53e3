// SPDX-License-Identifier: MIT
// Lets calls of the C library fail, preloaded into the program under test. The faults are lines of /.runner/faults in
// the form of virtual_router/vocabulary/faults.conf; at the end /.runner/calls says how many calls of each kind were
// made.
//
// Only the program's own calls count, and what the C library and cJSON allocate for it: not those of the other doubles.
#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/ioctl.h>
#include <sys/msg.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/arpcheck.h"
#include "virtual_router/vocabulary/fault.h"

namespace {

constexpr int kCallCount = sizeof(kCallWords) / sizeof(kCallWords[0]);
constexpr size_t kMaxFaults = 8;

struct Error {
    const char *name;
    int number;
};
constexpr Error kErrors[] = {
    {"EACCES", EACCES},
    {"EAGAIN", EAGAIN},
    {"EINTR",  EINTR },
    {"EIO",    EIO   },
    {"EMFILE", EMFILE},
    {"ENOENT", ENOENT},
    {"ENOMEM", ENOMEM},
    {"ENOSPC", ENOSPC},
    {"EPIPE",  EPIPE },
    {"EIDRM",  EIDRM },
};

// A read or a write that goes on after one byte; no error.
constexpr char kShort[] = "short";

Fault g_faults[kMaxFaults];
size_t g_fault_count;
unsigned g_calls[kCallCount];
bool g_counting;  // between the program's first step and its last
FILE *g_output;   // of the command that the program runs through popen()

// Whether an interruption befell a read of stdio, which does not go on behind one, as the program's own reads do.
bool g_stream_interrupted;

// Where code lies that is not the program's: the doubles.
struct Range {
    uintptr_t begin;
    uintptr_t end;
};
Range g_program;
Range g_doubles[8];
size_t g_double_count;

bool is_in(const Range &range, const void *address) {
    const auto at = reinterpret_cast<uintptr_t>(address);
    return at >= range.begin && at < range.end;
}

bool is_double(const void *address) {
    for (size_t i = 0; i < g_double_count; ++i) {
        if (is_in(g_doubles[i], address)) {
            return true;
        }
    }
    return false;
}

int note_object(dl_phdr_info *info, size_t /*size*/, void * /*unused*/) {
    Range range = {UINTPTR_MAX, 0};
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const auto &header = info->dlpi_phdr[i];
        if (header.p_type == PT_LOAD) {
            const uintptr_t begin = info->dlpi_addr + header.p_vaddr;
            range.begin = begin < range.begin ? begin : range.begin;
            range.end = begin + header.p_memsz > range.end ? begin + header.p_memsz : range.end;
        }
    }
    if (info->dlpi_name[0] == '\0') {
        g_program = range;
    } else if (strncmp(info->dlpi_name, "/lib/lib", 8) == 0 && g_double_count < 8 &&
               (strstr(info->dlpi_name, "/libapmib.so") != nullptr ||
                strstr(info->dlpi_name, "/libarpcheck.so") != nullptr ||
                strstr(info->dlpi_name, "/libinterfaces.so") != nullptr)) {
        g_doubles[g_double_count++] = range;
    }
    return 0;
}

int error_number(const char *name) {
    for (const Error &error : kErrors) {
        if (strcmp(error.name, name) == 0) {
            return error.number;
        }
    }
    __builtin_trap();
}

// The fault that befalls this call; nullptr for none.
const Fault *strike(Call call) {
    if (!g_counting) {
        return nullptr;
    }
    ++g_calls[static_cast<int>(call)];
    const Fault *found = nullptr;
    for (size_t i = 0; i < g_fault_count; ++i) {
        if (g_faults[i].call == call && g_faults[i].strikes()) {
            found = &g_faults[i];
        }
    }
    return found;
}

// Whether the call fails; sets errno then.
bool fails(Call call) {
    const Fault *fault = strike(call);
    if (fault != nullptr) {
        errno = error_number(fault->how);
    }
    return fault != nullptr;
}

// How much of `size` bytes a read or a write takes: all, one byte, or -1 for a failure.
ssize_t size_of(Call call, size_t size) {
    const Fault *fault = strike(call);
    if (fault == nullptr) {
        return static_cast<ssize_t>(size);
    }
    if (strcmp(fault->how, kShort) == 0) {
        return size > 0 ? 1 : 0;
    }
    errno = error_number(fault->how);
    return -1;
}

template <typename Function>
Function *real(const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

// The real call, looked up once: the look-up may allocate.
#define REAL(name)                                                 \
    (*[] {                                                         \
        static auto *const function = real<decltype(name)>(#name); \
        return function;                                           \
    }())

__attribute__((constructor)) void begin() {
    dl_iterate_phdr(note_object, nullptr);
    static char text[4096];
    const int file = REAL(open)("/.runner/faults", O_RDONLY | O_CLOEXEC);
    if (file >= 0) {
        const ssize_t size = REAL(read)(file, text, sizeof(text) - 1);
        close(file);
        for (char *line = text; size > 0 && *line != '\0';) {
            if (g_fault_count == kMaxFaults || !parse_fault(line, &g_faults[g_fault_count])) {
                __builtin_trap();
            }
            ++g_fault_count;
            char *end = strchr(line, '\n');
            line = end != nullptr ? end + 1 : line + strlen(line);
        }
    }
    g_counting = true;
}

// While a double does its work: what the C library allocates for it is not the program's affair.
class InDouble {
  public:
    InDouble() { g_counting = false; }
    ~InDouble() { g_counting = counting_; }
    InDouble(const InDouble &) = delete;
    InDouble &operator=(const InDouble &) = delete;

  private:
    bool counting_ = g_counting;
};

// Descriptors that are open, but for the first three.
int count_descriptors() {
    int count = 0;
    for (int descriptor = 3; descriptor < 64; ++descriptor) {
        count += fcntl(descriptor, F_GETFD) >= 0 ? 1 : 0;
    }
    return count;
}

__attribute__((destructor)) void end() {
    g_counting = false;
    static char text[4096];
    size_t size = 0;
    for (int i = 0; i < kCallCount; ++i) {
        if (g_calls[i] > 0) {
            size +=
                static_cast<size_t>(snprintf(text + size, sizeof(text) - size, "%s %u\n", kCallWords[i], g_calls[i]));
        }
    }
    size += static_cast<size_t>(snprintf(text + size, sizeof(text) - size, "descriptors %d\n", count_descriptors()));
    size +=
        g_stream_interrupted ? static_cast<size_t>(snprintf(text + size, sizeof(text) - size, "interrupted 1\n")) : 0;
    const int file = REAL(open)("/.runner/calls", O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (file < 0 || REAL(write)(file, text, size) != static_cast<ssize_t>(size)) {
        __builtin_trap();
    }
    close(file);
}

// Memory that is handed out before the real allocator is known: dlsym() asks for some.
alignas(16) char g_first[4096];
size_t g_first_used;
bool g_looking;

void *first_memory(size_t size) {
    void *memory = g_first + g_first_used;
    g_first_used += (size + 15) / 16 * 16;
    if (g_first_used > sizeof(g_first)) {
        __builtin_trap();
    }
    return memory;
}

bool is_first(const void *memory) {
    return memory >= g_first && memory < g_first + sizeof(g_first);
}

using Malloc = void *(size_t);
using Calloc = void *(size_t, size_t);
using Realloc = void *(void *, size_t);
using Free = void(void *);
Malloc *g_malloc;
Calloc *g_calloc;
Realloc *g_realloc;
Free *g_free;

// False while the real functions are being looked up.
bool has_allocator() {
    if (g_malloc != nullptr) {
        return true;
    }
    if (g_looking) {
        return false;
    }
    g_looking = true;
    g_calloc = real<Calloc>("calloc");
    g_realloc = real<Realloc>("realloc");
    g_free = real<Free>("free");
    g_malloc = real<Malloc>("malloc");
    g_looking = false;
    return true;
}

ssize_t read_for(const void *caller, int file, void *buffer, size_t size) {
    const ssize_t take = is_in(g_program, caller) ? size_of(Call::kRead, size) : static_cast<ssize_t>(size);
    return take < 0 ? -1 : REAL(read)(file, buffer, static_cast<size_t>(take));
}

// What stdio reads for the program, counted as its own reads are.
ssize_t read_stream(void *cookie, char *buffer, size_t size) {
    const auto file = static_cast<int>(reinterpret_cast<intptr_t>(cookie));
    const ssize_t count = read_for(reinterpret_cast<const void *>(g_program.begin), file, buffer, size);
    g_stream_interrupted = g_stream_interrupted || (count < 0 && errno == EINTR);
    return count;
}

// The same for the line that is due from a command's output, of which this library does not see the reads. A line is
// never short. False: it cannot be read.
bool read_output(FILE *stream) {
    if (stream != g_output || size_of(Call::kRead, 1) >= 0) {
        return true;
    }
    g_stream_interrupted = g_stream_interrupted || errno == EINTR;
    return false;
}

int close_stream(void *cookie) {
    return close(static_cast<int>(reinterpret_cast<intptr_t>(cookie)));
}

}  // namespace

#define CALLER __builtin_return_address(0)

extern "C" {

void *malloc(size_t size) {
    if (!has_allocator()) {
        return first_memory(size);
    }
    return !is_double(CALLER) && fails(Call::kMalloc) ? nullptr : g_malloc(size);
}

void *calloc(size_t count, size_t size) {
    if (!has_allocator()) {
        return first_memory(count * size);
    }
    return !is_double(CALLER) && fails(Call::kMalloc) ? nullptr : g_calloc(count, size);
}

void *realloc(void *memory, size_t size) {
    if (!has_allocator() || is_first(memory)) {
        __builtin_trap();
    }
    return !is_double(CALLER) && fails(Call::kMalloc) ? nullptr : g_realloc(memory, size);
}

void free(void *memory) {
    if (!is_first(memory) && has_allocator()) {
        g_free(memory);
    }
}

int open(const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return is_in(g_program, CALLER) && fails(Call::kOpen) ? -1 : REAL(open)(path, flags, mode);
}

FILE *fopen(const char *path, const char *mode) {
    if (!is_in(g_program, CALLER)) {
        return REAL(fopen)(path, mode);
    }
    if (fails(Call::kOpen)) {
        return nullptr;
    }
    if (mode[0] != 'r') {
        return REAL(fopen)(path, mode);
    }
    const int file = REAL(open)(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return nullptr;
    }
    cookie_io_functions_t functions = {};
    functions.read = read_stream;
    functions.close = close_stream;
    FILE *stream = fopencookie(reinterpret_cast<void *>(static_cast<intptr_t>(file)), "r", functions);
    if (stream == nullptr) {
        const int error = errno;
        close(file);
        errno = error;
    }
    return stream;
}

ssize_t read(int file, void *buffer, size_t size) {
    return read_for(CALLER, file, buffer, size);
}

// What a read into a buffer of known size is compiled to. The C library declares it only where it does so itself.
ssize_t __read_chk(int file, void *buffer, size_t size, size_t room);
ssize_t __read_chk(int file, void *buffer, size_t size, size_t room) {
    return size <= room ? read_for(CALLER, file, buffer, size) : -1;
}

ssize_t write(int file, const void *buffer, size_t size) {
    if (!is_in(g_program, CALLER)) {
        return REAL(write)(file, buffer, size);
    }
    const ssize_t take = size_of(Call::kWrite, size);
    return take < 0 ? -1 : REAL(write)(file, buffer, static_cast<size_t>(take));
}

FILE *popen(const char *command, const char *mode) {
    if (!is_in(g_program, CALLER)) {
        return REAL(popen)(command, mode);
    }
    g_output = fails(Call::kPopen) ? nullptr : REAL(popen)(command, mode);
    return g_output;
}

int pclose(FILE *stream) {
    g_output = stream == g_output ? nullptr : g_output;
    return REAL(pclose)(stream);
}

char *fgets(char *line, int size, FILE *stream) {
    return read_output(stream) ? REAL(fgets)(line, size, stream) : nullptr;
}

// What fgets() into a buffer of known size is compiled to.
char *__fgets_chk(char *line, size_t room, int size, FILE *stream);
char *__fgets_chk(char *line, size_t room, int size, FILE *stream) {
    return read_output(stream) ? REAL(__fgets_chk)(line, room, size, stream) : nullptr;
}

int system(const char *command) {
    return is_in(g_program, CALLER) && fails(Call::kSystem) ? -1 : REAL(system)(command);
}

int rename(const char *from, const char *to) noexcept {
    return is_in(g_program, CALLER) && fails(Call::kRename) ? -1 : REAL(rename)(from, to);
}

int msgget(key_t key, int flags) noexcept {
    return is_in(g_program, CALLER) && fails(Call::kMsgget) ? -1 : REAL(msgget)(key, flags);
}

int msgsnd(int queue, const void *record, size_t size, int flags) {
    return is_in(g_program, CALLER) && fails(Call::kMsgsnd) ? -1 : REAL(msgsnd)(queue, record, size, flags);
}

int socket(int domain, int type, int protocol) noexcept {
    return is_in(g_program, CALLER) && fails(Call::kSocket) ? -1 : REAL(socket)(domain, type, protocol);
}

int get_proc_arp_list(const char *bridge, ArpEntry *entries) {
    const InDouble in_double;
    return REAL(get_proc_arp_list)(bridge, entries);
}

int ioctl(int file, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    if (is_in(g_program, CALLER) && fails(Call::kIoctl)) {
        return -1;
    }
    const InDouble in_double;
    return REAL(ioctl)(file, request, argument);
}

}  // extern "C"
