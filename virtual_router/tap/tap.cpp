// SPDX-License-Identifier: MIT
#include "virtual_router/tap/tap.h"

#include <elf.h>
#include <link.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "platform/apmib.h"
#include "platform/arpcheck.h"
#include "virtual_router/driver/clock.h"
#include "virtual_router/driver/next.h"

namespace tap {

bool g_listens;
bool g_awaits_head;

int64_t now() {
    return pc_now() / 1000;
}

namespace {

constexpr char kSocket[] = "/dev/tap";
constexpr char kEndpoint[] = "app.cgi";
constexpr char kResident[] = "app.scgi";  // of which each process serves one request, whose variables it reads
constexpr size_t kMostHead = 65535 + sizeof "65535:,";
constexpr char kFaultsVariable[] = "HTTP_X_KEEPER_FAULTS";  // with semicolons between
constexpr size_t kMostFaults = 16;
constexpr char kRequestVariable[] = "HTTP_X_KEEPER_REQUEST";  // which the keeper's port has the web server hand on

constexpr int kMostWaiting = 100;  // milliseconds, in a whole process
constexpr size_t kMostText = 48 << 10;
// A line is four characters a byte of text at most, or two a byte of two values; the marks are short.
constexpr size_t kMostLine = 4 * kMostText + 1024;
static_assert(kMostLine > 4 * kMostToldBytes + 1024);

char g_room[kMostLine + (64 << 10)];
size_t g_used;
int g_keeper = -1;
int g_waiting_left = kMostWaiting;
uintptr_t g_program_begin;
uintptr_t g_program_end;

Fault g_faults[kMostFaults];
size_t g_fault_count;

const char *(*next_strerrorname)(int);

// Nothing here may be taken for the program's own, nor meet what plays the kernel: system calls, by number.

void stop_telling() {
    syscall(SYS_close, g_keeper);
    g_keeper = -1;
    g_listens = false;
    tap_hooks = nullptr;
}

// Waits until the keeper takes something. False: it has been waited for long enough.
bool wait_for_keeper() {
    const int64_t since = pc_now();
    pollfd keeper = {g_keeper, POLLOUT, 0};
    const bool ready = syscall(SYS_poll, &keeper, 1, g_waiting_left) == 1;
    g_waiting_left -= static_cast<int>((pc_now() - since) / 1000000) + 1;
    return ready && g_waiting_left > 0;
}

void send_told() {
    const char *at = g_room;
    while (g_keeper >= 0 && g_used > 0) {
        const ssize_t sent = syscall(SYS_sendto, g_keeper, at, g_used, MSG_DONTWAIT | MSG_NOSIGNAL, nullptr, 0);
        if (sent >= 0) {
            at += sent;
            g_used -= static_cast<size_t>(sent);
        } else if (errno != EINTR && (errno != EAGAIN || !wait_for_keeper())) {
            stop_telling();
        }
    }
    g_used = 0;
}

// --- what the router's libraries tell ---

void tell_store(const StoreCall &call) {
    Told told(!call.done, call.how);
    if (call.before.data != nullptr) {
        told.line.mark(EventMark::kWas, call.before.data, call.before.size);
    }
    told.line.begin(call.event);
    told.line.item(call.item);
    if (call.value.data != nullptr) {
        told.line.bytes(call.value.data, call.value.size);
    }
}

void tell_commit(Event event, bool done, const char *how, int type, int64_t since) {
    Told told(!done, how);
    told.line.mark(EventMark::kTook, static_cast<unsigned long>(now() - since));
    told.line.begin(event);
    if (type != kCommitWorkingCopy) {
        told.line.number(type);
    }
}

void tell_init(bool done, const char *how) {
    Told told(!done, how);
    told.line.begin(Event::kInit);
}

void tell_arp(const char *bridge, const ArpEntry *entries, int count) {
    {
        Told told;
        told.line.begin(Event::kArp);
        told.line.word(bridge);
    }
    for (const ArpEntry *entry = entries; entry < entries + count; ++entry) {
        Told told;
        told.line.begin(Event::kNeighbour);
        told.line.word(Shown::ip(&entry->ip).text);
        told.line.word(Shown::mac(entry->mac).text);
    }
}

// --- faults ---

// Whether an item that a fault names is this one of the store's: "1@0.1", or "1" for that of every interface.
bool is_item(const char *named, const EventItem &item) {
    char *end = nullptr;
    if (strtoll(named, &end, 10) != item.id) {
        return false;
    }
    return end[0] != '@' || (end[1] - '0' == item.radio && end[2] == '.' && end[3] - '0' == item.virtual_interface);
}

// Whether it is this file, or this command: by its first word, without a folder.
bool is_named(const char *named, const char *item) {
    if (strcmp(named, item) == 0) {
        return true;
    }
    const size_t length = strcspn(item, " ");
    size_t name = length;
    while (name > 0 && item[name - 1] != '/') {
        --name;
    }
    return strlen(named) == length - name && memcmp(named, item + name, length - name) == 0;
}

void wait(unsigned microseconds) {
    timespec left = {microseconds / 1000000, static_cast<long>(microseconds % 1000000) * 1000};
    while (syscall(SYS_nanosleep, &left, &left) != 0 && errno == EINTR) {
    }
}

// As a line of faults.conf.
void tell_fault(const Fault &fault) {
    char text[sizeof fault.how + sizeof fault.item + 64];
    char failed[sizeof fault.how + 16] = "";
    if (fault.fails) {
        snprintf(failed, sizeof failed, "%s%s%s ", kFaultMarkWords[static_cast<int>(FaultMark::kFailed)],
                 fault.how[0] != '\0' ? "=" : "", fault.how);
    }
    char delay[32] = "";
    if (fault.delay > 0) {
        snprintf(delay, sizeof delay, "%s=%u ", kFaultMarkWords[static_cast<int>(FaultMark::kDelay)], fault.delay);
    }
    const int size = snprintf(text, sizeof text, "%s%s%s%s%s", failed, delay, kCallWords[static_cast<int>(fault.call)],
                              fault.item[0] != '\0' ? " " : "", fault.item);
    tell_text(Event::kFault, text, static_cast<size_t>(size));
}

template <typename Means>
const Fault *find_fault(Call call, const Means &means) {
    const Fault *found = nullptr;
    for (Fault *fault = g_faults; fault < g_faults + g_fault_count; ++fault) {
        if (fault->call == call && (fault->item[0] == '\0' || means(fault->item)) && fault->strikes()) {
            tell_fault(*fault);
            if (fault->delay > 0) {
                flush();
                wait(fault->delay);
            }
            found = fault->fails ? fault : found;
        }
    }
    return found;
}

const Fault *strike_store(Call call, const EventItem &item) {
    return find_fault(call, [&item](const char *named) { return is_item(named, item); });
}

void read_faults(const char *lines) {
    char line[256];
    while (*lines != '\0' && g_fault_count < kMostFaults) {
        const size_t length = strcspn(lines, ";");
        if (length < sizeof line) {
            memcpy(line, lines, length);
            line[length] = '\0';
            if (parse_fault(line, &g_faults[g_fault_count])) {
                ++g_fault_count;
            }
        }
        lines += length;
        lines += *lines == ';' ? 1 : 0;
    }
}

constexpr TapHooks kHooks = {now, tell_store, tell_commit, tell_init, tell_arp, strike_store};

// --- the end ---

void tell_exit(int status, void * /*unused*/) {
    {
        Told told;
        told.line.begin(Event::kExit);
        told.line.number(status & 0xff);
    }
    flush();
}

// Tells what is known, and lets the signal end the process as it would have.
void tell_crash(int number) {
    if (g_listens) {
        char text[16];
        snprintf(text, sizeof text, "%d", number);
        {
            Told told(true, text);
            told.line.begin(Event::kExit);
        }
        flush();
        stop_telling();
    }
    // The action is the default again.
    syscall(SYS_tgkill, syscall(SYS_getpid), syscall(SYS_gettid), number);
}

void watch_end() {
    static char stack[16384];
    const stack_t own = {stack, 0, sizeof stack};
    reinterpret_cast<int (*)(const stack_t *, stack_t *)>(dlsym(RTLD_NEXT, "sigaltstack"))(&own, nullptr);
    auto *act =
        reinterpret_cast<int (*)(int, const struct sigaction *, struct sigaction *)>(dlsym(RTLD_NEXT, "sigaction"));
    struct sigaction action = {};
    action.sa_handler = tell_crash;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER | SA_ONSTACK);
    for (int number : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL, SIGTERM, SIGPIPE}) {
        struct sigaction before = {};
        if (act(number, nullptr, &before) == 0 && before.sa_handler == SIG_DFL) {
            act(number, &action, nullptr);
        }
    }
    reinterpret_cast<int (*)(void (*)(int, void *), void *)>(dlsym(RTLD_NEXT, "on_exit"))(tell_exit, nullptr);
}

