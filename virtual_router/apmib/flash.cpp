// SPDX-License-Identifier: MIT
// The `flash` command: looks into the configuration store, and starts it.

#include <getopt.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "virtual_router/apmib/boot.h"
#include "virtual_router/apmib/items.h"
#include "virtual_router/apmib/store.h"
#include "virtual_router/apmib/text.h"

namespace {

using store::Copy;
using store::Item;

#define DEFINITIONS_PATH "/etc/items.conf"

constexpr char kHelp[] =
    R"(Usage: flash [--root DIR] COMMAND

Looks into the router's configuration store. It has a working copy, which all programs read and write, and a committed
copy, which is what a reboot leaves.

  get NAME               print NAME=value from the working copy
  set NAME VALUE         write the working copy
  all                    print all items of the working copy
  settings               print all items of the settings file: what the last commit left. The file is itself a copy
                         that can take the committed one's place
  commit                 make the working copy the committed one
  save FILE              write all items of the working copy to a file, of one moment
  load FILE              make the working copy what such a file has; the committed one stays
  default                give both copies the values of a router that leaves the factory
  boot [--fresh]         what a router does when it starts: check the committed copy, lay out the working copy from
                         it. Run again, it drops what was not committed. --fresh: start from the defaults

NAME is an item's name (MIB_USER_NAME, or USER_NAME), an item's id (182), or, for an item with a value per wireless
interface, the name with the interface in it (WLAN0_SSID, WLAN1_VA0_SSID, WLAN0_VXD_SSID).

  -w, --wlan R           the radio that NAME means: 0 is 5 GHz, 1 is 2.4 GHz
  -v, --vwlan V          the access point on it: 0 is the main one, 1 to 5 the virtual ones
  -i, --items FILE       the definitions of the items; without it )" DEFINITIONS_PATH R"(
  -R, --root DIR         the router's root; without it the root of this process
  -h, --help             print this

A table's value is its entries in hexadecimal with commas between. Exit status: 0 done, 1 failed, 2 wrong usage.
)";

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Options {
    bool fresh = false;
    bool help = false;
    std::optional<int> wlan;
    std::optional<int> vwlan;
    std::string items;
    std::string root;
    std::vector<std::string> words;
};

int parse_index(const char *text, int limit) {
    if (strlen(text) != 1 || text[0] < '0' || text[0] >= '0' + limit) {
        throw UsageError(std::string("'") + text + "' is no interface number from 0 to " + std::to_string(limit - 1));
    }
    return text[0] - '0';
}

Options parse_options(int argc, char **argv) {
    constexpr option kLong[] = {
        {"root",  required_argument, nullptr, 'R'},
        {"items", required_argument, nullptr, 'i'},
        {"wlan",  required_argument, nullptr, 'w'},
        {"vwlan", required_argument, nullptr, 'v'},
        {"fresh", no_argument,       nullptr, 'f'},
        {"help",  no_argument,       nullptr, 'h'},
        {nullptr, 0,                 nullptr, 0  },
    };
    Options options;
    int letter = 0;
    while ((letter = getopt_long(argc, argv, "R:i:w:v:h", kLong, nullptr)) != -1) {
        switch (letter) {
            case 'R':
                options.root = optarg;
                break;
            case 'i':
                options.items = optarg;
                break;
            case 'w':
                options.wlan = parse_index(optarg, store::kRadioCount);
                break;
            case 'v':
                options.vwlan = parse_index(optarg, store::kVirtualCount);
                break;
            case 'f':
                options.fresh = true;
                break;
            case 'h':
                options.help = true;
                break;
            default:
                throw UsageError("see flash --help");
        }
    }
    options.words.assign(argv + optind, argv + argc);
    return options;
}

void open_started(Copy *working) {
    store::check(store::open_working(working, false),
                 std::string(store::kWorkingPath) + " (was the router started? flash boot does)");
}

// A transaction on the working copy. `flags`: MDB_RDONLY, or 0 if it is to write.
class Session {
  public:
    explicit Session(unsigned flags) {
        open_started(&copy_);
        store::check(store::begin(&copy_, flags, &txn_), "begin");
    }
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;
    ~Session() {
        mdb_txn_abort(txn_);
        store::close_working(&copy_);
    }

    store::Records read() { return store::read_working(copy_, txn_); }

    void write(uint32_t id, std::string *record) {
        MDB_val key = {sizeof(id), &id};
        MDB_val data = {record->size(), record->data()};
        store::check(mdb_put(txn_, copy_.dbi, &key, &data, 0), "write");
        int error = mdb_txn_commit(txn_);
        txn_ = nullptr;
        store::check(error, "write");
    }

  private:
    Copy copy_;
    MDB_txn *txn_ = nullptr;
};

// An item, and which of its slots a name means.
struct Found {
    uint32_t id;
    Item item;
    size_t offset;  // of the slot in the record
};

