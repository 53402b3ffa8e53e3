// SPDX-License-Identifier: MIT
// Who has tried wrong accounts has to wait, longer each time. Nobody sleeps for it, and nobody else waits: a client
// that tries too early is answered as with a wrong account, and others are none the worse.
//
// A file remembers, a line for each client: its address, how many wrong attempts, and until when it is refused (seconds
// since the kernel's start: whoever can set the clock ends no refusal by it). There is room for kMostClients; when more
// try, the one whose time is up first is forgotten. The file has all this room from its beginning: where it lies in
// memory, as /var does on most routers, it can be written when nothing else can, and who has filled the file system
// gains nothing by it.
#include "login/attempts.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/boot_clock.h"
#include "base/input.h"
#include "base/output.h"
#include "base/own_file.h"
#include "base/report.h"
#include "base/resource.h"
#include "base/same_secret.h"
#include "base/text.h"
#include "gateway/handler/request_state.h"
#include "login/md5.h"
#include "platform/product.h"

namespace {

constexpr char kAttemptsPath[] = PRODUCT_SESSION ".logins";
constexpr int kMostClients = 256;                  // all that a LAN of 24 bits has
constexpr int kFreeAttempts = 2;                   // who mistypes twice does not wait
constexpr long long kLongestRefusal = 900;         // seconds
constexpr long long kForgottenAfter = 3600;        // seconds after the refusal's end
constexpr int kMostAttempts = kFreeAttempts + 11;  // from then on the refusal is the longest

struct Client {
    char address[64] = {};  // the longest that IPv6 has, "%" and an interface
    int attempts = 0;
    long long refused_until = 0;
};

struct Clients {
    int count = 0;
    size_t length = 0;  // of the text that told them
    Client rows[kMostClients];
};

constexpr size_t kLongestLine = sizeof Client::address + 16 + 20;

// Of these a login touches what it uses, which is a line or two. On the stack both would have to be cleared first,
// which costs it a third more.
Clients g_clients;
char g_text[kMostClients * kLongestLine + 1];
constexpr off_t kFileSize = sizeof g_text - 1;

// The second wait is twice the first, and so on.
long long refusal(int attempts) {
    if (attempts <= kFreeAttempts) {
        return 0;
    }
    const long long seconds = 1LL << (attempts - kFreeAttempts - 1);
    return seconds < kLongestRefusal ? seconds : kLongestRefusal;
}

bool is_one_word(const char *text) {
    const char *at = text;
    while (*at > ' ' && *at <= '~') {
        ++at;
    }
    return at != text && *at == '\0';
}

// The client's name in the file. It is not looked whether it is an address: of two web servers, one tells an interface
// behind it and the other a port, and all whose addresses were taken for none would be refused for one of them. What
// is not one word, or longer than any address, is named by its digest.
void name_client(Out name) {
    const char *const address = client_address != nullptr ? client_address : "";
    if (!is_one_word(address) || !join(name, {address})) {
        const OwnedText digest(MD5_encryption(address));
        join(name, {"?", digest ? digest.get() : ""});
    }
}

// Opens the file and keeps other logins out of it. None may keep this one waiting: whoever holds the file does nothing
// but read and write it.
int open_locked() {
    const int file = open_own_file(kAttemptsPath, O_RDWR | O_CREAT);
    while (file >= 0 && flock(file, LOCK_EX) != 0 && errno == EINTR) {
    }
    return file;
}

// Reads the clients that still count. What is no line of the file's own is none.
Clients &read_clients(int file, long long now) {
    Clients &clients = g_clients;
    clients.count = 0;
    read_beginning(file, g_text);
    clients.length = strlen(g_text);
    char *line = g_text;
    while (clients.count < kMostClients) {
        char *const end = strchr(line, '\n');
        if (end == nullptr) {
            break;
        }
        *end = '\0';
        Client client;
        const bool whole = sscanf(line, "%63s %d %lld", client.address, &client.attempts, &client.refused_until) == 3;
        const bool due = client.refused_until + kForgottenAfter > now;
        const bool possible = client.refused_until <= now + kLongestRefusal;  // else it is of an earlier start
        if (whole && due && possible && client.attempts > 0) {
            clients.rows[clients.count++] = client;
        }
        line = end + 1;
    }
    return clients;
}

void write_clients(int file, const Clients &clients) {
    g_text[0] = '\0';
    for (int i = 0; i < clients.count; ++i) {
        const Client &client = clients.rows[i];
        append(g_text, {client.address, " ", Decimal(client.attempts).c_str(), " ",
                        Decimal(client.refused_until).c_str(), "\n"});
    }
    // Over what is there: who is killed in between has forgotten nobody. Behind the text all is zero.
    const size_t length = strlen(g_text);
    struct stat status;
    const bool laid_out = fstat(file, &status) == 0 && status.st_size == kFileSize;
    const size_t end = laid_out ? std::max(length, clients.length) : size_t{kFileSize};
    memset(g_text + length, '\0', end - length);
    if (lseek(file, 0, SEEK_SET) != 0 || !write_all(file, g_text, end) ||
        (!laid_out && ftruncate(file, kFileSize) != 0)) {
        report_error("a login is not remembered");
    }
}

Client *find_client(Clients &clients, const char *address) {
    for (int i = 0; i < clients.count; ++i) {
        if (strcmp(clients.rows[i].address, address) == 0) {
            return &clients.rows[i];
        }
    }
    return nullptr;
}

// A row for one more client: the one that is forgotten first, where there is no other.
Client *add_client(Clients &clients, const char *address) {
    Client *row = &clients.rows[0];
    if (clients.count < kMostClients) {
        row = &clients.rows[clients.count++];
    } else {
        for (Client &other : clients.rows) {
            row = other.refused_until < row->refused_until ? &other : row;
        }
    }
    *row = Client();
    join(row->address, {address});
    return row;
}

}  // namespace

bool may_try_login() {
    const Descriptor file(open_locked());
    if (!file) {
        report_error("logins are not remembered");  // and nobody is locked out for it
        return true;
    }
    char address[sizeof Client::address];
    name_client(address);
    const long long now = seconds_since_start();
    Clients &clients = read_clients(file.get(), now);
    Client *client = find_client(clients, address);
    if (client != nullptr && client->refused_until > now) {
        return false;
    }
    if (client == nullptr) {
        client = add_client(clients, address);
    }
    // It counts as wrong from now on: of attempts that come side by side, each sees those before it.
    client->attempts = client->attempts < kMostAttempts ? client->attempts + 1 : kMostAttempts;
    client->refused_until = now + refusal(client->attempts);
    write_clients(file.get(), clients);
    return true;
}

void forget_wrong_logins() {
    const Descriptor file(open_locked());
    if (!file) {
        return;
    }
    char address[sizeof Client::address];
    name_client(address);
    Clients &clients = read_clients(file.get(), seconds_since_start());
    Client *const client = find_client(clients, address);
    if (client != nullptr) {
        *client = clients.rows[--clients.count];
        write_clients(file.get(), clients);
    }
}

bool is_account(const Account &stored, const Account &given) {
    const bool user = same_secret(stored.user, given.user);
    const bool password = same_secret(stored.password, given.password);  // looked at whatever the name is
    return user && password;
}