// --- the beginning ---

bool is_program(const char *path, const char *name) {
    const char *slash = strrchr(path, '/');
    return strcmp(slash != nullptr ? slash + 1 : path, name) == 0;
}

// The value of one of the request's variables; empty without it.
using FindVariable = const char *(const char *name);

char **g_environment;

const char *find_in_environment(const char *name) {
    const size_t size = strlen(name);
    for (char **variable = g_environment; *variable != nullptr; ++variable) {
        if (strncmp(*variable, name, size) == 0 && (*variable)[size] == '=') {
            return *variable + size + 1;
        }
    }
    return "";
}

// What app.scgi has read of its connection: "LENGTH:BLOCK,", where the block is names and values, each ended by a zero
// byte.
char g_head[kMostHead];
size_t g_head_size;
const char *g_block;
const char *g_block_end;

const char *find_in_head(const char *name) {
    for (const char *at = g_block; at < g_block_end;) {
        const char *const value = at + strlen(at) + 1;
        if (strcmp(at, name) == 0) {
            return value < g_block_end ? value : "";
        }
        at = value < g_block_end ? value + strlen(value) + 1 : g_block_end;
    }
    return "";
}

int connect_keeper() {
    if (syscall(SYS_access, kSocket, F_OK) != 0) {  // as ever with nobody listening
        return -1;
    }
    const auto fd = static_cast<int>(syscall(SYS_socket, AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path, kSocket, sizeof kSocket);
    if (fd >= 0 && syscall(SYS_connect, fd, &address, sizeof address) != 0) {
        syscall(SYS_close, fd);
        return -1;
    }
    return fd;
}

// Where the program lies, which stands behind the environment.
void find_program(char **environment) {
    while (*environment != nullptr) {
        ++environment;
    }
    const ElfW(Phdr) *header = nullptr;
    size_t count = 0;
    for (auto *entry = reinterpret_cast<const ElfW(auxv_t) *>(environment + 1); entry->a_type != AT_NULL; ++entry) {
        if (entry->a_type == AT_PHDR) {
            header = reinterpret_cast<const ElfW(Phdr) *>(entry->a_un.a_val);
        } else if (entry->a_type == AT_PHNUM) {
            count = entry->a_un.a_val;
        }
    }
    uintptr_t base = 0;
    for (size_t i = 0; i < count; ++i) {
        if (header[i].p_type == PT_PHDR) {
            base = reinterpret_cast<uintptr_t>(header) - header[i].p_vaddr;
        } else if (header[i].p_type == PT_LOAD) {
            const uintptr_t at = base + header[i].p_vaddr;
            g_program_begin = g_program_begin == 0 || at < g_program_begin ? at : g_program_begin;
            g_program_end = at + header[i].p_memsz > g_program_end ? at + header[i].p_memsz : g_program_end;
        }
    }
}

void tell_who_asked(FindVariable *find) {
    Told told;
    if (const char *request = find(kRequestVariable);
        *request != '\0' && strlen(request) < 64 && strchr(request, ' ') == nullptr) {
        told.line.mark(EventMark::kRequest, request);
    }
    char what[512];
    const int size = snprintf(what, sizeof what, "%s %s", find("REQUEST_METHOD"), find("REQUEST_URI"));
    const char *who = find("REMOTE_ADDR");
    told.line.begin(Event::kAsked);
    told.line.word(*who != '\0' && strlen(who) < 64 ? who : "-");
    told.line.rest(what, size < static_cast<int>(sizeof what) ? static_cast<size_t>(size) : sizeof what - 1);
}

// Tells of a request with these variables from now on. False: nobody listens.
bool listen(FindVariable *find) {
    g_keeper = connect_keeper();
    if (g_keeper < 0) {
        return false;
    }
    g_listens = true;
    tap_hooks = &kHooks;
    watch_end();
    tell_who_asked(find);
    read_faults(find(kFaultsVariable));
    return true;
}

__attribute__((constructor)) void begin(int count, char **words, char **environment) {
    if (count >= 1 && is_program(words[0], kEndpoint)) {
        g_environment = environment;
        if (listen(find_in_environment)) {
            find_program(environment);
        }
    } else if (count >= 1 && is_program(words[0], kResident)) {
        find_program(environment);
        g_awaits_head = true;
    }
}

}  // namespace

