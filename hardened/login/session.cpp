// SPDX-License-Identifier: MIT
// A session is its client's, and ends by itself. Behind the id the file holds the name of the kernel's start, when the
// session began and was used last (seconds since that start, ten digits), and the address that it was handed to:
//
//   sessionid=Us...
//   boot=3e0cbfc0-5c2f-4d3a-9d0b-0a3c1f6f1a55
//   since=0000000100
//   used=0000000700
//   address=192.168.1.20
//
// The time of day would not do: a router gets it from the network when it has been up for a while, which would end the
// session of who sets it up, and set back it would keep a session alive.
#include "login/session.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstring>

#include "base/boot_clock.h"
#include "base/input.h"
#include "base/output.h"
#include "base/own_file.h"
#include "base/resource.h"
#include "base/same_secret.h"
#include "base/text.h"
#include "gateway/handler/request_state.h"
#include "login/session_file.h"
#include "login/session_id.h"

namespace {

constexpr long long kLongestIdle = SESSION_IDLE;  // seconds
constexpr long long kLongestLife = SESSION_AGE;
constexpr long long kUseRecorded = 60;  // how exactly the last use is known: the file is not written for every request
static_assert(kLongestIdle > kUseRecorded && kLongestLife >= kLongestIdle, "a session lasts longer than a minute");

constexpr char kBootKey[] = "boot=";
constexpr char kSinceKey[] = "since=";
constexpr char kUsedKey[] = "used=";
constexpr char kAddressKey[] = "address=";
constexpr size_t kTimeDigits = 10;

// A time as the file has it.
struct TimeText {
    char text[kTimeDigits + 1] = "0000000000";
    explicit TimeText(long long seconds) {
        for (size_t i = kTimeDigits; i-- > 0 && seconds > 0; seconds /= 10) {
            text[i] = static_cast<char>('0' + seconds % 10);
        }
    }
};

// Whether `at` begins with the text; steps over it then.
bool take(const char *&at, const char *text) {
    const size_t length = strlen(text);
    if (strncmp(at, text, length) != 0) {
        return false;
    }
    at += length;
    return true;
}

bool take_time(const char *&at, long long &seconds) {
    seconds = 0;
    for (size_t i = 0; i < kTimeDigits; ++i, ++at) {
        if (*at < '0' || *at > '9') {
            return false;
        }
        seconds = 10 * seconds + (*at - '0');
    }
    return true;
}

// Whether a moment lies so many seconds back at most. One that is yet to come lies nowhere.
bool is_within(long long moment, long long now, long long seconds) {
    return moment <= now && now - moment <= seconds;
}

// The name of the kernel's start.
struct StartName {
    char text[40];
    StartName() { name_start(text); }
};

// What the file holds behind the id.
struct Terms {
    long long since = 0;
    long long used = 0;
    const char *used_at = nullptr;  // where in the text
    const char *address = nullptr;  // with the line feed behind it
};

bool read_terms(const char *at, Terms &terms) {
    if (!take(at, kBootKey) || !take(at, StartName().text) || !take(at, "\n") || !take(at, kSinceKey) ||
        !take_time(at, terms.since) || !take(at, "\n") || !take(at, kUsedKey)) {
        return false;
    }
    terms.used_at = at;
    if (!take_time(at, terms.used) || !take(at, "\n") || !take(at, kAddressKey)) {
        return false;
    }
    terms.address = at;
    return true;
}

bool is_of_client(const Terms &terms) {
    const char *at = terms.address;
    return client_address != nullptr && take(at, client_address) && strcmp(at, "\n") == 0;
}

// Notes the use. Where a login has replaced the file meanwhile, that session is noted as used, which it was.
void record_use(off_t place, long long now) {
    const Descriptor file(open_own_file(kSessionPath, O_WRONLY));
    if (file && lseek(file.get(), place, SEEK_SET) == place) {
        write_all(file.get(), TimeText(now).text, kTimeDigits);
    }
}

}  // namespace

bool write_session(const char *id) {
    const TimeText now(seconds_since_start());
    char text[sizeof Session::text];
    return client_address != nullptr &&
           join(text, {kSessionKey, id, "\n", kBootKey, StartName().text, "\n", kSinceKey, now.text, "\n", kUsedKey,
                       now.text, "\n", kAddressKey, client_address, "\n"}) &&
           replace_session_file(text);
}

bool read_session(Session &session) {
    const Descriptor file(open_own_file(kSessionPath, O_RDONLY));
    if (!file || !read_beginning(file.get(), session.text)) {
        return false;
    }
    session.id = find_session_id(session.text);
    return true;
}

bool is_of_session(const Session &session, const char *given) {
    if (!same_secret(session.id, given) || *session.id == '\0') {
        return false;
    }
    // The id's terminator stands in the place of its line feed.
    const char *const behind_id = session.id + strlen(session.id) + 1;
    const long long now = seconds_since_start();
    Terms terms;
    if (behind_id >= session.text + sizeof session.text || !read_terms(behind_id, terms) || !is_of_client(terms) ||
        !is_within(terms.since, now, kLongestLife) || !is_within(terms.used, now, kLongestIdle)) {
        return false;
    }
    if (now - terms.used >= kUseRecorded) {
        record_use(terms.used_at - session.text, now);
    }
    return true;
}
