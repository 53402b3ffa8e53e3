// SPDX-License-Identifier: MIT
#include "tests/fuzz/script.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "store/items.h"
#include "tests/fuzz/router.h"

namespace {

constexpr char kMark[] = "--- ";
constexpr size_t kMostFaults = 8;
// No kernel interrupts a call for ever; whoever makes it again, as one should, would then do so for ever.
constexpr unsigned kMostInterruptions = 16;

bool starts_with(const std::string &text, const char *beginning) {
    return text.compare(0, strlen(beginning), beginning) == 0;
}

// The bytes of an item, given as they are written in a section: a number, an address, or a text as it stands.
std::string bytes_of(const ItemKind &kind, const std::string &content) {
    std::string bytes = content;
    if (strcmp(kind.kind, "ipv4") == 0) {
        in_addr address = {};
        inet_aton(content.c_str(), &address);
        bytes.assign(reinterpret_cast<const char *>(&address), sizeof address);
    } else if (strcmp(kind.kind, "text") != 0) {
        const auto number = static_cast<int32_t>(strtoll(content.c_str(), nullptr, 10));
        bytes.assign(reinterpret_cast<const char *>(&number), sizeof number);
    }
    bytes.resize(kind.width);
    return bytes;
}

void set_item(const std::string &name, const std::string &content) {
    const Place place = Router::place_of(name);
    const ItemKind *kind = find_item_kind(place.id);
    if (kind == nullptr) {
        return;
    }
    router.unreadable.erase(place);
    if (kind->record == 0) {
        router.values[place] = bytes_of(*kind, content);
        return;
    }
    std::vector<std::string> &records = router.tables[place];
    records.clear();
    for (size_t at = 0; at < content.size() && records.size() < 300; at += kind->record) {
        std::string record = content.substr(at, kind->record);
        record.resize(kind->record);
        records.push_back(record);
    }
}

void set_faults(const std::string &content) {
    router.faults.clear();
    for (size_t at = 0; at < content.size() && router.faults.size() < kMostFaults;) {
        const size_t end = std::min(content.find('\n', at), content.size());
        RouterFault fault = {};
        if (parse_fault(content.substr(at, end - at).c_str(), &fault.fault)) {
            if (strcmp(fault.fault.how, "EINTR") == 0) {
                fault.fault.count = std::min(fault.fault.count, kMostInterruptions);
            }
            const std::string item = fault.fault.item;
            fault.place = item.empty() ? Place{0, -1, -1} : Router::place_of(item);
            if (item.find('@') == std::string::npos) {
                fault.place.radio = -1;
            }
            if (item.empty() || fault.place.id != 0) {
                router.faults.push_back(fault);
            }
        }
        at = end + 1;
    }
}

void set_arp(const std::string &content) {
    router.arp.clear();
    for (size_t at = 0; at + sizeof(ArpEntry) <= content.size(); at += sizeof(ArpEntry)) {
        ArpEntry entry;
        memcpy(&entry, content.data() + at, sizeof entry);
        router.arp.push_back(entry);
    }
}

}  // namespace

Script parse_script(const uint8_t *data, size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    Script script;
    size_t at = starts_with(text, kMark) ? 0 : text.find(std::string("\n") + kMark);
    if (at != 0 && at != std::string::npos) {
        ++at;
    }
    while (at != std::string::npos && at < text.size()) {
        const size_t line_end = std::min(text.find('\n', at), text.size());
        const std::string line = text.substr(at + strlen(kMark), line_end - at - strlen(kMark));
        const size_t blank = std::min(line.find(' '), line.size());
        Section section = {line.substr(0, blank), line.substr(std::min(blank + 1, line.size())), ""};
        const size_t next = line_end < text.size() ? text.find(std::string("\n") + kMark, line_end) : std::string::npos;
        if (line_end < text.size() && next != line_end) {
            const size_t begin = line_end + 1;
            section.content = text.substr(begin, next == std::string::npos ? next : next - begin);
        }
        script.push_back(std::move(section));
        at = next == std::string::npos ? next : next + 1;
    }
    return script;
}

std::string print_script(const Script &script) {
    std::string text;
    for (const Section &section : script) {
        text += (text.empty() ? "" : "\n") + std::string(kMark) + section.kind +
                (section.name.empty() ? "" : " " + section.name);
        if (!section.content.empty()) {
            text += "\n" + section.content;
        }
    }
    return text;
}

void reset_router() {
    router = Router();
    router.environment["REMOTE_ADDR"] = "127.0.0.1";
    set_item("MIB_USER_NAME", "admin");
    set_item("MIB_USER_PASSWORD", "admin");
    router.addresses["br0"] = "192.168.1.1 255.255.255.0 02:00:00:00:00:01";
}

void apply(const Section &section) {
    const std::string &name = section.name;
    const std::string &content = section.content;
    if (section.kind == "env") {
        router.environment[name] = content;
    } else if (section.kind == "no-env") {
        router.environment.erase(name);
    } else if (section.kind == "file") {
        router.sealed.erase(name);
        router.files[name] = content;
    } else if (section.kind == "no-file") {
        router.files.erase(name);
        router.sealed.erase(name);
    } else if (section.kind == "sealed") {
        router.files.erase(name);
        router.sealed.insert(name);
    } else if (section.kind == "item") {
        set_item(name, content);
    } else if (section.kind == "unreadable") {
        const Place place = Router::place_of(name);
        router.unreadable.insert(place);
    } else if (section.kind == "fail") {
        set_faults(content);
    } else if (section.kind == "arp") {
        set_arp(content);
    } else if (section.kind == "stations") {
        router.stations[name] = content;
    } else if (section.kind == "mute") {
        router.stations.erase(name);
        router.mute.insert(name);
    } else if (section.kind == "address") {
        router.addresses[name] = content;
    } else if (section.kind == "no-address") {
        router.addresses.erase(name);
    } else if (section.kind == "command") {
        const size_t line = std::min(content.find('\n'), content.size());
        router.commands[name] = {atoi(content.c_str()) & 0xff, content.substr(std::min(line + 1, content.size()))};
    } else if (section.kind == "clock") {
        router.now = strtoll(content.c_str(), nullptr, 10) & 0xffffffff;
    } else if (section.kind == "pieces") {
        router.piece = strtoull(content.c_str(), nullptr, 10);
        router.piece = router.piece == 0 ? SIZE_MAX : router.piece;
    }
}
