// SPDX-License-Identifier: MIT
#include "tests/fuzz/router.h"

#include <arpa/inet.h>
#include <cjson/cJSON.h>
#include <fcntl.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "platform/apmib.h"
#include "platform/system_queue.h"
#include "platform/tables.h"
#include "platform/wifi_driver.h"
#include "tests/fuzz/calls.h"

Router router;

int wlan_idx;
int vwlan_idx;

int endpoint_main();  // gateway/cgi.cpp

// Where the endpoint's variables lie (seam.h). The linker sets the ends.
extern "C" {
extern char __start_endpoint_bss[], __stop_endpoint_bss[];
// There are none as long as every variable is zero at the start.
extern char __start_endpoint_data[] __attribute__((weak));
extern char __stop_endpoint_data[] __attribute__((weak));
}

void wrong(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    fputs("WRONG: ", stderr);
    vfprintf(stderr, format, arguments);
    fputs("\n", stderr);
    va_end(arguments);
    abort();
}

namespace {

constexpr int kFirstDescriptor = 1000;
constexpr int kStoreQueue = 7;
constexpr int kForeignRadio = 1;  // what the store begins with here: an interface that no object means
constexpr int kForeignIndex = 4;

// ---- faults

// The errno, or the value, with which a call fails; -1: it does not.
struct Strike {
    bool struck;
    int error;
};

int error_of(const char *how) {
    for (const int error : {ENOMEM, EACCES, EIO, ENOSPC, EPIPE, EAGAIN, EMFILE, EIDRM, EINTR, ENOENT}) {
        const char *name = strerrorname_np(error);
        if (name != nullptr && strcmp(name, how) == 0) {
            return error;
        }
    }
    return EIO;
}

Strike strike(Call call, Place place = {0, -1, -1}) {
    Strike found = {false, 0};
    for (RouterFault &each : router.faults) {
        const bool meant =
            each.fault.call == call && (each.place.id == 0 || each.place.id == place.id) &&
            (each.place.radio < 0 || (each.place.radio == place.radio && each.place.index == place.index));
        if (meant && each.fault.strikes() && each.fault.fails) {
            found = {true, error_of(each.fault.how)};
        }
    }
    return found;
}

bool strikes_errno(Call call) {
    const Strike found = strike(call);
    if (found.struck) {
        errno = found.error;
    }
    return found.struck;
}

// ---- files

// What is open: a text that is read, or a place that is written to.
struct Open {
    std::string text;
    size_t at;
    std::string *out;  // nullptr: it is read
    std::string path;  // of a file that is written
    int status;        // of a command
};

std::map<int, Open> descriptors;
std::map<FILE *, int> pipes;  // and their descriptors
int next_descriptor;
int open_files;

ssize_t take(Open &from, void *bytes, size_t size) {
    if (strikes_errno(Call::kRead)) {
        return -1;
    }
    const size_t count = std::min({size, from.text.size() - from.at, router.piece});
    memcpy(bytes, from.text.data() + from.at, count);
    from.at += count;
    return static_cast<ssize_t>(count);
}

ssize_t cookie_read(void *cookie, char *bytes, size_t size) {
    return take(*static_cast<Open *>(cookie), bytes, size);
}

ssize_t cookie_write(void *cookie, const char *bytes, size_t size) {
    static_cast<Open *>(cookie)->out->append(bytes, size);
    return static_cast<ssize_t>(size);
}

int cookie_close(void *cookie) {
    delete static_cast<Open *>(cookie);
    --open_files;
    return 0;
}

FILE *make_file(Open opened, const char *mode) {
    ++open_files;
    FILE *file = fopencookie(new Open(std::move(opened)), mode, {cookie_read, cookie_write, nullptr, cookie_close});
    if (file == nullptr) {
        wrong("no file can be made");
    }
    return file;
}

int add_descriptor(Open opened) {
    descriptors[next_descriptor] = std::move(opened);
    return next_descriptor++;
}

// ---- the store

Place selected(int id) {
    const ItemKind *kind = find_item_kind(id);
    return kind != nullptr && kind->per_interface ? Place{id, wlan_idx, vwlan_idx} : Place{id, -1, -1};
}

int note(Event event, Place place, const void *bytes, size_t size, bool done) {
    router.done.push_back({event, place, std::string(static_cast<const char *>(bytes), size), done});
    return done ? 1 : 0;
}

// The table that `id` asks for something of; nullptr: none.
const ItemKind *table_kind(int id) {
    const ItemKind *kind = find_item_kind(id);
    return kind != nullptr && kind->record > 0 ? kind : nullptr;
}

// Copies of exactly the width, so that the sanitizer sees a buffer that is too small.
std::string read_exactly(const void *value, size_t width) {
    return std::string(static_cast<const char *>(value), width);
}

// ---- a process

FILE *error_stream;

__attribute__((no_sanitize("address", "undefined"))) void copy(char *to, const char *from, ptrdiff_t size) {
    for (volatile char *at = to; size > 0; --size) {  // volatile: or it becomes a call of memcpy(), which is watched
        *at++ = *from++;
    }
}

__attribute__((no_sanitize("address", "undefined"))) void restore() {
    char *const data = __start_endpoint_data;
    const ptrdiff_t size = __stop_endpoint_data - data;
    static char *first = nullptr;
    if (first == nullptr) {
        first = static_cast<char *>(malloc(static_cast<size_t>(size) + 1));
        copy(first, data, size);
    } else {
        copy(data, first, size);
    }
    auto *word = reinterpret_cast<volatile uint64_t *>(__start_endpoint_bss);
    auto *end = reinterpret_cast<volatile uint64_t *>(__stop_endpoint_bss);
    for (; word + 1 <= end; ++word) {
        if (*word != 0) {
            *word = 0;
        }
    }
    for (volatile char *at = reinterpret_cast<volatile char *>(word); at < __stop_endpoint_bss; ++at) {
        *at = 0;
    }
}

ssize_t error_write(void * /*cookie*/, const char *bytes, size_t size) {
    if (router.errors.size() < 1 << 20) {
        router.errors.append(bytes, size);
    }
    return static_cast<ssize_t>(size);
}

}  // namespace

