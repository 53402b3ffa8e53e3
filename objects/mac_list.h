// SPDX-License-Identifier: MIT
// Lists of devices that the store keeps as tables and requests name by hardware addresses: the MAC filter and the
// radios' access lists. A record has an address `mac` and a text `comment`.
#ifndef OBJECTS_MAC_LIST_H
#define OBJECTS_MAC_LIST_H

#include <cstring>

#include "base/json.h"
#include "base/mac_text.h"
#include "gateway/handler/request_state.h"
#include "store/store.h"
#include "store/table.h"

constexpr int kMostDevices = 20;

constexpr char kMacFormat[] = "ERROR:MAC format error!";
constexpr char kListFormat[] = "ERROR:delMaclist format error!";

// An added device is an array of texts, of which these are the first two. The address may be missing, too: the element
// is passed over then.
enum DeviceElement { kDeviceMac, kDeviceComment };

// The 12 characters of an address that is there; nullptr when it is another text, or no text.
const char *address_text(const cJSON *address);

// Reads the first of the table's entries 1 to `count` with this address.
template <typename Record>
bool find_device(TableItem<Record> table, const uint8_t (&mac)[kMacBytes], int32_t count, Record &entry) {
    return table_find(table, count, entry,
                      [&mac](const Record &candidate) { return memcmp(candidate.mac, mac, sizeof mac) == 0; });
}

// Takes the addresses of `list` off the table; one that is not there is no error. 0, or -1 with the message of the
// first that failed; those before it stay off.
template <typename Record>
int delete_devices(TableItem<Record> table, const cJSON *list) {
    for (const cJSON *address = array_first(list); address != nullptr; address = address->next) {
        if (!is_there(address)) {
            return fail(kListFormat);
        }
        uint8_t mac[kMacBytes];
        if (!parse_mac_text(string_value(address), mac)) {
            return fail(kMacFormat);
        }
        int32_t count;
        if (!table_count(table, count)) {
            return fail("ERROR:get_entry_number_error");
        }
        Record entry;
        if (find_device(table, mac, count, entry) && !table_remove(table, entry)) {
            return fail("ERROR:delete_table_entry_error");
        }
    }
    return 0;
}

// Adds a device to the table unless one of its entries 1 to `count` has the address. `take_rest` puts what stands
// behind the comment into the entry: 0, or -1 with the message. 0, or -1 with the message.
template <typename Record, typename TakeRest>
int add_device(TableItem<Record> table, const cJSON *device, int32_t count, TakeRest take_rest) {
    Record entry = {};
    if (!parse_mac_text(array_text(device, kDeviceMac), entry.mac)) {
        return fail(kMacFormat);
    }
    const char *comment = array_text(device, kDeviceComment);
    if (comment != nullptr && !fit_text(comment, entry.comment, sizeof entry.comment)) {
        return fail("ERROR: comment length too long");
    }
    if (take_rest(device, entry) != 0) {
        return kFailed;
    }
    Record existing;
    if (find_device(table, entry.mac, count, existing)) {
        return fail("Error:mac exist");
    }
    // An entry that the search did not see, such as one of this very request, is not there twice.
    table_remove(table, entry);
    return table_add(table, entry) ? 0 : fail("Error:add_table_entry_error");
}

// Adds the devices of `list`, in its order. 0, or -1 with the message of the first that failed; those before it stay in
// the table.
template <typename Record, typename TakeRest>
int add_devices(TableItem<Record> table, const cJSON *list, int32_t count, TakeRest take_rest) {
    for (const cJSON *device = array_first(list); device != nullptr; device = device->next) {
        if (is_there(array_item(device, kDeviceMac)) && add_device(table, device, count, take_rest) != 0) {
            return kFailed;
        }
    }
    return 0;
}

#endif
