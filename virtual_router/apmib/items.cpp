// SPDX-License-Identifier: MIT
#include "virtual_router/apmib/items.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <vector>

#include <arpa/inet.h>

#include "virtual_router/apmib/text.h"

namespace store {

namespace {

// Reads a whole text as a number between two limits.
template <typename Number>
Number parse_number(const std::string &text, Number low, Number high) {
    Number number = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || number < low || number > high) {
        throw std::invalid_argument("'" + text + "' is no number from " + std::to_string(low) + " to " +
                                    std::to_string(high));
    }
    return number;
}

template <typename Number>
void parse_into(const std::string &text, uint8_t *slot) {
    using Limits = std::numeric_limits<Number>;
    auto number = static_cast<Number>(parse_number<int64_t>(text, Limits::min(), Limits::max()));
    memcpy(slot, &number, sizeof(number));
}

int hex_digit(char c) {
    const char *digits = "0123456789abcdef";
    const char *place = strchr(digits, tolower(static_cast<unsigned char>(c)));
    return c != '\0' && place != nullptr ? static_cast<int>(place - digits) : -1;
}

std::string parse_entry(const std::string &text, size_t width) {
    std::string entry;
    for (size_t i = 0; i + 1 < text.size(); i += 2) {
        int high = hex_digit(text[i]);
        int low = hex_digit(text[i + 1]);
        if (high < 0 || low < 0) {
            break;
        }
        entry += static_cast<char>(high * 16 + low);
    }
    if (entry.size() != width || text.size() != 2 * width) {
        throw std::invalid_argument("'" + text + "' is no entry of " + std::to_string(width) + " bytes in hexadecimal");
    }
    return entry;
}

void parse_table(const Item &item, const std::string &text, uint8_t *slot) {
    std::string entries;
    std::istringstream in(text);
    for (std::string entry; std::getline(in, entry, ',');) {
        entries += parse_entry(entry, item.width);
    }
    size_t count = entries.size() / item.width;
    if (count > item.limit) {
        throw std::invalid_argument("more than " + std::to_string(item.limit) + " entries");
    }
    auto stored = static_cast<int32_t>(count);
    memset(slot, 0, slot_size(item));
    memcpy(slot, &stored, sizeof(stored));
    std::copy(entries.begin(), entries.end(), slot + kCountSize);
}

}  // namespace

void parse_value(const Item &item, const std::string &text, uint8_t *slot) {
    switch (item.kind) {
        case kByte:
            parse_into<uint8_t>(text, slot);
            break;
        case kSignedByte:
            parse_into<int8_t>(text, slot);
            break;
        case kInt32:
            parse_into<int32_t>(text, slot);
            break;
        case kIpv4:
            if (in_addr address; inet_pton(AF_INET, text.c_str(), &address) == 1) {
                memcpy(slot, &address, sizeof(address));
            } else {
                throw std::invalid_argument("'" + text + "' is no IPv4 address");
            }
            break;
        case kText:
            if (text.size() >= item.width || text.find('\0') != std::string::npos) {
                throw std::invalid_argument("a text of " + std::to_string(text.size()) + " bytes where " +
                                            std::to_string(item.width - 1) + " fit");
            }
            memset(slot, 0, item.width);
            std::copy(text.begin(), text.end(), slot);
            break;
        case kTable:
            parse_table(item, text, slot);
            break;
    }
}

int find_interface(const std::string &name, size_t *size) {
    int best = -1;
    auto consider = [&](const std::string &interface, int slot) {
        if (name.compare(0, interface.size(), interface) == 0 && (best < 0 || interface.size() > *size)) {
            best = slot;
            *size = interface.size();
        }
    };
    for (int slot = 0; slot < kInterfaceCount; slot++) {
        consider(kInterfaceNames[slot], slot);
    }
    // The last virtual access point and the repeater interface share a slot.
    consider("WLAN0_VA4_", kVirtualCount - 1);
    consider("WLAN1_VA4_", kInterfaceCount - 1);
    return best;
}

Item item_of(const std::string &record) {
    Item item;
    memcpy(&item, record.data(), sizeof(item));
    return item;
}