const ItemKind *find_item_kind(int id) {
    for (const ItemKind &kind : kItemKinds) {
        if (kind.id == id) {
            return &kind;
        }
    }
    return nullptr;
}

Place Router::place_of(std::string_view name) {
    const size_t at = name.find('@');
    const std::string_view item = name.substr(0, at);
    for (const ItemKind &kind : kItemKinds) {
        if (item != kind.name && item != std::to_string(kind.id)) {
            continue;
        }
        if (!kind.per_interface) {
            return {kind.id, -1, -1};
        }
        const bool named = at != std::string_view::npos && name.size() == at + 4;
        const int radio = named ? name[at + 1] - '0' : 0;
        const int index = named ? name[at + 3] - '0' : 0;
        return radio >= 0 && radio < kWlanCount && index >= 0 && index < kVwlanCount ? Place{kind.id, radio, index}
                                                                                     : Place{0, -1, -1};
    }
    return {0, -1, -1};
}

const std::string &Router::value(int id, int radio, int index) {
    std::string &text = values[{id, radio, index}];
    const ItemKind *kind = find_item_kind(id);
    text.resize(kind != nullptr ? kind->width : 4);
    return text;
}

int Router::number(int id, int radio, int index) {
    const std::string &text = value(id, radio, index);
    int32_t number = 0;
    memcpy(&number, text.data(), std::min(text.size(), sizeof number));
    return number;
}

size_t Router::count(Event event) const {
    size_t count = 0;
    for (const Done &each : done) {
        count += each.event == event ? 1 : 0;
    }
    return count;
}

void start_endpoint() {
    restore();
    wlan_idx = kForeignRadio;
    vwlan_idx = kForeignIndex;
    srand(1);
    cJSON_Delete(cJSON_Parse("0"));  // which forgets where an earlier text was wrong
    errno = 0;
    descriptors.clear();
    next_descriptor = kFirstDescriptor;
    open_files = 0;
    router.done.clear();
    router.replies.clear();
    router.errors.clear();
    router.console.clear();
    router.short_of_memory = false;
    router.reply_is_cut = false;
    for (RouterFault &each : router.faults) {
        each.fault.seen = 0;
    }
    if (error_stream == nullptr) {
        error_stream = fopencookie(nullptr, "w", {nullptr, error_write, nullptr, nullptr});
    }
}

