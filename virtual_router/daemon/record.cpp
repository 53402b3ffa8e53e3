// SPDX-License-Identifier: MIT
#include "virtual_router/daemon/record.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "platform/system_queue.h"
#include "virtual_router/console/printable.h"
#include "virtual_router/vocabulary/words.h"

namespace {

enum class Kind : uint8_t { kText, kByte, kWeekdays, kInt32 };

struct Field {
    const char *name;  // empty: the end of the fields
    Kind kind;
    std::size_t offset;  // in the record
    std::size_t size;
};

#define FIELD(name, kind, member) \
    { name, Kind::kind, offsetof(SysMsgRecord, member), sizeof(SysMsgRecord::member) }

constexpr Field kNoFields[] = {{}};
constexpr Field kSchedule[] = {
    FIELD("enable", kByte, schedule_enable),     FIELD("hour", kByte, schedule_hour),
    FIELD("minute", kByte, schedule_minute),     FIELD("second", kByte, schedule_second),
    FIELD("weekdays", kWeekdays, schedule_week), {},
};
constexpr Field kUpgrade[] = {
    FIELD("url", kText, firmware_url),
    FIELD("md5", kText, firmware_md5),
    {},
};
constexpr Field kReport[] = {
    FIELD("interval", kInt32, report.interval),
    FIELD("count", kInt32, report.count),
    FIELD("guid", kText, report.guid),
    {},
};
constexpr Field kSysconf[] = {
    FIELD("sysconfArgv", kText, sysconfArgv),
    {},
};

constexpr char kNothing[] = "(nothing in this router acts on it yet)";
constexpr char kNoServer[] = "(shown only; this router has no server to report to)";

// A message of which there is one kind: the command is called with the fields' values as its words.
struct Row {
    SysMsgType type;
    const char *name;
    const Field *fields;
    const char *command;  // nullptr: none
    const char *note;     // without a command
};

#define MESSAGE(type, fields, command, note) \
    { type, #type, fields, command, note }

constexpr Row kRows[] = {
    MESSAGE(MSG_APP_START, kNoFields, nullptr, kNothing),
    MESSAGE(MSG_RESET, kNoFields, "restore", nullptr),
    MESSAGE(MSG_REBOOT, kNoFields, "reboot", nullptr),
    MESSAGE(MSG_APP_REINIT, kNoFields, "restart", nullptr),
    MESSAGE(MSG_APP_SCHREBOOT, kSchedule, "schreboot", nullptr),
    MESSAGE(MSG_APP_FWUPG, kUpgrade, "upgrade", nullptr),
    MESSAGE(MSG_APP_SETQOS, kNoFields, "shaping", nullptr),
    MESSAGE(MSG_APP_START_SPEEDTEST, kNoFields, "speedtest", nullptr),
    MESSAGE(MSG_APP_REPORTOSERVER_WANSTA, kReport, nullptr, kNoServer),
    MESSAGE(MSG_CALL_SYSCONF, kSysconf, nullptr, kNothing),
};

// What a MSG_CALL_SYSCONF can ask for.
struct Order {
    const char *argument;
    const char *command;
};

constexpr Order kOrders[] = {
    {"initwan",     "initwan" },
    {"initlan",     "initlan" },
    {"init gw all", "restart" },
    {"firewall",    "firewall"},
};

// The value as a program takes it.
std::string plain_value(const Field &field, const char *bytes) {
    switch (field.kind) {
        case Kind::kText:
            return {bytes, strnlen(bytes, field.size)};
        case Kind::kByte:
            return std::to_string(static_cast<unsigned char>(*bytes));
        case Kind::kWeekdays: {
            std::string days;
            for (int bit = 6; bit >= 0; --bit) {
                days += (*bytes >> bit & 1) != 0 ? '1' : '0';
            }
            return days;
        }
        case Kind::kInt32: {
            int32_t value = 0;
            std::memcpy(&value, bytes, sizeof value);
            return std::to_string(value);
        }
    }
    return "";
}

// The value as a person reads it.
std::string shown_value(const Field &field, const std::string &value) {
    return field.kind == Kind::kText ? '"' + printable(value, "\"\\") + '"' : value;
}

std::string shown_word(Event event) {
    return kEventWords[static_cast<int>(event)] + std::string(" ");
}

// Finds what is to be done about a message with these values.
void find_command(const Row &row, const std::vector<std::string> &values, Message &message) {
    const char *command = row.command;
    if (row.fields == kSysconf) {
        for (const Order &order : kOrders) {
            if (values[0] == order.argument) {
                command = order.command;
            }
        }
    } else {
        message.command = values;
    }
    if (command != nullptr) {
        message.command.insert(message.command.begin(), command);
    } else {
        message.command.clear();
        message.note = row.note;
    }
}

}  // namespace

Message decode_record(long type, std::string_view payload) {
    const Row *row = std::find_if(std::begin(kRows), std::end(kRows), [&](const Row &r) { return r.type == type; });
    const bool known = row != std::end(kRows);

    char bytes[kSysMsgPayload] = {};
    std::memcpy(bytes, payload.data(), std::min(payload.size(), sizeof bytes));

    Message message = {shown_word(Event::kQueue) + (known ? row->name : std::to_string(type)), {}, kNothing};
    std::vector<std::string> values;
    for (const Field *field = known ? row->fields : kNoFields; field->name != nullptr; ++field) {
        char *bytes_of_field = bytes + field->offset - sizeof(SysMsgRecord::msg_type);
        values.push_back(plain_value(*field, bytes_of_field));
        message.text += std::string(" ") + field->name + "=" + shown_value(*field, values.back());
        std::memset(bytes_of_field, 0, field->size);  // so that only bytes without a meaning are left
    }
    if (known) {
        find_command(*row, values, message);
    }
    const bool filled = std::any_of(std::begin(bytes), std::end(bytes), [](char byte) { return byte != 0; });
    const bool wrong_length = payload.size() != kSysMsgPayload;
    if (filled || wrong_length) {
        const char *what = !filled ? "length" : wrong_length ? "length,filled" : "filled";
        message.text = kEventMarkWords[static_cast<int>(EventMark::kUnfit)] + ("=" + (what + (" " + message.text)));
    }
    return message;
}