namespace {

struct PlainKind {
    const char *name;
    Kind kind;
};
constexpr PlainKind kPlainKinds[] = {
    {"byte",  kByte      },
    {"sbyte", kSignedByte},
    {"int32", kInt32     },
    {"ipv4",  kIpv4      }
};

constexpr uint16_t kMaxWidth = 1024;

void parse_kind(const std::string &text, Item *item) {
    for (auto &row : kPlainKinds) {
        if (text == row.name) {
            item->kind = row.kind;
            item->width = kKindWidths[row.kind];
            return;
        }
    }
    // The last character that is matched shows that the closing bracket is there and ends the word.
    int end = 0;
    unsigned short width = 0;
    unsigned short limit = 0;
    unsigned short match = 0;
    if (sscanf(text.c_str(), "text[%5hu]%n", &width, &end) == 1 && end > 0 && text[static_cast<size_t>(end)] == '\0') {
        item->kind = kText;
        item->width = parse_number<uint16_t>(std::to_string(width), 2, kMaxWidth);
        return;
    }
    end = 0;
    if (sscanf(text.c_str(), "table[%5hux%5hu/%5hu]%n", &width, &limit, &match, &end) == 3 && end > 0 &&
        text[static_cast<size_t>(end)] == '\0') {
        item->kind = kTable;
        item->width = parse_number<uint16_t>(std::to_string(width), 1, kMaxWidth);
        item->limit = parse_number<uint16_t>(std::to_string(limit), 1, kMostEntries);
        item->match = parse_number<uint16_t>(std::to_string(match), 1, width);
        return;
    }
    throw std::invalid_argument("'" + text + "' is no kind: byte, sbyte, int32, ipv4, text[N] or table[WxN/M]");
}

void parse_scope(const std::string &text, Item *item) {
    if (text == "global") {
        item->slots = 1;
    } else if (text == "interface") {
        item->slots = kInterfaceCount;
    } else {
        throw std::invalid_argument("'" + text + "' is no scope: global or interface");
    }
}

void parse_name(const std::string &text, Item *item) {
    bool plain =
        std::all_of(text.begin(), text.end(), [](unsigned char c) { return isupper(c) || isdigit(c) || c == '_'; });
    if (!plain || text.compare(0, 4, "MIB_") != 0 || text.size() < 5 || text.size() >= sizeof(item->name)) {
        throw std::invalid_argument("'" + text + "' is no name: MIB_ and capitals, digits and _, at most " +
                                    std::to_string(sizeof(item->name) - 1));
    }
    if (item->slots > 1 && text.compare(0, kInterfacePrefixSize, kInterfacePrefix) != 0) {
        throw std::invalid_argument("'" + text + "' has a value per interface and must begin with " + kInterfacePrefix);
    }
    text.copy(item->name, sizeof(item->name) - 1);
}

// Reads a default: a text in quotes, or a word, which is "-" for a table without entries.
std::string read_default(const Item &item, std::istringstream *line) {
    std::string text;
    if (item.kind != kText) {
        if (!(*line >> text)) {
            throw std::invalid_argument("no default");
        }
        return item.kind == kTable && text == "-" ? "" : text;
    }
    *line >> std::ws;
    if (line->get() != '"' || !std::getline(*line, text, '"') || line->eof()) {
        throw std::invalid_argument("a text's default stands in double quotes");
    }
    return text;
}

uint8_t *slot_of(std::string *record, const Item &item, int slot) {
    return reinterpret_cast<uint8_t *>(record->data()) + sizeof(Item) + static_cast<size_t>(slot) * slot_size(item);
}

// "wlan0-va0" in the file is WLAN0_VA0_ in names.
int parse_interface(const std::string &text) {
    std::string name = text + "_";
    for (char &c : name) {
        c = c == '-' ? '_' : static_cast<char>(toupper(static_cast<unsigned char>(c)));
    }
    size_t size = 0;
    int slot = find_interface(name, &size);
    if (slot < 0 || size != name.size()) {
        throw std::invalid_argument("'" + text + "' is no wireless interface");
    }
    return slot;
}

class DefinitionReader {
  public:
    void read_line(const std::string &text) {
        size_t start = text.find_first_not_of(" \t\r");
        if (start == std::string::npos || text[start] == '#') {
            return;
        }
        std::istringstream line(text);
        if (start == 0) {
            read_item(&line);
        } else {
            read_override(&line);
        }
    }

    Records records;

  private:
    void read_item(std::istringstream *line) {
        current_ = nullptr;
        std::string id_text;
        std::string name;
        std::string kind;
        std::string scope;
        *line >> id_text >> name >> kind >> scope;
        if (scope.empty()) {
            throw std::invalid_argument("an item has an id, a name, a kind, a scope and a default");
        }
        auto id = parse_number<uint32_t>(id_text, 1, kIdLimit - 1);
        Item item = {};
        parse_kind(kind, &item);
        parse_scope(scope, &item);
        parse_name(name, &item);
        for (auto &[other_id, other] : records) {
            if (other_id == id || name == item_of(other).name) {
                throw std::invalid_argument("the item " + std::to_string(other_id) + " " + item_of(other).name +
                                            " is there already");
            }
        }
        std::string record(record_size(item), '\0');
        memcpy(record.data(), &item, sizeof(item));
        std::string value = read_default(item, line);
        for (int slot = 0; slot < item.slots; slot++) {
            parse_value(item, value, slot_of(&record, item, slot));
        }
        current_ = &(records[id] = record);
    }

    void read_override(std::istringstream *line) {
        if (current_ == nullptr || item_of(*current_).slots == 1) {
            throw std::invalid_argument("no item with a value per interface stands above");
        }
        Item item = item_of(*current_);
        std::string interface;
        *line >> interface;
        int slot = parse_interface(interface);
        parse_value(item, read_default(item, line), slot_of(current_, item, slot));
        if (std::string more; *line >> more) {
            throw std::invalid_argument("'" + more + "' behind the default of an interface");
        }
    }

    std::string *current_ = nullptr;  // the last item's record, unless the item was wrong
};

}  // namespace

Records read_definitions(std::istream &in, const std::string &name) {
    DefinitionReader reader;
    std::string faults;
    auto add_fault = [&](int number, const std::string &fault) {
        faults += (faults.empty() ? "" : "\n") + name + ":" + std::to_string(number) + ": " + fault;
    };
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        number++;
        try {
            reader.read_line(line);
        } catch (const std::invalid_argument &fault) {
            add_fault(number, fault.what());
        }
    }
    if (reader.records.empty() && faults.empty()) {
        add_fault(number, "no item");
    }
    if (!faults.empty()) {
        throw std::runtime_error(faults);
    }
    return reader.records;
}

}  // namespace store