void end_endpoint() {
    fflush(error_stream);
    cJSON_InitHooks(nullptr);  // who judges is short of nothing
    if (open_files != 0) {
        wrong("%d files are left open", open_files);
    }
    for (const auto &[number, opened] : descriptors) {
        if (opened.path != "/dev/urandom") {
            wrong("%s is left open", opened.path.c_str());
        }
    }
}

int run_endpoint() {
    start_endpoint();
    descriptors[STDIN_FILENO] = {router.body, 0, nullptr, "", 0};
    const int status = endpoint_main() & 0xff;
    descriptors.erase(STDIN_FILENO);
    end_endpoint();
    return status;
}

// ---- what the endpoint calls: seam.h

int router_access(const char *path, int /*mode*/) {
    if (router.files.count(path) != 0 || router.sealed.count(path) != 0) {
        return 0;
    }
    errno = ENOENT;
    return -1;
}

static bool has_memory() {
    if (!strike(Call::kMalloc).struck) {
        return true;
    }
    errno = ENOMEM;
    router.short_of_memory = true;
    return false;
}

void *router_calloc(size_t count, size_t size) {
    return has_memory() ? calloc(count, size) : nullptr;
}

void *router_malloc(size_t size) {
    return has_memory() ? malloc(size) : nullptr;
}

void *router_realloc(void *memory, size_t size) {
    return has_memory() ? realloc(memory, size) : nullptr;
}

char *router_strdup(const char *text) {
    return has_memory() ? strdup(text) : nullptr;
}

int router_close(int file) {
    if (descriptors.erase(file) == 0) {
        wrong("descriptor %d is closed, which is not open", file);
    }
    return 0;
}

FILE *router_fopen(const char *path, const char *mode) {
    if (strcmp(path, "/dev/console") == 0) {
        return make_file({"", 0, &router.console, path, 0}, mode);
    }
    if (strikes_errno(Call::kOpen)) {
        router.short_of_memory = router.short_of_memory || errno == ENOMEM;
        return nullptr;
    }
    if (strcmp(mode, "r") != 0) {
        wrong("%s is opened with mode %s", path, mode);
    }
    const auto file = router.files.find(path);
    if (file == router.files.end()) {
        errno = router.sealed.count(path) != 0 ? EACCES : ENOENT;
        return nullptr;
    }
    return make_file({file->second, 0, nullptr, path, 0}, mode);
}

int router_open(const char *path, int flags, int /*mode*/) {
    if (strcmp(path, "/dev/urandom") != 0 && strikes_errno(Call::kOpen)) {
        return -1;
    }
    if (strcmp(path, "/dev/urandom") == 0) {
        return add_descriptor({"", 0, &router.console, path, 0});
    }
    const auto file = router.files.find(path);
    if (router.sealed.count(path) != 0) {
        errno = EACCES;
        return -1;
    }
    if (file == router.files.end() && (flags & O_CREAT) == 0) {
        errno = ENOENT;
        return -1;
    }
    if (file != router.files.end() && (flags & O_EXCL) != 0) {
        errno = EEXIST;
        return -1;
    }
    if ((flags & O_ACCMODE) == O_RDONLY) {
        return add_descriptor({file->second, 0, nullptr, path, 0});
    }
    if ((flags & O_CREAT) != 0) {
        router.done.push_back({Event::kWrite, {}, path, true});
    }
    return add_descriptor({"", 0, &router.files[path], path, 0});
}

ssize_t router_read(int file, void *bytes, size_t size) {
    const auto opened = descriptors.find(file);
    if (opened == descriptors.end() || opened->second.out != nullptr) {
        errno = EBADF;
        return -1;
    }
    return take(opened->second, bytes, size);
}