int slot_from_options(const Options &options, const Item &item) {
    if (item.slots == 1 && (options.wlan || options.vwlan)) {
        throw std::runtime_error(std::string(item.name) + " has one value, not one per wireless interface");
    }
    return options.wlan.value_or(0) * store::kVirtualCount + options.vwlan.value_or(0);
}

Found find(const store::Records &records, const Options &options) {
    const std::string &name = options.words[1];
    size_t interface_size = 0;
    int interface = store::find_interface(name, &interface_size);
    std::string interface_item = store::kInterfacePrefix + name.substr(interface_size);
    for (auto &[id, record] : records) {
        Item item = store::item_of(record);
        int slot = 0;
        if (interface >= 0 && item.slots > 1 && interface_item == item.name) {
            slot = interface;
        } else if (name == item.name || "MIB_" + name == item.name || name == std::to_string(id)) {
            slot = slot_from_options(options, item);
        } else {
            continue;
        }
        return {id, item, sizeof(Item) + static_cast<size_t>(slot) * store::slot_size(item)};
    }
    throw std::runtime_error("the store has no item '" + name + "'");
}

void get(const Options &options) {
    store::Records records = Session(MDB_RDONLY).read();
    Found found = find(records, options);
    std::cout << (isdigit(static_cast<unsigned char>(options.words[1][0])) ? found.item.name : options.words[1]) << '=';
    auto value = reinterpret_cast<const uint8_t *>(records[found.id].data()) + found.offset;
    std::cout << store::print_value(found.item, value) << '\n';
}

void set(const Options &options) {
    Session session(0);
    store::Records records = session.read();
    Found found = find(records, options);
    std::string record = records[found.id];
    try {
        store::parse_value(found.item, options.words[2], reinterpret_cast<uint8_t *>(record.data()) + found.offset);
    } catch (const std::invalid_argument &fault) {
        throw std::runtime_error(options.words[1] + " is not set: " + fault.what());
    }
    session.write(found.id, &record);
}

void print_all(const Options &) {
    std::cout << store::print_items(Session(MDB_RDONLY).read());
}

void print_settings(const Options &) {
    store::Records records;
    std::string fault = store::read_committed(store::kSettingsPath, &records);
    if (!fault.empty()) {
        throw std::runtime_error(std::string(store::kSettingsPath) + " is damaged: " + fault);
    }
    std::cout << store::print_items(records);
}

void commit(const Options &) {
    Copy working;
    open_started(&working);
    store::check(store::commit(&working), "commit");
    store::close_working(&working);
    store::check(store::save_settings(), store::kSettingsPath);
}

store::Records definitions(const Options &options) {
    std::string path = options.items.empty() ? DEFINITIONS_PATH : options.items;
    std::ifstream in(path);
    if (!in) {
        throw std::runtime_error(path + ": " + strerror(errno));
    }
    return store::read_definitions(in, path);
}

void boot(const Options &options) {
    store::boot(definitions(options), options.fresh);
}

void save(const Options &options) {
    const std::string &path = options.words[1];
    Copy working;
    open_started(&working);
    int error = store::write_copy(path.c_str(), &working);
    store::close_working(&working);
    store::check(error, path);
}

void load(const Options &options) {
    store::load(definitions(options), options.words[1].c_str());
}

void set_defaults(const Options &options) {
    Options fresh = options;
    fresh.fresh = true;
    boot(fresh);
}

constexpr struct {
    const char *name;
    size_t word_count;
    void (*run)(const Options &);
} kCommands[] = {
    {"get",      2, get           },
    {"set",      3, set           },
    {"all",      1, print_all     },
    {"settings", 1, print_settings},
    {"commit",   1, commit        },
    {"save",     2, save          },
    {"load",     2, load          },
    {"default",  1, set_defaults  },
    {"boot",     1, boot          },
};

void run_command(const Options &options) {
    if (options.words.empty()) {
        throw UsageError("no command; see flash --help");
    }
    for (auto &command : kCommands) {
        if (options.words[0] != command.name) {
            continue;
        }
        if (options.words.size() != command.word_count) {
            throw UsageError(std::string(command.name) + " takes " + std::to_string(command.word_count - 1) +
                             " words; see flash --help");
        }
        if (!options.root.empty() && (chroot(options.root.c_str()) != 0 || chdir("/") != 0)) {
            throw std::runtime_error(options.root + ": " + strerror(errno));
        }
        command.run(options);
        return;
    }
    throw UsageError("no command '" + options.words[0] + "'; see flash --help");
}

}  // namespace

int main(int argc, char **argv) {
    constexpr int kFailed = 1;
    constexpr int kWrongUsage = 2;
    try {
        Options options = parse_options(argc, argv);
        if (options.help) {
            std::cout << kHelp;
        } else {
            run_command(options);
        }
        if (!std::cout.flush()) {
            throw std::runtime_error("standard output can't be written");
        }
        return 0;
    } catch (const UsageError &fault) {
        std::cerr << "flash: " << fault.what() << '\n';
        return kWrongUsage;
    } catch (const std::exception &fault) {
        std::cerr << "flash: " << fault.what() << '\n';
        return kFailed;
    }
}
