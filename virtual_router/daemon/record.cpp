#include "virtual_router/daemon/record.h"

#include <algorithm>
#include <cstring>

#include "virtual_router/console/printable.h"

namespace {

enum class Kind : uint8_t { kText, kByte, kWeekdays, kInt32 };

struct Field {
    const char *name;  // empty: the end of the fields
    Kind kind;
    std::size_t offset;  // in the described record of 364 bytes
    std::size_t size;
};

constexpr Field kNoFields[] = {{}};
constexpr Field kSchedule[] = {
    {"enable",     Kind::kByte, 229, 1},
    {"hour",         Kind::kByte, 230, 1},
    {"minute",            Kind::kByte, 231, 1},
    {"second",Kind::kByte, 232, 1},
    {"weekdays",           Kind::kWeekdays, 233, 1},
    {        },
};
constexpr Field kUpgrade[] = {
    {"url",        Kind::kText, 4, 128},
    {"md5",           Kind::kText, 132, 33},
    {},
};
constexpr Field kReport[] = {
    {"interval",    Kind::kInt32, 236, 4},
    {"count",          Kind::kInt32, 240, 4},
    {"guid",             Kind::kText, 244, 40},
    {           },
};
constexpr Field kSysconf[] = {
    {"sysconfArgv", Kind::kText, 236, 128},
    {        },
};

struct Row {
    long type;
    const char *name;
    const Field *fields;
    Action action;
};

constexpr Row kRows[] = {
    {1,  "MSG_APP_START",                kNoFields, Action::kNotPlayed},
    {2,  "MSG_RESET",                    kNoFields, Action::kReset    },
    {3,  "MSG_REBOOT",                   kNoFields, Action::kReboot   },
    {4,  "MSG_APP_REINIT",               kNoFields, Action::kRestart  },
    {5,  "MSG_APP_SCHREBOOT",            kSchedule, Action::kNotPlayed},
    {6,  "MSG_APP_FWUPG",                kUpgrade,  Action::kNotPlayed},
    {7,  "MSG_APP_SETQOS",               kNoFields, Action::kNotPlayed},
    {8,  "MSG_APP_START_SPEEDTEST",      kNoFields, Action::kNotPlayed},
    {9,  "MSG_APP_REPORTOSERVER_WANSTA", kReport,   Action::kNotPlayed},
    {10, "MSG_CALL_SYSCONF",             kSysconf,  Action::kNotPlayed},
};

std::string value_text(const Field &field, const char *bytes) {
    switch (field.kind) {
        case Kind::kText:
            return '"' + printable({bytes, strnlen(bytes, field.size)}, "\"\\") + '"';
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

}  // namespace

Message decode_record(long type, std::string_view payload) {
    const Row *row = std::find_if(std::begin(kRows), std::end(kRows), [&](const Row &r) { return r.type == type; });
    const bool known = row != std::end(kRows);

    char bytes[kPayloadSize] = {};
    std::memcpy(bytes, payload.data(), std::min(payload.size(), sizeof bytes));

    Message message = {known ? row->action : Action::kNotPlayed,
                       known ? row->name : "unknown message type " + std::to_string(type)};
    for (const Field *field = known ? row->fields : kNoFields; field->name != nullptr; ++field) {
        char *value = bytes + field->offset - kTypeSize;
        message.text += std::string(" ") + field->name + "=" + value_text(*field, value);
        std::memset(value, 0, field->size);  // so that only bytes without a meaning are left
    }
    const auto stray = std::count_if(std::begin(bytes), std::end(bytes), [](char byte) { return byte != 0; });
    if (stray != 0) {
        message.text += " (" + std::to_string(stray) + " bytes that should be zero are not)";
    }
    if (payload.size() != kPayloadSize) {
        message.text += " (payload of " + std::to_string(payload.size()) + " bytes instead of " +
                        std::to_string(kPayloadSize) + ")";
    }
    return message;
}