ssize_t router_write(int file, const void *bytes, size_t size) {
    if (strikes_errno(Call::kWrite)) {
        return -1;
    }
    const char *text = static_cast<const char *>(bytes);
    const size_t count = std::min(size, router.piece);
    if (file == STDOUT_FILENO) {
        if (router.reply_is_cut) {
            router.replies.back().append(text, count);
        } else {
            router.replies.emplace_back(text, count);
            router.done.push_back({Event::kReply, {}, "", true});
        }
        router.reply_is_cut = count < size;
        return static_cast<ssize_t>(count);
    }
    const auto opened = descriptors.find(file);
    if (opened == descriptors.end() || opened->second.out == nullptr) {
        errno = EBADF;
        return -1;
    }
    opened->second.out->append(text, count);
    return static_cast<ssize_t>(count);
}

ssize_t router_writev(int file, const struct iovec *parts, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) {
        all.append(static_cast<const char *>(parts[i].iov_base), parts[i].iov_len);
    }
    return router_write(file, all.data(), all.size());
}

// Of the kernel's own calls there is one for random bytes, and here they are the same ones each time.
long router_syscall(long number, void *bytes, size_t size, unsigned /*flags*/) {
    if (number != SYS_getrandom) {
        wrong("system call %ld", number);
    }
    memset(bytes, 0x5a, size);
    return static_cast<long>(size);
}

int router_stat(const char *path, struct stat *status) {
    *status = {};
    return router_access(path, F_OK);
}

int router_unlink(const char *path) {
    if (router.files.erase(path) + router.sealed.erase(path) == 0) {
        errno = ENOENT;
        return -1;
    }
    router.done.push_back({Event::kRemove, {}, path, true});
    return 0;
}

int router_rename(const char *from, const char *to) {
    if (strikes_errno(Call::kRename)) {
        return -1;
    }
    const auto file = router.files.find(from);
    if (file == router.files.end()) {
        errno = ENOENT;
        return -1;
    }
    const std::string content = std::move(file->second);
    router.files.erase(file);
    router.sealed.erase(to);
    router.files[to] = content;
    router.done.push_back({Event::kWrite, {}, to, true});
    return 0;
}

static const Router::Answer &answer_to(const char *command) {
    static const Router::Answer kNothing = {0, ""};
    const Router::Answer *found = &kNothing;
    for (const auto &[beginning, answer] : router.commands) {
        if (strncmp(command, beginning.c_str(), beginning.size()) == 0) {
            found = &answer;  // in the order of the beginnings, so the longest is the last
        }
    }
    router.done.push_back({Event::kRun, {}, command, found->status == 0});
    return *found;
}

int router_system(const char *command) {
    if (strikes_errno(Call::kSystem)) {
        return -1;
    }
    const Router::Answer &answer = answer_to(command);
    if (strcmp(command, "rm /var/app_sessionid") == 0 && answer.status == 0) {
        router.files.erase("/var/app_sessionid");
    }
    return answer.status << 8;
}

FILE *router_popen(const char *command, const char * /*mode*/) {
    if (strikes_errno(Call::kPopen)) {
        return nullptr;
    }
    const Router::Answer &answer = answer_to(command);
    FILE *pipe = make_file({answer.output, 0, nullptr, command, answer.status}, "r");
    pipes[pipe] = add_descriptor({answer.output, 0, nullptr, command, answer.status});
    return pipe;
}

int router_fileno(FILE *file) {
    const auto pipe = pipes.find(file);
    if (pipe == pipes.end()) {
        wrong("the descriptor of what is no pipe is asked for");
    }
    return pipe->second;
}

int router_pclose(FILE *pipe) {
    const auto opened = pipes.find(pipe);
    if (opened == pipes.end()) {
        wrong("a pipe is closed that is none");
    }
    descriptors.erase(opened->second);
    pipes.erase(opened);
    fclose(pipe);
    return 0;
}

char *router_getenv(const char *name) {
    const auto variable = router.environment.find(name);
    return variable != router.environment.end() ? variable->second.data() : nullptr;
}

void router_perror(const char *message) {
    fprintf(router_stderr(), "%s: %s\n", message, strerror(errno));
}

FILE *router_stderr() {
    return error_stream;
}