void take_head(const void *bytes, size_t size) {
    if (size >= sizeof g_head - g_head_size) {
        g_awaits_head = false;  // nothing that the program takes
        return;
    }
    memcpy(g_head + g_head_size, bytes, size);
    g_head_size += size;
    char *end = nullptr;
    const size_t length = strtoul(g_head, &end, 10);
    const size_t before = static_cast<size_t>(end - g_head) + 1;
    if (*end != ':' || length >= sizeof g_head - before || g_head_size <= before + length) {
        return;
    }
    g_awaits_head = false;
    g_block = g_head + before;
    g_block_end = g_block + length;
    g_head[before + length] = '\0';  // in the place of the comma: no text goes on beyond it
    listen(find_in_head);
}

bool hears_from(const void *caller) {
    const auto at = reinterpret_cast<uintptr_t>(caller);
    return at >= g_program_begin && at < g_program_end;
}

namespace {

// Room for one more line.
char *make_room() {
    if (sizeof g_room - g_used < kMostLine) {
        flush();
    }
    return g_room + g_used;
}

}  // namespace

Told::Told(bool failed, const char *how) : line(make_room(), kMostLine), kept_errno_(errno) {
    line.mark(EventMark::kTime, static_cast<unsigned long>(now()));
    if (failed) {
        line.mark(EventMark::kFailed, how);
    }
}

