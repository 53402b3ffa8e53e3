// SPDX-License-Identifier: MIT
// Lists of records that carry a hardware address `mac`, and the one way to look a device up in them.
#ifndef BASE_RECORDS_H
#define BASE_RECORDS_H

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <type_traits>

#include "base/mac_text.h"
#include "base/resource.h"
#include "base/shortage.h"

// The first of `count` records with this address, which is kMacBytes long; nullptr when there is none.
template <typename Record>
const Record *find_mac(const Record *records, int count, const uint8_t *mac) {
    for (const Record *record = records; record < records + count; ++record) {
        if (memcmp(record->mac, mac, kMacBytes) == 0) {
            return record;
        }
    }
    return nullptr;
}

// A list that grows: what a file holds has no limit.
template <typename Record>
class RecordList {
    static_assert(std::is_trivially_copyable_v<Record>, "realloc() moves the records");

  public:
    // A record for which there is no memory is left out, which is a shortage (base/shortage.h).
    void add(const Record &record) {
        if (count_ == room_) {
            const int room = room_ != 0 ? room_ * 2 : 64;
            void *grown = realloc(records_.get(), static_cast<size_t>(room) * sizeof(Record));
            if (grown == nullptr) {
                note_shortage();
                return;
            }
            static_cast<void>(records_.release());
            records_.reset(static_cast<Record *>(grown));
            room_ = room;
        }
        records_.get()[count_++] = record;
    }

    const Record *find(const uint8_t *mac) const { return find_mac(records_.get(), count_, mac); }

  private:
    std::unique_ptr<Record, FreeMemory> records_;
    int count_ = 0;
    int room_ = 0;
};

#endif
