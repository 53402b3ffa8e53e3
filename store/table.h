// SPDX-License-Identifier: MIT
// Tables of the configuration store. A table is known by the item that holds its count; its other operations are reads
// and writes of ids derived from that one. Entries are numbered from 1.
#ifndef STORE_TABLE_H
#define STORE_TABLE_H

#include "platform/tables.h"
#include "store/item.h"
#include "store/store.h"

// The number of entries into `count`. False: it can't be read, and `count` is 0.
template <typename Record>
bool table_count(TableItem<Record> table, int32_t &count) {
    count = 0;
    return store_read_raw(table.count_id, &count);
}

// Reads entry `index`, which a table numbers in one byte. False: there is none, or it can't be read.
template <typename Record>
bool table_read(TableItem<Record> table, int index, Record &record) {
    record = {};
    if (index > kMostTableEntries) {
        return false;  // a damaged count says that there are more
    }
    *reinterpret_cast<uint8_t *>(&record) = static_cast<uint8_t>(index);
    return store_read_raw(table.count_id + kTableRead, &record);
}

// Reads the next entry behind entry `index` that can be read, and puts its number into `index`; entries that can't be
// read are passed over. Starts from 0. False: there is none up to `count`.
//
// Numbers are not names: deleting an entry moves all that follow it down by one. A loop that deletes what it reads
// passes over the entry behind each, and one that also adds meets its own additions if it deleted as many.
template <typename Record>
bool table_next(TableItem<Record> table, int32_t count, int &index, Record &record) {
    while (index < count && index < kMostTableEntries) {
        if (table_read(table, ++index, record)) {
            return true;
        }
    }
    return false;
}

// Reads the first of the entries 1 to `count` for which `matches(record)` holds. False: there is none that can be read.
template <typename Record, typename Matches>
bool table_find(TableItem<Record> table, int32_t count, Record &record, Matches matches) {
    for (int index = 0; table_next(table, count, index, record);) {
        if (matches(record)) {
            return true;
        }
    }
    return false;
}

// Appends an entry. False: the store refused it.
template <typename Record>
bool table_add(TableItem<Record> table, const Record &record) {
    return store_write_raw(table.count_id + kTableAdd, &record);
}

// Deletes the entry that equals `record`. False: there is none, or the store refused.
template <typename Record>
bool table_remove(TableItem<Record> table, const Record &record) {
    return store_write_raw(table.count_id + kTableDelete, &record);
}

// Deletes all entries; what `record` has to do with it is for the store to know. False: the store refused.
template <typename Record>
bool table_remove_all(TableItem<Record> table, const Record &record) {
    return store_write_raw(table.count_id + kTableDeleteAll, &record);
}

// A text of a record that was read, as a C string. The last byte of the field is the terminator's, whatever another
// program left there.
template <size_t Size>
const char *field_text(char (&field)[Size]) {
    field[Size - 1] = '\0';
    return field;
}

#endif