SignalHandler router_signal(int /*number*/, SignalHandler /*handler*/) {
    return SIG_DFL;
}

time_t router_time(time_t *out) {
    if (out != nullptr) {
        wrong("the time is asked for twice");
    }
    return router.now;
}

int router_sysinfo(struct sysinfo *info) {
    if (strikes_errno(Call::kSysinfo)) {
        return -1;
    }
    *info = {};
    info->uptime = static_cast<long>(router.now & 0xfffffff);
    return 0;
}

int router_usleep(unsigned /*microseconds*/) {
    return 0;
}

int router_socket(int /*domain*/, int /*type*/, int /*protocol*/) {
    return strikes_errno(Call::kSocket) ? -1 : add_descriptor({"", 0, nullptr, "a socket", 0});
}

// ---- drivers

static int refuse(int error) {
    errno = error;
    return -1;
}

static int answer_wireless(unsigned long request, WifiRequest *wanted) {
    const std::string name(wanted->interface, strnlen(wanted->interface, sizeof wanted->interface));
    const auto answer = router.stations.find(name);
    const bool mute = router.mute.count(name) != 0;
    if (answer == router.stations.end() && !mute) {
        return refuse(ENODEV);
    }
    if (request == kWifiNameRequest) {
        memset(wanted->protocol, 'b', sizeof wanted->protocol);
        return 0;
    }
    if (mute) {
        return refuse(EOPNOTSUPP);
    }
    memcpy(wanted->data.pointer, answer->second.data(), std::min<size_t>(answer->second.size(), wanted->data.length));
    return 0;
}

static int answer_interface(unsigned long request, ifreq *wanted) {
    const std::string name(wanted->ifr_name, strnlen(wanted->ifr_name, sizeof wanted->ifr_name));
    const auto found = router.addresses.find(name);
    if (found == router.addresses.end()) {
        return refuse(ENODEV);
    }
    char address[64] = "";
    char netmask[64] = "";
    unsigned mac[6] = {};
    const int words = sscanf(found->second.c_str(), "%63s %63s %2x:%2x:%2x:%2x:%2x:%2x", address, netmask, &mac[0],
                             &mac[1], &mac[2], &mac[3], &mac[4], &mac[5]);
    if (request == SIOCGIFHWADDR) {
        if (words != 8) {
            return refuse(EADDRNOTAVAIL);
        }
        for (int i = 0; i < 6; ++i) {
            wanted->ifr_hwaddr.sa_data[i] = static_cast<char>(mac[i]);
        }
        return 0;
    }
    sockaddr_in out = {};
    out.sin_family = AF_INET;
    if (inet_pton(AF_INET, request == SIOCGIFADDR ? address : netmask, &out.sin_addr) != 1) {
        return refuse(EADDRNOTAVAIL);
    }
    memcpy(&wanted->ifr_addr, &out, sizeof out);
    return 0;
}

int router_ioctl(int file, unsigned long request, void *argument) {
    if (descriptors.count(file) == 0) {
        wrong("a request to what is no socket");
    }
    if (strikes_errno(Call::kIoctl)) {
        return -1;
    }
    if (request == kWifiNameRequest || request == kStationTableRequest || request == kAxPrivateRequest) {
        return answer_wireless(request, static_cast<WifiRequest *>(argument));
    }
    return answer_interface(request, static_cast<ifreq *>(argument));
}

// ---- the daemon's queue

key_t router_ftok(const char * /*path*/, int project) {
    return project;
}

int router_msgget(key_t /*key*/, int /*flags*/) {
    return strikes_errno(Call::kMsgget) ? -1 : kStoreQueue;
}

int router_msgsnd(int queue, const void *message, size_t size, int /*flags*/) {
    if (queue != kStoreQueue || size != kSysMsgPayload) {
        wrong("a record of %zu bytes is sent", size);
    }
    if (strikes_errno(Call::kMsgsnd)) {
        return -1;
    }
    router.done.push_back({Event::kQueue, {}, read_exactly(message, sizeof(long) + size), true});
    return 0;
}

// ---- platform/apmib.h

