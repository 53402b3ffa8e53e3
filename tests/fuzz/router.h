// SPDX-License-Identifier: MIT
// A router in memory, around the endpoint in the same process: the store, files, drivers, commands, the daemon's queue.
// It does nothing by itself and nothing at random, so a request has one outcome.
#ifndef TESTS_FUZZ_ROUTER_H
#define TESTS_FUZZ_ROUTER_H

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "platform/arpcheck.h"
#include "tests/fuzz/vocabulary.h"
#include "virtual_router/vocabulary/fault.h"

// Where a value of the store lies. Items that are global have no radio.
struct Place {
    int id;
    int radio;
    int index;
    bool operator<(const Place &other) const {
        return std::tie(id, radio, index) < std::tie(other.id, other.radio, other.index);
    }
    bool operator==(const Place &other) const { return id == other.id && radio == other.radio && index == other.index; }
};

// A fault of virtual_router/vocabulary/faults.conf, with the item that it names.
struct RouterFault {
    Fault fault;
    Place place;  // id 0: any item; radio -1: on all interfaces
};

// What a request did, for those who judge it.
struct Done {
    Event event;
    Place place;        // of what is done to the store
    std::string bytes;  // written to the store, or of the queue's record; the command
    bool done;          // false: it failed
};

struct Router {
    // The world.
    std::map<std::string, std::string> environment;
    std::string body;
    std::map<std::string, std::string> files;
    std::set<std::string> sealed;  // files that are there, and cannot be opened
    struct Answer {
        int status;
        std::string output;
    };
    std::map<std::string, Answer> commands;        // by how they begin; all others succeed and say nothing
    std::map<std::string, std::string> stations;   // Wi-Fi interface -> the driver's answer
    std::set<std::string> mute;                    // Wi-Fi interfaces whose driver tells no stations
    std::map<std::string, std::string> addresses;  // interface -> "ADDRESS NETMASK MAC"
    std::vector<ArpEntry> arp;                     // with reserved[0] those that are duplicates
    std::map<Place, std::string> values;
    std::map<Place, std::vector<std::string>> tables;
    std::set<Place> unreadable;
    std::vector<RouterFault> faults;
    int64_t now = 1700000000;
    size_t piece = SIZE_MAX;  // the most bytes that a read hands over, and that a write takes

    // What was seen of the last request.
    std::vector<Done> done;
    std::vector<std::string> replies;  // each text that was written to standard output, in however many pieces
    std::string errors;                // standard error
    std::string console;
    bool short_of_memory = false;  // an allocation was refused
    bool reply_is_cut = false;     // the last write to standard output took a part, and nothing came behind it

    // The place that a name such as "MIB_WLAN_SSID@0.1" means; without an interface that of 0.0. Id 0: none.
    static Place place_of(std::string_view name);
    const std::string &value(int id, int radio = -1, int index = -1);
    int number(int id, int radio = -1, int index = -1);
    std::vector<std::string> &table(int id, int radio = -1, int index = -1) { return tables[{id, radio, index}]; }
    // Whether the request did such a thing, and how often.
    size_t count(Event event) const;
};

extern Router router;

const ItemKind *find_item_kind(int id);

// Runs the program once. Its exit status as a shell sees it.
int run_endpoint();

// Brings the endpoint's variables back to what they are when a process starts, and forgets what was seen. For targets
// that call parts of it; run_endpoint() does it, too.
void start_endpoint();

// Holds that nothing that was opened since is open still, but for the noise device. Ends the process if not.
void end_endpoint();

// Says what is wrong, and ends the process in the way that the fuzzer keeps.
[[noreturn]] void wrong(const char *format, ...) __attribute__((format(printf, 1, 2)));

#endif