Told::~Told() {
    line.end();
    g_used += line.size();
    errno = kept_errno_;
}

void Told::begin_text(Event event, const char *text, size_t size) {
    if (size > kMostText) {
        line.mark(EventMark::kCut, size);
    }
    line.begin(event);
    line.rest(text, size < kMostText ? size : kMostText);
}

void tell_text(Event event, const char *text, size_t size) {
    Told().begin_text(event, text, size);
}

void tell_text(Event event, const char *text) {
    tell_text(event, text, strlen(text));
}

void tell_lines(Event event, const char *text, size_t size) {
    for (const char *end = text + size; text < end;) {
        const auto *feed = static_cast<const char *>(memchr(text, '\n', static_cast<size_t>(end - text)));
        const char *stop = feed != nullptr ? feed : end;
        if (stop > text) {
            tell_text(event, text, static_cast<size_t>(stop - text));
        }
        text = stop + 1;
    }
}

void tell_error(const char *text, size_t size) {
    tell_text(Event::kError, text, size > 0 && text[size - 1] == '\n' ? size - 1 : size);
}

void tell_file(Event event, const char *path, int result) {
    Told(result < 0, result < 0 ? error_name(errno) : nullptr).begin_text(event, path, strlen(path));
}

const Fault *strike(Call call, const char *item) {
    return find_fault(call, [item](const char *named) { return is_named(named, item); });
}

bool fails(Call call, const char *item) {
    const Fault *fault = strike(call, item);
    if (fault != nullptr) {
        errno = atoi(fault->how);
    }
    return fault != nullptr;
}

Shown Shown::ip(const void *address) {
    const auto *byte = static_cast<const unsigned char *>(address);
    Shown shown;
    snprintf(shown.text, sizeof shown.text, "%d.%d.%d.%d", byte[0], byte[1], byte[2], byte[3]);
    return shown;
}

Shown Shown::mac(const void *address) {
    const auto *byte = static_cast<const unsigned char *>(address);
    Shown shown;
    snprintf(shown.text, sizeof shown.text, "%02x:%02x:%02x:%02x:%02x:%02x", byte[0], byte[1], byte[2], byte[3],
             byte[4], byte[5]);
    return shown;
}

const char *error_name(int error) {
    const char *name = next("strerrorname_np", next_strerrorname)(error);
    return name != nullptr ? name : "-1";
}

void flush() {
    const int kept = errno;
    send_told();
    errno = kept;
}

}  // namespace tap

// Shared with libraries that find it weakly.
const TapHooks *tap_hooks = nullptr;