int apmib_init(void) {
    const bool done = !strike(Call::kInit).struck;
    return note(Event::kInit, {}, "", 0, done);
}

int apmib_get(int id, void *value) {
    if (const ItemKind *table = table_kind(id - kTableRead)) {
        const Place place = selected(table->id);
        const std::vector<std::string> &records = router.tables[place];
        const size_t index = *static_cast<unsigned char *>(value);
        const bool there = index >= 1 && index <= records.size() && records[index - 1].size() == table->record;
        const bool done = !strike(Call::kEntry, place).struck && there;
        if (done) {
            memcpy(value, records[index - 1].data(), table->record);
        }
        return note(Event::kEntry, place, "", 0, done);
    }
    const ItemKind *kind = find_item_kind(id);
    if (kind == nullptr) {
        wrong("item %d is read, which there is not", id);
    }
    const Place place = selected(id);
    const bool done = !strike(Call::kGet, place).struck && router.unreadable.count(place) == 0;
    if (done && kind->record > 0) {
        const auto count = static_cast<int32_t>(router.tables[place].size());
        memcpy(value, &count, sizeof count);
    } else if (done) {
        memcpy(value, router.value(place.id, place.radio, place.index).data(), kind->width);
    }
    return note(Event::kGet, place, "", 0, done);
}

int apmib_set(int id, void *value) {
    if (const ItemKind *table = table_kind(id - kTableAdd)) {
        const Place place = selected(table->id);
        std::vector<std::string> &records = router.tables[place];
        const std::string record = read_exactly(value, table->record);
        const bool done = !strike(Call::kAdd, place).struck && records.size() < table->limit;
        if (done) {
            records.push_back(record);
        }
        return note(Event::kAdd, place, record.data(), record.size(), done);
    }
    if (const ItemKind *table = table_kind(id - kTableDelete)) {
        const Place place = selected(table->id);
        std::vector<std::string> &records = router.tables[place];
        const std::string record = read_exactly(value, table->record);
        auto found = records.begin();
        while (found != records.end() && found->compare(0, table->match, record, 0, table->match) != 0) {
            ++found;
        }
        const bool done = !strike(Call::kDelete, place).struck && found != records.end();
        if (done) {
            records.erase(found);
        }
        return note(Event::kDelete, place, record.data(), record.size(), done);
    }
    if (const ItemKind *table = table_kind(id - kTableDeleteAll)) {
        const Place place = selected(table->id);
        const std::string record = read_exactly(value, table->record);
        const bool done = !strike(Call::kDeleteAll, place).struck;
        if (done) {
            router.tables[place].clear();
        }
        return note(Event::kDeleteAll, place, record.data(), record.size(), done);
    }
    const ItemKind *kind = find_item_kind(id);
    if (kind == nullptr || kind->record > 0) {
        wrong("item %d is written, which there is not", id);
    }
    const Place place = selected(id);
    const std::string bytes = read_exactly(value, kind->width);
    const bool done = !strike(Call::kSet, place).struck;
    if (done) {
        router.values[place] = bytes;
        router.unreadable.erase(place);
    }
    return note(Event::kSet, place, bytes.data(), bytes.size(), done);
}

int apmib_update(int type) {
    if (type != kCommitWorkingCopy) {
        wrong("a commit of type %d", type);
    }
    return note(Event::kCommit, {}, "", 0, !strike(Call::kCommit).struck);
}

int save_cs_to_file(void) {
    return note(Event::kSave, {}, "", 0, !strike(Call::kSave).struck) == 1 ? 0 : -1;
}

// ---- platform/arpcheck.h

int get_proc_arp_list(const char * /*bridge*/, struct ArpEntry *entries) {
    const size_t count = std::min<size_t>(router.arp.size(), kArpEntryLimit);
    for (size_t i = 0; i < count; ++i) {
        entries[i] = router.arp[i];
    }
    return static_cast<int>(count);
}

void deal_arp_list_dup_client(struct ArpEntry *entries, int count) {
    for (int i = 0; i < count; ++i) {
        if (entries[i].reserved[0] != 0) {
            memset(entries[i].mac, 0, sizeof entries[i].mac);
        }
    }
}
